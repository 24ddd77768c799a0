#include "app/StatusText.h"

#include "app/BrandGlyph.h"
#include "base/Fmt.h"
#include "screens/SampleWindow.h"

#include <gtest/gtest.h>

namespace {

class StatusTextTest : public testing::Test {
  protected:
    std::string shown() const {
        return (StatusText::tooltip(model) + StatusText::title(model) + u'|' + StatusText::statusLine(model) + u'|' +
                StatusText::lastSync(model).value_or(QString()) +
                (StatusText::badgeIsShown(model) ? QStringLiteral("|badge") : QString()))
            .toStdString();
    }
    std::string during(const SyncProgress &progress) {
        model.showSampleProgress(progress);
        return shown();
    }

    SampleWorld world;
    AppModel model;
};

TEST_F(StatusTextTest, IdleItTellsWhatIsReadyAndTheLastRun) {
    world.look(model);
    EXPECT_EQ(shown(), "Tarnwick Basic|Add a folder to back it up to OneDrive.|");
    world.addTwo(model);
    EXPECT_EQ(shown(), "Tarnwick Basic|Ready: 2 folders selected|");
    model.setEnabled(model.config().pairs[0].id, false);
    SyncRun run;
    run.finished = QDateTime::currentDateTimeUtc();
    run.filesCopied = 1;
    run.bytesCopied = 3;
    const std::string when = Fmt::when(run.finished).toStdString();
    const auto after = [&](const SyncRun &last) {
        model.showSampleHistory({last});
        return shown() + "|" + StatusText::notificationTitle(last).toStdString();
    };
    const auto expected = [&](const std::string &headline, const std::string &rest) {
        return "Tarnwick Basic — last sync " + when + ": " + headline + "|Ready: 1 folder selected|Last sync: " + when +
               " — " + headline + "|" + rest;
    };
    EXPECT_EQ(after(run), expected("1 file copied (3 bytes)", "Tarnwick Basic sync complete"));
    run.cancelled = true;
    EXPECT_EQ(after(run), expected("Sync cancelled after 1 file", "badge|Tarnwick Basic sync stopped"));
    run.errors = {QStringLiteral("a")};
    EXPECT_EQ(after(run), expected(run.headline().toStdString(), "badge|Tarnwick Basic finished with problems"));
    run.errors.clear();
    run.cancelled = false;
    run.fatal = QStringLiteral("The drive was disconnected.");
    EXPECT_EQ(after(run), expected(run.headline().toStdString(), "badge|Tarnwick Basic finished with problems"));
}

TEST_F(StatusTextTest, WhileSyncingItTellsHowMuchIsDone) {
    SyncRun run;
    run.cancelled = true;
    model.showSampleHistory({run}); // its badge is gone while syncing
    const std::string last = "|" + StatusText::lastSync(model)->toStdString();
    SyncProgress progress{.pairName = QStringLiteral("Photos")};
    EXPECT_EQ(during(progress), "Tarnwick Basic is syncing …|Checking for changes…" + last);
    progress.stage = SyncProgress::Stage::copying;
    progress.filesTotal = 4;
    progress.filesDone = 1;
    EXPECT_EQ(during(progress), "Tarnwick Basic is syncing 25%|Syncing “Photos” — 25%" + last);
    progress.bytesTotal = 1000;
    progress.bytesDone = 999;
    EXPECT_EQ(during(progress), "Tarnwick Basic is syncing 99%|Syncing “Photos” — 99%" + last);
    progress.bytesDone = 2000;
    EXPECT_EQ(during(progress), "Tarnwick Basic is syncing 100%|Syncing “Photos” — 100%" + last);
}

TEST(BrandGlyph, IsADriveWithAHoleAndAnArrow) {
    const QImage plain = BrandGlyph::menuBarImage(false, 10);
    const QImage badged = BrandGlyph::menuBarImage(true, 10);
    ASSERT_EQ(plain.size(), QSize(180, 180));
    const auto inkAt = [](const QImage &image, double x, double y) {
        return qAlpha(image.pixel(static_cast<int>(x * 10), static_cast<int>(180 - y * 10)));
    };
    EXPECT_EQ(inkAt(plain, 4.8, 10), 255) << "the drive";
    EXPECT_EQ(inkAt(plain, 4.8, 3.95), 0) << "its light";
    EXPECT_EQ(inkAt(plain, 14.5, 15), 255) << "the arrow's head";
    EXPECT_EQ(inkAt(plain, 11.7, 5.4), 255) << "the lower stroke";
    EXPECT_EQ(inkAt(plain, 16.5, 8.3), 0);
    EXPECT_EQ(inkAt(badged, 16.5, 8.3), 255) << "the badge";
}

} // namespace
