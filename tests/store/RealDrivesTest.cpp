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
    fs::create_directory(drive.top() / "again");
    const std::tuple<const char *, fs::path, fs::path, const char *, Names> rows[] = {
        {"covered by one of the kernel's own", "proc", drive.top(), "proc", {}},
        {"the file system of the root folder", "/", drive.top(), "bind", {}},
        {"covered by a drive on a folder above", "tmpfs", drive.parent() / "a", "tmpfs", {"a"}},
        {"the same drive, mounted twice", drive.top(), drive.top() / "again", "bind", {"a/x.visible"}}};
    for (const auto &[situation, source, target, type, names] : rows) {
        const Mount over(source, target, type);
        EXPECT_EQ(listedBeside(drive), names) << situation;
    }
}

} // namespace
