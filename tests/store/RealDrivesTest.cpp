#include "base/Text.h"
#include "store/Locations.h"
#include "store/TestRoot.h"
#include "support/LoopMount.h"
#include "support/TestTree.h"

#include <algorithm>
#include <gtest/gtest.h>

namespace {

using Type = LoopMount::Type;

class RealDrives : public testing::Test {
  protected:
    void SetUp() override {
        TestRoot::set(std::nullopt);
        if (const auto reason = LoopMount::whyNot(Type::Tmpfs))
            GTEST_SKIP() << *reason;
    }

    /// The names of the listed drives below `folder`, in the order of the list.
    static std::vector<std::string> listedBelow(const fs::path &folder) {
        std::vector<std::string> names;
        for (const VolumeInfo &drive : Locations::externalVolumes()) {
            if (drive.url.native().starts_with(folder.native() + '/'))
                names.push_back(drive.url.lexically_relative(folder));
        }
        return names;
    }
    static std::vector<std::string> listedBelow(const LoopMount &drive) {
        return listedBelow(drive.parent());
    }

    static std::vector<std::string> only(const char *name) { return {name}; }
    static std::vector<std::string> none() { return {}; }
};

TEST_F(RealDrives, AMountedFileSystemIsADrive) {
    const LoopMount drive({.type = Type::Tmpfs, .name = "My Büro"});
    const VolumeInfo expected = {
        .url = drive.top(), .name = QStringLiteral("My Büro"), .fsType = QStringLiteral("tmpfs")};
    const std::vector<VolumeInfo> all = Locations::externalVolumes();
    EXPECT_EQ(std::count(all.begin(), all.end(), expected), 1);
    EXPECT_EQ(Locations::volumeInfo(drive.top() / "."), expected);
    EXPECT_EQ(Locations::volumeInfo(drive.parent()), std::nullopt);
    EXPECT_EQ(Locations::volumeInfo("/"), std::nullopt);
    fs::create_directory(drive.top() / "inside");
    EXPECT_EQ(Locations::volumeInfo(drive.top() / "inside"), std::nullopt);
}

TEST_F(RealDrives, AreNeverSeenWithATestRoot) {
    const LoopMount drive({.type = Type::Tmpfs});
    TestTree tree;
    TestRoot::set(TestRoot::prepare(tree / "root"));
    const std::vector<VolumeInfo> all = Locations::externalVolumes();
    const std::optional<VolumeInfo> info = Locations::volumeInfo(drive.top());
    TestRoot::set(std::nullopt);
    EXPECT_EQ(all, std::vector<VolumeInfo>());
    EXPECT_EQ(info, std::nullopt);
}

TEST_F(RealDrives, ADriveOnADeviceGoesWhenItIsUnmounted) {
    if (const auto reason = LoopMount::whyNot(Type::Ext4))
        GTEST_SKIP() << *reason;
    LoopMount drive;
    ASSERT_TRUE(Locations::volumeInfo(drive.top()));
    EXPECT_EQ(Locations::volumeInfo(drive.top())->fsType, QStringLiteral("ext4"));
    EXPECT_EQ(listedBelow(drive), only("drive"));
    drive.lazyUnmount();
    EXPECT_EQ(listedBelow(drive), none());
    EXPECT_EQ(Locations::volumeInfo(drive.top()), std::nullopt);
}

TEST_F(RealDrives, ADeviceMountedTwiceIsListedOnce) {
    const LoopMount drive({.type = Type::Tmpfs});
    TestTree other(drive.parent());
    other.dir("again");
    {
        const Mount again(drive.top(), drive.parent() / "again", "bind");
        EXPECT_EQ(listedBelow(drive), only("drive"));
    }
    {
        const Mount another("tmpfs", drive.parent() / "again", "tmpfs");
        EXPECT_EQ(listedBelow(drive), (std::vector<std::string>{"again", "drive"}));
    }
    fs::remove(drive.parent() / "again");
}

TEST_F(RealDrives, WhatLiesInTheMountTableButIsNoDrive) {
    EXPECT_EQ(listedBelow(LoopMount({.type = Type::Tmpfs, .name = ".hidden"})), none()) << "hidden";
    EXPECT_EQ(listedBelow(LoopMount({.type = Type::Tmpfs, .name = ".hidden/drive"})), none())
        << "in a hidden folder";
    EXPECT_EQ(listedBelow(LoopMount({.type = Type::Tmpfs, .below = fs::temp_directory_path()})), none())
        << "elsewhere";
    const LoopMount drive({.type = Type::Tmpfs, .name = "x.visible"});
    EXPECT_EQ(listedBelow(drive), only("x.visible")) << "a dot within the name";
    {
        const Mount kernelsOwn("proc", drive.top(), "proc");
        EXPECT_EQ(listedBelow(drive), none()) << "covered by one of the kernel's own";
    }
    {
        const Mount startUpDisk("/", drive.top(), "bind");
        EXPECT_EQ(listedBelow(drive), none()) << "the file system of the root folder";
    }
    EXPECT_EQ(listedBelow(drive), only("x.visible")) << "uncovered again";
}

TEST_F(RealDrives, AShadowedDriveIsNotListed) {
    const LoopMount drive({.type = Type::Tmpfs, .name = "a/drive"});
    EXPECT_EQ(listedBelow(drive), only("a/drive"));
    {
        const Mount over("tmpfs", drive.parent() / "a", "tmpfs");
        EXPECT_EQ(listedBelow(drive), only("a"));
    }
    const Mount over("tmpfs", drive.top(), "tmpfs");
    EXPECT_EQ(listedBelow(drive), only("a/drive")) << "the upper one of two at the same place";
}

TEST_F(RealDrives, ContainingVolumeOfWhatExistsNearest) {
    const LoopMount drive({.type = Type::Tmpfs});
    TestTree tree(drive.top());
    tree.dir("a/b");
    tree.link("out", "/proc");
    tree.link("dangling", "nowhere");
    const fs::path top = drive.top();
    const std::pair<fs::path, fs::path> rows[] = {
        {top, top},
        {top / "a/b", top},
        {top / "a/none/deeper/still", top},
        {top / "a/../none/.", top},
        {top / "dangling/x", top},
        {top / "out", "/proc"},
        {top / "out/self/none", "/proc"},
        {drive.parent(), *Locations::containingVolume("/mnt")},
        {drive.parent() / "drive2/none", *Locations::containingVolume("/mnt")},
        {"/", "/"},
        {"/no-such-folder/at/all", "/"},
    };
    for (const auto &[url, expected] : rows)
        EXPECT_EQ(Locations::containingVolume(url), expected) << url;
    {
        const Mount inner("tmpfs", top / "a/b", "tmpfs");
        EXPECT_EQ(Locations::containingVolume(top / "a/b/none"), top / "a/b");
        EXPECT_EQ(Locations::containingVolume(top / "a/bc"), top);
        EXPECT_EQ(Locations::fileSystemType(top / "none"), QStringLiteral("tmpfs"));
        EXPECT_EQ(Locations::volumeName(top / "a/b/none"), QStringLiteral("b"));
    }
    const Mount over("tmpfs", drive.parent(), "tmpfs");
    EXPECT_EQ(Locations::containingVolume(top / "a/b/none"), drive.parent()) << "covered by another drive";
}

} // namespace
