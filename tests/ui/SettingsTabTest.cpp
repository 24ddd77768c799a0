#include "ui/WindowUnderTest.h"

#include <QTextBrowser>
#include <QToolButton>

namespace {

using SettingsTabTest = WindowUnderTest;

TEST_F(SettingsTabTest, EverySettingIsWrittenAtOnce) {
    fs::create_directories(world.home("OneDrive-Work"));
    world.look(model);
    click("Settings");
    ASSERT_TRUE(waitFor([&] { return has("Change the OneDrive folder"); }));
    click("Sync automatically when the drive is connected");
    EXPECT_FALSE(model.config().autoSyncOnConnect);
    click("Show a notification when a sync finishes");
    EXPECT_FALSE(model.config().notifications);
    const char *login = "Open Tarnwick Basic at login (needed for automatic sync)";
    click(login); // does nothing in a test root
    EXPECT_FALSE(button(view, QString::fromUtf8(login))->isChecked());

    const auto *change = qobject_cast<QToolButton *>(button(view, QStringLiteral("Change the OneDrive folder")));
    const auto entry = [&](qsizetype number) {
        Q_EMIT change->menu()->aboutToShow();
        return change->menu()->actions().at(number);
    };
    EXPECT_TRUE(entry(0)->isChecked());
    EXPECT_EQ(texts(*change->menu()),
              (Lines{"OneDrive – Personal", "OneDrive – Work", "", "Choose Another Folder…", "Detect Automatically"}));
    entry(1)->trigger();
    expectToShow("~/OneDrive-Work");
    EXPECT_FALSE(entry(0)->isChecked());
    answer({world.home({}), world.home("Documents")});
    entry(3)->trigger();
    std::optional<QString> refusal;
    model.chooseOneDrive(world.home({}), [&](const std::optional<QString> &reason) { refusal = reason; });
    ASSERT_TRUE(waitFor([&] { return refusal.has_value(); }));
    expectToShow(*refusal);
    entry(3)->trigger();
    expectToShow("~/Documents");
    EXPECT_FALSE(shows(view, *refusal));
    entry(4)->trigger();
    expectToShow("~/Library/CloudStorage/OneDrive-Personal");
    fs::remove_all(world.home("OneDrive-Work"));
    fs::remove_all(world.oneDrive());
    world.look(model);
    expectToShow("Not found");
    expectToShow("OneDrive wasn't found on this computer. Choose its folder here, or set up a OneDrive client first.");
    click("About OneDrive Clients…");
    EXPECT_TRUE(part<QTextBrowser>()->toPlainText().contains(QStringLiteral("Which client should I take?")));
    entry(0);
    EXPECT_EQ(texts(*change->menu()), (Lines{"Choose Another Folder…", "Detect Automatically"}));
}

} // namespace
