#include "SampleWindow.h"
#include "base/Fmt.h"
#include "support/LoopMount.h"
#include "ui/AddFolderSheet.h"
#include "ui/FolderPanel.h"
#include "ui/MainView.h"
#include "ui/PairRowView.h"
#include "ui/RunDetailView.h"
#include "ui/Theme.h"

#include <QAction>
#include <QApplication>
#include <QCheckBox>
#include <QClipboard>
#include <QFileDialog>
#include <QLabel>
#include <QLineEdit>
#include <QListView>
#include <QMenu>
#include <QMessageBox>
#include <QProgressBar>
#include <QTest>
#include <QTextBrowser>
#include <QTextDocumentFragment>
#include <QTimer>
#include <QToolButton>

#include <algorithm>
#include <gtest/gtest.h>
#include <map>

namespace {

std::string namesOf(const std::vector<const QWidget *> &controls) {
    QStringList names;
    for (const QWidget *control : controls)
        names.append(control->property("text").toString() + control->accessibleName());
    return names.join(u'\n').toStdString();
}

/// The controls of a window as they are read: line by line, each from the left.
std::string controlsInReadingOrder(QWidget &window) {
    const auto area = [&](const QWidget *control) { return QRect(control->mapTo(&window, QPoint()), control->size()); };
    std::vector<const QWidget *> controls;
    for (const QWidget *control : window.findChildren<QWidget *>()) {
        if (control->isVisible() && control->isEnabled() && (control->focusPolicy() & Qt::TabFocus))
            controls.push_back(control);
    }
    std::ranges::sort(controls, [&](const QWidget *a, const QWidget *b) {
        return area(a).bottom() < area(b).top() ||
               (area(a).top() <= area(b).bottom() && area(a).left() < area(b).left());
    });
    return namesOf(controls);
}

/// What Tab reaches in a window, until it comes to the first control again.
std::string controlsInTabOrder(QWidget &window) {
    QApplication::setActiveWindow(&window);
    window.setFocus();
    std::vector<const QWidget *> visited;
    do {
        visited.push_back(QApplication::focusWidget());
        QTest::keyClick(QApplication::focusWidget(), Qt::Key_Tab);
    } while (visited.size() < 50 && (visited.size() == 1 || QApplication::focusWidget() != visited[1]));
    return namesOf({visited.begin() + 1, visited.end()});
}

QListView *listNamed(QWidget &view, const QString &start) {
    for (QListView *list : view.findChildren<QListView *>()) {
        if (list->accessibleName().startsWith(start))
            return list;
    }
    return nullptr;
}

/// Drives the real window as a user does.
class WindowTest : public testing::Test {
  protected:
    WindowTest() {
        view.resize(980, 720);
        view.show();
        world.look(model);
    }
    ~WindowTest() override { FolderPanel::answerWith(nullptr); }

    void click(QWidget &where, const QString &text) {
        QAbstractButton *found = button(where, text);
        ASSERT_TRUE(found) << text.toStdString();
        ASSERT_TRUE(found->isEnabled()) << text.toStdString();
        found->click();
    }
    void click(const char *text) { click(view, QString::fromUtf8(text)); }
    bool shows(QWidget &where, const QString &text) {
        for (const QLabel *label : where.findChildren<QLabel *>()) {
            if (label->isVisible() && label->text() == text)
                return true;
        }
        return false;
    }
    bool comesToShow(const QString &text) {
        return waitFor([&] { return shows(view, text); });
    }
    /// Something to show in every tab.
    void fill() {
        world.addTwo(model);
        model.showSampleHistory(sampleHistory());
        model.setBanner(QStringLiteral("Added"));
        QCoreApplication::processEvents();
    }
    AddFolderSheet *sheet() {
        waitFor([&] { return view.findChild<AddFolderSheet *>() != nullptr; });
        return view.findChild<AddFolderSheet *>();
    }
    /// The next folder panels are answered with these, one after another.
    void answer(std::vector<fs::path> folders) {
        auto left = std::make_shared<std::vector<fs::path>>(std::move(folders));
        FolderPanel::answerWith([this, left](QWidget *, const FolderPanel::Request &request) {
            panels.append(request.title + u'|' + request.message + u'|' + request.confirm);
            const fs::path next = left->front();
            left->erase(left->begin());
            return std::optional(next);
        });
    }
    QStringList texts(const QMenu &menu) {
        QStringList result;
        for (const QAction *action : menu.actions())
            result.append(action->text() + (action->isEnabled() ? QString() : QStringLiteral(" (off)")));
        return result;
    }

    SampleWorld world;
    AppModel model;
    MainView view{model};
    QStringList panels;
};

TEST_F(WindowTest, AFolderIsAddedThroughTheSheet) {
    click("Add Folder…");
    AddFolderSheet *open = sheet();
    ASSERT_TRUE(open);
    EXPECT_FALSE(button(*open, QStringLiteral("Add Folder"))->isEnabled());
    answer({world.home(""), world.home("Documents/Notes"), world.drive("Backup"), world.oneDrive("Backups")});
    click(*open, QStringLiteral("Choose…"));
    open->findChild<QLineEdit *>()->clear();
    QTest::keyClicks(open->findChild<QLineEdit *>(), QStringLiteral("No:tes"));
    click(*open, QStringLiteral("Add Folder"));
    EXPECT_TRUE(shows(*open, QStringLiteral("OneDrive can't store that folder name (it can't hold \" * : < > ? \\ | or "
                                            "end with a space). Choose another name.")));
    click(*open, QStringLiteral("Change…"));
    click(*open, QStringLiteral("Choose Existing…"));
    click(*open, QStringLiteral("Add Folder"));
    const QString outside = QStringLiteral("Tarnwick Basic backs up to OneDrive. Choose a folder inside OneDrive (not "
                                           "OneDrive's top folder).");
    EXPECT_TRUE(waitFor([&] { return shows(*open, outside); }));
    click(*open, QStringLiteral("Use a New Folder Instead"));
    click(*open, QStringLiteral("Choose Existing…"));
    click(*open, QStringLiteral("Add Folder"));
    EXPECT_TRUE(comesToShow(QStringLiteral("Added “Notes”. Press Sync Now to back it up.")));
    EXPECT_TRUE(comesToShow(QStringLiteral("This computer › Documents")));
    EXPECT_EQ(panels.at(0), QStringLiteral("Choose a Folder to Back Up|Choose a folder in your home folder or on a "
                                           "connected drive.|Choose"));
    EXPECT_FALSE(model.showingAddFolder());
    click("Close this notice");
    EXPECT_FALSE(model.banner());
}

QString asShown(const QString &labelText) {
    return Qt::mightBeRichText(labelText) ? QTextDocumentFragment::fromHtml(labelText).toPlainText() : labelText;
}

TEST_F(WindowTest, EveryRefusalIsShownInItsPlace) {
    if (const auto reason = LoopMount::whyNot(LoopMount::Type::Tmpfs))
        GTEST_SKIP() << *reason;
    const fs::path original = world.oneDrive("Backups"), locked = world.oneDrive("Lock & Key");
    fs::create_directory(locked);
    const Mount mount("tmpfs", locked, "tmpfs", "ro");
    std::vector<std::tuple<fs::path, fs::path, const char *>> rows = {
        {original, world.home("Documents"),
         "Tarnwick Basic backs up to OneDrive. Choose a folder inside OneDrive (not OneDrive's top folder)."},
        {original, original / "in", "The backup folder can't be inside the original folder (or the other way round)."},
        {original, locked, "Tarnwick can't write to “Lock & Key”. Pick a folder you have permission to change."},
        {original, locked / "new",
         "Tarnwick can't create a folder in “Lock & Key”. Pick a folder you have permission to change."},
        {original, world.oneDrive("none/new"),
         "The place for the backup (“none”) isn't available. Open OneDrive and make sure it is signed in."},
        {world.home(""), original,
         "“Home” can't be backed up from there. Pick a folder inside your home folder or on a connected drive."},
        {original, locked,
         "OneDrive wasn't found on this computer. Install and sign in to OneDrive, or choose its folder in Settings."}};
    for (const auto &[from, backup, refusal] : rows) {
        AddFolderSheet sheet(model);
        sheet.show();
        answer({from, backup});
        click(sheet, QStringLiteral("Choose…"));
        click(sheet, QStringLiteral("Choose Existing…"));
        if (refusal == std::get<2>(rows.back()))
            fs::rename(world.home("Library"), world.home("Gone"));
        click(sheet, QStringLiteral("Add Folder"));
        EXPECT_TRUE(waitFor([&] { return shows(sheet, QString::fromUtf8(refusal)); })) << refusal;
    }
    fs::rename(world.home("Gone"), world.home("Library"));
    ASSERT_EQ(world.add(model, original, world.oneDrive("Photos")), std::nullopt);
    rows.erase(rows.end() - 2, rows.end());
    rows.push_back({original, original, "That folder isn't in the list any more."});
    for (const auto &[from, backup, refusal] : rows) {
        PairRowView row(model, model.rows().at(0));
        if (backup == original)
            model.remove(row.pairID());
        answer({backup});
        row.chooseBackup();
        ASSERT_TRUE(waitFor([&] { return row.findChild<QMessageBox *>() != nullptr; })) << refusal;
        EXPECT_EQ(asShown(row.findChild<QMessageBox *>()->informativeText()), QString::fromUtf8(refusal));
    }
}

TEST_F(WindowTest, EscapeClosesTheSheetWithoutAChange) {
    model.requestAddFolder();
    AddFolderSheet *open = sheet();
    ASSERT_TRUE(open);
    QTest::keyClick(open, Qt::Key_Escape);
    EXPECT_TRUE(waitFor([&] { return !model.showingAddFolder() && !view.findChild<AddFolderSheet *>(); }));
    EXPECT_TRUE(model.config().pairs.empty());
}

TEST_F(WindowTest, RowsAreTickedSyncedAndRemoved) {
    world.addTwo(model);
    ASSERT_TRUE(comesToShow(QStringLiteral("Ready to sync 2 folders")));
    auto *tick = qobject_cast<QCheckBox *>(button(view, QStringLiteral("Sync “Notes”")));
    ASSERT_TRUE(tick);
    tick->click();
    EXPECT_TRUE(comesToShow(QStringLiteral("Ready to sync 1 folder")));
    EXPECT_FALSE(model.config().pairs.at(1).enabled);
    tick->click();
    EXPECT_TRUE(comesToShow(QStringLiteral("Ready to sync 2 folders")));
    tick->click();
    QTest::keyClick(&view, Qt::Key_S, Qt::ControlModifier);
    EXPECT_TRUE(model.busy());
    EXPECT_TRUE(waitFor([&] { return !model.busy() && !button(view, QStringLiteral("Cancel")); }));
    EXPECT_EQ(model.history().at(0).filesCopied, 1);
    EXPECT_TRUE(comesToShow(QStringLiteral("Last sync: ") + Fmt::when(model.history().at(0).finished) +
                            QStringLiteral(" · 1 file copied (7 bytes)")));

    EXPECT_TRUE(comesToShow(QStringLiteral("OneDrive"))); // the backup stands there now
    auto *row = view.findChildren<PairRowView *>().at(0);
    QMenu menu;
    row->fillContextMenu(menu);
    EXPECT_EQ(
        texts(menu),
        (QStringList{QStringLiteral("Sync “Photos” Now"), QString(), QStringLiteral("Show Original in File Manager"),
                     QStringLiteral("Show Backup in File Manager"), QStringLiteral("Choose Backup Folder…"), QString(),
                     QStringLiteral("Remove from List")}));
    answer({world.oneDrive()});
    row->chooseBackup();
    ASSERT_TRUE(waitFor([&] { return view.findChild<QMessageBox *>() != nullptr; }));
    auto *alert = view.findChild<QMessageBox *>();
    EXPECT_EQ(alert->text(), QStringLiteral("That folder can't be used"));
    EXPECT_EQ(panels.last(), QStringLiteral("Choose Backup Folder|Where in OneDrive should “Photos” be backed up?|"
                                            "Back Up Here"));
    alert->accept();
    menu.actions().last()->trigger();
    EXPECT_TRUE(waitFor([&] { return view.findChildren<PairRowView *>().size() == 1; }));

    fs::rename(world.drive("Backup"), world.top() / "Backup");
    world.add(model, world.drive("Travel/Raw"), world.oneDrive("Raw"));
    fs::rename(world.drive("Travel"), world.top() / "Travel");
    world.look(model);
    ASSERT_TRUE(comesToShow(QStringLiteral("Travel · drive not connected")));
    QMenu away;
    view.findChildren<PairRowView *>().at(1)->fillContextMenu(away);
    EXPECT_EQ(texts(away),
              (QStringList{QStringLiteral("Sync “Raw” Now (off)"), QString(), QStringLiteral("Choose Backup Folder…"),
                           QString(), QStringLiteral("Remove from List")}));
}

TEST_F(WindowTest, TheBarOfARunningSyncNeverGoesBackNorIsFullTooEarly) {
    SyncProgress progress;
    progress.stage = SyncProgress::Stage::copying;
    progress.filesTotal = 2;
    progress.bytesTotal = 1000;
    auto *bar = view.findChild<QProgressBar *>();
    for (const auto &[bytes, shown] : {std::pair(400, 400), std::pair(300, 400), std::pair(1000, 999)}) {
        progress.bytesDone = bytes;
        model.showSampleProgress(progress);
        EXPECT_EQ(bar->value(), shown);
    }
    progress.filesDone = 2;
    model.showSampleProgress(progress);
    EXPECT_EQ(bar->value(), 1000);
    ASSERT_TRUE(waitFor([&] { return button(view, QStringLiteral("Cancel")) != nullptr; }));
    EXPECT_FALSE(button(view, QStringLiteral("Sync Now")));
    EXPECT_FALSE(view.syncNowAction()->isEnabled());
}

TEST_F(WindowTest, NothingMovesUnderThePointerWhileASyncRuns) {
    world.addTwo(model);
    ASSERT_TRUE(comesToShow(QStringLiteral("Ready to sync 2 folders")));
    const auto placeOfRows = [&] {
        for (int i = 0; i < 3; ++i) // one layout after the other
            QCoreApplication::processEvents();
        const QWidget *row = view.findChild<PairRowView *>();
        return row->mapTo(&view, QPoint()).y();
    };
    for (const int height : {720, 480}) {
        view.resize(980, height);
        const int before = placeOfRows();
        SyncProgress progress;
        model.showSampleProgress(progress);
        EXPECT_EQ(placeOfRows(), before);
        progress.stage = SyncProgress::Stage::copying;
        progress.currentFile = QStringLiteral("2024/a.jpg");
        model.showSampleProgress(progress);
        EXPECT_EQ(placeOfRows(), before);
        EXPECT_TRUE(shows(view, progress.currentFile));
    }
}

TEST_F(WindowTest, TheNoticeOfAnAddedFolderEndsWithItsSyncAlone) {
    world.addTwo(model);
    model.setBanner(QStringLiteral("Added “Notes”. Press Sync Now to back it up."));
    SyncProgress progress;
    for (const auto &[pair, isShown] : {std::pair("Photos", true), {"Notes", false}}) {
        progress.pairName = QLatin1String(pair);
        model.showSampleProgress(progress);
        EXPECT_EQ(model.banner().has_value(), isShown) << pair;
    }
    model.setBanner(QStringLiteral("Brought back your folder choices for “Notes”. Check them below."));
    model.showSampleProgress(progress);
    EXPECT_TRUE(model.banner());
}

TEST_F(WindowTest, TheFilesOfARunHaveAMenu) {
    SyncRun run = sampleHistory().at(0);
    run.changes.at(0).path = QStringLiteral("/c/a.jpg");
    run.errorPaths = {QStringLiteral("/e/IMG_0042.jpg")}; // of the first of two
    for (SkippedItem &skip : run.skipped)
        skip.path = QStringLiteral("/o/") + skip.relPath;
    QStringList paths;
    for (const RunText::Item &item : RunText::items(run)) {
        QMenu menu;
        RunDetailView::fillContextMenu(menu, item);
        EXPECT_EQ(menu.isEmpty(), item.path.isEmpty()) << item.text.toStdString();
        if (item.path.isEmpty())
            continue;
        EXPECT_EQ(texts(menu), (QStringList{QStringLiteral("Open"), QStringLiteral("Show in File Manager"), QString(),
                                            QStringLiteral("Copy Path")}));
        menu.actions().last()->trigger();
        paths.append(QApplication::clipboard()->text());
    }
    EXPECT_EQ(paths,
              (QStringList{QStringLiteral("/e/IMG_0042.jpg"), QStringLiteral("/o/2024/Why?.jpg"),
                           QStringLiteral("/o/End "), QStringLiteral("/o/run.bat"), QStringLiteral("/c/a.jpg")}));
}

TEST_F(WindowTest, TheFolderPanelOffersHomeOneDriveAndTheDrives) {
    world.look(model);
    QStringList offered;
    QTimer::singleShot(0, &view, [&] {
        auto *dialog = qobject_cast<QFileDialog *>(QApplication::activeModalWidget());
        ASSERT_TRUE(dialog);
        for (const QUrl &place : dialog->sidebarUrls())
            offered.append(place.toLocalFile());
        dialog->reject();
    });
    FolderPanel::choose(&view, {{}, {}, {}, world.home(""), FolderPanel::placesOf(model)});
    QStringList expected;
    for (const fs::path &place : {world.top() / "Home", world.oneDrive(), world.drive("Backup"), world.drive("Travel")})
        expected.append(QString::fromStdString(place.native()));
    EXPECT_EQ(offered, expected);
    EXPECT_FALSE(QFileDialog().sidebarUrls().contains(QUrl::fromLocalFile(expected.last())));
}

TEST_F(WindowTest, CancelStopsARunningSync) {
    for (int i = 0; i < 3000; ++i)
        world.tree.file("Volumes/Backup/Projects/2024/Photos/" + std::to_string(i));
    world.addTwo(model);
    ASSERT_TRUE(comesToShow(QStringLiteral("Ready to sync 2 folders")));
    click("Sync Now");
    ASSERT_TRUE(waitFor([&] { return model.progress().filesTotal > 0; })); // it runs
    click("Cancel");
    ASSERT_TRUE(waitFor([&] { return !model.busy(); }));
    EXPECT_TRUE(model.history().at(0).cancelled);
}

TEST_F(WindowTest, ReviewOpensTheLastRunAndTheListSelectsOthers) {
    world.addTwo(model);
    model.showSampleHistory(sampleHistory());
    model.setSelectedRunID(model.history().at(2).id);
    ASSERT_TRUE(waitFor([&] { return button(view, QStringLiteral("Review")) != nullptr; }));
    click("Review");
    EXPECT_EQ(model.tab(), MainTab::activity);
    ASSERT_TRUE(comesToShow(model.history().at(0).headline()));
    QListView *runs = listNamed(view, QStringLiteral("Syncs"));
    ASSERT_TRUE(runs);
    QTest::keyClick(runs, Qt::Key_Down);
    EXPECT_EQ(model.selectedRunID(), model.history().at(1).id);
    EXPECT_TRUE(comesToShow(QStringLiteral("1 file copied (1.25 GB)")));
    model.showSampleHistory({sampleHistory().at(3)});
    model.setSelectedRunID(QUuid::createUuid());
    EXPECT_TRUE(comesToShow(sampleHistory().at(3).headline()));
}

TEST_F(WindowTest, EverySettingIsWrittenAtOnce) {
    fs::create_directories(world.home("OneDrive-Work"));
    world.look(model);
    click("Settings");
    ASSERT_TRUE(waitFor([&] { return button(view, QStringLiteral("Change the OneDrive folder")) != nullptr; }));
    click("Sync automatically when the drive is connected");
    click("Show a notification when a sync finishes");
    EXPECT_FALSE(model.config().autoSyncOnConnect);
    EXPECT_FALSE(model.config().notifications);
    click("Open Tarnwick Basic at login (needed for automatic sync)"); // does nothing in a test root
    EXPECT_FALSE(button(view, QStringLiteral("Open Tarnwick Basic at login (needed for automatic sync)"))->isChecked());

    auto *change = qobject_cast<QToolButton *>(button(view, QStringLiteral("Change the OneDrive folder")));
    Q_EMIT change->menu()->aboutToShow();
    EXPECT_EQ(texts(*change->menu()),
              (QStringList{QStringLiteral("OneDrive – Personal"), QStringLiteral("OneDrive – Work"), QString(),
                           QStringLiteral("Choose Another Folder…"), QStringLiteral("Detect Automatically")}));
    EXPECT_TRUE(change->menu()->actions().at(0)->isChecked());
    change->menu()->actions().at(1)->trigger();
    EXPECT_TRUE(comesToShow(QStringLiteral("~/OneDrive-Work")));
    Q_EMIT change->menu()->aboutToShow();
    EXPECT_FALSE(change->menu()->actions().at(0)->isChecked());
    answer({world.home({})});
    change->menu()->actions().at(3)->trigger();
    EXPECT_TRUE(comesToShow(QStringLiteral("“Home” can't be the OneDrive folder: your home folder is inside it.")));
    answer({world.home("Documents")});
    change->menu()->actions().at(3)->trigger();
    EXPECT_TRUE(comesToShow(QStringLiteral("~/Documents")));
    change->menu()->actions().at(4)->trigger();
    EXPECT_TRUE(comesToShow(QStringLiteral("~/Library/CloudStorage/OneDrive-Personal")));
    fs::remove_all(world.home("OneDrive-Work"));
    fs::remove_all(world.oneDrive());
    world.look(model);
    EXPECT_TRUE(comesToShow(QStringLiteral("Not found")));
    EXPECT_TRUE(
        comesToShow(QStringLiteral("OneDrive wasn't found on this computer. Choose its folder here, or set up a "
                                   "OneDrive client first.")));
    click("About OneDrive Clients…");
    const auto *page = view.findChild<QTextBrowser *>();
    ASSERT_TRUE(page);
    EXPECT_TRUE(page->toPlainText().contains(QStringLiteral("Which client should I take?")));
    Q_EMIT change->menu()->aboutToShow();
    EXPECT_EQ(texts(*change->menu()),
              (QStringList{QStringLiteral("Choose Another Folder…"), QStringLiteral("Detect Automatically")}));
}

TEST_F(WindowTest, EveryButtonHasAName) {
    fill();
    for (const MainTab tab : mainTabs) {
        model.setTab(tab);
        waitFor([&] { return button(view, title(tab)) && button(view, title(tab))->isChecked(); });
        for (const QAbstractButton *candidate : view.findChildren<QAbstractButton *>()) {
            if (!candidate->isVisible())
                continue;
            EXPECT_FALSE((candidate->text() + candidate->accessibleName()).isEmpty())
                << candidate->toolTip().toStdString();
        }
    }
}

TEST_F(WindowTest, TabReachesEveryControlInReadingOrder) {
    EXPECT_EQ(controlsInTabOrder(view), controlsInReadingOrder(view));
    fill();
    for (const MainTab tab : mainTabs) {
        model.setTab(tab);
        QCoreApplication::processEvents();
        const std::string expected = controlsInReadingOrder(view); // first, for Tab makes the settings scroll
        EXPECT_EQ(controlsInTabOrder(view), expected) << title(tab).toStdString();
    }
    answer({world.drive("Backup"), world.oneDrive("Backups")});
    AddFolderSheet sheet(model);
    sheet.show();
    for (const char *next : {"Choose…", "Choose Existing…", "Cancel"}) {
        EXPECT_EQ(controlsInTabOrder(sheet), controlsInReadingOrder(sheet)) << next;
        click(sheet, QString::fromUtf8(next));
    }
}

/// How far the rows reach, if each begins where the one above ends and is as high as its text needs at this width.
int heightOfWellLaidRows(const QListView &list) {
    int end = list.visualRect(list.model()->index(0, 0)).top();
    const int start = end;
    for (int i = 0; i < list.model()->rowCount(); ++i) {
        const QModelIndex index = list.model()->index(i, 0);
        const QRect row = list.visualRect(index);
        if (row.top() != end || row.height() != list.itemDelegate()->sizeHint({}, index).height())
            return -i;
        end = row.bottom() + 1;
    }
    return end - start;
}

TEST_F(WindowTest, TheLinesOfARunFollowTheWidthOfTheWindow) {
    SyncRun run = sampleHistory().at(0);
    run.notes.assign(5, QStringLiteral("A note that is long enough for several lines. ").repeated(8));
    run.changes.assign(2000, run.changes.at(0));
    model.showSampleHistory({run});
    model.setTab(MainTab::activity);
    QCoreApplication::processEvents();
    const QListView *list = listNamed(view, QStringLiteral("What the sync did"));
    ASSERT_TRUE(list);
    std::map<int, int> heights;
    for (const int width : {980, 880, 1400, 900}) {
        view.resize(width, 720);
        EXPECT_TRUE(waitFor([&] { return (heights[width] = heightOfWellLaidRows(*list)) > 2000 * 40; })) << width;
    }
    EXPECT_LT(heights[1400], heights[880]);
}

bool isInside(const QWidget &part, const QWidget &whole) {
    return whole.rect().contains(QRect(part.mapTo(&whole, QPoint()), part.size()));
}

/// The visible controls that can't be seen whole, and can't be scrolled to either.
std::string cutControls(const QWidget &window) {
    std::vector<const QWidget *> cut;
    for (const QWidget *control : window.findChildren<QWidget *>()) {
        if (!control->isVisible() || !(control->focusPolicy() & Qt::TabFocus))
            continue;
        const QWidget *scrolled = control->parentWidget();
        while (scrolled != &window && scrolled->objectName() != QStringLiteral("scrolled"))
            scrolled = scrolled->parentWidget();
        // What scrolls needs some room to be seen in.
        const bool isReachable =
            isInside(*control, *scrolled) && (scrolled == &window || (isInside(*scrolled->parentWidget(), window) &&
                                                                      scrolled->parentWidget()->height() >= 60));
        if (!isReachable)
            cut.push_back(control);
    }
    return namesOf(cut);
}

TEST_F(WindowTest, EverythingIsReachableInASmallWindow) {
    view.setMinimumSize(1, 1); // the window that it is a part of decides
    view.resize(900, 430);     // what a panel, a title bar and the menu bar leave of 960 x 540
    ASSERT_EQ(view.size(), QSize(900, 430));
    for (const bool isFilled : {false, true}) {
        if (isFilled)
            fill();
        for (const MainTab tab : mainTabs) {
            model.setTab(tab);
            QCoreApplication::processEvents();
            EXPECT_EQ(cutControls(view), "") << title(tab).toStdString();
            for (const QListView *list : view.findChildren<QListView *>())
                EXPECT_TRUE(!list->isVisible() || list->height() >= 100) << list->accessibleName().toStdString();
        }
    }
    AddFolderSheet sheet(model, &view);
    sheet.show();
    answer({world.home("a:b")});
    click(sheet, QStringLiteral("Choose…"));
    click(sheet, QStringLiteral("Add Folder")); // refused, so that all of its parts are shown
    EXPECT_LE(sheet.height(), 430);
}

TEST_F(WindowTest, AnOpenWindowTakesOverTheOtherScheme) {
    fill();
    answer(std::vector(6, world.home("a:b")));
    AddFolderSheet sheet(model, &view);
    for (const Theme::Scheme scheme : {Theme::Scheme::Light, Theme::Scheme::Dark, Theme::Scheme::Light}) {
        Theme::apply(*qApp, scheme);
        EXPECT_EQ(Theme::schemeOf(view.palette()), scheme);
        for (const MainTab tab : mainTabs) {
            model.setTab(tab);
            MainView fresh(model);
            fresh.resize(view.size());
            fresh.show();
            QCoreApplication::processEvents();
            EXPECT_TRUE(view.grab().toImage() == fresh.grab().toImage()) << title(tab).toStdString();
        }
        AddFolderSheet freshSheet(model, &view);
        for (AddFolderSheet *each : {&sheet, &freshSheet}) {
            each->show();
            click(*each,
                  button(*each, QStringLiteral("Choose…")) ? QStringLiteral("Choose…") : QStringLiteral("Change…"));
            click(*each, QStringLiteral("Add Folder")); // refused for its name
            each->setFocus();
        }
        EXPECT_TRUE(waitFor([&] { return !model.isLooking(); })); // whether the folder is there
        QCoreApplication::processEvents();
        EXPECT_TRUE(sheet.grab().toImage() == freshSheet.grab().toImage());
    }
}

} // namespace
