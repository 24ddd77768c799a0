#include "app/Fault.h"

#include <csignal>

namespace {

class KilledAt : public Fault, public testing::WithParamInterface<FaultRow> {};

TEST_P(KilledAt, ThisCallLeavesEveryFileOldOrNew) {
    const Untouched original(tree / "Photos");
    const Snapshot before = tree.snapshot("OneDrive/Photos");
    const Program::Outcome outcome = meddledWith(GetParam().faults).run();
    ASSERT_EQ(outcome.status, 128 + SIGKILL);
    original.expectUntouched();
    expectOldOrNew(before);
    expectTheNextRunPutsEverythingRight();
}

INSTANTIATE_TEST_SUITE_P(
    Calls, KilledAt,
    testing::Values(FaultRow{"making a folder", {"mkdirat:signal=KILL:when=2"}},
                    FaultRow{"copying the first", {"copy_file_range:signal=KILL:when=1"}},
                    FaultRow{"copying the last", {"copy_file_range:signal=KILL:when=5"}},
                    FaultRow{"dating", {"utimensat:signal=KILL:when=3"}},
                    FaultRow{"flushing", {"syncfs:signal=KILL:when=1"}},
                    FaultRow{"publishing the first new one", {"renameat2:signal=KILL:when=1"}},
                    FaultRow{"publishing the last new one", {"renameat2:signal=KILL:when=3"}},
                    FaultRow{"publishing a changed one", {"renameat:signal=KILL:when=2"}},
                    FaultRow{"publishing through a link",
                             {"renameat2:error=EINVAL", "unlinkat:signal=KILL:when=1"}},
                    FaultRow{"copying again beside the target",
                             {"renameat2:error=EXDEV:when=1", "fsync:signal=KILL:when=1"}}));

class KilledInTheManualSwap : public Fault {
  protected:
    void killBetweenTheTwoRenames() {
        for (const char *path : {"Photos/new.jpg", "Photos/sub", "Photos/empty"})
            fs::remove_all(tree / path);
        const Program::Outcome outcome =
            meddledWith({"renameat:error=EINVAL:when=1", "renameat2:signal=KILL:when=1"}).run();
        ASSERT_EQ(outcome.status, 128 + SIGKILL);
        ASSERT_FALSE(fs::exists(tree / "OneDrive/Photos/changed 1.jpg"));
        EXPECT_EQ(movedAside(), "first version");
    }

    /// What is in the one file that was moved aside; empty when there is none.
    std::string movedAside() const {
        for (const std::string &path : leftovers()) {
            if (path.find(".tw-old-") != std::string::npos)
                return tree.read(path);
        }
        return "";
    }
};

TEST_F(KilledInTheManualSwap, TheNextRunRecovers) {
    killBetweenTheTwoRenames();
    expectTheNextRunPutsEverythingRight();
}

TEST_F(KilledInTheManualSwap, TheOldVersionStaysUntilANewOneIsThere) {
    killBetweenTheTwoRenames();
    Program program = meddledWith({"copy_file_range:error=EIO"});
    program.faultyPath = tree / "Photos/changed 1.jpg";
    const Program::Outcome failed = program.run();
    EXPECT_EQ(errorsOf(recordOf(failed.out)), Lines{"Photos/changed 1.jpg: Input/output error"});
    EXPECT_EQ(movedAside(), "first version");
    expectTheNextRunPutsEverythingRight();
}

} // namespace
