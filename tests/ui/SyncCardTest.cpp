#include "SampleWindow.h"
#include "ui/HeaderBar.h"
#include "ui/OneDriveText.h"
#include "ui/PairRowText.h"
#include "ui/SyncCardText.h"
#include "ui/Theme.h"

#include <gtest/gtest.h>

namespace {

class SyncCardTest : public testing::Test {
  protected:
    QString icon() const { return SyncCardText::iconName(model) + u' ' + colour(); }
    QString colour() const {
        const QPalette palette;
        const QColor shown = SyncCardText::iconColour(model, palette);
        if (shown == Theme::good(palette))
            return QStringLiteral("good");
        if (shown == Theme::warning(palette))
            return QStringLiteral("warning");
        return shown == Theme::accent(palette) ? QStringLiteral("accent") : QStringLiteral("secondary");
    }
    void show(std::size_t sample) { model.showSampleHistory({sampleHistory().at(sample)}); }

    SampleWorld world;
    AppModel model;
};

TEST_F(SyncCardTest, WithoutARunItTellsWhatHappensNext) {
    world.look(model);
    EXPECT_EQ(icon(), QStringLiteral("externaldrive.badge.questionmark secondary"));
    EXPECT_EQ(SyncCardText::title(model), QStringLiteral("Add a folder to back it up to OneDrive."));
    world.add(model, world.drive("Backup/Music"), world.oneDrive("Music"));
    EXPECT_EQ(SyncCardText::title(model), QStringLiteral("Ready to sync 1 folder"));
    EXPECT_EQ(SyncCardText::subtitle(model),
              QStringLiteral("Tarnwick Basic will also sync automatically whenever the drive is connected."));
    AppConfig config = model.config();
    config.autoSyncOnConnect = false;
    model.setConfig(config);
    EXPECT_EQ(SyncCardText::subtitle(model), QStringLiteral("Automatic sync is off; use Sync Now."));
    EXPECT_EQ(icon(), QStringLiteral("arrow.triangle.2.circlepath accent"));
    model.sync(std::vector{QUuid::createUuid()}, SyncTrigger::manual);
    EXPECT_TRUE(waitFor([&] { return !model.busy(); }));
    EXPECT_EQ(SyncCardText::subtitle(model), QStringLiteral("There is nothing to sync right now."));
    EXPECT_TRUE(SyncCardText::subtitleIsWarning(model));
}

TEST_F(SyncCardTest, TheLastRunDecidesIconWarningAndReview) {
    world.addTwo(model);
    struct Row {
        const char *icon;
        bool warning;
        bool review;
    };
    const std::vector<Row> rows = {{"exclamationmark warning", true, true},
                                   {"checkmark good", false, false},
                                   {"exclamationmark warning", true, false},
                                   {"exclamationmark warning", true, true}};
    for (std::size_t i = 0; i < rows.size(); ++i) {
        show(i);
        EXPECT_EQ(icon(), QLatin1String(rows[i].icon)) << i;
        EXPECT_EQ(SyncCardText::subtitleIsWarning(model), rows[i].warning) << i;
        EXPECT_EQ(SyncCardText::reviewIsShown(model), rows[i].review) << i;
    }
    for (const FolderPair &pair : std::vector(model.config().pairs)) // a copy: the list changes
        model.setEnabled(pair.id, false);
    EXPECT_EQ(icon(), QStringLiteral("externaldrive secondary"));
}

TEST_F(SyncCardTest, ARunningSyncCountsWithAndWithoutGrouping) {
    SyncProgress progress;
    progress.pairName = QStringLiteral("Photos");
    progress.scanned = 12'345;
    model.showSampleProgress(progress);
    EXPECT_EQ(SyncCardText::title(model), QStringLiteral("Checking for changes…"));
    EXPECT_EQ(SyncCardText::subtitle(model), QStringLiteral("12,345 files compared · Photos"));
    progress.stage = SyncProgress::Stage::copying;
    EXPECT_EQ(SyncCardText::fraction(progress), 0);
    progress.filesTotal = 1201;
    progress.filesBegun = 33; // none of them is finished: that comes for many at once
    model.showSampleProgress(progress);
    EXPECT_EQ(SyncCardText::subtitle(model), QStringLiteral("33 of 1201 files · Zero KB of Zero KB"));
    progress.filesDone = 1200;
    EXPECT_NEAR(SyncCardText::fraction(progress), 0.999, 0.001);
    progress.bytesDone = 500'000;
    progress.bytesTotal = 2'000'000;
    progress.currentFile = QStringLiteral("2024/a.jpg");
    EXPECT_EQ(SyncCardText::fraction(progress), 0.25);
    model.showSampleProgress(progress);
    EXPECT_EQ(SyncCardText::title(model), QStringLiteral("Syncing “Photos”…"));
    const QString counts = QStringLiteral("1201 of 1201 files · 500 KB of 2 MB\n2024/a.jpg");
    EXPECT_EQ(SyncCardText::subtitle(model), counts);
    progress.filesDone = 1201;
    model.showSampleProgress(progress);
    EXPECT_EQ(SyncCardText::subtitle(model), counts);
}

TEST_F(SyncCardTest, RowsChipsAndPlacesInWords) {
    world.addTwo(model);
    PairRow row = model.rows().at(1);
    const std::optional<fs::path> root = model.oneDriveRoot();
    EXPECT_EQ(PairRowText::backupCaption(row, root), QStringLiteral("OneDrive › Backups"));
    EXPECT_EQ(PairRowText::originalSubtitle(row), QStringLiteral("This computer › Documents"));
    row.pair.lastSummary = QStringLiteral("3 files copied");
    row.pair.lastSync = QDateTime::currentDateTimeUtc();
    EXPECT_TRUE(PairRowText::originalSubtitle(row).startsWith(
        QStringLiteral("This computer › Documents · 3 files copied, today at ")));
    EXPECT_EQ(PairRowText::backupCaption(model.rows().at(0), root), QStringLiteral("OneDrive · will be created"));
    EXPECT_EQ(PairRowText::backupCaption(row, std::nullopt),
              QStringLiteral("~/Library/CloudStorage/OneDrive-Personal/Backups"));
    // Only what is both switched off and away is pale.
    for (const bool connected : {false, true}) {
        for (const bool enabled : {false, true}) {
            row.connected = connected;
            row.pair.enabled = enabled;
            EXPECT_EQ(PairRowText::opacity(row), connected || enabled ? 1.0 : 0.6);
        }
    }
    EXPECT_EQ(PairRowText::originalSubtitle(row).count(QStringLiteral("not connected")), 0);
    row.connected = false;
    EXPECT_EQ(PairRowText::originalSubtitle(row), QStringLiteral("This computer › Documents · drive not connected"));
    row.silentPlace = QStringLiteral("OneDrive");
    row.backupExists = false;
    EXPECT_EQ(PairRowText::originalSubtitle(row),
              QStringLiteral("This computer › Documents · “OneDrive” isn't answering"));
    EXPECT_EQ(PairRowText::backupCaption(row, root), QStringLiteral("OneDrive › Backups"));
    EXPECT_EQ(PairPalette::colour(3, {}), PairPalette::colour(1, {}));
    EXPECT_EQ(OneDriveText::displayName("/x/OneDrive-Contoso Ltd"), QStringLiteral("OneDrive – Contoso Ltd"));
    EXPECT_EQ(OneDriveText::displayName("/x/OneDrive"), QStringLiteral("OneDrive"));
    EXPECT_EQ(HeaderText::drives(model), QStringLiteral("Backup, Travel"));
    fs::rename(world.drive("Backup"), world.top() / "Backup");
    fs::rename(world.drive("Travel"), world.top() / "Travel");
    world.look(model);
    EXPECT_EQ(HeaderText::drives(model), QStringLiteral("This computer"));
    model.remove(model.config().pairs.at(1).id);
    EXPECT_EQ(HeaderText::drives(model), QStringLiteral("No drive connected"));
    EXPECT_FALSE(HeaderText::drivesAreOk(model));
}

} // namespace
