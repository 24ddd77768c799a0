#include "sync/TempArea.h"

#include "platform/FileFacts.h"
#include "platform/Lock.h"
#include "store/TestRoot.h"
#include "support/LoopMount.h"
#include "sync/RunUnderTest.h"

#include <gtest/gtest.h>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

using RunUnderTest::Lines;
using RunUnderTest::Sandbox;

FileDescriptor opened(const fs::path &folder) {
    return FileDescriptor(::open(folder.c_str(), O_RDONLY | O_CLOEXEC));
}

mode_t modeOf(const fs::path &path) {
    struct stat facts = {};
    return ::lstat(path.c_str(), &facts) == 0 ? facts.st_mode & 07777 : 0;
}

/// Where a temporary folder is made for `target`: the folder that holds it, or "" for beside the target.
fs::path placeFor(const fs::path &target, const std::vector<fs::path> &trees = {}) {
    TempArea area(trees);
    const FileDescriptor folder = opened(target);
    const TempVolume &volume = area.volumeOf(folder.get(), target);
    if (volume.isBeside())
        return {};
    EXPECT_TRUE(volume.path.filename().native().starts_with("NSIRD_TarnwickBasic_")) << volume.path;
    EXPECT_EQ(modeOf(volume.path), 0700u);
    EXPECT_EQ(lookAtOpen(volume.folderToFill()).value().mountId, lookAtOpen(folder.get()).value().mountId);
    return volume.path.parent_path();
}

TEST(TempPlace, GoesWithWhateverIsInIt) {
    Sandbox box;
    TempArea area({});
    TempVolume &volume = area.volumeOf(opened(box / "OneDrive").get(), box / "OneDrive");
    EXPECT_EQ(&area.volumeOf(opened(box.top()).get(), box.top()), &volume);
    for (int half = 0; half < 2; ++half, volume.turn()) {
        const FileDescriptor file(::openat(volume.folderToFill(), ".tw-x.twtmp", O_CREAT | O_WRONLY, 0600));
        ASSERT_TRUE(file);
    }
    EXPECT_EQ(box.leftovers().size(), 3u);
    area.cleanup();
    EXPECT_EQ(box.leftovers(), Lines());
}

/// A second disk that is no drive, with the OneDrive folder "ann/OneDrive" on it.
struct Place {
    std::string name;
    /// Prepares the disk and the cache folder, and gives the OneDrive trees besides "ann/OneDrive/Photos", the target.
    std::function<std::vector<fs::path>(Sandbox &box, TestTree &disk)> prepare;
    std::string expected; ///< on the disk; "" for beside the target
};

class TempPlaceTest : public testing::TestWithParam<Place> {};

TEST_P(TempPlaceTest, IsTheFirstThatFits) {
    if (const auto reason = LoopMount::whyNot(LoopMount::Type::Tmpfs))
        GTEST_SKIP() << *reason;
    Sandbox box;
    const LoopMount mount({.type = LoopMount::Type::Tmpfs, .below = fs::temp_directory_path()});
    TestTree disk(mount.top());
    disk.dir("ann/OneDrive/Photos");
    disk.dir("elsewhere");
    std::vector<fs::path> trees = GetParam().prepare(box, disk);
    trees.push_back(disk / "ann/OneDrive/Photos");
    const fs::path place = placeFor(disk / "ann/OneDrive/Photos", trees);
    const fs::path expected = GetParam().expected.empty() ? fs::path() : disk / GetParam().expected;
    EXPECT_EQ(place.empty() ? place : fs::canonical(place), expected);
    EXPECT_TRUE(fs::is_empty(disk / "elsewhere"));
    EXPECT_TRUE(fs::is_empty(disk / "ann/OneDrive/Photos"));
    EXPECT_EQ(Sandbox::leftoversIn(disk.top()), Lines());
}

const std::string ofUser = ".TemporaryItems/folders." + std::to_string(::getuid()) + "/TemporaryItems";

INSTANTIATE_TEST_SUITE_P(
    SecondDisk, TempPlaceTest,
    testing::Values(
        Place{"ACacheFolderThatLeadsThere",
              [](Sandbox &box, TestTree &disk) {
                  disk.dir("cache");
                  box.link("cache", disk / "cache");
                  return std::vector{box / "cac", disk / "ann/OneDrive", disk / "cach"};
              },
              "cache/TemporaryItems"},
        Place{"TheTopWithACacheFolderInsideATree",
              [](Sandbox &box, TestTree &disk) {
                  disk.dir("ann/OneDrive/cache");
                  box.link("cache", disk / "ann/OneDrive/cache");
                  return std::vector{disk / "ann/OneDrive"};
              },
              ofUser},
        Place{"TheTopWithALinkForTemporaryItemsInTheCacheFolder",
              [](Sandbox &box, TestTree &disk) {
                  disk.link("cache/TemporaryItems", disk / "elsewhere");
                  box.link("cache", disk / "cache");
                  return std::vector{disk / "ann/OneDrive"};
              },
              ofUser},
        Place{"TheTopWithAnothersTemporaryItemsInTheCacheFolder",
              [](Sandbox &box, TestTree &disk) {
                  disk.dir("cache/TemporaryItems");
                  EXPECT_EQ(::chown((disk / "cache/TemporaryItems").c_str(), 1234, 1234), 0);
                  box.link("cache", disk / "cache");
                  return std::vector{disk / "ann/OneDrive"};
              },
              ofUser},
        Place{"TheParentOfTheOutermostTree",
              [](Sandbox &box, TestTree &disk) {
                  disk.link(".TemporaryItems", "elsewhere");
                  box.file("cache");
                  return std::vector{disk / "ann/OneDrive/Photos/in", disk / "ann/OneDrive", disk / "ann/One"};
              },
              "ann/" + ofUser},
        Place{"NoneWhereEveryPlaceIsTaken",
              [](Sandbox &, TestTree &disk) {
                  disk.file(".TemporaryItems");
                  disk.link("ann/.TemporaryItems", "../elsewhere");
                  return std::vector{disk / "ann/OneDrive"};
              },
              ""},
        Place{"NoneWhereTheWholeDiskIsATree",
              [](Sandbox &, TestTree &disk) {
                  return std::vector{disk / "ann/OneDrive", disk.top()};
              },
              ""}),
    [](const auto &row) { return row.param.name; });

TEST(TempPlace, OnADriveIsTheUsersOwnFolderInItsTemporaryItems) {
    if (const auto reason = LoopMount::whyNot(LoopMount::Type::Tmpfs))
        GTEST_SKIP() << *reason;
    const Sandbox box;
    const LoopMount drive({.type = LoopMount::Type::Tmpfs});
    TestTree tree(drive.top());
    tree.dir("OneDrive");
    const std::string own = ".TemporaryItems/folders." + std::to_string(::getuid());
    const mode_t before = ::umask(077);
    EXPECT_EQ(placeFor(drive.top() / "OneDrive", {drive.top() / "OneDrive"}), drive.top() / own / "TemporaryItems");
    ::umask(before);
    EXPECT_EQ(modeOf(drive.top() / ".TemporaryItems"), 01777u);
    EXPECT_EQ(modeOf(drive.top() / own), 0700u);
    EXPECT_EQ(modeOf(drive.top() / own / "TemporaryItems"), 0700u);
    EXPECT_EQ(placeFor(drive.top() / "OneDrive", {drive.top()}), fs::path())
        << "the whole drive is the OneDrive folder";

    fs::remove_all(drive.top() / ".TemporaryItems");
    tree.dir("elsewhere");
    tree.link(".TemporaryItems", "elsewhere");
    EXPECT_EQ(placeFor(drive.top() / "OneDrive"), fs::path()) << "through a link";
    EXPECT_TRUE(fs::is_empty(drive.top() / "elsewhere"));
}

TEST(TempPurge, TakesBothPrefixesAndNothingElse) {
    Sandbox box;
    const std::string place = "cache/TemporaryItems/";
    for (const std::string other : {"other/precious", "NSIRD_Other_a/x", "nsird_TarnwickBasic_a", "NSIRD_TarnwickBasic",
                                    ".NSIRD_TarnwickBasic_a", ".tw-12345678-123.twtmp"})
        box.file(place + other);
    box.file("cache/NSIRD_TarnwickBasic_outside"); // not in a temporary place
    const auto expected = box.snapshot();
    box.file(place + "NSIRD_TarnwickBasic_a/0/.tw-x.twtmp");
    box.file(place + "._NSIRD_TarnwickBasic_file");
    box.link(place + "NSIRD_TarnwickBasic_link", "other");
    TempArea::purgeStale({});
    EXPECT_EQ(box.snapshot(), expected);
}

TEST(TempPurge, LeavesWhatIsLocked) {
    Sandbox box;
    const std::string place = "cache/TemporaryItems/";
    box.file(place + "NSIRD_TarnwickBasic_busy/x");
    box.file(place + "._NSIRD_TarnwickBasic_busy");
    const FileDescriptor folder = opened(box / (place + "NSIRD_TarnwickBasic_busy"));
    FileDescriptor file = opened(box / (place + "._NSIRD_TarnwickBasic_busy"));
    ASSERT_TRUE(Lock::tryLock(folder.get()));
    ASSERT_TRUE(Lock::tryLock(file.get()));
    TempArea area({});
    const TempVolume &alive = area.volumeOf(opened(box / "OneDrive").get(), box / "OneDrive");
    TempArea::purgeStale({});
    EXPECT_TRUE(fs::exists(box / (place + "NSIRD_TarnwickBasic_busy/x")));
    EXPECT_TRUE(fs::exists(box / (place + "._NSIRD_TarnwickBasic_busy")));
    EXPECT_TRUE(fs::exists(alive.path));
    file.reset();
    TempArea::purgeStale({});
    EXPECT_FALSE(fs::exists(box / (place + "._NSIRD_TarnwickBasic_busy")));
}

TEST(TempPurge, CoversTheUsersFolderOnDrivesButNoRealDriveInATestRoot) {
    if (const auto reason = LoopMount::whyNot(LoopMount::Type::Tmpfs))
        GTEST_SKIP() << *reason;
    const Sandbox box;
    const LoopMount drive({.type = LoopMount::Type::Tmpfs});
    TestTree tree(drive.top());
    const std::string stale =
        ".TemporaryItems/folders." + std::to_string(::getuid()) + "/TemporaryItems/NSIRD_TarnwickBasic_a";
    const std::string ofAnother = ".TemporaryItems/folders.12345/TemporaryItems/NSIRD_TarnwickBasic_a";
    tree.dir(stale);
    tree.dir(ofAnother);
    TestRoot::set(TestRoot::prepare(box / "root"));
    TempArea::purgeStale({drive.top()});
    TestRoot::set(std::nullopt);
    EXPECT_TRUE(fs::exists(tree / stale));
    TempArea::purgeStale({drive.top()});
    EXPECT_FALSE(fs::exists(tree / stale));
    EXPECT_TRUE(fs::exists(tree / ofAnother));
}

} // namespace
