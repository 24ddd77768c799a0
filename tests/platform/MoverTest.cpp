#include "platform/Mover.h"

#include "support/Restricted.h"
#include "support/TestTree.h"

#include <cerrno>
#include <cstdlib>
#include <gtest/gtest.h>
#include <system_error>

#include <fcntl.h>
#include <sys/syscall.h>

namespace {

/// What the file system of the test can't do.
struct Row {
    const char *situation;
    Mover::On on;
    int exclusiveRename; ///< errno of renameat2(), 0 when it works
    int link;            ///< errno of linkat(), 0 when it works
    int failure;         ///< errno that a move fails with, 0 when another way is found
};

class MoverOn : public testing::TestWithParam<Row> {};

TEST_P(MoverOn, MovesInWithoutEverReplacing) {
    TestTree tree;
    tree.file("new", "new");
    tree.file("existing", "old");
    tree.link("dangling", "nowhere");
    auto expected = tree.snapshot();
    if (GetParam().failure == 0)
        expected["a"] = expected.extract("new").mapped();
    Mover mover(GetParam().on);
    const auto moveIn = [&](const char *from, const char *to) {
        return mover.moveIn({AT_FDCWD, (tree / from).c_str()}, {AT_FDCWD, (tree / to).c_str()});
    };
    EXPECT_EXIT(
        try {
            if (GetParam().exclusiveRename != 0)
                Restricted::refuseCall(SYS_renameat2, GetParam().exclusiveRename);
            if (GetParam().link != 0)
                Restricted::refuseCall(SYS_linkat, GetParam().link);
            EXPECT_EQ(moveIn("new", "existing"), Mover::MovedIn::TargetExists);
            EXPECT_EQ(moveIn("new", "dangling"), Mover::MovedIn::TargetExists);
            EXPECT_EQ(moveIn("new", "a"), Mover::MovedIn::Done);
            std::_Exit(HasFailure() ? 1 : 0);
        } catch (const std::system_error &error) { std::_Exit(error.code().value()); },
        testing::ExitedWithCode(GetParam().failure), "");
    EXPECT_EQ(tree.snapshot(), expected);
}

/// Only what means "this file system doesn't know the call" may lead to another way.
INSTANTIATE_TEST_SUITE_P(FileSystems, MoverOn,
                         testing::Values(Row{"WithEverything", Mover::On::Disk, 0, 0, 0},
                                         Row{"WithAnOldKernel", Mover::On::Disk, ENOSYS, 0, 0},
                                         Row{"WithoutLinksAsOnFat", Mover::On::Disk, EINVAL, EPERM, 0},
                                         Row{"DeadAtRename", Mover::On::Disk, EIO, 0, EIO},
                                         Row{"FullAtLink", Mover::On::Disk, EINVAL, ENOSPC, ENOSPC},
                                         Row{"OfAClientThatAnswersAnything", Mover::On::Fuse, EIO, EACCES, 0}),
                         [](const auto &row) { return std::string(row.param.situation); });

} // namespace
