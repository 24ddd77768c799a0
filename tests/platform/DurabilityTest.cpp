#include "platform/Durability.h"

#include "base/FileDescriptor.h"
#include "support/LoopMount.h"

#include <cerrno>
#include <gtest/gtest.h>

#include <fcntl.h>
#include <unistd.h>

namespace {

FileDescriptor openFolder(const fs::path &path) {
    return FileDescriptor(::open(path.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
}

TEST(Durability, WhatIsNotKnownToFlushAsAWholeIsFlushedFileByFile) {
    EXPECT_EQ(Durability::methodFor(openFolder("/proc").get()), Durability::Method::EachFile);
}

class DurabilityOn : public testing::TestWithParam<LoopMount::Type> {};

TEST_P(DurabilityOn, TheFlushFailsOnceTheDriveIsDead) {
    if (const auto reason = LoopMount::whyNot(GetParam()))
        GTEST_SKIP() << *reason;
    LoopMount drive({.type = GetParam()});
    const FileDescriptor folder = openFolder(drive.top());
    const FileDescriptor file(::open((drive.top() / "file").c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600));
    EXPECT_EQ(Durability::methodFor(folder.get()), Durability::Method::WholeVolume);
    EXPECT_EQ(Durability::flushVolume(folder.get()), 0);
    EXPECT_EQ(Durability::flushFile(file.get()), 0);
    ASSERT_EQ(::pwrite(file.get(), "data", 4, 0), 4);
    drive.detachDevice();
    EXPECT_EQ(Durability::flushFile(file.get()), EIO);
    EXPECT_EQ(Durability::flushVolume(folder.get()), EIO);
}

INSTANTIATE_TEST_SUITE_P(FileSystems, DurabilityOn, testing::Values(LoopMount::Type::Ext4, LoopMount::Type::Xfs));

} // namespace
