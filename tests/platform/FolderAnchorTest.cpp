#include "platform/FolderAnchor.h"

#include "support/LoopMount.h"
#include "support/Restricted.h"
#include "support/TestTree.h"

#include <cerrno>
#include <climits>
#include <cstdlib>
#include <functional>
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

/// The errno that the call fails with, 0 when it succeeds.
int errorOf(const std::function<void()> &call) {
    try {
        call();
        return 0;
    } catch (const std::system_error &error) {
        return error.code().value();
    }
}

bool isLinkRefusal(int error) {
    return error == ELOOP || error == ENOTDIR;
}

/// With and without the system call that follows no link in any component; the children start from anew,
/// because which one there is is found out once per process.
class OpenBelowOn : public testing::TestWithParam<int> {
  protected:
    OpenBelowOn() { GTEST_FLAG_SET(death_test_style, "threadsafe"); }
    ~OpenBelowOn() override { GTEST_FLAG_SET(death_test_style, "fast"); }

    static void lack() {
        if (GetParam() != 0)
            Restricted::refuseCall(SYS_openat2, GetParam());
    }
};

INSTANTIATE_TEST_SUITE_P(Kernels, OpenBelowOn, testing::Values(0, ENOSYS, EPERM), [](const auto &row) {
    return std::string(row.param == 0 ? "WithOpenat2" : row.param == ENOSYS ? "OfAnOldKernel" : "OfASandbox");
});

int openDeepFolders() {
    TestTree tree;
    const FileDescriptor top = openFolder(tree.top());
    // Lengths on both sides of what one call takes, with the border inside, before and after a name.
    for (const std::size_t nameLength : {31, 240, 255}) {
        std::string relative;
        while (relative.size() < 2 * PATH_MAX + nameLength) {
            relative += (relative.empty() ? "" : "/") +
                        std::string(nameLength, static_cast<char>('a' + relative.size() % 7));
            const std::size_t rest = relative.size() % PATH_MAX;
            if (rest > 256 && rest < PATH_MAX - 256)
                continue;
            const std::optional<FileFacts> made =
                lookAtOpen(OpenBelow::makeFolders(top.get(), relative).get());
            const std::optional<FileFacts> opened = lookAtOpen(OpenBelow::folder(top.get(), relative).get());
            if (!made || made != opened || opened->kind != FileKind::Folder)
                return 1;
        }
        // The standard library can't remove what is longer than PATH_MAX.
        if (std::system(("rm -rf '" + tree.top().native() + "'/*").c_str()) != 0)
            return 2;
    }
    return 0;
}

TEST_P(OpenBelowOn, FoldersOfAnyLength) {
    EXPECT_EXIT(
        {
            lack();
            std::_Exit(openDeepFolders());
        },
        testing::ExitedWithCode(0), "");
}

int openThroughLinks() {
    TestTree tree;
    tree.dir("real/a/b/c");
    tree.dir("outside/b/c");
    tree.file("file");
    tree.link("link", "real");
    tree.link("real/a/up", "..");
    tree.link("real/out", tree / "outside");
    tree.link("real/a/b/last", "c");
    tree.link("dangling", "nowhere");
    const auto before = tree.snapshot();
    const FileDescriptor top = openFolder(tree.top());
    for (const char *path : {"link", "link/a", "link/a/b/c", "real/a/up/a", "real/out", "real/out/b",
                             "real/out/b/c", "real/a/b/last", "dangling", "dangling/x", "file", "file/x"}) {
        if (!isLinkRefusal(errorOf([&] { OpenBelow::folder(top.get(), path); })) ||
            !isLinkRefusal(errorOf([&] { OpenBelow::makeFolders(top.get(), path); })))
            return 1;
    }
    if (!isLinkRefusal(errorOf([&] { OpenBelow::makeFolders(top.get(), "real/out/new/x"); })))
        return 2;
    if (errorOf([&] { OpenBelow::folder(top.get(), "real/a/none/c"); }) != ENOENT)
        return 3;
    return tree.snapshot() == before && errorOf([&] { OpenBelow::folder(top.get(), "real/a/b/c"); }) == 0 ? 0
                                                                                                          : 4;
}

TEST_P(OpenBelowOn, ALinkInAnyComponentIsRefusedAndNothingIsMade) {
    EXPECT_EXIT(
        {
            lack();
            std::_Exit(openThroughLinks());
        },
        testing::ExitedWithCode(0), "");
}

TEST(OpenBelow, AnEmptyPathIsTheStartItself) {
    TestTree tree;
    const FileDescriptor top = openFolder(tree.top());
    EXPECT_EQ(lookAtOpen(OpenBelow::folder(top.get(), "").get()), lookAtOpen(top.get()));
    EXPECT_EQ(lookAtOpen(OpenBelow::makeFolders(top.get(), "").get()), lookAtOpen(top.get()));
}

TEST(OpenBelow, MakeFoldersMakesWhatIsMissing) {
    TestTree tree;
    tree.file("a/kept");
    const auto file = tree.snapshot()["a/kept"];
    const FileDescriptor top = openFolder(tree.top());
    const FileDescriptor made = OpenBelow::makeFolders(top.get(), "a/b/c");
    EXPECT_EQ(lookAtOpen(made.get()), lookAt(top.get(), "a/b/c"));
    OpenBelow::makeFolders(top.get(), "a/b");
    EXPECT_EQ(tree.snapshot(), (std::map<std::string, std::string>{
                                   {"a", "dir"}, {"a/b", "dir"}, {"a/b/c", "dir"}, {"a/kept", file}}));
    EXPECT_EQ(errorOf([&] { OpenBelow::makeFolders(top.get(), "a/kept/x"); }), ENOTDIR);
    EXPECT_EQ(errorOf([&] { OpenBelow::makeFolders(top.get(), std::string(256, 'x')); }), ENAMETOOLONG);
}

TEST(OpenBelow, AFileIsNeverOpenedThroughALinkAndAPipeIsNotWaitedFor) {
    TestTree tree;
    tree.file("a", "abc");
    tree.link("link", "a");
    ASSERT_EQ(::mkfifo((tree / "pipe").c_str(), 0600), 0);
    const FileDescriptor top = openFolder(tree.top());
    EXPECT_EQ(lookAtOpen(OpenBelow::file(top.get(), "a").get())->size, 3);
    EXPECT_EQ(errorOf([&] { OpenBelow::file(top.get(), "link"); }), ELOOP);
    EXPECT_EQ(errorOf([&] { OpenBelow::file(top.get(), "none"); }), ENOENT);
    EXPECT_EQ(lookAtOpen(OpenBelow::file(top.get(), "pipe").get())->kind, FileKind::Other);
}

timespec accessTime(const fs::path &path) {
    struct stat facts = {};
    EXPECT_EQ(::lstat(path.c_str(), &facts), 0);
    return facts.st_atim;
}

bool leavesAMark(const fs::path &file, const FileDescriptor &opened) {
    const timespec before = accessTime(file);
    char byte;
    EXPECT_EQ(::read(opened.get(), &byte, 1), 1);
    const timespec after = accessTime(file);
    return before.tv_sec != after.tv_sec || before.tv_nsec != after.tv_nsec;
}

TEST(OpenBelow, ReadingLeavesTheAccessTimeAlone) {
    TestTree tree;
    tree.file("a");
    tree.file("control");
    const FileDescriptor plain(::open((tree / "control").c_str(), O_RDONLY | O_CLOEXEC));
    if (!leavesAMark(tree / "control", plain))
        GTEST_SKIP() << "the temporary folder is mounted without access times";
    const FileDescriptor top = openFolder(tree.top());
    EXPECT_FALSE(leavesAMark(tree / "a", OpenBelow::file(top.get(), "a")));
}

TEST(OpenBelow, WhatBelongsToAnotherUserIsReadAllTheSame) {
    if (::geteuid() != 0)
        GTEST_SKIP() << "only root has another user's files to read";
    TestTree tree;
    tree.file("folder/a");
    ::chmod(tree.top().c_str(), 0755);
    EXPECT_EXIT(
        {
            Restricted::becomeOrdinaryUser();
            const FileDescriptor top = openFolder(tree.top());
            const FileDescriptor folder = OpenBelow::folder(top.get(), "folder");
            char byte;
            std::_Exit(::read(OpenBelow::file(folder.get(), "a").get(), &byte, 1) == 1 ? 0 : 1);
        },
        testing::ExitedWithCode(0), "");
}

TEST(FolderAnchor, InPlaceMeansAFolderOnTheSameMount) {
    TestTree tree;
    tree.dir("a");
    tree.link("link", "a");
    const FolderAnchor anchor(tree / "a");
    const FolderAnchor byLink(tree / "link");
    EXPECT_TRUE(anchor.isInPlace());
    EXPECT_TRUE(byLink.isInPlace());
    EXPECT_EQ(anchor.facts(), byLink.facts());

    fs::rename(tree / "a", tree / "b");
    EXPECT_FALSE(anchor.isInPlace()) << "moved away";
    EXPECT_FALSE(byLink.isInPlace()) << "the link dangles";
    tree.file("a");
    EXPECT_FALSE(anchor.isInPlace()) << "a file stands there";
    fs::remove(tree / "a");
    tree.link("a", "b");
    EXPECT_TRUE(anchor.isInPlace()) << "a link leads there again";
    fs::remove(tree / "a");
    tree.link("a", "/proc");
    EXPECT_FALSE(anchor.isInPlace()) << "a link leads to another file system";
}

TEST(FolderAnchor, MissingOrClosedHasOnlyItsPath) {
    TestTree tree;
    tree.file("file");
    EXPECT_EQ(errorOf([&] { FolderAnchor(tree / "none"); }), ENOENT);
    EXPECT_EQ(errorOf([&] { FolderAnchor(tree / "file"); }), ENOTDIR);
    FolderAnchor anchor(tree.top());
    EXPECT_TRUE(anchor.isOpen());
    anchor.close();
    EXPECT_FALSE(anchor.isOpen());
    EXPECT_EQ(anchor.path(), tree.top());
    EXPECT_FALSE(FolderAnchor::missing(tree / "none").isOpen());
    EXPECT_EQ(FolderAnchor::missing(tree / "none").path(), tree / "none");
}

class FolderAnchorOnADrive : public testing::Test {
  protected:
    void SetUp() override {
        if (const auto reason = LoopMount::whyNot(LoopMount::Type::Tmpfs))
            GTEST_SKIP() << *reason;
        drive.emplace(LoopMount::Options{.type = LoopMount::Type::Tmpfs});
        fs::create_directory(drive->top() / "a");
        anchor = FolderAnchor(drive->top() / "a");
    }

    std::optional<LoopMount> drive;
    FolderAnchor anchor;
};

TEST_F(FolderAnchorOnADrive, GoneWhenAnotherMountCoversIt) {
    EXPECT_TRUE(anchor.isInPlace());
    {
        const Mount cover("tmpfs", drive->top() / "a", "tmpfs");
        EXPECT_FALSE(anchor.isInPlace()) << "the folder is covered";
    }
    EXPECT_TRUE(anchor.isInPlace());
    const Mount cover("tmpfs", drive->top(), "tmpfs");
    fs::create_directory(drive->top() / "a");
    EXPECT_FALSE(anchor.isInPlace()) << "the whole drive is covered by one with the same folder";
}

TEST_F(FolderAnchorOnADrive, GoneWhenTheSameDriveIsMountedThereASecondTime) {
    const Mount cover(drive->top(), drive->top(), "bind");
    EXPECT_FALSE(anchor.isInPlace());
}

TEST_F(FolderAnchorOnADrive, GoneWithTheDriveAlthoughTheMountPointHasSuchAFolder) {
    drive->lazyUnmount();
    EXPECT_FALSE(anchor.isInPlace()) << "nothing is there";
    fs::create_directory(drive->top() / "a");
    EXPECT_FALSE(anchor.isInPlace()) << "an ordinary folder under the mount point";
    fs::remove(drive->top() / "a");
    const Mount next("tmpfs", drive->top(), "tmpfs");
    fs::create_directory(drive->top() / "a");
    EXPECT_FALSE(anchor.isInPlace()) << "the next drive at the same place";
}

} // namespace
