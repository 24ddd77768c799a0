#include "screens/SampleWindow.h"
#include "ui/SyncCardText.h"
#include "ui/Theme.h"

#include <gtest/gtest.h>

namespace {

constexpr auto copying = SyncProgress::Stage::copying;

class SyncCardTest : public testing::Test {
  protected:
    std::string colour() const {
        const QPalette palette;
        const QColor shown = SyncCardText::iconColour(model, palette);
        for (const auto &[name, tint] : {std::pair("good", &Theme::good), {"warning", &Theme::warning}})
            if (shown == tint(palette))
                return name;
        return shown == Theme::accent(palette) ? "accent" : "secondary";
    }
    std::string look() const {
        return SyncCardText::iconName(model).toStdString() + ' ' + colour() +
               (SyncCardText::subtitleIsWarning(model) ? " warns" : "") +
               (SyncCardText::reviewIsShown(model) ? " review" : "");
    }
    std::string texts() const {
        return (SyncCardText::title(model) + u'|' + SyncCardText::subtitle(model)).toStdString();
    }

    SampleWorld world;
    AppModel model;
};

TEST_F(SyncCardTest, WithoutARunItTellsWhatHappensNext) {
    world.look(model);
    const std::string automatic = "Tarnwick Basic will also sync automatically whenever the drive is connected.";
    EXPECT_EQ(look(), "externaldrive.badge.questionmark secondary");
    EXPECT_EQ(texts(), "Add a folder to back it up to OneDrive.|" + automatic);
    world.add(model, world.drive("Backup/Music"), world.oneDrive("Music"));
    EXPECT_EQ(texts(), "Ready to sync 1 folder|" + automatic);
    AppConfig config = model.config();
    config.autoSyncOnConnect = false;
    model.setConfig(config);
    EXPECT_EQ(texts(), "Ready to sync 1 folder|Automatic sync is off; use Sync Now.");
    EXPECT_EQ(look(), "arrow.triangle.2.circlepath accent");
    model.sync(std::vector{QUuid::createUuid()}, SyncTrigger::manual);
    EXPECT_TRUE(waitFor([&] { return !model.busy(); }));
    EXPECT_EQ(texts(), "Ready to sync 1 folder|There is nothing to sync right now.");
    EXPECT_EQ(look(), "arrow.triangle.2.circlepath accent warns");
}

TEST_F(SyncCardTest, TheLastRunDecidesIconWarningAndReview) {
    world.addTwo(model);
    std::vector<std::string> looks;
    for (const SyncRun &run : sampleHistory()) {
        model.showSampleHistory({run});
        looks.push_back(look());
    }
    EXPECT_EQ(looks,
              (std::vector<std::string>{"exclamationmark warning warns review", "checkmark good",
                                        "exclamationmark warning warns", "exclamationmark warning warns review"}));
    for (const FolderPair &pair : std::vector(model.config().pairs)) // a copy: the list changes
        model.setEnabled(pair.id, false);
    EXPECT_EQ(look(), "externaldrive secondary warns review");
}

TEST_F(SyncCardTest, ARunningSyncCountsWithAndWithoutGrouping) {
    const QString photos = QStringLiteral("Photos"), file = QStringLiteral("2024/a.jpg");
    const std::tuple<SyncProgress, double, const char *> rows[] = {
        {{.pairName = photos, .scanned = 12'345}, 0, "Checking for changes…|12,345 files compared · Photos"},
        // None of those that are begun is finished: that comes for many at once.
        {{copying, photos, 0, 0, 33, 1201}, 0, "Syncing “Photos”…|33 of 1201 files · Zero KB of Zero KB"},
        {{copying, photos, 0, 1200, 33, 1201},
         1200. / 1201,
         "Syncing “Photos”…|1201 of 1201 files · Zero KB of Zero KB"},
        {{copying, photos, 0, 1201, 33, 1201, 500'000, 2'000'000, file},
         0.25,
         "Syncing “Photos”…|1201 of 1201 files · 500 KB of 2 MB\n2024/a.jpg"}};
    for (const auto &[progress, fraction, shown] : rows) {
        model.showSampleProgress(progress);
        EXPECT_EQ(texts(), shown);
        EXPECT_DOUBLE_EQ(SyncCardText::fraction(progress), fraction) << shown;
    }
}

} // namespace
