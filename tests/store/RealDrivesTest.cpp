#include "base/Paths.h"
#include "store/Locations.h"
#include "store/TestRoot.h"
#include "support/LoopMount.h"
#include "support/TestTree.h"

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

    /// The paths of the listed drives in the fresh folder of `drive`.
    static std::vector<std::string> listedBeside(const LoopMount &drive) {
        std::vector<std::string> names;
        for (const VolumeInfo &listed : Locations::externalVolumes()) {
            if (Paths::isWithin(listed.url, drive.parent()))
                names.push_back(listed.url.lexically_relative(drive.parent()));
        }
        return names;
    }

    using Names = std::vector<std::string>;
};

TEST_F(RealDrives, AMountedFileSystemIsADriveUntilItIsUnmounted) {
    LoopMount drive({.type = Type::Tmpfs, .name = "My Büro"});
    const VolumeInfo expected = {
        .url = drive.top(), .name = QStringLiteral("My Büro"), .fsType = QStringLiteral("tmpfs")};
    EXPECT_EQ(listedBeside(drive), Names{"My Büro"});
    EXPECT_EQ(Locations::volumeInfo(drive.top() / "."), expected);
    {
        const TestTree tree;
        TestRoot::set(tree.top());
        EXPECT_EQ(listedBeside(drive), Names()) << "with a test root";
        EXPECT_EQ(Locations::volumeInfo(drive.top()), std::nullopt) << "with a test root";
        TestRoot::set(std::nullopt);
    }
    drive.lazyUnmount();
    EXPECT_EQ(listedBeside(drive), Names());
}

TEST_F(RealDrives, WhatLiesInTheMountTableButIsNoDrive) {
    EXPECT_EQ(listedBeside(LoopMount({.type = Type::Tmpfs, .name = ".hidden/drive"})), Names());
    EXPECT_EQ(listedBeside(LoopMount({.type = Type::Tmpfs, .below = fs::temp_directory_path()})), Names());
    const LoopMount drive({.type = Type::Tmpfs, .name = "a/x.visible"});
    {
        const Mount kernelsOwn("proc", drive.top(), "proc");
        EXPECT_EQ(listedBeside(drive), Names()) << "covered by one of the kernel's own";
    }
    {
        const Mount startUpDisk("/", drive.top(), "bind");
        EXPECT_EQ(listedBeside(drive), Names()) << "the file system of the root folder";
    }
    {
        const Mount over("tmpfs", drive.parent() / "a", "tmpfs");
        EXPECT_EQ(listedBeside(drive), Names{"a"}) << "covered by a drive on a folder above";
    }
    fs::create_directory(drive.top() / "again");
    const Mount twice(drive.top(), drive.top() / "again", "bind");
    EXPECT_EQ(listedBeside(drive), Names{"a/x.visible"}) << "the same drive, mounted twice";
}

} // namespace
