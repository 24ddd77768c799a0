#include "platform/Durability.h"

#include "base/FileDescriptor.h"
#include "platform/Lock.h"
#include "support/LoopMount.h"
#include "support/TestTree.h"

#include <cerrno>
#include <cstdlib>
#include <fstream>
#include <gtest/gtest.h>

#include <fcntl.h>
#include <unistd.h>

namespace {

FileDescriptor openFolder(const fs::path &path) {
    return FileDescriptor(::open(path.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
}

std::string nameOf(const testing::TestParamInfo<LoopMount::Type> &row) {
    constexpr const char *names[] = {"Ext4", "Xfs", "Tmpfs"};
    return names[static_cast<std::size_t>(row.param)];
}

class DurabilityOn : public testing::TestWithParam<LoopMount::Type> {};

TEST_P(DurabilityOn, IsFlushedAsAWhole) {
    if (const auto reason = LoopMount::whyNot(GetParam()))
        GTEST_SKIP() << *reason;
    const LoopMount drive({.type = GetParam()});
    const FileDescriptor folder = openFolder(drive.top());
    EXPECT_EQ(Durability::methodFor(folder.get()), Durability::Method::WholeVolume);
    EXPECT_EQ(Durability::flushVolume(folder.get()), 0);
    EXPECT_EQ(Durability::flushFile(folder.get()), 0);
}

INSTANTIATE_TEST_SUITE_P(FileSystems, DurabilityOn,
                         testing::Values(LoopMount::Type::Ext4, LoopMount::Type::Xfs, LoopMount::Type::Tmpfs),
                         nameOf);

TEST(Durability, WhatIsNotKnownToFlushAsAWholeIsFlushedFileByFile) {
    EXPECT_EQ(Durability::methodFor(openFolder("/proc").get()), Durability::Method::EachFile);
    EXPECT_EQ(Durability::methodFor(-1), Durability::Method::EachFile);
}

class DurabilityOnADeadDrive : public testing::TestWithParam<LoopMount::Type> {};

TEST_P(DurabilityOnADeadDrive, TheFlushFails) {
    if (const auto reason = LoopMount::whyNot(GetParam()))
        GTEST_SKIP() << *reason;
    LoopMount drive({.type = GetParam()});
    const FileDescriptor folder = openFolder(drive.top());
    std::ofstream(drive.top() / "file") << "data";
    const FileDescriptor file(::open((drive.top() / "file").c_str(), O_RDWR | O_CLOEXEC));
    ASSERT_EQ(Durability::flushVolume(folder.get()), 0);
    ASSERT_EQ(::pwrite(file.get(), "other", 5, 0), 5);
    drive.detachDevice();
    EXPECT_EQ(Durability::flushFile(file.get()), EIO);
    EXPECT_EQ(Durability::flushVolume(folder.get()), EIO);
}

INSTANTIATE_TEST_SUITE_P(FileSystems, DurabilityOnADeadDrive,
                         testing::Values(LoopMount::Type::Ext4, LoopMount::Type::Xfs), nameOf);

TEST(Lock, IsHeldUntilItsDescriptorIsClosed) {
    TestTree tree;
    tree.dir("folder");
    FileDescriptor first = openFolder(tree / "folder");
    FileDescriptor second = openFolder(tree / "folder");
    ASSERT_TRUE(Lock::tryLock(first.get()));
    EXPECT_TRUE(Lock::tryLock(first.get())) << "by the same holder again";
    EXPECT_FALSE(Lock::tryLock(second.get()));
    EXPECT_TRUE(Lock::tryLock(openFolder(tree.top()).get())) << "another folder";
    first.reset();
    EXPECT_TRUE(Lock::tryLock(second.get()));
    EXPECT_FALSE(Lock::tryLock(-1));
}

TEST(Lock, OfAnotherProcessHoldsUntilThatEnds) {
    TestTree tree;
    tree.file("file");
    const auto open = [&] { return FileDescriptor(::open((tree / "file").c_str(), O_RDONLY | O_CLOEXEC)); };
    EXPECT_EXIT(std::_Exit(Lock::tryLock(open().get()) ? 0 : 1), testing::ExitedWithCode(0), "");
    const FileDescriptor mine = open();
    ASSERT_TRUE(Lock::tryLock(mine.get())) << "the child has ended";
    EXPECT_EXIT(std::_Exit(Lock::tryLock(open().get()) ? 1 : 0), testing::ExitedWithCode(0), "");
}

} // namespace
