#include "base/Text.h"
#include "support/LoopMount.h"
#include "sync/FileGate.h"
#include "sync/RunUnderTest.h"

#include <algorithm>
#include <cerrno>
#include <gtest/gtest.h>
#include <utility>

#include <fcntl.h>
#include <sys/statvfs.h>
#include <unistd.h>

namespace {

using RunUnderTest::Lines;
using RunUnderTest::makeFiles;
using RunUnderTest::run;
using RunUnderTest::Sandbox;
using RunUnderTest::sorted;
using RunUnderTest::told;
using RunUnderTest::wrongAfterStop;

const std::string disconnected =
    "fatal: The drive was disconnected while syncing “A”. Nothing was damaged; reconnect it to finish.";
const std::string disappeared = "fatal: The backup folder for “A” disappeared during the sync.";

/// A real drive, a sandbox, and something that happens at an exact point of a run.
class MountTest : public testing::Test {
  protected:
    void SetUp() override {
        if (const auto reason = LoopMount::whyNot())
            GTEST_SKIP() << *reason;
        if (const auto reason = FileGate::whyNot())
            GTEST_SKIP() << *reason;
    }

    void mount(const LoopMount::Options &options = {}) {
        drive.emplace(options);
        tree.emplace(drive->top());
    }

    /// Runs pair "A" and then "B", with `act` at the `point`-th opening or reading of an original of "A".
    SyncRun runWith(const SyncJob &job, FileGate::Event event, int point, const std::function<int()> &act) {
        box.file("B/file");
        FileGate gate({job.original}, [&, left = point](FileGate::Event now, const std::string &) mutable {
            left -= now == event ? 1 : 0;
            return now == event && left == 0 ? act() : 0;
        });
        return run({job, box.job("B")});
    }

    SyncJob fromDrive() const {
        SyncJob job = box.job("A");
        job.original = drive->top() / "A";
        return job;
    }
    SyncJob toDrive() const { return box.job("A", drive->top() / "OneDrive/A"); }

    Sandbox box;
    std::optional<LoopMount> drive;
    std::optional<TestTree> tree;
};

/// Takes all space of the volume but `left` bytes.
void fill(const fs::path &volume, std::int64_t left) {
    struct statvfs facts = {};
    ASSERT_EQ(::statvfs(volume.c_str(), &facts), 0);
    const auto space = static_cast<std::int64_t>(facts.f_bfree) * static_cast<std::int64_t>(facts.f_frsize);
    const FileDescriptor filler(::open((volume / "filler").c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0600));
    ASSERT_EQ(::posix_fallocate(filler.get(), 0, space - left), 0);
}

TEST_F(MountTest, AFullDiskStopsTheRunWithEveryFileWhole) {
    mount({.size = 500LL * 1024 * 1024});
    makeFiles(box, "A", 20, "new version ", someTime, 1024 * 1024);
    makeFiles(*tree, "OneDrive/A", 10, "old version ", later(someTime, -100));
    const auto original = box.snapshot("A");
    const auto before = tree->snapshot("OneDrive/A");
    const SyncRun result = runWith(toDrive(), FileGate::Event::Open, 1, [&] {
        fill(drive->top(), 8 * 1024 * 1024);
        return 0;
    });
    EXPECT_GT(result.filesCopied, 0);
    EXPECT_LT(result.filesCopied, 20);
    EXPECT_EQ(result.errors, std::vector<QString>());
    ASSERT_TRUE(result.fatal);
    const QString start = QStringLiteral("The disk ran out of space while copying “");
    const QString end = QStringLiteral("”. Free up some space and sync again.");
    EXPECT_TRUE(result.fatal->startsWith(start) && result.fatal->endsWith(end)) << Text::toBytes(*result.fatal);
    const std::string named = Text::toBytes(result.fatal->mid(start.size()).chopped(end.size()));
    EXPECT_TRUE(original.contains(named)) << named;
    ASSERT_EQ(result.pairResults.size(), 1u);
    EXPECT_EQ(result.pairResults.front().note, QStringLiteral("Out of space"));
    EXPECT_EQ(result.pairResults.front().errors, 1);
    EXPECT_EQ(wrongAfterStop(result, original, before, tree->snapshot("OneDrive/A")), Lines());
    EXPECT_EQ(Sandbox::leftoversIn(drive->top()), Lines());

    fs::remove(drive->top() / "filler");
    EXPECT_EQ(run({toDrive()}).filesCopied, 20 - result.filesCopied);
    EXPECT_EQ(tree->snapshot("OneDrive/A"), original);
}

TEST_F(MountTest, ABackupThatBecomesReadOnlyGivesErrorLines) {
    mount({.size = 500LL * 1024 * 1024});
    makeFiles(box, "A", 3, "new version ", someTime);
    tree->file("OneDrive/A/00", "old", later(someTime, -100));
    const auto before = tree->snapshot("OneDrive");
    const SyncRun result = runWith(toDrive(), FileGate::Event::Open, 3, [&] {
        drive->remountReadOnly();
        return 0;
    });
    const std::string end = ": Read-only file system";
    EXPECT_EQ(sorted(told(result)),
              sorted({"copied 1, 7, folders 1", "error: A/00" + end, "error: A/01" + end, "error: A/02" + end,
                      "added file 7", "pair A: 0, 0, 3", "pair B: 1, 7, 0"}));
    EXPECT_EQ(tree->snapshot("OneDrive"), before);
}

// The original goes

TEST_F(MountTest, AnOriginalUnmountedBeforeTheFirstCopyIsDisconnected) {
    mount({.type = LoopMount::Type::Tmpfs});
    makeFiles(*tree, "A", 3, "new version ", someTime);
    box.file("OneDrive/A/00", "old", later(someTime, -100));
    const auto before = box.snapshot("OneDrive");
    const SyncRun result = run({fromDrive()}, CancelToken(), [&](const SyncProgress &progress) {
        if (progress.stage == SyncProgress::Stage::copying && progress.filesDone == 0 &&
            progress.currentFile.isEmpty() && fs::exists(drive->top() / "A"))
            drive->lazyUnmount();
    });
    EXPECT_EQ(told(result), (Lines{"copied 0, 0", "pair A: 0, 0, 1 Drive disconnected", disconnected}));
    EXPECT_EQ(box.snapshot("OneDrive"), before);
    EXPECT_EQ(box.leftovers(), Lines());
}

struct Death {
    std::string name;
    FileGate::Event event;
    int point;
};

class OriginalDiesTest : public MountTest, public testing::WithParamInterface<Death> {};

TEST_P(OriginalDiesTest, TheRunEndsWithEveryFileOldOrNew) {
    mount({.size = 200LL * 1024 * 1024});
    makeFiles(*tree, "A", 6, "new version ", someTime, 20 * 1024 * 1024);
    makeFiles(box, "OneDrive/A", 4, "old version ", later(someTime, -100));
    const auto original = tree->snapshot("A");
    const auto before = box.snapshot("OneDrive/A");
    const SyncRun result = runWith(fromDrive(), GetParam().event, GetParam().point, [&] {
        drive->detachDevice();
        return 0;
    });
    Lines lines = told(result);
    EXPECT_EQ(lines.back(), disconnected);
    EXPECT_EQ(result.errors, std::vector<QString>());
    ASSERT_EQ(result.pairResults.size(), 1u);
    EXPECT_EQ(result.pairResults.front().note, QStringLiteral("Drive disconnected"));
    EXPECT_EQ(result.pairResults.front().errors, 1);
    EXPECT_LT(result.filesCopied, 6);
    EXPECT_EQ(wrongAfterStop(result, original, before, box.snapshot("OneDrive/A")), Lines());
    EXPECT_EQ(box.leftovers(), Lines());
}

INSTANTIATE_TEST_SUITE_P(Drive, OriginalDiesTest,
                         testing::Values(Death{"DiesAtTheFourthOpening", FileGate::Event::Open, 4},
                                         Death{"DiesInTheMiddleOfAFile", FileGate::Event::Read, 2}),
                         [](const auto &row) { return row.param.name; });

TEST_F(MountTest, OneBadFileOnAHealthyDriveIsAnErrorLine) {
    makeFiles(box, "A", 4, "new version ", someTime);
    const FileGate gate({box / "A"}, [&](FileGate::Event, const std::string &name) { return name == "01" ? EIO : 0; });
    const Lines lines = sorted(told(run({box.job("A")})));
    if (std::count(lines.begin(), lines.end(), "error: A/01: Operation not permitted") == 1)
        GTEST_SKIP() << "the kernel can't let a file fail with EIO";
    EXPECT_EQ(lines, sorted({"copied 3, 120, folders 1", "error: A/01: Input/output error", "added 00 40",
                             "added 02 40", "added 03 40", "pair A: 3, 120, 1"}));
}

// The backup goes

TEST_F(MountTest, NothingIsMadeBelowTheMountPointOfABackupThatWent) {
    mount({.size = 500LL * 1024 * 1024});
    box.file("A/file");
    bool isMounted = true;
    const SyncRun result = run({box.job("A", drive->top() / "A")}, CancelToken(), [&](const SyncProgress &progress) {
        if (progress.stage == SyncProgress::Stage::copying && std::exchange(isMounted, false))
            drive->lazyUnmount();
    });
    EXPECT_EQ(told(result), (Lines{"copied 0, 0", "error: A/: couldn't create folder (No such file or directory)",
                                   "pair A: 0, 0, 2 Backup folder disappeared", disappeared}));
    EXPECT_TRUE(fs::is_empty(drive->top()));
}

TEST_F(MountTest, ABackupWhoseDeviceDiesHasDisappeared) {
    mount({.size = 500LL * 1024 * 1024});
    makeFiles(box, "A", 3, "new version ", someTime);
    tree->dir("OneDrive/A");
    const SyncRun result = runWith(toDrive(), FileGate::Event::Open, 3, [&] {
        drive->detachDevice();
        return 0;
    });
    EXPECT_EQ(told(result), (Lines{"copied 0, 0", "pair A: 0, 0, 1 Backup folder disappeared", disappeared}));
}

// Space

TEST_F(MountTest, WithoutEnoughSpaceNothingIsDone) {
    mount({.type = LoopMount::Type::Tmpfs, .size = 1'200'000'000});
    box.sparseFile("A/large", 500'000'000);
    box.dir("cache/TemporaryItems/NSIRD_TarnwickBasic_stale");
    tree->file("OneDrive/A/.tw-1A2B3C4D-5E6.twtmp");
    const auto before = tree->snapshot();
    EXPECT_EQ(told(run({toDrive(), box.job("new", drive->top() / "OneDrive/new")})),
              (Lines{"copied 0, 0", "error: new: the folder is missing on the drive (" + (box / "new").native() + ")",
                     "pair new: 0, 0, 1 Folder not found on the drive",
                     "fatal: Not enough free space on “drive”: this sync needs about 1 GB but only 1.2 GB is free."}));
    EXPECT_EQ(tree->snapshot(), before);
    EXPECT_EQ(box.leftovers().size(), 1u);
}

} // namespace
