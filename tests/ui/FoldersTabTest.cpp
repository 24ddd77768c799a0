#include "base/Fmt.h"
#include "sync/OneDriveNames.h"
#include "ui/AddFolderSheet.h"
#include "ui/PairRowView.h"
#include "ui/WindowUnderTest.h"

#include <QLineEdit>
#include <QMessageBox>
#include <QProgressBar>
#include <QTextDocumentFragment>

namespace {

using FoldersTabTest = WindowUnderTest;

TEST_F(FoldersTabTest, AFolderIsAddedThroughTheSheet) {
    model.requestAddFolder();
    QTest::keyClick(part<AddFolderSheet>(), Qt::Key_Escape);
    ASSERT_TRUE(waitFor([&] { return !model.showingAddFolder() && !view.findChild<AddFolderSheet *>(); }));
    EXPECT_TRUE(model.config().pairs.empty());

    click("Add Folder…");
    auto &sheet = *part<AddFolderSheet>();
    EXPECT_FALSE(button(sheet, QStringLiteral("Add Folder"))->isEnabled());
    answer({world.home(""), world.home("Documents/Notes"), world.drive("Backup"), world.oneDrive("Backups")});
    click(sheet, "Choose…");
    sheet.findChild<QLineEdit *>()->clear();
    QTest::keyClicks(sheet.findChild<QLineEdit *>(), QStringLiteral("No:tes"));
    click(sheet, "Add Folder");
    const auto badName = OneDriveNames::folderRefusal(QStringLiteral("No:tes"));
    expectToShow(sheet, badName.value());
    click(sheet, "Change…");
    EXPECT_FALSE(shows(sheet, *badName));
    click(sheet, "Choose Existing…");
    click(sheet, "Add Folder");
    const auto outside = world.add(model, world.home("Documents/Notes"), world.drive("Backup"));
    expectToShow(sheet, outside.value());
    click(sheet, "Use a New Folder Instead");
    click(sheet, "Choose Existing…");
    EXPECT_FALSE(shows(sheet, *outside));
    click(sheet, "Add Folder");
    expectToShow("Added “Notes”. Press Sync Now to back it up.");
    expectToShow("This computer › Documents");
    EXPECT_EQ(panels,
              (Lines{"Choose a Folder to Back Up|Choose a folder in your home folder or on a connected drive.|Choose",
                     panels.at(0),
                     "Choose the Backup Folder|Choose the folder inside OneDrive where this backup should go.|"
                     "Back Up Here",
                     panels.at(2)}));
    EXPECT_EQ(model.config().pairs.at(0).backupRelPath, QStringLiteral("Backups"));
    EXPECT_FALSE(model.showingAddFolder());
    click("Close this notice");
    EXPECT_FALSE(model.banner());
}

TEST_F(FoldersTabTest, ARowIsTickedSyncedMovedAndRemoved) {
    world.addTwo(model);
    for (const char *ready : {"1 folder", "2 folders", "1 folder"}) {
        click("Sync “Notes”");
        expectToShow(QStringLiteral("Ready to sync ") + QString::fromUtf8(ready));
    }
    EXPECT_FALSE(model.config().pairs.at(1).enabled);
    QTest::keyClick(&view, Qt::Key_S, Qt::ControlModifier);
    EXPECT_TRUE(model.busy());
    ASSERT_TRUE(waitFor([&] { return !model.busy() && !has("Cancel"); }));
    EXPECT_EQ(model.history().at(0).filesCopied, 1);
    expectToShow(QStringLiteral("Last sync: ") + Fmt::when(model.history().at(0).finished) +
                 QStringLiteral(" · 1 file copied (7 bytes)"));
    expectToShow("OneDrive"); // the backup stands there now

    auto *row = view.findChildren<PairRowView *>().at(0);
    QMenu menu;
    row->fillContextMenu(menu);
    EXPECT_EQ(texts(menu), (Lines{"Sync “Photos” Now", "", "Show Original in File Manager",
                                  "Show Backup in File Manager", "Choose Backup Folder…", "", "Remove from List"}));
    // A name may look like markup, and the alert shows it as it is.
    answer({world.oneDrive("<b> & none/new"), world.oneDrive("Elsewhere")});
    row->chooseBackup();
    const auto *alert = part<QMessageBox>();
    ASSERT_TRUE(alert);
    EXPECT_EQ(alert->text(), QStringLiteral("That folder can't be used"));
    const auto refusal = world.add(model, world.home("Documents/Notes"), world.oneDrive("<b> & none/new"));
    EXPECT_EQ(QTextDocumentFragment::fromHtml(alert->informativeText()).toPlainText().toStdString(),
              refusal.value().toStdString());
    row->chooseBackup();
    EXPECT_TRUE(waitFor([&] { return model.config().pairs.at(0).backupRelPath == QStringLiteral("Elsewhere"); }));
    EXPECT_EQ(panels.at(0), "Choose Backup Folder|Where in OneDrive should “Photos” be backed up?|Back Up Here");
    menu.actions().last()->trigger();
    EXPECT_TRUE(waitFor([&] { return view.findChildren<PairRowView *>().size() == 1; }));

    world.add(model, world.drive("Travel/Raw"), world.oneDrive("Raw"));
    fs::rename(world.drive("Travel"), world.top() / "Travel");
    world.look(model);
    expectToShow("Travel · drive not connected");
    QMenu away;
    view.findChildren<PairRowView *>().at(1)->fillContextMenu(away);
    EXPECT_EQ(texts(away), (Lines{"Sync “Raw” Now (off)", "", "Choose Backup Folder…", "", "Remove from List"}));
}

TEST_F(FoldersTabTest, ARunningSyncMovesNothingUnderThePointerAndItsBarNeverGoesBackNorIsFullTooEarly) {
    world.addTwo(model);
    SyncProgress progress;
    for (const int height : {720, 480}) {
        view.resize(980, height);
        std::vector<int> placesOfRows;
        for (const char *file : {"", "2024/a.jpg", ""}) {
            for (int i = 0; i < 3; ++i) // one layout after the other
                QCoreApplication::processEvents();
            placesOfRows.push_back(part<PairRowView>()->mapTo(&view, QPoint()).y());
            progress.stage = *file ? SyncProgress::Stage::copying : SyncProgress::Stage::scanning;
            progress.currentFile = QLatin1String(file);
            model.showSampleProgress(progress);
        }
        EXPECT_EQ(placesOfRows, std::vector(3, placesOfRows.at(0))) << height;
    }
    progress.stage = SyncProgress::Stage::copying;
    progress.filesTotal = 2;
    progress.bytesTotal = 1000;
    const std::tuple<int, int, int> rows[] = {{400, 0, 400}, {300, 0, 400}, {1000, 0, 999}, {1000, 2, 1000}};
    for (const auto &[bytes, files, shown] : rows) {
        progress.bytesDone = bytes;
        progress.filesDone = files;
        model.showSampleProgress(progress);
        EXPECT_EQ(view.findChild<QProgressBar *>()->value(), shown);
    }
    EXPECT_TRUE(waitFor([&] { return has("Cancel"); }));
    EXPECT_FALSE(has("Sync Now"));
    EXPECT_FALSE(view.syncNowAction()->isEnabled());
}

TEST_F(FoldersTabTest, TheNoticeOfAnAddedFolderEndsWithItsSyncAlone) {
    world.addTwo(model);
    SyncProgress progress;
    for (const auto &[notice, pair, isShown] :
         {std::tuple("Added “Notes”. Press Sync Now to back it up.", "Photos", true),
          {"Added “Notes”. Press Sync Now to back it up.", "Notes", false},
          {"Brought back your folder choices for “Notes”. Check them below.", "Notes", true}}) {
        model.setBanner(QString::fromUtf8(notice));
        progress.pairName = QLatin1String(pair);
        model.showSampleProgress(progress);
        EXPECT_EQ(model.banner().has_value(), isShown) << notice << pair;
    }
}

TEST_F(FoldersTabTest, CancelStopsARunningSync) {
    for (int i = 0; i < 3000; ++i)
        world.tree.file("Volumes/Backup/Projects/2024/Photos/" + std::to_string(i));
    world.addTwo(model);
    click("Sync Now");
    ASSERT_TRUE(waitFor([&] { return model.progress().filesTotal > 0; })); // it runs
    click("Cancel");
    ASSERT_TRUE(waitFor([&] { return !model.busy(); }));
    EXPECT_TRUE(model.history().at(0).cancelled);
}

} // namespace
