#include "base/Text.h"
#include "sync/FileGate.h"
#include "sync/RunUnderTest.h"

#include <gtest/gtest.h>
#include <thread>

namespace {

using RunUnderTest::Lines;
using RunUnderTest::makeFiles;
using RunUnderTest::run;
using RunUnderTest::Sandbox;
using RunUnderTest::sorted;
using RunUnderTest::told;

/// The point is an opening or reading of an original; some originals are new, some are updates and one is large.
TEST(SyncRunnerCancel, AtAnyPointLeavesOldOrNewAndTheNextRunFinishes) {
    if (const auto reason = FileGate::whyNot())
        GTEST_SKIP() << *reason;
    for (const int point : {1, 2, 5, 9, 10, 11, 13, 20}) {
        Sandbox box;
        for (const std::string folder : {"A", "A/sub"})
            makeFiles(box, folder, 8, "new version ", someTime);
        makeFiles(box, "A/sub", 1, "large and new ", someTime, 20 * 1024 * 1024);
        makeFiles(box, "OneDrive/A", 4, "old version ", later(someTime, -100));
        const auto original = box.snapshot("A");
        const auto before = box.snapshot("OneDrive/A");
        CancelToken token;
        SyncRun stopped;
        {
            const FileGate gate({box / "A", box / "A/sub"},
                                [&, left = point](FileGate::Event, const std::string &) mutable {
                                    if (--left == 0)
                                        token.cancel();
                                    return 0;
                                });
            stopped = run({box.job("A")}, token);
        }
        EXPECT_TRUE(stopped.cancelled) << point;
        EXPECT_EQ(stopped.errors, std::vector<QString>());
        EXPECT_EQ(stopped.pairResults.front().note, QStringLiteral("Cancelled"));
        auto backup = box.snapshot("OneDrive/A");
        EXPECT_EQ(RunUnderTest::wrongAfterStop(stopped, original, before, backup), Lines()) << point;
        EXPECT_EQ(box.leftovers(), Lines()) << point;

        const SyncRun next = run({box.job("A")});
        EXPECT_EQ(next.filesCopied + stopped.filesCopied, 16) << point;
        EXPECT_EQ(box.snapshot("OneDrive/A"), original) << point;
    }
}

/// A cancel at the n-th report: while planning, when copying starts, and at the very end.
TEST(SyncRunnerCancel, AtAReport) {
    const std::vector<std::pair<int, Lines>> rows = {
        {1, {"copied 0, 0, cancelled"}},
        {2, {"copied 0, 0, cancelled"}},
        {3, {"copied 0, 0, cancelled"}},
        {4, {"copied 2, 14, folders 2", "added file 7", "added file 7", "pair A: 1, 7, 0", "pair B: 1, 7, 0"}}};
    for (const auto &[report, lines] : rows) {
        Sandbox box;
        box.file("A/file");
        box.file("B/file");
        box.dir("cache/TemporaryItems/NSIRD_TarnwickBasic_stale");
        CancelToken token;
        int count = 0;
        const SyncRun result = run({box.job("A"), box.job("B")}, token, [&, at = report](const SyncProgress &) {
            if (++count == at)
                token.cancel();
        });
        EXPECT_EQ(told(result), lines) << report;
        EXPECT_EQ(fs::is_empty(box / "OneDrive"), report < 4);
        // A run that is cancelled while it plans removes nothing either.
        EXPECT_EQ(box.leftovers().size(), report < 3 ? 1u : 0u) << report;
    }
}

/// What arrives in the backup between the plan and the copy.
struct Arrival {
    std::string name;
    std::function<void(Sandbox &)> arrive;
    Lines lines;
};

class ArrivalTest : public testing::TestWithParam<Arrival> {};

TEST_P(ArrivalTest, IsDecidedAnew) {
    Sandbox box;
    box.file("A/new", "new version");
    box.file("A/update", "new version");
    box.file("OneDrive/A/update", "old", later(someTime, -100));
    std::map<std::string, std::string> expected;
    bool isDone = false;
    const SyncRun result = run({box.job("A")}, CancelToken(), [&](const SyncProgress &progress) {
        if (progress.stage == SyncProgress::Stage::copying && !std::exchange(isDone, true)) {
            GetParam().arrive(box);
            expected = box.snapshot("OneDrive/A");
        }
    });
    EXPECT_EQ(sorted(told(result)), sorted(GetParam().lines));
    for (const ChangeRecord &change : result.changes)
        expected[Text::toBytes(change.relPath)] = box.snapshot("A").at(Text::toBytes(change.relPath));
    EXPECT_EQ(box.snapshot("OneDrive/A"), expected);
    EXPECT_EQ(box.leftovers(), Lines());
}

void both(Sandbox &box, const std::string &content, FileTime time) {
    box.file("OneDrive/A/new", content, time);
    box.file("OneDrive/A/update", content, time);
}

const std::string newer = " — the copy in OneDrive is newer, so it was left alone";

INSTANTIATE_TEST_SUITE_P(
    MidRun, ArrivalTest,
    testing::Values(Arrival{"NewerFiles",
                            [](Sandbox &box) { both(box, "newer", later(someTime, 50)); },
                            {"copied 0, 0", "newer: A/new" + newer, "newer: A/update" + newer, "pair A: 0, 0, 0"}},
                    Arrival{"TheSameFiles",
                            [](Sandbox &box) { both(box, "new version", someTime); },
                            {"copied 0, 0, up to date 2", "pair A: 0, 0, 0"}},
                    Arrival{"OlderFiles",
                            [](Sandbox &box) { both(box, "older", later(someTime, -500)); },
                            {"copied 2, 22", "updated new 11", "updated update 11", "pair A: 2, 22, 0"}},
                    Arrival{"TheOldFileGoes",
                            [](Sandbox &box) { fs::remove(box / "OneDrive/A/update"); },
                            {"copied 2, 22", "added new 11", "added update 11", "pair A: 2, 22, 0"}}),
    [](const auto &row) { return row.param.name; });

TEST(SyncRunnerTwice, TwoRunsAtOnceOnOnePairDontBreakEachOther) {
    for (int round = 0; round < 4; ++round) {
        // Beside the targets in every other round: there both runs see each other's temporary files.
        Sandbox box(round % 2 == 0 ? fs::path() : fs::path("/proc/none"));
        for (const std::string folder : {"A", "A/sub", "A/new/deeper"})
            makeFiles(box, folder, 15, "new version ", someTime);
        makeFiles(box, "OneDrive/A", 8, "old version ", later(someTime, -100));
        const auto original = box.snapshot("A");
        const SyncJob job = box.job("A");
        SyncRun other;
        std::thread second([&] { other = run({job}); });
        const SyncRun one = run({job});
        second.join();
        EXPECT_EQ(one.errors, std::vector<QString>());
        EXPECT_EQ(other.errors, std::vector<QString>());
        EXPECT_EQ(one.fatal.value_or(QString()) + other.fatal.value_or(QString()), QString());
        EXPECT_GE(one.filesCopied + other.filesCopied, 45);
        EXPECT_EQ(box.snapshot("OneDrive/A"), original);
        EXPECT_EQ(box.leftovers(), Lines());
    }
}

} // namespace
