#include "app/ProgramTest.h"

#include <csignal>
#include <cstdlib>
#include <ostream>

namespace {

/// A tree with new and changed files, and a program that is told that something doesn't work.
class Meddling : public ProgramTest {
  protected:
    void SetUp() override {
        if (std::system("strace -o /dev/null -e inject=getpid:error=EIO true 2>/dev/null") != 0)
            GTEST_SKIP() << "strace is missing or may not trace here";
        tree.file("Photos/changed 1.jpg", "second version", later(someTime, 100));
        tree.file("OneDrive/Photos/changed 1.jpg", "first version");
        tree.file("Photos/changed 2.jpg", "another second version", {1'600'000'100, 123'456'789});
        tree.file("OneDrive/Photos/changed 2.jpg", "another first version");
        tree.file("Photos/new.jpg", "new");
        tree.file("Photos/sub/deeper/new.jpg", "also new");
        tree.file("Photos/sub/large.jpg", std::string(700'000, 'x'));
        tree.dir("Photos/empty");
    }

    /// Faults are given as to strace's option "inject", such as "syncfs:error=EIO"; `when=N` counts the calls of each
    /// thread by itself. With `path` only calls that have to do with it are met. The log of the calls is "calls".
    Program meddledWith(const Lines &faults, const std::string &path = "") const {
        Lines words = {"strace", "-f", "-qq", "-o", tree / "calls"};
        for (const std::string &fault : faults)
            words.insert(words.end(), {"-e", "inject=" + fault});
        if (!path.empty())
            words.insert(words.end(), {"-P", tree / path});
        Program program = backUp({"--json"});
        program.words.insert(program.words.begin(), words.begin(), words.end());
        program.environment["ASAN_OPTIONS"] = "detect_leaks=0"; // needs to trace the process itself
        return program;
    }
};

struct Row {
    const char *situation;
    std::vector<std::string> faults;
    int status = 0;
    int copied = 5; ///< at least
    std::vector<std::string> told = {};
    std::string path = ""; ///< that the faults are restricted to
};

void PrintTo(const Row &row, std::ostream *out) {
    *out << row.situation;
}

class Fault : public Meddling, public testing::WithParamInterface<Row> {};

TEST_P(Fault, LeavesEveryFileOldOrNewAndIsTold) {
    const Row &row = GetParam();
    const Snapshot before = backup();
    const Untouched original(tree / "Photos");
    Program program = meddledWith(row.faults, row.path);
    if (row.status == 128 + SIGINT)
        program.words.insert(program.words.begin(), {"timeout", "--preserve-status", "-s", "INT", "1"});
    const Program::Outcome outcome = program.run();
    original.expectUntouched();
    EXPECT_EQ(outcome.status, row.status);
    EXPECT_EQ(outcome.err, "");
    const int newFiles = expectOldOrNew(before);
    EXPECT_TRUE(row.status >= 128 || tree.read("calls").find("INJECTED") != std::string::npos);
    if (row.status != 128 + SIGKILL) {
        const SyncRun run = recordOf(outcome.out);
        EXPECT_EQ(toldBy(run), row.told);
        EXPECT_GE(newFiles, row.copied);
        EXPECT_EQ(run.filesCopied, newFiles);
        EXPECT_EQ(run.cancelled, row.status == 128 + SIGINT);
        EXPECT_EQ(leftovers(), Lines());
    }
    if (row.status == 0)
        expectComplete();
    expectTheNextRunPutsEverythingRight();
}

constexpr const char *large = "Photos/sub/large.jpg";
const std::vector<std::string> noFlush = {
    "Photos/changed 1.jpg: Input/output error", "Photos/changed 2.jpg: Input/output error",
    "Photos/new.jpg: Input/output error", "Photos/sub/deeper/new.jpg: Input/output error",
    "Photos/sub/large.jpg: Input/output error"};
const std::string outOfSpace =
    "The disk ran out of space while copying “sub/large.jpg”. Free up some space and sync again.";

INSTANTIATE_TEST_SUITE_P(
    Calls, Fault,
    testing::Values(
        Row{"no exclusive rename", {"renameat2:error=EINVAL"}},
        Row{"neither exclusive rename nor links", {"renameat2:error=ENOSYS", "linkat:error=EPERM"}},
        Row{"no rename over a file, so it is swapped by hand", {"renameat:error=EINVAL:when=1+2"}},
        Row{"a new file can't leave the temporary folder", {"renameat2:error=EXDEV:when=1"}},
        Row{"a changed file can't leave the temporary folder", {"renameat:error=EXDEV:when=1"}},
        Row{"no openat2", {"openat2:error=ENOSYS"}},
        Row{"the kernel copies nothing between devices", {"copy_file_range:error=EXDEV"}},
        Row{"the flush fails", {"syncfs:error=EIO"}, 1, 0, noFlush},
        Row{"a bad file", {"copy_file_range:error=EIO"}, 1, 4, {"Photos/sub/large.jpg: Input/output error"}, large},
        Row{"the disk is full", {"copy_file_range:error=ENOSPC"}, 1, 0, {outOfSpace}, large},
        Row{"the disk takes no byte", {"copy_file_range:error=EXDEV", "pwrite64:retval=0"}, 1, 0, noFlush},
        Row{"stopped in mid-copy", {"copy_file_range:delay_enter=3000000:when=1"}, 128 + SIGINT, 0},
        Row{"killed while publishing a new file", {"renameat2:signal=KILL:when=1"}, 128 + SIGKILL},
        Row{"killed while publishing a changed file", {"renameat:signal=KILL:when=2"}, 128 + SIGKILL},
        Row{"no thread waits for signals", {"clone3:error=EAGAIN:when=1"}}));

TEST_F(Meddling, AnOriginalThatCannotBeOpenedIsToldWithTheReason) {
    const Program::Outcome outcome = meddledWith({"open,openat:error=EIO"}, "Photos").run();
    EXPECT_EQ(outcome.status, 1);
    EXPECT_EQ(toldBy(recordOf(outcome.out)),
              Lines{inTree("Photos: the folder is missing on the drive (@/Photos: Input/output error)")});
}

TEST_F(Meddling, TheFirstStopOnATerminalTellsOfTheSecond) {
    Program program = meddledWith({"copy_file_range:delay_enter=3000000:when=1"});
    std::string command = "timeout --preserve-status -s INT 1";
    for (const std::string &word : program.words)
        command += ' ' + word;
    program.words = {"script", "-qec", command, "/dev/null"};
    const Program::Outcome outcome = program.run();
    EXPECT_EQ(outcome.status, 130);
    EXPECT_NE(outcome.out.find("\x1b[KStopping safely; press Ctrl-C again to end at once.\r\n"), std::string::npos)
        << outcome.out;
}

TEST_F(Meddling, KilledBetweenTheTwoRenamesOfASwapTheOldVersionStaysUntilANewOneIsThere) {
    for (const char *path : {"Photos/new.jpg", "Photos/sub", "Photos/empty"})
        fs::remove_all(tree / path);
    const Program::Outcome killed = meddledWith({"renameat:error=EINVAL:when=1", "renameat2:signal=KILL:when=1"}).run();
    ASSERT_EQ(killed.status, 128 + SIGKILL);
    // Which of the two comes first depends on the order in which the system lists them.
    const std::string moved = fs::exists(tree / "OneDrive/Photos/changed 1.jpg") ? "changed 2.jpg" : "changed 1.jpg";
    const std::string old = moved == "changed 1.jpg" ? "first version" : "another first version";
    ASSERT_FALSE(fs::exists(tree / ("OneDrive/Photos/" + moved)));
    const auto movedAside = [this] {
        for (const std::string &path : leftovers()) {
            if (path.find(".tw-old-") != std::string::npos)
                return tree.read(path);
        }
        return std::string("nothing");
    };
    EXPECT_EQ(movedAside(), old);
    const Program::Outcome failed = meddledWith({"copy_file_range:error=EIO"}, "Photos/" + moved).run();
    EXPECT_EQ(toldBy(recordOf(failed.out)), Lines{"Photos/" + moved + ": Input/output error"});
    EXPECT_EQ(movedAside(), old);
    expectTheNextRunPutsEverythingRight();
}

} // namespace
