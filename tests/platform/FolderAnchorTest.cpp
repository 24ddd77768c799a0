#include "platform/FolderAnchor.h"

#include "support/LoopMount.h"
#include "support/Restricted.h"
#include "support/TestTree.h"

#include <cerrno>
#include <cstdlib>
#include <gtest/gtest.h>
#include <system_error>

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace {

FileDescriptor openFolder(const fs::path &path) {
    return FileDescriptor(::open(path.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC));
}

void expectLinksToBeRefused() {
    TestTree tree;
    tree.dir("real/a/b");
    tree.dir("outside/b");
    tree.file("file");
    tree.link("link", "real");
    tree.link("real/out", tree / "outside");
    tree.link("real/a/last", "b");
    tree.link("to-file", "file");
    const auto before = tree.snapshot();
    const FileDescriptor top = openFolder(tree.top());
    for (const char *path : {"link", "link/a/b", "real/out/b", "real/out/new/x", "real/a/last", "file/x"}) {
        EXPECT_THROW(OpenBelow::folder(top.get(), path), std::system_error) << path;
        EXPECT_THROW(OpenBelow::makeFolders(top.get(), path), std::system_error) << path;
    }
    EXPECT_THROW(OpenBelow::file(top.get(), "to-file"), std::system_error);
    EXPECT_EQ(tree.snapshot(), before);
}

/// With and without the system call that follows no link in any component; the children start anew, because
/// which one there is is found out once per process.
class OpenBelowOn : public testing::TestWithParam<int> {};

TEST_P(OpenBelowOn, NeverThroughALink) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT(
        {
            if (GetParam() != 0)
                Restricted::refuseCall(SYS_openat2, GetParam());
            expectLinksToBeRefused();
            std::_Exit(HasFailure() ? 1 : 0);
        },
        testing::ExitedWithCode(0), "");
    GTEST_FLAG_SET(death_test_style, "fast");
}

INSTANTIATE_TEST_SUITE_P(Kernels, OpenBelowOn, testing::Values(0, ENOSYS, EPERM));

TEST(OpenBelow, WhatBelongsToAnotherUserIsReadAllTheSame) {
    TestTree tree;
    tree.file("folder/a");
    ::chmod(tree.top().c_str(), 0755);
    EXPECT_EXIT(
        {
            Restricted::becomeOrdinaryUser();
            const FileDescriptor folder = OpenBelow::folder(openFolder(tree.top()).get(), "folder");
            char byte;
            std::_Exit(::read(OpenBelow::file(folder.get(), "a").get(), &byte, 1) == 1 ? 0 : 1);
        },
        testing::ExitedWithCode(0), "");
}

TEST(FolderAnchor, IsInPlaceWhileAFolderOfTheSameDriveStandsThere) {
    if (const auto reason = LoopMount::whyNot(LoopMount::Type::Tmpfs))
        GTEST_SKIP() << *reason;
    LoopMount drive({.type = LoopMount::Type::Tmpfs});
    const fs::path place = drive.top() / "a";
    fs::create_directory(place);
    const FolderAnchor anchor(place);
    {
        const Mount cover("tmpfs", place, "tmpfs");
        EXPECT_FALSE(anchor.isInPlace()) << "covered by another drive";
    }
    {
        const Mount cover(drive.top(), drive.top(), "bind");
        EXPECT_FALSE(anchor.isInPlace()) << "the same drive is mounted there a second time";
    }
    EXPECT_TRUE(anchor.isInPlace()) << "uncovered again";
    fs::rename(place, drive.top() / "b");
    EXPECT_FALSE(anchor.isInPlace()) << "moved away";
    drive.lazyUnmount();
    fs::create_directory(place);
    EXPECT_FALSE(anchor.isInPlace()) << "an ordinary folder under the mount point";
    fs::remove(place);
}

} // namespace
