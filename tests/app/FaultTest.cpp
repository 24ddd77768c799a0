#include "app/Fault.h"

#include <csignal>
#include <tuple>

namespace {

// Whatever a system can't do is done in another way

class Inability : public Fault, public testing::WithParamInterface<FaultRow> {};

TEST_P(Inability, OfTheSystemIsWorkedAround) {
    const Untouched original(tree / "Photos");
    const Program::Outcome outcome = meddledWith(GetParam().faults).run();
    original.expectUntouched();
    EXPECT_EQ(outcome.status, 0);
    EXPECT_EQ(outcome.err, "");
    EXPECT_NE(outcome.faults.find("INJECTED"), std::string::npos);
    expectComplete();
    EXPECT_EQ(recordOf(outcome.out).filesCopied, 5);
}

INSTANTIATE_TEST_SUITE_P(
    Calls, Inability,
    testing::Values(FaultRow{"no exclusive rename", {"renameat2:error=EINVAL"}},
                    FaultRow{"neither exclusive rename nor links",
                             {"renameat2:error=ENOSYS", "linkat:error=EPERM"}},
                    FaultRow{"no rename over a file", {"renameat:error=EINVAL:when=1+2"}},
                    FaultRow{"a rename over a file says that it exists", {"renameat:error=EEXIST:when=1+2"}},
                    FaultRow{"a rename over a file is no operation", {"renameat:error=EOPNOTSUPP:when=1+2"}},
                    FaultRow{"one new file can't be renamed out of the temporary folder",
                             {"renameat2:error=EXDEV:when=1"}},
                    FaultRow{"one changed file can't be renamed out of the temporary folder",
                             {"renameat:error=EXDEV:when=1"}},
                    FaultRow{"neither way out of the temporary folder",
                             {"renameat:error=EXDEV:when=1", "renameat2:error=EXDEV:when=1"}},
                    FaultRow{"no openat2", {"openat2:error=ENOSYS"}},
                    FaultRow{"a forbidden openat2", {"openat2:error=EPERM"}},
                    FaultRow{"a rename on the way of openat2", {"openat2:error=EAGAIN:when=2+3"}},
                    FaultRow{"the kernel copies nothing between devices", {"copy_file_range:error=EXDEV"}},
                    FaultRow{"the kernel says that it copied nothing", {"copy_file_range:retval=0"}},
                    FaultRow{"the kernel can't copy", {"copy_file_range:error=ENOSYS"}},
                    FaultRow{"a copy is interrupted", {"copy_file_range:error=EINTR:when=1+2"}},
                    FaultRow{"one date can't be set at first", {"utimensat:error=EPERM:when=2"}},
                    FaultRow{"no locks", {"flock:error=EOPNOTSUPP"}},
                    FaultRow{"no extended attributes", {"flistxattr:error=EOPNOTSUPP"}}));

// Failures are told, and nothing is left half-done

TEST_F(Fault, NothingIsPublishedWhenTheFlushFails) {
    const Snapshot before = tree.snapshot("OneDrive/Photos");
    Program program = meddledWith({"syncfs:error=EIO"});
    const Program::Outcome outcome = program.run();
    EXPECT_EQ(outcome.status, 1);
    const SyncRun run = recordOf(outcome.out);
    Lines errors = errorsOf(run);
    std::erase_if(errors, [](const std::string &line) { return line.starts_with("Photos: "); });
    EXPECT_EQ(errors,
              (Lines{"Photos/changed 1.jpg: Input/output error", "Photos/changed 2.jpg: Input/output error",
                     "Photos/new.jpg: Input/output error", "Photos/sub/deeper/new.jpg: Input/output error",
                     "Photos/sub/large.jpg: Input/output error"}));
    EXPECT_EQ(std::tuple(run.filesCopied, run.bytesCopied, run.changes.size()), std::tuple(0, 0, 0U));
    Snapshot expected = before;
    for (const char *folder : {"empty", "sub", "sub/deeper"})
        expected[folder] = "dir";
    EXPECT_EQ(tree.snapshot("OneDrive/Photos"), expected);
    EXPECT_EQ(leftovers(), Lines());
    expectTheNextRunPutsEverythingRight();
}

class FullDisk : public Fault, public testing::WithParamInterface<FaultRow> {};

TEST_P(FullDisk, EndsTheRunAndLeavesWhatIsThere) {
    const Snapshot before = tree.snapshot("OneDrive/Photos");
    const Program::Outcome outcome = meddledWith(GetParam().faults).run();
    EXPECT_EQ(outcome.status, 1);
    const SyncRun run = recordOf(outcome.out);
    ASSERT_TRUE(run.fatal);
    const std::string first = run.fatal->toStdString();
    EXPECT_TRUE(first.starts_with("The disk ran out of space while copying “") &&
                first.ends_with("”. Free up some space and sync again."))
        << first;
    EXPECT_EQ(run.pairResults.front().note, QStringLiteral("Out of space"));
    expectOldOrNew(before);
    EXPECT_EQ(leftovers(), Lines());
    expectTheNextRunPutsEverythingRight();
}

INSTANTIATE_TEST_SUITE_P(
    Calls, FullDisk,
    testing::Values(FaultRow{"while the kernel copies", {"copy_file_range:error=ENOSPC"}},
                    FaultRow{"after some files", {"copy_file_range:error=ENOSPC:when=4+"}},
                    FaultRow{"beyond the user's share", {"copy_file_range:error=EDQUOT:when=2"}},
                    FaultRow{"while copying by hand",
                             {"copy_file_range:error=EXDEV", "pwrite64:error=ENOSPC:when=2"}},
                    FaultRow{"while flushing", {"syncfs:error=ENOSPC"}},
                    FaultRow{"while publishing", {"renameat2:error=ENOSPC"}}));

TEST_F(Fault, OneBadFileIsAnErrorLineAndTheOthersAreCopied) {
    for (const char *fault : {"copy_file_range:error=EIO", "pread64:error=EIO"}) {
        fs::remove_all(tree / "OneDrive/Photos");
        Program program = meddledWith({fault});
        if (std::string(fault).starts_with("pread64"))
            program.inject("copy_file_range:error=EXDEV");
        program.faultyPath = tree / "Photos/sub/large.jpg";
        const Program::Outcome outcome = program.run();
        EXPECT_EQ(outcome.status, 1);
        EXPECT_EQ(errorsOf(recordOf(outcome.out)), Lines{"Photos/sub/large.jpg: Input/output error"});
        Snapshot expected = tree.snapshot("Photos");
        expected.erase("sub/large.jpg");
        EXPECT_EQ(tree.snapshot("OneDrive/Photos"), expected);
        expectTheNextRunPutsEverythingRight();
    }
}

TEST_F(Fault, AFolderWhoseListingBreaksOffIsLeftOutAsAWhole) {
    for (int i = 0; i < 600; ++i)
        tree.file("Photos/" + std::to_string(i) + std::string(200, 'n'), "");
    Program program = meddledWith({"getdents64:error=EIO:when=2"}, {"--dry-run", "--json"});
    const Program::Outcome outcome = program.run();
    EXPECT_EQ(outcome.status, 1);
    EXPECT_NE(outcome.out.find("\"copies\" : []"), std::string::npos);
    const Program::Outcome run = meddledWith({"getdents64:error=EIO:when=2"}, {}).run();
    EXPECT_EQ(run.status, 1);
    EXPECT_EQ(run.out,
              "1 problem\nPhotos: Photos: couldn't read your folder of this folder, so it was skipped. "
              "Input/output error\n");
    expectTheNextRunPutsEverythingRight();
}

TEST_F(Fault, AFileThatAppearsDuringTheRunIsNeverReplacedByAnOlderOne) {
    const std::vector<std::string> ways[] = {{},
                                             {"renameat2:error=EINVAL"},
                                             {"renameat2:error=EINVAL", "linkat:error=EPERM"},
                                             {"renameat:error=EINVAL:when=1+2"}};
    for (std::vector<std::string> faults : ways) {
        fs::remove_all(tree / "OneDrive/Photos");
        tree.file("OneDrive/Photos/changed 1.jpg", "first version");
        faults.push_back("syncfs:signal=STOP:when=1");
        Program program = meddledWith(faults);
        program.start();
        ASSERT_TRUE(program.waitUntilStopped());
        tree.file("OneDrive/Photos/new.jpg", "newer in OneDrive", later(someTime, 500));
        tree.file("OneDrive/Photos/changed 1.jpg", "newest in OneDrive", later(someTime, 500));
        tree.file("OneDrive/Photos/sub/large.jpg", "older in OneDrive", later(someTime, -500));
        fs::remove(tree / "OneDrive/Photos/sub/deeper");
        tree.dir("OneDrive/Photos/sub/deeper/new.jpg");
        program.signal(SIGCONT);
        while (program.waitUntilStopped())
            program.signal(SIGCONT);
        const SyncRun run = recordOf(program.finish().out);
        EXPECT_EQ(tree.read("OneDrive/Photos/new.jpg"), "newer in OneDrive");
        EXPECT_EQ(tree.read("OneDrive/Photos/changed 1.jpg"), "newest in OneDrive");
        EXPECT_EQ(tree.read("OneDrive/Photos/sub/large.jpg"), std::string(700'000, 'x'));
        EXPECT_EQ(std::tuple(run.keptNewer.size(), run.conflicts.size(), run.errors.size(), run.filesCopied),
                  std::tuple(2U, 1U, 0U, 2));
        EXPECT_EQ(leftovers(), Lines());
    }
}

TEST_F(Fault, AfterAStopWhatIsCompleteIsStillPublished) {
    for (const int number : {SIGTERM, SIGINT}) {
        fs::remove_all(tree / "OneDrive/Photos");
        Program program = meddledWith({"syncfs:signal=STOP:when=1"});
        program.start();
        ASSERT_TRUE(program.waitUntilStopped());
        program.signal(number);
        program.signal(SIGCONT);
        while (program.waitUntilStopped())
            program.signal(SIGCONT);
        const Program::Outcome outcome = program.finish();
        EXPECT_EQ(outcome.status, 130);
        const SyncRun run = recordOf(outcome.out);
        EXPECT_TRUE(run.cancelled);
        EXPECT_EQ(run.filesCopied, 5);
        EXPECT_EQ(run.pairResults.front().note, QStringLiteral("Cancelled"));
        expectComplete();
    }
}

TEST_F(Fault, ASecondSignalEndsTheProcessAtOnce) {
    Program program = meddledWith({"syncfs:signal=STOP:when=1"});
    program.start();
    ASSERT_TRUE(program.waitUntilStopped());
    program.signal(SIGTERM);
    program.signal(SIGINT);
    program.signal(SIGCONT);
    while (program.waitUntilStopped())
        program.signal(SIGCONT);
    EXPECT_EQ(program.finish().status, 130);
    expectTheNextRunPutsEverythingRight();
}

TEST_F(Fault, NoFileTakesThePlaceOfAStandardStreamThatIsMissing) {
    Program program = meddledWith({"syncfs:signal=STOP:when=1"});
    program.out = program.err = Program::Stream::Closed;
    program.start();
    ASSERT_TRUE(program.waitUntilStopped());
    for (const char *stream : {"1", "2"}) {
        const fs::path leadsTo = fs::read_symlink("/proc/" + std::to_string(program.pid()) + "/fd/" + stream);
        EXPECT_EQ(leadsTo, "/dev/null") << stream;
    }
    program.signal(SIGCONT);
    while (program.waitUntilStopped())
        program.signal(SIGCONT);
    EXPECT_EQ(program.finish().status, 0);
    expectComplete();
}

} // namespace
