#include "sync/TempArea.h"

#include "platform/FileFacts.h"
#include "platform/Lock.h"
#include "store/TestRoot.h"
#include "support/LoopMount.h"
#include "sync/RunUnderTest.h"

#include <gtest/gtest.h>
#include <regex>
#include <set>

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

TEST(TempNames, HaveTheirFormAndAreNewEveryTime) {
    const std::regex copy("\\.tw-[0-9A-F]{8}-[0-9A-F]{3}\\.twtmp");
    const std::regex aside("\\.tw-old-[0-9A-F]{8}-[0-9A-F]{3}\\.twtmp");
    std::set<std::string> names;
    for (int i = 0; i < 500; ++i) {
        const std::string a = TempArea::temporaryName();
        const std::string b = TempArea::asideName();
        EXPECT_TRUE(std::regex_match(a, copy) && !TempArea::isAsideName(a)) << a;
        EXPECT_TRUE(std::regex_match(b, aside) && TempArea::isAsideName(b)) << b;
        names.insert({a, b});
    }
    EXPECT_EQ(names.size(), 1000u);
}

TEST(TempPlace, IsTheCacheFolderAndGoesWithTheArea) {
    Sandbox box;
    EXPECT_EQ(placeFor(box / "OneDrive"), box / "cache/TemporaryItems");
    EXPECT_EQ(modeOf(box / "cache/TemporaryItems"), 0700u);
    EXPECT_EQ(box.leftovers(), Lines());
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
    EXPECT_EQ(placeFor(box / "OneDrive", trees),
              GetParam().isBeside ? fs::path() : box / "cache/TemporaryItems");
    EXPECT_TRUE(fs::is_empty(box / "elsewhere"));
    EXPECT_TRUE(fs::is_empty(box / "OneDrive"));
    EXPECT_EQ(box.leftovers(), Lines());
}

INSTANTIATE_TEST_SUITE_P(
    CacheFolder, TempPlaceTest,
    testing::Values(Refusal{"InsideAOneDriveTree", [](Sandbox &box) { return std::vector{box.top()}; }},
                    Refusal{"ItselfAOneDriveTree",
                            [](Sandbox &box) {
                                return std::vector{box / "other", box / "cache"};
                            }},
                    Refusal{"BesideATreeWhoseNameBeginsAlike",
                            [](Sandbox &box) {
                                return std::vector{box / "cac", box / "OneDrive"};
                            },
                            false},
                    Refusal{"WithALinkInPlaceOfTemporaryItems",
                            [](Sandbox &box) {
                                box.link("cache/TemporaryItems", "../elsewhere");
                                return std::vector<fs::path>();
                            }},
                    Refusal{"WithAFileInPlaceOfTemporaryItems",
                            [](Sandbox &box) {
                                box.file("cache/TemporaryItems");
                                return std::vector<fs::path>();
                            }},
                    Refusal{"IsAFile",
                            [](Sandbox &box) {
                                box.file("cache");
                                return std::vector<fs::path>();
                            }},
                    Refusal{"TemporaryItemsOfAnotherUser",
                            [](Sandbox &box) {
                                box.dir("cache/TemporaryItems");
                                // As an ordinary user it can't be given away; then it is only checked that it
                                // is used.
                                if (::chown((box / "cache/TemporaryItems").c_str(), 12345, 12345) != 0)
                                    return std::vector{box / "cache"};
                                return std::vector<fs::path>();
                            }}),
    [](const auto &row) { return row.param.name; });

TEST(TempPlace, OnAnotherFileSystemThanTheTargetIsNotUsed) {
    std::string pattern = "/dev/shm/tarnwick-test-XXXXXX";
    if (!::mkdtemp(pattern.data()))
        GTEST_SKIP() << "there is no /dev/shm to write to";
    const TestTree shared{fs::path(pattern)};
    Sandbox box;
    if (lookAt(AT_FDCWD, pattern.c_str())->mountId == lookAt(AT_FDCWD, box.top().c_str())->mountId) {
        fs::remove(pattern);
        GTEST_SKIP() << "the temporary folder is /dev/shm";
    }
    EXPECT_EQ(placeFor(pattern), fs::path());
    EXPECT_TRUE(fs::is_empty(pattern));
    fs::remove(pattern);
}

TEST(TempPlace, OnADriveIsTheUsersOwnFolderInItsTemporaryItems) {
    if (const auto reason = LoopMount::whyNot(LoopMount::Type::Tmpfs))
        GTEST_SKIP() << *reason;
    const Sandbox box;
    const LoopMount drive({.type = LoopMount::Type::Tmpfs});
    TestTree tree(drive.top());
    tree.dir("OneDrive");
    const std::string own = ".TemporaryItems/folders." + std::to_string(::getuid());
    const mode_t before = ::umask(077);
    EXPECT_EQ(placeFor(drive.top() / "OneDrive", {drive.top() / "OneDrive"}),
              drive.top() / own / "TemporaryItems");
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

/// Fills a temporary place with what a purge takes and what it must leave.
void fillPlace(TestTree &tree, const std::string &place) {
    const std::string start = place + '/';
    tree.file(start + "NSIRD_TarnwickBasic_a/0/.tw-x.twtmp");
    tree.file(start + "NSIRD_TarnwickBasic_a/deep/er");
    tree.dir(start + "NSIRD_TarnwickBasic_");
    tree.file(start + "._NSIRD_TarnwickBasic_file");
    tree.link(start + "NSIRD_TarnwickBasic_link", "other");
    for (const std::string other :
         {"other/precious", "NSIRD_Other_a/x", "nsird_TarnwickBasic_a", "xNSIRD_TarnwickBasic_a",
          "NSIRD_TarnwickBasic", ".NSIRD_TarnwickBasic_a", ".tw-12345678-123.twtmp"})
        tree.file(start + other);
}

const std::vector<std::string> whatStays = {
    ".NSIRD_TarnwickBasic_a", ".tw-12345678-123.twtmp", "NSIRD_Other_a", "NSIRD_Other_a/x",
    "NSIRD_TarnwickBasic",    "nsird_TarnwickBasic_a",  "other",         "other/precious",
    "xNSIRD_TarnwickBasic_a"};

Lines namesIn(const TestTree &tree, const std::string &folder) {
    Lines names;
    for (const auto &[name, what] : tree.snapshot(folder))
        names.push_back(name);
    return names;
}

TEST(TempPurge, TakesBothPrefixesAndNothingElse) {
    Sandbox box;
    fillPlace(box, "cache/TemporaryItems");
    box.file("cache/NSIRD_TarnwickBasic_outside"); // not in a temporary place
    TempArea::purgeStale({});
    EXPECT_EQ(namesIn(box, "cache/TemporaryItems"), whatStays);
    EXPECT_TRUE(fs::exists(box / "cache/NSIRD_TarnwickBasic_outside"));
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
    const std::string place = ".TemporaryItems/folders." + std::to_string(::getuid()) + "/TemporaryItems";
    const std::string ofAnother = ".TemporaryItems/folders.12345/TemporaryItems";
    fillPlace(tree, place);
    fillPlace(tree, ofAnother);
    const auto before = tree.snapshot();

    TestRoot::set(TestRoot::prepare(box / "root"));
    TempArea::purgeStale({drive.top()});
    TestRoot::set(std::nullopt);
    TempArea::purgeStale({drive.top() / "no such drive"});
    EXPECT_EQ(tree.snapshot(), before);

    TempArea::purgeStale({drive.top()});
    EXPECT_EQ(namesIn(tree, place), whatStays);
    EXPECT_EQ(namesIn(tree, ofAnother).size(), whatStays.size() + 8);
}

} // namespace
