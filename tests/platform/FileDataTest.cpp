#include "platform/FileData.h"

#include "base/FileDescriptor.h"
#include "support/Restricted.h"
#include "support/TestTree.h"

#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <gtest/gtest.h>
#include <random>
#include <system_error>

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/xattr.h>
#include <unistd.h>

namespace {

constexpr std::int64_t mebibyte = 1024 * 1024;

struct stat factsAt(const fs::path &path) {
    struct stat facts = {};
    EXPECT_EQ(::stat(path.c_str(), &facts), 0);
    return facts;
}

void copyData(const fs::path &from, const fs::path &to, FileData::Devices devices, const FileData::Progress &progress) {
    const FileDescriptor source(::open(from.c_str(), O_RDONLY | O_CLOEXEC));
    const FileDescriptor copy(::open(to.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600));
    FileData::copyData(source.get(), factsAt(from), copy.get(), devices, progress);
}

/// Copies the attributes of `from` to a new file, as if the facts of `from` were `original`.
void copyAttributes(const fs::path &from, const struct stat &original, const fs::path &to) {
    constexpr int flags = O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC;
    const FileDescriptor source(::open(from.c_str(), O_RDONLY | O_CLOEXEC));
    const FileDescriptor copy(::open(to.c_str(), flags, FileData::creationMode(original)));
    FileData::setMode(copy.get(), FileData::copyAttributes(source.get(), original, copy.get()));
}

/// Bytes without any repetition that a copy from or to a wrong place could hide behind.
std::string noise(std::int64_t size) {
    std::mt19937_64 random(static_cast<std::uint64_t>(size));
    std::string bytes(static_cast<std::size_t>(size), '\0');
    std::generate(bytes.begin(), bytes.end(), [&] { return static_cast<char>(random()); });
    return bytes;
}

TEST(FileData, ComesOverWholeAndHolesStayHoles) {
    TestTree tree;
    for (const std::int64_t size : {0L, 1L, 256 * 1024L + 1, 8 * mebibyte, 17 * mebibyte + 3})
        tree.file("dense " + std::to_string(size), noise(size));
    for (const std::int64_t placeOfData : {0L, mebibyte, 3 * mebibyte}) {
        const std::string name = "sparse " + std::to_string(placeOfData);
        tree.sparseFile(name, 3 * mebibyte + 64 * 1024);
        std::fstream(tree / name, std::ios::in | std::ios::out).seekp(placeOfData) << noise(64 * 1024);
    }
    const auto goOn = [](std::int64_t) { return FileData::Continue::Yes; };
    for (const auto devices : {FileData::Devices::Same, FileData::Devices::Different}) {
        const TestTree copies =
            TestTree::below(devices == FileData::Devices::Same ? fs::temp_directory_path() : "/dev/shm");
        for (const auto &[name, dateAndContent] : tree.snapshot()) {
            copyData(tree / name, copies / name, devices, goOn);
            EXPECT_TRUE(copies.read(name) == tree.read(name)) << copies / name;
            EXPECT_LE(factsAt(copies / name).st_blocks, factsAt(tree / name).st_blocks + 16) << copies / name;
        }
    }
}

TEST(FileData, ACancelIsHeardWithin16MiB) {
    TestTree tree;
    tree.file("a", noise(40 * mebibyte));
    std::int64_t last = 0;
    const auto cancelled = [&](std::int64_t copied) {
        last = copied;
        return copied >= 10 * mebibyte ? FileData::Continue::No : FileData::Continue::Yes;
    };
    EXPECT_THROW(copyData(tree / "a", tree / "b", FileData::Devices::Same, cancelled), std::system_error);
    EXPECT_LT(last, 26 * mebibyte);
}

TEST(FileData, AttributesGoAlongBeforeAReadOnlyModeAndSetuidOnlyWithTheOwnership) {
    TestTree tree;
    tree.file("a");
    ::chmod(tree.top().c_str(), 0777);
    if (::setxattr((tree / "a").c_str(), "user.colour", "red", 3, 0) != 0)
        GTEST_SKIP() << "the temporary folder is on a file system without user attributes";
    struct stat original = factsAt(tree / "a");
    original.st_mode = S_IFREG | 07444;
    original.st_uid = original.st_gid = 1234;
    // In a child, because root may write attributes to a read-only file and give files away.
    EXPECT_EXIT(
        {
            Restricted::becomeOrdinaryUser();
            copyAttributes(tree / "a", original, tree / "b");
            std::_Exit(0);
        },
        testing::ExitedWithCode(0), "");
    EXPECT_EQ(factsAt(tree / "b").st_mode, S_IFREG | 01444U);
    EXPECT_EQ(::getxattr((tree / "b").c_str(), "user.colour", nullptr, 0), 3);
}

} // namespace
