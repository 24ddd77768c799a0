#include "support/LoopMount.h"
#include "support/Restricted.h"
#include "support/TestTree.h"
#include "sync/PlanUnderTest.h"

#include <cerrno>
#include <gtest/gtest.h>

#include <sys/syscall.h>

namespace {

using PlanUnderTest::Lines;
using PlanUnderTest::planOf;
using PlanUnderTest::sorted;
using PlanUnderTest::text;
using PlanUnderTest::told;

const std::string keptNewer = " — the copy in OneDrive is newer, so it was left alone";
const std::string fileThere = " — a file with the same name is already in the backup";
const std::string folderThere = " — a folder with the same name is already in the backup";
const std::string twinHere =
    " — another item here has the same name once capital letters are ignored; rename one of them";
const std::string ownUnreadable = ": couldn't read your folder of this folder, so it was skipped. ";
const std::string backupUnreadable = ": couldn't read the backup copy of this folder, so it was skipped. ";
const std::string backupItself = ": this is the backup folder itself, so it was skipped";

/// A path below the pair's folders; one that ends with "/" is a folder.
struct Item {
    std::string path;
    std::string content = "seven b";
    std::int64_t newerBy = 0;
};

struct Row {
    const char *situation;
    std::vector<Item> original;
    std::vector<Item> backup;
    Lines plan; // in any order
};

void make(TestTree &tree, const std::string &top, const std::vector<Item> &items) {
    tree.dir(top);
    for (const Item &item : items) {
        if (item.path.ends_with('/'))
            tree.dir(top + '/' + item.path);
        else
            tree.file(top + '/' + item.path, item.content, later(someTime, item.newerBy));
    }
}

TEST(Planner, ComparesMatchesAndSkips) {
    const Row rows[] = {
        {"new files and folders; things in OneDrive alone",
         {{"a"}, {"sub/b"}, {"empty/"}, {"old/"}},
         {{"b"}, {"old/c"}, {"other/.tw-a.twtmp"}, {"bad:name"}, {"x.bat"}},
         {"added a > a: 7@0", "added sub/b > sub/b: 7@0", "folder empty > empty", "folder sub > sub"}},
        {"changed or not",
         {{"same", "", -5}, {"newer", "seven b", 3}, {"longer", "twice seven b."}, {"sub/older", "x"}},
         {{"same", "", -5}, {"newer"}, {"longer"}, {"sub/older", "seven b", 10}},
         {"updated newer > newer: 7@3 over 7@0", "updated longer > longer: 14@0 over 7@0", "sub/older" + keptNewer,
          "up to date: 1"}},
        {"temporary files on both sides",
         {{".tw-o.twtmp"}, {"sub/.tw-o.twtmp"}, {"new/.tw-o.twtmp"}},
         {{".tw-b.twtmp"}, {"Sub/.tw-old-b.twtmp"}, {"Sub/x.twtmp"}},
         {"folder new > new", "temp .tw-b.twtmp", "temp Sub/.tw-old-b.twtmp"}},
        {"other case and composition in OneDrive",
         {{"cafe\u0301/e\u0301", "x"}, {"Sub/Deep/a"}, {"Sub/New/"}},
         {{"caf\u00E9/\u00C9"}, {"sub/DEEP/"}},
         {"updated cafe\u0301/e\u0301 > caf\u00E9/\u00C9: 1@0 over 7@0", "added Sub/Deep/a > sub/DEEP/a: 7@0",
          "folder Sub/New > sub/New"}},
        {"the exact spelling, else another composition of it, before other cases",
         {{"ReadMe", "x"}, {"Sub/a"}, {"E\u0301", "x"}},
         {{"README"}, {"ReadMe", "x"}, {"Sub/a"}, {"SUB/"}, {"\u00E9"}, {"\u00C9", "x"}},
         {"up to date: 3"}},
        {"own kind before the other", {{"x"}, {"Y/"}}, {{"X/"}, {"x"}, {"y/"}, {"Y"}}, {"up to date: 1"}},
        {"folder here and file in OneDrive, and the other way round",
         {{"Sub/a"}, {"in/x"}},
         {{"sUB"}, {"in/X/a"}},
         {"Sub" + fileThere, "in/x" + folderThere}},
        {"bad names, even if OneDrive has them; ignored goes before bad name, bad name before type",
         {{"a:b/x"}, {"a:b/.tw-z.twtmp"}, {"end "}, {"caf\xE9/x"}, {"a?.bat"}, {".a:b"}, {"Icon\r"}},
         {{"end "}},
         {"skip name a:b | a_b", "skip name end  | end", "skip name caf\xE9 | caf_", "skip name a?.bat | a_.bat"}},
        // Several pairs made in either order, so that in some of them the skipped one is delivered first.
        {"a skipped type doesn't clash with the folder that differs in case",
         {{"a.bat"}, {"a.BAT/"}, {"b.bat/"}, {"b.Bat"}, {"c.jar/"}, {"c.Jar"}, {"d.pid"}, {"d.PID/"}},
         {{"a.bat"}},
         {"skip type a.bat | .bat", "a.BAT" + fileThere, "folder b.bat > b.bat", "skip type b.Bat | .bat",
          "folder c.jar > c.jar", "skip type c.Jar | .jar", "folder d.PID > d.PID", "skip type d.pid | .pid"}}};
    for (const Row &row : rows) {
        TestTree tree;
        make(tree, "original", row.original);
        make(tree, "backup", row.backup);
        const auto before = tree.snapshot();
        EXPECT_EQ(sorted(told(planOf(tree / "original", tree / "backup"))), sorted(row.plan)) << row.situation;
        EXPECT_EQ(tree.snapshot(), before) << row.situation << ": planning changes nothing";
    }
}

TEST(Planner, OfTwinsOneIsPlannedAndTheOtherReported) {
    TestTree tree;
    make(tree, "original", {{"e\u0301"}, {"\u00C9/in"}});
    tree.dir("backup");
    const Lines plan = told(planOf(tree / "original", tree / "backup"));
    EXPECT_TRUE(plan == (Lines{"added e\u0301 > e\u0301: 7@0", "\u00C9" + twinHere}) ||
                plan == (Lines{"folder \u00C9 > \u00C9", "added \u00C9/in > \u00C9/in: 7@0", "e\u0301" + twinHere}))
        << testing::PrintToString(plan);
}

/// The plan of "original" and "backup" as a user makes it who has no right to these folders.
std::optional<std::string> planWithLocked(const TestTree &tree, const Lines &folders) {
    fs::permissions(tree.top(), fs::perms(0755));
    for (const std::string &folder : folders)
        fs::permissions(tree / folder, fs::perms::none);
    const std::optional<std::string> plan =
        PlanUnderTest::asOrdinaryUser([&] { return text(sorted(told(planOf(tree / "original", tree / "backup")))); });
    for (const std::string &folder : folders)
        fs::permissions(tree / folder, fs::perms(0755));
    return plan;
}

TEST(Planner, UnreadableFoldersAreProblemsAndTheirSiblingsGoOn) {
    TestTree tree;
    for (const std::string sub : {"in/locked here", "in/locked there", "new and locked", "open"}) {
        tree.file("original/" + sub + "/deeper/file");
        tree.link("original/" + sub + "/link", "file");
    }
    for (const std::string sub : {"in/Locked Here", "in/locked there", "open"})
        tree.file("backup/" + sub + "/deeper/.tw-a.twtmp");
    // The links in "locked there" were counted before its backup was asked for.
    EXPECT_EQ(
        planWithLocked(tree, {"original/in/locked here", "backup/in/locked there", "original/new and locked"}),
        text(sorted({"in/locked here" + ownUnreadable + "Permission denied",
                     "in/locked there" + backupUnreadable + "Permission denied",
                     "new and locked" + ownUnreadable + "Permission denied", "folder new and locked > new and locked",
                     "added open/deeper/file > open/deeper/file: 7@0", "temp open/deeper/.tw-a.twtmp", "links: 2"})));
    EXPECT_EQ(planWithLocked(tree, {"backup"}), "backup" + backupUnreadable + "Permission denied\n");
}

TEST(Planner, ATimeoutIsOneDriveNotResponding) {
    TestTree tree;
    tree.dir("original");
    EXPECT_EQ(PlanUnderTest::inChild([&] {
                  Restricted::refuseCall(SYS_getdents64, ETIMEDOUT);
                  return text(told(planOf(tree / "original", tree.top())));
              }),
              "original" + ownUnreadable + "OneDrive didn't respond (it may still be downloading this folder)\n");
}

TEST(Planner, LinksAreNeverFollowed) {
    TestTree tree;
    make(tree, "elsewhere", {{"file"}, {".tw-a.twtmp"}});
    make(tree, "original", {{"folder/file"}, {"file"}});
    tree.link("original/link to folder", "../elsewhere");
    tree.link("original/link to file", "../elsewhere/file");
    tree.link("original/sub/link to nothing", "nowhere");
    tree.link("original/loop", ".");
    tree.link("backup/folder", "../elsewhere");
    tree.link("backup/file", "../elsewhere/file");
    // A link in OneDrive counts as nothing there; the copy is what finds it in the way.
    EXPECT_EQ(sorted(told(planOf(tree / "original", tree / "backup"))),
              sorted({"folder sub > sub", "folder folder > folder", "added folder/file > folder/file: 7@0",
                      "added file > file: 7@0", "links: 4"}));
}

TEST(Planner, TheBackupFolderInsideTheOriginalIsNotEntered) {
    TestTree tree;
    tree.file("original/in/Backup/other/.tw-a.twtmp");
    EXPECT_EQ(told(planOf(tree / "original", tree / "original/in/Backup")),
              (Lines{"folder in > in", "folder in/Backup > in/Backup", "in/Backup" + backupItself}));
    EXPECT_EQ(told(planOf(tree / "original", tree / "original")), Lines{"original" + backupItself});
}

TEST(Planner, OfMountsTheBackupFolderAloneIsNotEntered) {
    if (const auto why = LoopMount::whyNot(LoopMount::Type::Tmpfs))
        GTEST_SKIP() << *why;
    TestTree tree;
    for (const std::string folder : {"original/backup again", "original/other drive", "backup"})
        tree.dir(folder);
    // The tops of two file systems have the same inode number.
    const Mount backup("none", tree / "backup", "tmpfs");
    const Mount backupAgain(tree / "backup", tree / "original/backup again", "bind");
    const Mount otherDrive("none", tree / "original/other drive", "tmpfs");
    tree.file("original/other drive/a");
    EXPECT_EQ(sorted(told(planOf(tree / "original", tree / "backup"))),
              (Lines{"added other drive/a > other drive/a: 7@0", "backup again" + backupItself,
                     "folder backup again > backup again", "folder other drive > other drive"}));
}

} // namespace
