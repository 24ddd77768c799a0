#include "base/Text.h"
#include "platform/FolderAnchor.h"
#include "platform/Lock.h"
#include "sync/PlanUnderTest.h"
#include "sync/RunUnderTest.h"
#include "sync/TempArea.h"

#include <gtest/gtest.h>

#include <sys/stat.h>

namespace {

using RunUnderTest::Lines;
using RunUnderTest::run;
using RunUnderTest::Sandbox;
using RunUnderTest::sorted;
using RunUnderTest::told;

const std::string inTheWay = "something that is neither a file nor a folder is in the way in OneDrive";

/// What stands in the backup, and the errors that come of it.
struct Obstacle {
    std::string name;
    std::function<void(Sandbox &)> prepare;
    Lines errors;
};

class ObstacleTest : public testing::TestWithParam<Obstacle> {};

TEST_P(ObstacleTest, IsLeftAloneAndReported) {
    Sandbox box;
    box.file("A/sub/deeper/file", "new");
    box.file("A/other", "new");
    box.dir("elsewhere/deeper");
    box.dir("OneDrive/A");
    GetParam().prepare(box);
    auto expected = box.snapshot("OneDrive/A");
    Lines lines = told(run({box.job("A")}));
    std::erase_if(lines,
                  [](const std::string &line) { return !line.starts_with("error: ") && !line.starts_with("fatal"); });
    EXPECT_EQ(lines, GetParam().errors);
    expected["other"] = box.snapshot("A")["other"];
    EXPECT_EQ(box.snapshot("OneDrive/A"), expected);
    EXPECT_EQ(box.snapshot("elsewhere"), (std::map<std::string, std::string>{{"deeper", "dir"}}));
    EXPECT_EQ(box.leftovers(), Lines());
}

void makeFifo(Sandbox &box, const std::string &relative) {
    fs::create_directories((box / relative).parent_path());
    ASSERT_EQ(::mkfifo((box / relative).c_str(), 0600), 0);
}

INSTANTIATE_TEST_SUITE_P(InTheWay, ObstacleTest,
                         testing::Values(Obstacle{"ALinkForAFile",
                                                  [](Sandbox &box) {
                                                      box.file("outside");
                                                      box.link("OneDrive/A/sub/deeper/file", "../../../../outside");
                                                  },
                                                  {"error: A/sub/deeper/file: " + inTheWay}},
                                         Obstacle{"AFifoForAFile",
                                                  [](Sandbox &box) { makeFifo(box, "OneDrive/A/sub/deeper/file"); },
                                                  {"error: A/sub/deeper/file: " + inTheWay}},
                                         Obstacle{"ALinkForAFolderOnTheWay",
                                                  [](Sandbox &box) { box.link("OneDrive/A/sub", "../../elsewhere"); },
                                                  {"error: A/sub: couldn't create folder (" + inTheWay + ")",
                                                   "error: A/sub/deeper: couldn't create folder (" + inTheWay + ")",
                                                   "error: A/sub/deeper/file: " + inTheWay}}),
                         [](const auto &row) { return row.param.name; });

TEST(SyncRunner, RemovesLeftoversButNothingOfTheUsers) {
    Sandbox box;
    box.file("A/sub/file");
    box.file("OneDrive/A/sub/.tw-1A2B3C4D-5E6.twtmp");
    for (const std::string mine : {".hidden", ".tw-notes", "x.twtmp", "tw-a.twtmp", ".tw-folder.twtmp/file"})
        box.file("OneDrive/A/" + mine);
    box.file("OneDrive/A/.tw-busy.twtmp");
    box.file("A/.tw-own.twtmp");
    auto expected = box.snapshot("OneDrive/A");
    box.link("OneDrive/A/.tw-link.twtmp", ".hidden");
    box.link("OneDrive/A/sub/.tw-old-link.twtmp", "../.hidden");
    expected.erase("sub/.tw-1A2B3C4D-5E6.twtmp");
    expected["sub/file"] = box.snapshot("A").at("sub/file");

    const FolderAnchor backup(box / "OneDrive/A");
    const FileDescriptor busy = OpenBelow::file(backup.descriptor(), ".tw-busy.twtmp");
    ASSERT_TRUE(Lock::tryLock(busy.get()));
    EXPECT_EQ(told(run({box.job("A")})), (Lines{"copied 1, 7", "added sub/file 7", "pair A: 1, 7, 0"}));
    EXPECT_EQ(box.snapshot("OneDrive/A"), expected);
    EXPECT_TRUE(fs::exists(box / "A/.tw-own.twtmp"));
}

/// It may be the only version that is left.
TEST(SyncRunner, AnOldVersionSetAsideStaysWhileItsPairHasErrorsOrItsPlaceIsEmpty) {
    Sandbox box;
    box.file("A/file");
    box.file("B/file");
    box.link("OneDrive/A/file", "nowhere");
    const std::string aside = TempArea::asideName("file");
    const std::string orphan = TempArea::asideName("gone");
    box.file("OneDrive/A/" + aside);
    box.file("OneDrive/A/.tw-1A2B3C4D-5E6.twtmp");
    box.file("OneDrive/B/" + aside);
    box.file("OneDrive/B/" + orphan);
    const SyncRun first = run({box.job("A"), box.job("B")});
    EXPECT_EQ(sorted(box.leftovers()), sorted({"OneDrive/A/" + aside, "OneDrive/B/" + orphan}));
    ASSERT_EQ(first.notes.size(), 1u);
    EXPECT_EQ(first.notes.front(), QStringLiteral("B: “") + Text::fromPath(box / ("OneDrive/B/" + orphan)) +
                                       QStringLiteral("” is what is left of a file whose replacement was interrupted. "
                                                      "Rename it to keep it."));
    fs::remove(box / "OneDrive/A/file");
    run({box.job("A")});
    EXPECT_EQ(box.leftovers(), Lines{"OneDrive/B/" + orphan});
}

TEST(SyncRunner, WhatAnOrdinaryUserMayNotReadOrWriteIsAnErrorLine) {
    EXPECT_EQ(PlanUnderTest::asOrdinaryUser([] {
                  Sandbox box;
                  box.file("A/secret");
                  box.file("A/open");
                  fs::permissions(box / "A/secret", fs::perms::none);
                  box.file("B/sub/file");
                  box.dir("OneDrive/B");
                  fs::permissions(box / "OneDrive/B", fs::perms(0500));
                  const std::string lines = PlanUnderTest::text(told(run({box.job("A"), box.job("B")})));
                  fs::permissions(box / "OneDrive/B", fs::perms(0700));
                  return lines + PlanUnderTest::text(box.leftovers());
              }),
              PlanUnderTest::text({"copied 1, 7, folders 1", "error: A/secret: Permission denied",
                                   "error: B/sub: couldn't create folder (Permission denied)",
                                   "error: B/sub/file: Permission denied", "added open 7", "pair A: 1, 7, 1",
                                   "pair B: 0, 0, 2"}));
}

TEST(SyncRunner, AFolderThatAnOrdinaryUserMayNotEnterKeepsNoOtherFileFromTheDisk) {
    EXPECT_EQ(PlanUnderTest::asOrdinaryUser([] {
                  Sandbox box;
                  box.file("A/sub/file"); // the first to touch the disk
                  box.file("B/file");
                  box.dir("OneDrive/A/sub");
                  fs::permissions(box / "OneDrive/A/sub", fs::perms(0400));
                  const std::string lines = PlanUnderTest::text(told(run({box.job("A"), box.job("B")})));
                  fs::permissions(box / "OneDrive/A/sub", fs::perms(0700));
                  return lines + PlanUnderTest::text(box.leftovers());
              }),
              PlanUnderTest::text({"copied 1, 7, folders 1", "error: A/sub/file: Permission denied", "added file 7",
                                   "pair A: 0, 0, 1", "pair B: 1, 7, 0"}));
}

} // namespace
