#include "platform/Mover.h"

#include "support/Restricted.h"
#include "support/TestTree.h"

#include <cerrno>
#include <cstdlib>
#include <gtest/gtest.h>
#include <system_error>

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/syscall.h>

namespace {

using Snapshot = std::map<std::string, std::string>;

/// What the file system of the test can't do.
struct LackRow {
    const char *situation;
    int exclusiveRename; ///< errno of renameat2(), 0 when it works
    int link;            ///< errno of linkat(), 0 when it works
};

class MoverOn : public testing::TestWithParam<LackRow> {
  protected:
    MoverOn() {
        tree.file("from/new", "new");
        tree.file("from/second", "second");
        tree.file("to/existing", "old");
        tree.dir("to/folder");
        tree.link("to/dangling", "nowhere");
    }

    void lack() const {
        if (GetParam().exclusiveRename != 0)
            Restricted::refuseCall(SYS_renameat2, GetParam().exclusiveRename);
        if (GetParam().link != 0)
            Restricted::refuseCall(SYS_linkat, GetParam().link);
    }

    Mover::MovedIn moveIn(const std::string &from, const std::string &to) {
        return mover.moveIn({AT_FDCWD, (tree / from).c_str()}, {AT_FDCWD, (tree / to).c_str()});
    }

    TestTree tree;
    Mover mover;
};

TEST_P(MoverOn, WhatIsInTheWayIsNeverReplaced) {
    const Snapshot before = tree.snapshot();
    EXPECT_EXIT(
        {
            lack();
            bool refused = true;
            for (const char *target : {"to/existing", "to/folder", "to/dangling", "to/existing"})
                refused = refused && moveIn("from/new", target) == Mover::MovedIn::TargetExists;
            std::_Exit(refused ? 0 : 1);
        },
        testing::ExitedWithCode(0), "");
    EXPECT_EQ(tree.snapshot(), before);
}

TEST_P(MoverOn, NewFilesMoveIn) {
    Snapshot expected = tree.snapshot();
    expected["to/a"] = expected["from/new"];
    expected["to/b"] = expected["from/second"];
    expected.erase("from/new");
    expected.erase("from/second");
    EXPECT_EXIT(
        {
            lack();
            const bool done = moveIn("from/new", "to/a") == Mover::MovedIn::Done &&
                              moveIn("from/second", "to/a") == Mover::MovedIn::TargetExists &&
                              moveIn("from/second", "to/b") == Mover::MovedIn::Done;
            std::_Exit(done ? 0 : 1);
        },
        testing::ExitedWithCode(0), "");
    EXPECT_EQ(tree.snapshot(), expected);
}

TEST_P(MoverOn, AMissingSourceOrFolderFails) {
    const Snapshot before = tree.snapshot();
    EXPECT_EXIT(
        {
            lack();
            int failures = 0;
            for (const auto &[from, to] : {std::pair("from/none", "to/x"), std::pair("from/new", "none/x")}) {
                try {
                    moveIn(from, to);
                } catch (const std::system_error &error) {
                    failures += error.code() == std::errc::no_such_file_or_directory ? 1 : 0;
                }
            }
            std::_Exit(failures == 2 ? 0 : 1);
        },
        testing::ExitedWithCode(0), "");
    EXPECT_EQ(tree.snapshot(), before);
}

INSTANTIATE_TEST_SUITE_P(FileSystems, MoverOn,
                         testing::Values(LackRow{"WithEverything", 0, 0},
                                         LackRow{"WithoutExclusiveRename", EINVAL, 0},
                                         LackRow{"WithAnOldKernel", ENOSYS, 0},
                                         LackRow{"WithoutLinksAsOnFat", EINVAL, EPERM},
                                         LackRow{"WithoutLinksAsOnFuse", EINVAL, ENOSYS}),
                         [](const auto &row) { return std::string(row.param.situation); });

struct ErrorRow {
    const char *situation;
    LackRow lack;
    int expected;
};

class MoverError : public testing::TestWithParam<ErrorRow> {};

/// Only what means "this file system doesn't know the call" may lead to another way; every other errno is the
/// failure of this move.
TEST_P(MoverError, IsPassedOn) {
    TestTree tree;
    tree.file("new", "new");
    const Snapshot before = tree.snapshot();
    EXPECT_EXIT(
        {
            Restricted::refuseCall(SYS_renameat2, GetParam().lack.exclusiveRename);
            if (GetParam().lack.link != 0)
                Restricted::refuseCall(SYS_linkat, GetParam().lack.link);
            try {
                Mover().moveIn({AT_FDCWD, (tree / "new").c_str()}, {AT_FDCWD, (tree / "to").c_str()});
            } catch (const std::system_error &error) {
                std::_Exit(error.code().value() == GetParam().expected ? 0 : 1);
            }
            std::_Exit(2);
        },
        testing::ExitedWithCode(0), "");
    EXPECT_EQ(tree.snapshot(), before);
}

INSTANTIATE_TEST_SUITE_P(Errors, MoverError,
                         testing::Values(ErrorRow{"OtherVolume", {"", EXDEV, 0}, EXDEV},
                                         ErrorRow{"DeadDriveAtRename", {"", EIO, 0}, EIO},
                                         ErrorRow{"FullAtRename", {"", ENOSPC, 0}, ENOSPC},
                                         ErrorRow{"OtherVolumeAtLink", {"", EINVAL, EXDEV}, EXDEV},
                                         ErrorRow{"FullAtLink", {"", EINVAL, ENOSPC}, ENOSPC}),
                         [](const auto &row) { return std::string(row.param.situation); });

TEST(Mover, ReplaceTakesTheOldFilesPlaceInOneStep) {
    TestTree tree;
    tree.file("new", "new");
    tree.file("old", "old");
    tree.dir("folder/inside");
    const std::string content = tree.snapshot()["new"];
    Mover::replace({AT_FDCWD, (tree / "new").c_str()}, {AT_FDCWD, (tree / "old").c_str()});
    EXPECT_EQ(tree.snapshot(), (Snapshot{{"folder", "dir"}, {"folder/inside", "dir"}, {"old", content}}));
    EXPECT_THROW(Mover::replace({AT_FDCWD, (tree / "old").c_str()}, {AT_FDCWD, (tree / "folder").c_str()}),
                 std::system_error);
}

} // namespace
