#include "ui/RunText.h"

#include "screens/SampleWindow.h"

#include <gtest/gtest.h>

namespace {

using Kind = RunText::Item::Kind;

/// The icons, the headers and the tiles that warn of a run, and behind each header how many lines are below it.
std::string outlineOf(const SyncRun &run) {
    QString outline = RunText::listIcon(run) + u' ' + RunText::headerIcon(run);
    int lines = 0;
    for (const RunText::Item &item : RunText::items(run)) {
        if (item.kind == Kind::Header)
            outline += (lines ? u':' + QString::number(std::exchange(lines, 0)) : QString()) + u'\n' + item.text;
        else
            ++lines;
    }
    outline += u':' + QString::number(lines);
    for (const RunText::Tile &tile : RunText::tiles(run))
        outline += tile.warn ? u'\n' + tile.title + u'=' + tile.value + u'!' : QString();
    return outline.toStdString();
}

TEST(RunTextTest, ARunHasTheSectionsThatItNeedsInOrder) {
    const std::vector<SyncRun> history = sampleHistory();
    EXPECT_EQ(outlineOf(history[0]), R"(exclamationmark.triangle.fill exclamationmark.triangle.fill
Problems (2):2
Notes:1
Needs your attention (1):1
Skipped: names OneDrive can't store (2):3
Skipped: file types OneDrive refuses (1):1
Copied:4
Left alone — the copy in OneDrive is newer (1):1
Skipped=3!
Problems=3!)");
    EXPECT_EQ(outlineOf(history[1]), "checkmark.circle.fill checkmark.circle.fill\nCopied:1");
    EXPECT_EQ(outlineOf(history[2]), "stop.circle.fill exclamationmark.triangle.fill\nCopied:2");
    EXPECT_EQ(outlineOf(history[3]), "exclamationmark.triangle.fill exclamationmark.triangle.fill\n"
                                     "Stopped:1\nCopied:1\nProblems=1!");
    SyncRun large;
    large.errors.assign(1200, QStringLiteral("x")); // the first 500 lines are shown, and all are counted
    EXPECT_EQ(outlineOf(large), "exclamationmark.triangle.fill exclamationmark.triangle.fill\n"
                                "Problems (1200):500\nCopied:1\nProblems=1200!");
    EXPECT_EQ(RunText::items(large).back().text, QStringLiteral("No files needed copying."));
    large.finished = large.started.addMSecs(200);
    EXPECT_TRUE(RunText::meta(large).endsWith(QStringLiteral("took 1s")));
}

TEST(RunTextTest, LinesAndFiguresInWords) {
    const SyncRun run = sampleHistory().at(0);
    std::string lines, tiles;
    for (const RunText::Item &item : RunText::items(run))
        if (!item.detail.isEmpty() || item.kind == Kind::Plain || item.symbol == u"nosign")
            lines += (item.text + u'|' + item.detail + u'\n').toStdString();
    EXPECT_EQ(lines,
              "Why?.jpg  →  Why_.jpg|Photos/2024\nEnd␣  →  End|Photos/\nPhotos/run.bat|\nIMG_1.jpg|Photos/2024/Lake\n"
              "IMG_2.jpg|Photos/2024\nlist.txt|Notes/\n…and 1,234 more (see the log file for everything)|\n");
    for (const RunText::Tile &tile : RunText::tiles(run))
        tiles += (tile.title + u'=' + tile.value + u' ').toStdString();
    EXPECT_EQ(tiles, "Copied=3 Data=12.3 MB Up to date=48,213 Left alone=1 Skipped=3 Problems=3 ");
    EXPECT_TRUE(RunText::meta(run).endsWith(QStringLiteral(" · Sync Now · took 3m 12s · Photos, Notes")));
}

} // namespace
