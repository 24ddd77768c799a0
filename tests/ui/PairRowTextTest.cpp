#include "ui/PairRowText.h"

#include "screens/SampleWindow.h"
#include "ui/HeaderBar.h"
#include "ui/OneDriveText.h"
#include "ui/Theme.h"

#include <gtest/gtest.h>

namespace {

using Root = std::optional<fs::path>;

class PairRowTextTest : public testing::Test {
  protected:
    PairRowTextTest() { world.addTwo(model); }
    static std::string texts(const PairRow &row, const Root &root) {
        return (PairRowText::originalSubtitle(row) + u'|' + PairRowText::backupCaption(row, root)).toStdString();
    }

    SampleWorld world;
    AppModel model;
};

TEST_F(PairRowTextTest, ARowTellsItsPlacesAndWhatIsTheMatter) {
    const Root root = model.oneDriveRoot();
    EXPECT_EQ(texts(model.rows().at(0), root), "Backup › Projects › 2024|OneDrive · will be created");
    PairRow row = model.rows().at(1);
    EXPECT_EQ(texts(row, root), "This computer › Documents|OneDrive › Backups");
    EXPECT_EQ(texts(row, std::nullopt), "This computer › Documents|~/Library/CloudStorage/OneDrive-Personal/Backups");
    row.pair.lastSummary = QStringLiteral("3 files copied");
    row.pair.lastSync = QDateTime::currentDateTimeUtc();
    EXPECT_TRUE(texts(row, root).starts_with("This computer › Documents · 3 files copied, today at "))
        << texts(row, {});
    // Only what is both switched off and away is pale.
    for (const bool connected : {false, true}) {
        for (const bool enabled : {false, true}) {
            row.connected = connected;
            row.pair.enabled = enabled;
            EXPECT_EQ(PairRowText::opacity(row), connected || enabled ? 1.0 : 0.6);
        }
    }
    row.connected = false;
    EXPECT_EQ(texts(row, root), "This computer › Documents · drive not connected|OneDrive › Backups");
    row.silentPlace = QStringLiteral("OneDrive");
    row.backupExists = false;
    EXPECT_EQ(texts(row, root), "This computer › Documents · “OneDrive” isn't answering|OneDrive › Backups");
    EXPECT_EQ(PairPalette::colour(3, {}), PairPalette::colour(1, {}));
    EXPECT_EQ(OneDriveText::displayName("/x/OneDrive-Contoso Ltd"), QStringLiteral("OneDrive – Contoso Ltd"));
    EXPECT_EQ(OneDriveText::displayName("/x/OneDrive"), QStringLiteral("OneDrive"));
}

TEST_F(PairRowTextTest, TheHeaderNamesTheDrives) {
    EXPECT_EQ(HeaderText::drives(model), QStringLiteral("Backup, Travel"));
    for (const char *drive : {"Backup", "Travel"})
        fs::rename(world.drive(drive), world.top() / drive);
    world.look(model);
    EXPECT_EQ(HeaderText::drives(model), QStringLiteral("This computer"));
    model.remove(model.config().pairs.at(1).id);
    EXPECT_EQ(HeaderText::drives(model), QStringLiteral("No drive connected"));
    EXPECT_FALSE(HeaderText::drivesAreOk(model));
}

} // namespace
