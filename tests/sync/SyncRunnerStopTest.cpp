#include "base/Text.h"
#include "sync/FileGate.h"
#include "sync/RunUnderTest.h"

#include <atomic>
#include <gtest/gtest.h>
#include <thread>

#include <sys/stat.h>

namespace {

using RunUnderTest::Lines;
using RunUnderTest::makeFiles;
using RunUnderTest::run;
using RunUnderTest::Sandbox;
using RunUnderTest::sorted;
using RunUnderTest::told;

/// Originals of which half are new and half are updates, and one that is large.
class StopTest : public testing::Test {
  protected:
    void SetUp() override {
        if (const auto reason = FileGate::whyNot())
            GTEST_SKIP() << *reason;
        for (const std::string folder : {"A", "A/sub", "A/new"}) {
            makeFiles(box, folder, 8, "new version ", someTime);
            box.dir("OneDrive/" + folder);
        }
        fs::remove(box / "OneDrive/A/new");
        makeFiles(box, "OneDrive/A", 4, "old version ", later(someTime, -100));
        makeFiles(box, "OneDrive/A/sub", 4, "old version ", later(someTime, -100));
        fs::copy(box / "OneDrive/A", box / "before", fs::copy_options::recursive);
        for (const auto &entry : fs::recursive_directory_iterator(box / "before"))
            box.setTime(entry.path().lexically_relative(box.top()), later(someTime, -100));
        before = box.snapshot("before");
    }

    void restoreBackup() {
        fs::remove_all(box / "OneDrive/A");
        fs::copy(box / "before", box / "OneDrive/A", fs::copy_options::recursive);
        for (const auto &entry : fs::recursive_directory_iterator(box / "OneDrive/A"))
            box.setTime(entry.path().lexically_relative(box.top()), later(someTime, -100));
    }

    std::vector<fs::path> originals() const { return {box / "A", box / "A/sub", box / "A/new"}; }

    Sandbox box;
    std::map<std::string, std::string> before;
};

TEST_F(StopTest, ACancelAtAnyPointLeavesOldOrNewAndTheNextRunFinishes) {
    makeFiles(box, "A/sub", 1, "large and new ", someTime, 20 * 1024 * 1024);
    const auto original = box.snapshot("A");
    bool wasCancelled = true;
    for (int point = 1; wasCancelled; point += point < 12 ? 1 : 5) {
        ASSERT_LT(point, 400);
        restoreBackup();
        ASSERT_EQ(box.snapshot("OneDrive/A"), before);
        CancelToken token;
        SyncRun stopped;
        int begun = 0;
        {
            const FileGate gate(originals(),
                                [&, left = point](FileGate::Event event, const std::string &) mutable {
                                    begun += event == FileGate::Event::Open && !token.isCancelled() ? 1 : 0;
                                    if (--left == 0)
                                        token.cancel();
                                    return 0;
                                });
            stopped = run({box.job("A")}, token);
        }
        wasCancelled = token.isCancelled();
        EXPECT_EQ(stopped.cancelled, wasCancelled);
        EXPECT_EQ(stopped.filesCopied, wasCancelled ? begun - 1 : 24)
            << "what was complete is published, point " << point;
        EXPECT_EQ(stopped.errors, std::vector<QString>());
        ASSERT_EQ(stopped.pairResults.size(), 1u);
        EXPECT_EQ(stopped.pairResults.front().note,
                  wasCancelled ? std::optional(QStringLiteral("Cancelled")) : std::nullopt);
        EXPECT_EQ(RunUnderTest::wrongAfterStop(stopped, original, before, box.snapshot("OneDrive/A")),
                  Lines())
            << point;
        EXPECT_EQ(box.leftovers(), Lines()) << point;

        const SyncRun next = run({box.job("A")});
        EXPECT_EQ(next.filesCopied + stopped.filesCopied, 24) << point;
        EXPECT_EQ(next.errors, std::vector<QString>());
        EXPECT_EQ(box.snapshot("OneDrive/A"), original) << point;
        EXPECT_EQ(box.leftovers(), Lines()) << point;
    }
    EXPECT_EQ(box.snapshot("A"), original);
}

/// A cancel at the n-th report: while planning, when copying starts, and at the very end.
TEST(SyncRunnerCancel, AtAReport) {
    const std::vector<std::pair<int, Lines>> rows = {
        {1, {"copied 0, 0, cancelled"}},
        {2, {"copied 0, 0, cancelled"}},
        {3, {"copied 0, 0, cancelled"}},
        {4,
         {"copied 2, 14, folders 2", "added file 7", "added file 7", "pair A: 1, 7, 0", "pair B: 1, 7, 0"}}};
    for (const auto &[report, lines] : rows) {
        Sandbox box;
        box.file("A/file");
        box.file("B/file");
        box.dir("cache/TemporaryItems/NSIRD_TarnwickBasic_stale");
        CancelToken token;
        int count = 0;
        const SyncRun result =
            run({box.job("A"), box.job("B")}, token, [&, at = report](const SyncProgress &) {
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
    if (const auto reason = FileGate::whyNot())
        GTEST_SKIP() << *reason;
    Sandbox box;
    box.file("A/new", "new version");
    box.file("A/update", "new version");
    box.file("OneDrive/A/update", "old", later(someTime, -100));
    std::map<std::string, std::string> expected;
    SyncRun result;
    {
        bool isDone = false;
        const FileGate gate({box / "A"}, [&](FileGate::Event, const std::string &) {
            if (!std::exchange(isDone, true)) {
                GetParam().arrive(box);
                expected = box.snapshot("OneDrive/A");
            }
            return 0;
        });
        result = run({box.job("A")});
    }
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
const std::string folderThere = " — a folder with the same name is already in the backup";
const std::string inTheWay = ": something that is neither a file nor a folder is in the way in OneDrive";

INSTANTIATE_TEST_SUITE_P(
    MidRun, ArrivalTest,
    testing::Values(
        Arrival{"NewerFiles",
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
                {"copied 2, 22", "added new 11", "added update 11", "pair A: 2, 22, 0"}},
        Arrival{"Folders",
                [](Sandbox &box) {
                    fs::remove(box / "OneDrive/A/update");
                    box.file("OneDrive/A/new/inside");
                    box.dir("OneDrive/A/update");
                },
                {"copied 0, 0", "conflict: A/new" + folderThere, "conflict: A/update" + folderThere,
                 "pair A: 0, 0, 0"}},
        Arrival{"ALinkAndAFifo",
                [](Sandbox &box) {
                    fs::remove(box / "OneDrive/A/update");
                    box.link("OneDrive/A/update", "new");
                    ASSERT_EQ(::mkfifo((box / "OneDrive/A/new").c_str(), 0600), 0);
                },
                {"copied 0, 0", "error: A/new" + inTheWay, "error: A/update" + inTheWay, "pair A: 0, 0, 2"}}),
    [](const auto &row) { return row.param.name; });

TEST_F(StopTest, LeftoversGoBeforeTheFirstCopyAndOldVersionsAfterTheLast) {
    box.file("OneDrive/A/.tw-1A2B3C4D-5E6.twtmp");
    box.file("OneDrive/A/sub/.tw-old-1A2B3C4D-5E6.twtmp");
    box.dir("cache/TemporaryItems/NSIRD_TarnwickBasic_stale");
    Lines atTheFirst;
    std::atomic<bool> isDone = false;
    {
        const FileGate gate(originals(), [&](FileGate::Event, const std::string &) {
            if (!isDone.exchange(true))
                atTheFirst = Sandbox::leftoversIn(box / "OneDrive");
            return 0;
        });
        run({box.job("A")});
    }
    EXPECT_TRUE(isDone);
    EXPECT_EQ(atTheFirst, Lines{"A/sub/.tw-old-1A2B3C4D-5E6.twtmp"});
    EXPECT_EQ(box.leftovers(), Lines());
}

TEST_F(StopTest, AnOldVersionSetAsideStaysAfterACancel) {
    box.file("OneDrive/A/.tw-old-1A2B3C4D-5E6.twtmp");
    CancelToken token;
    {
        const FileGate gate(originals(), [&](FileGate::Event, const std::string &) {
            token.cancel();
            return 0;
        });
        EXPECT_TRUE(run({box.job("A")}, token).cancelled);
    }
    EXPECT_EQ(box.leftovers(), Lines{"OneDrive/A/.tw-old-1A2B3C4D-5E6.twtmp"});
}

TEST(SyncRunnerTwice, TwoRunsAtOnceOnOnePairDontBreakEachOther) {
    for (int round = 0; round < 8; ++round) {
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
