#include "app/ProgramTest.h"

#include <array>
#include <cstdio>
#include <fstream>
#include <memory>
#include <ostream>

namespace {

/// Runs a shell command and returns what it printed; its status goes to `status`.
std::string printedBy(const std::string &command, int &status) {
    std::string printed;
    std::FILE *pipe = ::popen(command.c_str(), "r");
    if (!pipe)
        throw std::system_error(errno, std::generic_category(), "popen");
    std::array<char, 4096> buffer;
    for (std::size_t got; (got = std::fread(buffer.data(), 1, buffer.size(), pipe)) > 0;)
        printed.append(buffer.data(), got);
    status = ::pclose(pipe);
    return printed;
}

class WholeTree : public ProgramTest {
  protected:
    /// Copies folders of a real tree, with their dates, modes and links, until there are some thousand items.
    void copyRealTree(const fs::path &real) {
        std::string folders;
        std::uintmax_t items = 0;
        for (const fs::directory_entry &folder : fs::directory_iterator(real)) {
            if (folder.is_symlink() || !folder.is_directory() || items > 3000)
                continue;
            items += static_cast<std::uintmax_t>(
                std::distance(fs::recursive_directory_iterator(folder), fs::recursive_directory_iterator()));
            folders += " '" + folder.path().native() + '\'';
        }
        int status = 0;
        printedBy("cp -a -t '" + (tree / "Photos").native() + '\'' + folders, status);
        ASSERT_EQ(status, 0);
    }

    /// What rsync would still do to make the backup equal to the original, apart from what is not backed up.
    std::string differences(const SyncRun &run) const {
        std::ofstream excluded(tree / "excluded");
        for (const SkippedItem &item : run.skipped)
            excluded << '/' << item.relPath.toStdString() << '\n';
        for (const QString &line : run.conflicts) // the pair's name, the path, then the reason
            excluded
                << line.section(QStringLiteral(" — "), 0, -2).section(u'/', 1).prepend(u'/').toStdString()
                << '\n';
        excluded << ".*\n" << std::flush;
        int status = 0;
        const std::string printed = printedBy(
            "rsync -rtpn --checksum --omit-dir-times --no-links --itemize-changes --delete --exclude-from='" +
                (tree / "excluded").native() + "' '" + (tree / "Photos/").native() + "' '" +
                (tree / "OneDrive/Photos/").native() + "' 2>&1 | grep -v '^skipping non-regular file'",
            status);
        return printed.substr(0, 2000);
    }
};

TEST_F(WholeTree, RsyncFindsNoDifferenceInTheBackupOfARealTree) {
    int status = 0;
    printedBy("rsync --version", status);
    if (status != 0 || !fs::exists("/usr/share/doc"))
        GTEST_SKIP() << "rsync or /usr/share/doc is missing";
    copyRealTree("/usr/share/doc");
    ASSERT_NE(differences(SyncRun()), "") << "the comparison must be able to fail";
    const Untouched original(tree / "Photos");
    const Program::Outcome outcome = backUp({"--json"}).run();
    original.expectUntouched();
    EXPECT_EQ(outcome.status, 0) << outcome.err;
    const SyncRun run = recordOf(outcome.out);
    EXPECT_GT(run.filesCopied, 1000);
    EXPECT_EQ(differences(run), "");
    EXPECT_EQ(leftovers(), std::vector<std::string>());
    EXPECT_EQ(recordOf(backUp({"--json"}).run().out).upToDate, run.filesCopied);
}

struct Row {
    const char *situation;
    std::string cache;
    rlim_t openFiles;
};

void PrintTo(const Row &row, std::ostream *out) {
    *out << row.situation;
}

class FewDescriptors : public ProgramTest, public testing::WithParamInterface<Row> {};

TEST_P(FewDescriptors, AreEnoughForThousandsOfFoldersAndDeepOnes) {
    std::string deep = "Photos";
    for (int i = 0; i < 100; ++i)
        tree.file((deep += "/deeper") + "/f" + std::to_string(i), "x");
    for (int i = 0; i < 1000; ++i)
        tree.file("Photos/" + std::to_string(i) + "/a.jpg", std::to_string(i));
    Program program = backUp();
    program.environment["XDG_CACHE_HOME"] = GetParam().cache;
    program.openFiles = GetParam().openFiles;
    const Program::Outcome outcome = program.run();
    EXPECT_EQ(outcome.status, 0) << outcome.out.substr(0, 2000);
    EXPECT_EQ(tree.snapshot("OneDrive/Photos"), tree.snapshot("Photos"));
    EXPECT_EQ(leftovers(), std::vector<std::string>());
}

INSTANTIATE_TEST_SUITE_P(Places, FewDescriptors,
                         testing::Values(Row{"staged in the temporary folder", "", 40},
                                         Row{"staged beside the target, where each holds its lock",
                                             "/dev/null", 900}));

} // namespace
