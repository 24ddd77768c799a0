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
    const TempVolume &volume = area.volumeOf(folder.get());
    if (volume.isBeside())
        return {};
    EXPECT_TRUE(volume.path.filename().native().starts_with("NSIRD_TarnwickBasic_")) << volume.path;
    EXPECT_EQ(modeOf(volume.path), 0700u);
    const auto inside = lookAtOpen(volume.folderToFill());
    const auto expected = lookAtOpen(folder.get());
    EXPECT_TRUE(inside && expected && inside->mountId == expected->mountId);
    return volume.path.parent_path();
}

TEST(TempPlace, GoesWithWhateverIsInIt) {
    Sandbox box;
    TempArea area({});
    TempVolume &volume = area.volumeOf(opened(box / "OneDrive").get());
    EXPECT_EQ(&area.volumeOf(opened(box.top()).get()), &volume);
    for (int half = 0; half < 2; ++half, volume.turn()) {
        const FileDescriptor file(::openat(volume.folderToFill(), ".tw-x.twtmp", O_CREAT | O_WRONLY, 0600));
        ASSERT_TRUE(file);
    }
    EXPECT_EQ(box.leftovers().size(), 3u);
    area.cleanup();
    EXPECT_EQ(box.leftovers(), Lines());
}

struct Refusal {
    std::string name;
    /// Prepares the cache folder and gives the OneDrive trees.
    std::function<std::vector<fs::path>(Sandbox &)> prepare;
    bool isBeside = true;
};

class TempPlaceTest : public testing::TestWithParam<Refusal> {};

TEST_P(TempPlaceTest, IsUsedOrNot) {
    Sandbox box;
    const std::vector<fs::path> trees = GetParam().prepare(box);
    box.dir("elsewhere");
    EXPECT_EQ(placeFor(box / "OneDrive", trees), GetParam().isBeside ? fs::path() : box / "cache/TemporaryItems");
    EXPECT_TRUE(fs::is_empty(box / "elsewhere"));
    EXPECT_TRUE(fs::is_empty(box / "OneDrive"));
    EXPECT_EQ(box.leftovers(), Lines());
}

INSTANTIATE_TEST_SUITE_P(CacheFolder, TempPlaceTest,
                         testing::Values(Refusal{"IsFree",
                                                 [](Sandbox &box) {
                                                     return std::vector{box / "cac", box / "OneDrive"};
                                                 },
                                                 false},
                                         Refusal{"InsideAOneDriveTree",
                                                 [](Sandbox &box) { return std::vector{box.top()}; }},
                                         Refusal{"ItselfAOneDriveTree",
                                                 [](Sandbox &box) {
                                                     return std::vector{box / "other", box / "cache"};
                                                 }},
                                         Refusal{"WithALinkInPlaceOfTemporaryItems",
                                                 [](Sandbox &box) {
                                                     box.link("cache/TemporaryItems", "../elsewhere");
                                                     return std::vector<fs::path>();
                                                 }},
                                         Refusal{"IsAFile",
                                                 [](Sandbox &box) {
                                                     box.file("cache");
                                                     return std::vector<fs::path>();
                                                 }}),
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
    ASSERT_TRUE(Lock::tryLock(folder.get()) && Lock::tryLock(file.get()));
    TempArea area({});
    const TempVolume &alive = area.volumeOf(opened(box / "OneDrive").get());
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
