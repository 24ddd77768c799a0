#include "ui/RunText.h"

#include "SampleWindow.h"

#include <QStringList>

#include <gtest/gtest.h>

namespace {

using RunText::Item;

QStringList headers(const SyncRun &run) {
    QStringList result;
    for (const Item &item : RunText::items(run)) {
        if (item.kind == Item::Kind::Header)
            result.append(item.text);
    }
    return result;
}

QStringList tileValues(const SyncRun &run) {
    QStringList result;
    for (const RunText::Tile &tile : RunText::tiles(run))
        result.append(tile.title + u'=' + tile.value + (tile.warn ? QStringLiteral("!") : QString()));
    return result;
}

TEST(RunTextTest, ARunWithEverythingShowsAllSectionsInOrder) {
    const SyncRun run = sampleHistory().at(0);
    EXPECT_EQ(headers(run),
              (QStringList{QStringLiteral("Problems (2)"), QStringLiteral("Notes"),
                           QStringLiteral("Needs your attention (1)"),
                           QStringLiteral("Skipped: names OneDrive can't store (2)"),
                           QStringLiteral("Skipped: file types OneDrive refuses (1)"), QStringLiteral("Copied"),
                           QStringLiteral("Left alone — the copy in OneDrive is newer (1)")}));
    QStringList texts;
    for (const Item &item : RunText::items(run))
        texts.append(item.detail.isEmpty() ? item.text : item.text + u'|' + item.detail);
    for (const QString &expected :
         {QStringLiteral("Why?.jpg  →  Why_.jpg|Photos/2024"), QStringLiteral("End␣  →  End|Photos/"),
          QStringLiteral("Photos/run.bat"), QStringLiteral("IMG_1.jpg|Photos/2024/Lake"),
          QStringLiteral("list.txt|Notes/"), QStringLiteral("…and 1,234 more (see the log file for everything)")})
        EXPECT_TRUE(texts.contains(expected)) << expected.toStdString();
    EXPECT_EQ(tileValues(run), (QStringList{QStringLiteral("Copied=3"), QStringLiteral("Data=12.3 MB"),
                                            QStringLiteral("Up to date=48,213"), QStringLiteral("Left alone=1"),
                                            QStringLiteral("Skipped=3!"), QStringLiteral("Problems=3!")}));
    EXPECT_TRUE(RunText::meta(run).endsWith(QStringLiteral(" · Sync Now · took 3m 12s · Photos, Notes")));
}

TEST(RunTextTest, IconsOfTheListAndTheDetailsDifferForACancelledRun) {
    struct Row {
        const char *list;
        const char *header;
    };
    const std::vector<Row> rows = {{"exclamationmark.triangle.fill", "exclamationmark.triangle.fill"},
                                   {"checkmark.circle.fill", "checkmark.circle.fill"},
                                   {"stop.circle.fill", "exclamationmark.triangle.fill"},
                                   {"exclamationmark.triangle.fill", "exclamationmark.triangle.fill"}};
    const std::vector<SyncRun> history = sampleHistory();
    for (std::size_t i = 0; i < rows.size(); ++i) {
        EXPECT_EQ(RunText::listIcon(history[i]), QLatin1String(rows[i].list)) << i;
        EXPECT_EQ(RunText::headerIcon(history[i]), QLatin1String(rows[i].header)) << i;
    }
    EXPECT_EQ(headers(history[2]), QStringList{QStringLiteral("Copied")});
    EXPECT_EQ(headers(history[3]), (QStringList{QStringLiteral("Stopped"), QStringLiteral("Copied")}));
    EXPECT_EQ(tileValues(history[3]).last(), QStringLiteral("Problems=1!"));
}

TEST(RunTextTest, OnlyTheFirst500LinesAreShownButAllAreCounted) {
    SyncRun run;
    run.errors.assign(1200, QStringLiteral("x"));
    EXPECT_EQ(headers(run).first(), QStringLiteral("Problems (1200)"));
    EXPECT_EQ(RunText::items(run).size(), 500u + 3); // two headers and "No files needed copying."
    EXPECT_EQ(RunText::items(run).back().text, QStringLiteral("No files needed copying."));
    run.finished = run.started.addMSecs(200);
    EXPECT_TRUE(RunText::meta(run).endsWith(QStringLiteral("took 1s")));
}

} // namespace
