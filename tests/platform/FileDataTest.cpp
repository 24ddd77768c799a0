#include "platform/FileData.h"

#include "base/FileDescriptor.h"
#include "support/Restricted.h"
#include "support/TestTree.h"

#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <gtest/gtest.h>
#include <limits>
#include <random>
#include <system_error>
#include <vector>

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/xattr.h>
#include <unistd.h>

namespace {

constexpr std::int64_t mebibyte = 1024 * 1024;

FileDescriptor openSource(const fs::path &path) {
    return FileDescriptor(::open(path.c_str(), O_RDONLY | O_CLOEXEC));
}

struct stat factsOf(int file) {
    struct stat facts = {};
    EXPECT_EQ(::fstat(file, &facts), 0);
    return facts;
}

FileDescriptor makeCopy(const fs::path &path, const struct stat &original) {
    constexpr int flags = O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC;
    return FileDescriptor(::open(path.c_str(), flags, FileData::creationMode(original)));
}

FileData::Continue goOn(std::int64_t) {
    return FileData::Continue::Yes;
}

void copyData(const fs::path &from, const fs::path &to, const FileData::Progress &progress = goOn) {
    const FileDescriptor source = openSource(from);
    const struct stat original = factsOf(source.get());
    const FileDescriptor copy = makeCopy(to, original);
    const bool isSame = original.st_dev == factsOf(copy.get()).st_dev;
    const FileData::Devices devices = isSame ? FileData::Devices::Same : FileData::Devices::Different;
    FileData::copyData(source.get(), original, copy.get(), devices, progress);
}

/// Copies the attributes of `from` to a new file, as if the facts of `from` were `original`; gives back the
/// copy's mode.
unsigned copyAttributes(const fs::path &from, const struct stat &original, const fs::path &to) {
    const FileDescriptor source = openSource(from);
    const FileDescriptor copy = makeCopy(to, original);
    FileData::setMode(copy.get(), FileData::copyAttributes(source.get(), original, copy.get()));
    return factsOf(copy.get()).st_mode & 07777;
}

struct stat factsAt(const fs::path &path) {
    return factsOf(openSource(path).get());
}

/// Bytes without any repetition that a copy from or to a wrong place could hide behind.
std::string noise(std::int64_t size) {
    std::mt19937_64 random(static_cast<std::uint64_t>(size));
    std::string bytes(static_cast<std::size_t>(size), '\0');
    std::generate(bytes.begin(), bytes.end(), [&] { return static_cast<char>(random()); });
    return bytes;
}

/// A fresh folder on a file system that is nobody's temporary folder.
struct FolderInMemory {
    FolderInMemory() { fs::create_directory(path); }
    ~FolderInMemory() { fs::remove_all(path); }

    const fs::path path = "/dev/shm/tarnwick-test-" + std::to_string(::getpid());
};

class FileDataOfSize : public testing::TestWithParam<std::int64_t> {};

TEST_P(FileDataOfSize, ComesOverWhole) {
    TestTree source;
    const std::string content = noise(GetParam());
    source.file("a", content);
    std::int64_t told = 0;
    copyData(source / "a", source / "b", [&](std::int64_t copied) {
        EXPECT_GT(copied, told);
        told = copied;
        return FileData::Continue::Yes;
    });
    EXPECT_TRUE(source.read("b") == content) << "on one file system";
    EXPECT_EQ(told, GetParam());
    const FolderInMemory memory;
    const TestTree elsewhere(memory.path);
    copyData(source / "a", elsewhere / "b");
    EXPECT_TRUE(elsewhere.read("b") == content) << "to another file system";
    copyData(elsewhere / "b", source / "c");
    EXPECT_TRUE(source.read("c") == content) << "from another file system";
}

INSTANTIATE_TEST_SUITE_P(Sizes, FileDataOfSize,
                         testing::Values(0, 1, 4095, 4097, 128 * 1024 - 1, 128 * 1024, 256 * 1024 - 1,
                                         256 * 1024, 256 * 1024 + 1, 8 * mebibyte - 1, 8 * mebibyte,
                                         8 * mebibyte + 1, 17 * mebibyte + 3));

struct HoleRow {
    const char *situation;
    std::int64_t size;
    std::vector<std::int64_t> data; ///< where a block of data stands
};

class FileDataHoles : public testing::TestWithParam<HoleRow> {};

TEST_P(FileDataHoles, StayHoles) {
    TestTree tree;
    tree.sparseFile("a", GetParam().size);
    {
        const FileDescriptor file(::open((tree / "a").c_str(), O_WRONLY | O_CLOEXEC));
        const std::string block = noise(64 * 1024);
        for (const std::int64_t offset : GetParam().data)
            ASSERT_EQ(::pwrite(file.get(), block.data(), block.size(), offset),
                      static_cast<ssize_t>(block.size()));
    }
    const struct stat original = factsAt(tree / "a");
    if (original.st_blocks * 512 >= original.st_size)
        GTEST_SKIP() << "the temporary folder is on a file system without holes";
    copyData(tree / "a", tree / "b");
    EXPECT_EQ(factsAt(tree / "b").st_size, GetParam().size);
    EXPECT_LE(factsAt(tree / "b").st_blocks, original.st_blocks + 16);
    EXPECT_TRUE(tree.read("b") == tree.read("a"));
}

INSTANTIATE_TEST_SUITE_P(
    Places, FileDataHoles,
    testing::Values(HoleRow{"NothingButAHole", 3 * mebibyte, {}},
                    HoleRow{"Leading", 4 * mebibyte, {4 * mebibyte - 65536}},
                    HoleRow{"Trailing", 4 * mebibyte + 5, {0}},
                    HoleRow{"Between", 20 * mebibyte, {0, 10 * mebibyte}},
                    HoleRow{"OnAllSides", 12 * mebibyte + 1, {mebibyte, 5 * mebibyte, 9 * mebibyte}}),
    [](const auto &row) { return std::string(row.param.situation); });

TEST(FileData, ACancelIsHeardWithin16MiB) {
    TestTree tree;
    tree.file("a", noise(40 * mebibyte));
    std::int64_t last = 0;
    const auto cancelFrom = [&](std::int64_t moment) {
        last = 0;
        fs::remove(tree / "b");
        copyData(tree / "a", tree / "b", [&](std::int64_t copied) {
            EXPECT_LE(copied - last, 16 * mebibyte);
            last = copied;
            return copied >= moment ? FileData::Continue::No : FileData::Continue::Yes;
        });
    };
    for (const std::int64_t moment : {std::int64_t(1), 20 * mebibyte, 40 * mebibyte}) {
        try {
            cancelFrom(moment);
            ADD_FAILURE() << "not cancelled at " << moment;
        } catch (const std::system_error &error) {
            EXPECT_EQ(error.code(), std::errc::operation_canceled);
        }
        EXPECT_LT(last, moment + 16 * mebibyte);
    }
    cancelFrom(std::numeric_limits<std::int64_t>::max());
    EXPECT_EQ(last, 40 * mebibyte);
}

TEST(FileData, AFullTargetIsNoSpace) {
    TestTree tree;
    tree.file("a", noise(100));
    const FileDescriptor source = openSource(tree / "a");
    const FileDescriptor full(::open("/dev/full", O_WRONLY | O_CLOEXEC));
    try {
        FileData::copyData(source.get(), factsOf(source.get()), full.get(), FileData::Devices::Different,
                           goOn);
        FAIL() << "written";
    } catch (const std::system_error &error) {
        EXPECT_EQ(error.code(), std::errc::no_space_on_device);
    }
}

std::string attribute(const fs::path &path, const char *name) {
    char value[100];
    const ssize_t length = ::getxattr(path.c_str(), name, value, sizeof value);
    return length < 0 ? std::string("none") : std::string(value, static_cast<std::size_t>(length));
}

TEST(FileData, UserAttributesGoAlongBeforeAReadOnlyMode) {
    TestTree tree;
    tree.file("a");
    ::chmod(tree.top().c_str(), 0777);
    if (::setxattr((tree / "a").c_str(), "user.colour", "red\0blue", 8, 0) != 0)
        GTEST_SKIP() << "the temporary folder is on a file system without user attributes";
    ASSERT_EQ(::setxattr((tree / "a").c_str(), "user.empty", "", 0, 0), 0);
    ::setxattr((tree / "a").c_str(), "trusted.tarnwick", "x", 1, 0);
    ::chmod((tree / "a").c_str(), 0444);
    // In a child, because root may write attributes to a read-only file.
    EXPECT_EXIT(
        {
            Restricted::becomeOrdinaryUser();
            std::_Exit(copyAttributes(tree / "a", factsAt(tree / "a"), tree / "b") == 0444 ? 0 : 1);
        },
        testing::ExitedWithCode(0), "");
    EXPECT_EQ(attribute(tree / "b", "user.colour"), std::string("red\0blue", 8));
    EXPECT_EQ(attribute(tree / "b", "user.empty"), "");
    copyAttributes(tree / "a", factsAt(tree / "a"), tree / "c");
    EXPECT_EQ(attribute(tree / "c", "user.colour"), std::string("red\0blue", 8));
    EXPECT_EQ(attribute(tree / "c", "trusted.tarnwick"), "none") << "not even when root copies";
}

TEST(FileData, AnUnwritableModeDoesNotKeepTheCopyFromBeingMade) {
    TestTree tree;
    tree.file("a");
    for (const unsigned mode : {0400U, 0444U, 0040U, 0000U, 0755U, 01640U, 02755U}) {
        struct stat original = factsAt(tree / "a");
        original.st_mode = S_IFREG | mode;
        EXPECT_EQ(copyAttributes(tree / "a", original, tree / "b"), mode);
        fs::remove(tree / "b");
    }
}

TEST(FileData, SetuidAndSetgidGoOnlyWithTheOwnership) {
    TestTree tree;
    tree.file("a");
    ::chmod(tree.top().c_str(), 0777);
    struct stat foreign = factsAt(tree / "a");
    foreign.st_mode = S_IFREG | 07754;
    foreign.st_uid = 1234;
    foreign.st_gid = 1235;
    EXPECT_EXIT(
        {
            Restricted::becomeOrdinaryUser();
            std::_Exit(copyAttributes(tree / "a", foreign, tree / "ordinary") == 01754 ? 0 : 1);
        },
        testing::ExitedWithCode(0), "");
    if (::geteuid() != 0)
        GTEST_SKIP() << "only root may give files away";
    EXPECT_EQ(copyAttributes(tree / "a", foreign, tree / "given"), 07754U);
    EXPECT_EQ(factsAt(tree / "given").st_uid, 1234U);
    EXPECT_EQ(factsAt(tree / "given").st_gid, 1235U);
}

TEST(FileData, AFolderThatHandsDownItsGroupDoesNotChangeTheOwnership) {
    if (::geteuid() != 0)
        GTEST_SKIP() << "only root has a foreign group to hand down";
    TestTree tree;
    tree.file("a");
    tree.dir("shared");
    ASSERT_EQ(::chown((tree / "shared").c_str(), 0, 1235), 0);
    ASSERT_EQ(::chmod((tree / "shared").c_str(), 02755), 0);
    struct stat original = factsAt(tree / "a");
    original.st_mode = S_IFREG | 02755;
    EXPECT_EQ(copyAttributes(tree / "a", original, tree / "shared/b"), 02755U);
    EXPECT_EQ(factsAt(tree / "shared/b").st_gid, original.st_gid);
}

} // namespace
