#include "support/TestTree.h"
#include "sync/PlanUnderTest.h"

#include <algorithm>
#include <gtest/gtest.h>

namespace {

using PlanUnderTest::deliveryOrder;
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
    Lines plan;    // in any order
    int files = 0; // how often onFile was called
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
    int files = 0;
    const PairPlan plan = planOf(tree / "original", tree / "backup", [&] { ++files; });
    EXPECT_EQ(sorted(told(plan)), sorted(row.plan)) << row.situation;
    EXPECT_EQ(files, row.files) << row.situation;
    EXPECT_EQ(tree.snapshot(), before) << row.situation << ": planning changes nothing";
}

INSTANTIATE_TEST_SUITE_P(
    Comparing, PlannerTest,
    testing::Values(
        Row{"both empty", {}, {}, {}},
        Row{"new file, new folder with a file, empty folder",
            {{"a"}, {"sub/b"}, {"empty/"}},
            {},
            {"added a > a: 7@0", "added sub/b > sub/b: 7@0", "folder empty > empty", "folder sub > sub"},
            2},
        Row{"all as it was", {{"a"}, {"sub/b", "", -5}}, {{"a"}, {"sub/b", "", -5}}, {"up to date: 2"}, 2},
        Row{"original newer by 3 s",
            {{"sub/a", "seven b", 3}},
            {{"sub/a"}},
            {"updated sub/a > sub/a: 7@3 over 7@0"},
            1},
        Row{"same time, other size",
            {{"a", "longer than that"}},
            {{"a"}},
            {"updated a > a: 16@0 over 7@0"},
            1},
        Row{"newer by 10 s in OneDrive and of another size",
            {{"sub/a", "x"}},
            {{"sub/a", "seven b", 10}},
            {"sub/a" + keptNewer},
            1},
        Row{"only in OneDrive",
            {{"sub/"}},
            {{"b"}, {"sub/c"}, {"other/.tw-a.twtmp"}, {"bad:name"}, {"x.bat"}},
            {}},
        Row{"temporary files on both sides",
            {{".tw-o.twtmp"}, {"sub/.tw-o.twtmp"}, {"new/.tw-o.twtmp"}},
            {{".tw-b.twtmp"}, {"Sub/.tw-old-b.twtmp"}, {"Sub/x.twtmp"}},
            {"folder new > new", "temp .tw-b.twtmp", "temp Sub/.tw-old-b.twtmp"}}));

INSTANTIATE_TEST_SUITE_P(
    Matching, PlannerTest,
    testing::Values(Row{"other case in OneDrive",
                        {{"ReadMe.TXT", "longer than that"}},
                        {{"readme.txt"}},
                        {"updated ReadMe.TXT > readme.txt: 16@0 over 7@0"},
                        1},
                    Row{"decomposed here, composed in OneDrive",
                        {{"cafe\u0301/e\u0301", "x"}},
                        {{"caf\u00E9/\u00C9"}},
                        {"updated cafe\u0301/e\u0301 > caf\u00E9/\u00C9: 1@0 over 7@0"},
                        1},
                    Row{"new things below a folder of another case",
                        {{"Sub/Deep/a"}, {"Sub/New/b"}},
                        {{"sub/DEEP/"}},
                        {"added Sub/Deep/a > sub/DEEP/a: 7@0", "added Sub/New/b > sub/New/b: 7@0",
                         "folder Sub/New > sub/New"},
                        2},
                    Row{"exact spelling among three cases",
                        {{"ReadMe", "x"}},
                        {{"README"}, {"ReadMe", "x"}, {"readme"}, {"REadme"}},
                        {"up to date: 1"},
                        1},
                    Row{"exact spelling among folders",
                        {{"Sub/a"}},
                        {{"SUB/"}, {"Sub/a"}, {"sub/"}, {"sUb/"}},
                        {"up to date: 1"},
                        1},
                    Row{"same letters in another composition before another case",
                        {{"E\u0301", "x"}},
                        {{"\u00E9"}, {"\u00C9", "x"}, {"e\u0301"}},
                        {"up to date: 1"},
                        1},
                    Row{"Kelvin sign is the same text as K",
                        {{"5 \u212A", "x"}},
                        {{"5 k"}, {"5 K", "x"}},
                        {"up to date: 1"},
                        1},
                    Row{"own kind before the other",
                        {{"x"}, {"Y/"}},
                        {{"X/"}, {"x"}, {"y/"}, {"Y"}},
                        {"up to date: 1"},
                        1},
                    Row{"folder here, file in OneDrive", {{"Sub/a"}}, {{"sUB"}}, {"Sub" + fileThere}},
                    Row{"file here, folder in OneDrive", {{"in/x"}}, {{"in/X/a"}}, {"in/x" + folderThere}},
                    Row{"both directions at once",
                        {{"a/b"}, {"c"}},
                        {{"a"}, {"c/d"}},
                        {"a" + fileThere, "c" + folderThere}},
                    Row{"U+FFFD here, a bad byte in OneDrive",
                        {{"a\uFFFD", "x"}},
                        {{"a\xFF"}},
                        {"added a\uFFFD > a\uFFFD: 1@0"},
                        1}));

INSTANTIATE_TEST_SUITE_P(
    Skipping, PlannerTest,
    testing::Values(Row{"folder with a colon and two files",
                        {{"a:b/x"}, {"a:b/y"}, {"a:b/.tw-z.twtmp"}},
                        {},
                        {"skip name a:b | a_b"}},
                    Row{"bad name although it is in OneDrive",
                        {{"sub/end "}},
                        {{"sub/end "}},
                        {"skip name sub/end  | end"}},
                    Row{"not valid UTF-8",
                        {{"caf\xE9/x"}, {"\xFF.bat"}},
                        {},
                        {"skip name \xFF.bat | _.bat", "skip name caf\xE9 | caf_"}},
                    Row{"refused types",
                        {{"tool.bat"}, {"LIB.JAR"}, {"jar"}, {"x.bat/a"}, {"sub/a.Pid"}},
                        {{"tool.bat"}, {"sub/"}},
                        {"added jar > jar: 7@0", "added x.bat/a > x.bat/a: 7@0", "folder x.bat > x.bat",
                         "skip type LIB.JAR | .jar", "skip type sub/a.Pid | .pid",
                         "skip type tool.bat | .bat"},
                        2},
                    Row{"bad name before refused type", {{"a?.bat"}}, {}, {"skip name a?.bat | a_.bat"}},
                    Row{"ignored before bad name", {{"~$a:b"}, {".a:b"}, {"Icon\r"}}, {}, {}}));

TEST(Planner, FirstSyncMakesEveryFolder) {
    TestTree tree;
    make(tree, "original", {{"a"}, {"b"}, {"sub/c"}, {"sub/deeper/c.txt"}, {"empty/"}});
    EXPECT_EQ(sorted(told(planOf(tree / "original", tree / "backup"))),
              (Lines{"added a > a: 7@0", "added b > b: 7@0", "added sub/c > sub/c: 7@0",
                     "added sub/deeper/c.txt > sub/deeper/c.txt: 7@0", "folder  > ", "folder empty > empty",
                     "folder sub > sub", "folder sub/deeper > sub/deeper"}));
}

TEST(Planner, AFileInPlaceOfTheBackupFolderIsAFolderToCreate) {
    TestTree tree;
    make(tree, "original", {{"a"}});
    tree.file("backup");
    EXPECT_EQ(told(planOf(tree / "original", tree / "backup")), (Lines{"folder  > ", "added a > a: 7@0"}));
}

TEST(Planner, OfTwinsTheSecondInOrderIsReported) {
    TestTree tree;
    make(tree, "original/sub", {{"Notes/in"}, {"notes"}});
    make(tree, "original", {{"\u00E9"}, {"E\u0301"}, {"e\u0301"}});
    tree.dir("backup");
    Lines expected = {"folder sub > sub"};
    const Lines top = deliveryOrder(tree / "original");
    bool isFirst = true;
    for (const std::string &name : top) {
        if (name == "sub")
            continue;
        expected.push_back(isFirst ? "added " + name + " > " + name + ": 7@0" : name + twinHere);
        isFirst = false;
    }
    if (deliveryOrder(tree / "original/sub").front() == "Notes") {
        expected.insert(expected.end(), {"folder sub/Notes > sub/Notes",
                                         "added sub/Notes/in > sub/Notes/in: 7@0", "sub/notes" + twinHere});
    } else {
        expected.insert(expected.end(), {"added sub/notes > sub/notes: 7@0", "sub/Notes" + twinHere});
    }
    EXPECT_EQ(sorted(told(planOf(tree / "original", tree / "backup"))), sorted(expected));
}

TEST(Planner, OfEqualSpellingsInOneDriveTheFirstInOrderIsTheMatch) {
    TestTree tree;
    make(tree, "original", {{"\u1E69", "x"}}); // s with two dots, which can be put together in three ways
    make(tree, "backup", {{"s\u0323\u0307"}, {"s\u0307\u0323"}, {"\u1E63\u0307"}, {"\u1E68"}});
    Lines same = deliveryOrder(tree / "backup");
    std::erase(same, "\u1E68");
    EXPECT_EQ(told(planOf(tree / "original", tree / "backup")),
              Lines{"updated \u1E69 > " + same.front() + ": 1@0 over 7@0"});
}

TEST(Planner, SkippedItemsDoNotClashWithTwins) {
    TestTree tree;
    tree.dir("backup");
    Lines expected;
    // Many pairs, so that in some of them the skipped one is delivered first.
    for (const std::string name : {"a", "b", "c", "d", "e", "f", "g", "h"}) {
        tree.file("original/" + name + ".bat");
        tree.dir("original/" + name + ".BAT");
        tree.file("original/" + name + "\xFF");
        tree.file("original/" + name + "\uFFFD");
        expected.insert(expected.end(),
                        {"skip type " + name + ".bat | .bat", "folder " + name + ".BAT > " + name + ".BAT",
                         "skip name " + name + "\xFF | " + name + "_",
                         "added " + name + "\uFFFD > " + name + "\uFFFD: 7@0"});
    }
    EXPECT_EQ(sorted(told(planOf(tree / "original", tree / "backup"))), sorted(expected));
}

/// What a walk by the operating system's own listing meets, depth first.
void walkPlainly(const fs::path &folder, const std::string &relative, Lines &lines) {
    for (const std::string &name : deliveryOrder(folder)) {
        const std::string path = relative.empty() ? name : relative + '/' + name;
        lines.push_back(path);
        if (fs::is_directory(folder / name))
            walkPlainly(folder / name, path, lines);
    }
}

TEST(Planner, FollowsTheOrderOfDelivery) {
    TestTree tree;
    for (int i = 0; i < 60; ++i) {
        const std::string number = std::to_string(i * 37 % 60);
        tree.file("original/" + number + "/" + std::to_string(i * 7 % 60) + "/file");
        tree.file("original/" + number + "/x" + number);
        tree.file("original/y" + number);
        tree.dir("backup/" + std::to_string(i / 2)); // half of the folders are there
    }
    Lines expected;
    walkPlainly(tree / "original", "", expected);
    const Lines order = expected;
    const auto place = [&](const std::string &rel) {
        return std::find(order.begin(), order.end(), rel) - order.begin();
    };
    const PairPlan plan = planOf(tree / "original", tree / "backup");
    std::vector<std::ptrdiff_t> folders;
    for (const PlannedFolder &folder : plan.folders)
        folders.push_back(place(PairPlan::rel(folder.folder)));
    std::vector<std::ptrdiff_t> copies;
    for (const PlannedCopy &copy : plan.copies)
        copies.push_back(place(PairPlan::rel(copy)));
    EXPECT_EQ(folders.size(), 90U);
    EXPECT_EQ(copies.size(), 180U);
    EXPECT_TRUE(std::is_sorted(folders.begin(), folders.end()));
    EXPECT_TRUE(std::is_sorted(copies.begin(), copies.end()));
}

} // namespace
