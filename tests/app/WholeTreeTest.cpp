#include "app/ProgramTest.h"

#include <cstdlib>
#include <fstream>

namespace {

class WholeTree : public ProgramTest {
  protected:
    /// What rsync would still do to make the backup equal to the original, apart from what is not backed up.
    std::string differences(const SyncRun &run) const {
        std::ofstream excluded(tree / "excluded");
        for (const SkippedItem &item : run.skipped)
            excluded << '/' << item.relPath.toStdString() << '\n';
        for (const QString &line : run.conflicts) // the pair's name, the path, then the reason
            excluded << '/' << line.section(QStringLiteral(" — "), 0, -2).section(u'/', 1).toStdString() << '\n';
        excluded << ".*\n" << std::flush;
        Program rsync;
        rsync.words = {"rsync",          "-rtpn",           "--checksum",        "--omit-dir-times",
                       "--no-links",     "--info=nonreg0",  "--itemize-changes", "--delete",
                       "--exclude-from", tree / "excluded", tree / "Photos/",    tree / "OneDrive/Photos/"};
        const Program::Outcome outcome = rsync.run();
        return (outcome.err + outcome.out).substr(0, 2000);
    }
};

TEST_F(WholeTree, RsyncFindsNoDifferenceInTheBackupOfARealTree) {
    if (std::system("rsync --version >/dev/null 2>&1") != 0 || !fs::exists("/usr/share/doc"))
        GTEST_SKIP() << "rsync or /usr/share/doc is missing";
    // Some thousand items with their dates, modes and links.
    const std::string copy = "find /usr/share/doc -mindepth 1 -maxdepth 1 -type d -name '[a-l]*' -exec cp -a -t " +
                             (tree / "Photos").native() + " {} +";
    ASSERT_EQ(std::system(copy.c_str()), 0);
    tree.dir("OneDrive/Photos");
    ASSERT_NE(differences(SyncRun()), "") << "the comparison must be able to fail";
    const Untouched original(tree / "Photos");
    const Program::Outcome outcome = backUp({"--json"}).run();
    original.expectUntouched();
    EXPECT_EQ(outcome.status, 0) << outcome.err;
    const SyncRun run = recordOf(outcome.out);
    EXPECT_GT(run.filesCopied, 500);
    EXPECT_EQ(differences(run), "");
    EXPECT_EQ(leftovers(), Lines());
    EXPECT_EQ(recordOf(backUp({"--json"}).run().out).upToDate, run.filesCopied);
}

TEST_F(WholeTree, FewDescriptorsAreEnoughForThousandsOfFoldersAndDeepOnes) {
    std::string deep = "Photos";
    for (int i = 0; i < 100; ++i)
        tree.file((deep += "/deeper") + "/f" + std::to_string(i), "x");
    for (int i = 0; i < 1000; ++i)
        tree.file("Photos/" + std::to_string(i) + "/a.jpg", std::to_string(i));
    Program program = backUp();
    program.words.insert(program.words.begin(), {"prlimit", "--nofile=40"});
    EXPECT_EQ(program.run().status, 0);
    expectComplete();
    // Staged beside the target, where each folder that is written to holds a lock.
    fs::remove_all(tree / "OneDrive/Photos");
    program.environment["XDG_CACHE_HOME"] = "/dev/null";
    program.words[1] = "--nofile=900";
    EXPECT_EQ(program.run().status, 0);
    expectComplete();
}

} // namespace
