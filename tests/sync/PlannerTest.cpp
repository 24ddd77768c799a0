#include "support/TestTree.h"
#include "sync/PlanUnderTest.h"

#include <gtest/gtest.h>

namespace {

using PlanUnderTest::Lines;
using PlanUnderTest::planOf;
using PlanUnderTest::sorted;
using PlanUnderTest::told;

const std::string keptNewer = " — the copy in OneDrive is newer, so it was left alone";
const std::string fileThere = " — a file with the same name is already in the backup";
const std::string folderThere = " — a folder with the same name is already in the backup";
const std::string twinHere =
    " — another item here has the same name once capital letters are ignored; rename one of them";

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

void PrintTo(const Row &row, std::ostream *out) {
    *out << row.situation;
}

class PlannerTest : public testing::TestWithParam<Row> {};

TEST_P(PlannerTest, Plans) {
    const Row &row = GetParam();
    TestTree tree;
    make(tree, "original", row.original);
    make(tree, "backup", row.backup);
    const auto before = tree.snapshot();
    std::size_t files = 0;
    const PairPlan plan = planOf(tree / "original", tree / "backup", [&] { ++files; });
    EXPECT_EQ(sorted(told(plan)), sorted(row.plan)) << row.situation;
    EXPECT_EQ(files, plan.copies.size() + plan.keptNewer.size() + static_cast<std::size_t>(plan.upToDate));
    EXPECT_EQ(tree.snapshot(), before) << row.situation << ": planning changes nothing";
}

INSTANTIATE_TEST_SUITE_P(
    Comparing, PlannerTest,
    testing::Values(
        Row{"new file, new folder with a file, empty folder",
            {{"a"}, {"sub/b"}, {"empty/"}},
            {},
            {"added a > a: 7@0", "added sub/b > sub/b: 7@0", "folder empty > empty", "folder sub > sub"}},
        Row{"changed or not",
            {{"same", "", -5}, {"newer", "seven b", 3}, {"longer", "twice seven b."}, {"sub/older", "x"}},
            {{"same", "", -5}, {"newer"}, {"longer"}, {"sub/older", "seven b", 10}},
            {"updated newer > newer: 7@3 over 7@0", "updated longer > longer: 14@0 over 7@0", "sub/older" + keptNewer,
             "up to date: 1"}},
        Row{"only in OneDrive", {{"sub/"}}, {{"b"}, {"sub/c"}, {"other/.tw-a.twtmp"}, {"bad:name"}, {"x.bat"}}, {}},
        Row{"temporary files on both sides",
            {{".tw-o.twtmp"}, {"sub/.tw-o.twtmp"}, {"new/.tw-o.twtmp"}},
            {{".tw-b.twtmp"}, {"Sub/.tw-old-b.twtmp"}, {"Sub/x.twtmp"}},
            {"folder new > new", "temp .tw-b.twtmp", "temp Sub/.tw-old-b.twtmp"}}));

INSTANTIATE_TEST_SUITE_P(
    Matching, PlannerTest,
    testing::Values(
        Row{"other case and composition in OneDrive",
            {{"ReadMe.TXT", "x"}, {"cafe\u0301/e\u0301", "x"}},
            {{"readme.txt"}, {"caf\u00E9/\u00C9"}},
            {"updated ReadMe.TXT > readme.txt: 1@0 over 7@0",
             "updated cafe\u0301/e\u0301 > caf\u00E9/\u00C9: 1@0 over 7@0"}},
        Row{"new things below folders of another case",
            {{"Sub/Deep/a"}, {"Sub/New/b"}},
            {{"sub/DEEP/"}},
            {"added Sub/Deep/a > sub/DEEP/a: 7@0", "added Sub/New/b > sub/New/b: 7@0", "folder Sub/New > sub/New"}},
        Row{"exact spelling among other cases",
            {{"ReadMe", "x"}, {"Sub/a"}},
            {{"README"}, {"ReadMe", "x"}, {"readme"}, {"REadme"}, {"SUB/"}, {"Sub/a"}, {"sub/"}, {"sUb/"}},
            {"up to date: 2"}},
        Row{"same letters in another composition before another case",
            {{"E\u0301", "x"}},
            {{"\u00E9"}, {"\u00C9", "x"}, {"e\u0301"}},
            {"up to date: 1"}},
        Row{"own kind before the other", {{"x"}, {"Y/"}}, {{"X/"}, {"x"}, {"y/"}, {"Y"}}, {"up to date: 1"}},
        Row{"folder here, file in OneDrive, and the other way round",
            {{"Sub/a"}, {"in/x"}},
            {{"sUB"}, {"in/X/a"}},
            {"Sub" + fileThere, "in/x" + folderThere}},
        Row{"U+FFFD here, a bad byte in OneDrive", {{"a\uFFFD", "x"}}, {{"a\xFF"}}, {"added a\uFFFD > a\uFFFD: 1@0"}}));

INSTANTIATE_TEST_SUITE_P(
    Skipping, PlannerTest,
    testing::Values(Row{"bad names as a whole, even if OneDrive has them; the name before the type",
                        {{"a:b/x"}, {"a:b/y"}, {"a:b/.tw-z.twtmp"}, {"end "}, {"caf\xE9/x"}, {"a?.bat"}},
                        {{"end "}},
                        {"skip name a:b | a_b", "skip name end  | end", "skip name caf\xE9 | caf_",
                         "skip name a?.bat | a_.bat"}},
                    Row{"refused types are files alone",
                        {{"tool.bat"}, {"x.bat/a"}, {"sub/a.Pid"}},
                        {{"tool.bat"}, {"sub/"}},
                        {"added x.bat/a > x.bat/a: 7@0", "folder x.bat > x.bat", "skip type sub/a.Pid | .pid",
                         "skip type tool.bat | .bat"}},
                    Row{"ignored before bad name", {{"~$a:b"}, {".a:b"}, {"Icon\r"}}, {}, {}}));

TEST(Planner, FirstSyncMakesTheBackupFolderAndParentsBeforeTheirChildren) {
    TestTree tree;
    tree.file("original/sub/deeper/c.txt");
    EXPECT_EQ(told(planOf(tree / "original", tree / "backup")),
              (Lines{"folder  > ", "folder sub > sub", "folder sub/deeper > sub/deeper",
                     "added sub/deeper/c.txt > sub/deeper/c.txt: 7@0"}));
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

TEST(Planner, SkippedItemsDoNotClashWithTwins) {
    TestTree tree;
    tree.dir("backup");
    Lines expected;
    // Many pairs, so that in some of them the skipped one is delivered first.
    for (const std::string name : {"a", "b", "c", "d", "e", "f", "g", "h"}) {
        tree.file("original/" + name + ".bat");
        tree.dir("original/" + name + ".BAT");
        expected.push_back("skip type " + name + ".bat | .bat");
        expected.push_back("folder " + name + ".BAT > " + name + ".BAT");
    }
    EXPECT_EQ(sorted(told(planOf(tree / "original", tree / "backup"))), sorted(expected));
}

} // namespace
