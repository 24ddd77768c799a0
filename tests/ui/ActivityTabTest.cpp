#include "ui/RunDetailView.h"
#include "ui/WindowUnderTest.h"

#include <QClipboard>

#include <map>

namespace {

using ActivityTabTest = WindowUnderTest;

TEST_F(ActivityTabTest, ReviewOpensTheLastRunAndTheListSelectsOthers) {
    fill();
    model.setSelectedRunID(model.history().at(2).id);
    click("Review");
    EXPECT_EQ(model.tab(), MainTab::activity);
    expectToShow(model.history().at(0).headline());
    QListView *runs = listNamed("Syncs");
    ASSERT_TRUE(runs);
    QTest::keyClick(runs, Qt::Key_Down);
    EXPECT_EQ(model.selectedRunID(), model.history().at(1).id);
    expectToShow("1 file copied (1.25 GB)");
    model.showSampleHistory({sampleHistory().at(3)});
    model.setSelectedRunID(QUuid::createUuid());
    expectToShow(sampleHistory().at(3).headline());
}

TEST_F(ActivityTabTest, TheFilesOfARunHaveAMenu) {
    SyncRun run = sampleHistory().at(0);
    run.changes.at(0).path = QStringLiteral("/c/a.jpg");
    run.errorPaths = {QStringLiteral("/e/IMG_0042.jpg")}; // of the first of two
    for (SkippedItem &skip : run.skipped)
        skip.path = QStringLiteral("/o/") + skip.relPath;
    Lines paths;
    for (const RunText::Item &item : RunText::items(run)) {
        QMenu menu;
        RunDetailView::fillContextMenu(menu, item);
        EXPECT_EQ(texts(menu),
                  item.path.isEmpty() ? Lines() : (Lines{"Open", "Show in File Manager", "", "Copy Path"}));
        if (menu.isEmpty())
            continue;
        menu.actions().last()->trigger();
        paths.push_back(QApplication::clipboard()->text().toStdString());
    }
    EXPECT_EQ(paths, (Lines{"/e/IMG_0042.jpg", "/o/2024/Why?.jpg", "/o/End ", "/o/run.bat", "/c/a.jpg"}));
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

TEST_F(ActivityTabTest, TheLinesOfARunFollowTheWidthOfTheWindow) {
    SyncRun run = sampleHistory().at(0);
    run.notes.assign(5, QStringLiteral("A note that is long enough for several lines. ").repeated(8));
    run.changes.assign(2000, run.changes.at(0));
    model.showSampleHistory({run});
    show(MainTab::activity);
    const QListView *list = listNamed("What the sync did");
    ASSERT_TRUE(list);
    std::map<int, int> heights;
    for (const int width : {980, 880, 1400, 900}) {
        view.resize(width, 720);
        EXPECT_TRUE(waitFor([&] { return (heights[width] = heightOfWellLaidRows(*list)) > 2000 * 40; })) << width;
    }
    EXPECT_LT(heights[1400], heights[880]);
}

} // namespace
