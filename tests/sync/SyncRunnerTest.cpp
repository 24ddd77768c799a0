#include "base/Text.h"
#include "sync/RunUnderTest.h"

#include <gtest/gtest.h>
#include <thread>
#include <time.h>

namespace {

using RunUnderTest::Lines;
using RunUnderTest::makeFiles;
using RunUnderTest::run;
using RunUnderTest::Sandbox;
using RunUnderTest::sorted;
using RunUnderTest::told;

const std::string inTheWay = "something that is neither a file nor a folder is in the way in OneDrive";

TEST(SyncRunner, WritesDownEverythingThatHappened) {
    Sandbox box;
    box.file("A/new", "123", {1'600'000'000, 5});
    box.file("A/sub/deeper/new", "12345");
    box.dir("A/empty");
    box.file("A/changed", "new version");
    box.file("A/same");
    box.file("A/older here", "old");
    box.file("A/clash");
    box.file("A/folder/file");
    box.file("A/what?");
    box.file("A/.tw-mine.twtmp");
    box.link("A/link", "new");
    box.file("OneDrive/A/changed", "old", later(someTime, -10));
    box.file("OneDrive/A/same");
    box.file("OneDrive/A/older here", "newer", later(someTime, 10));
    box.file("OneDrive/A/clash/inside");
    box.file("OneDrive/A/folder");
    box.file("OneDrive/A/only here");
    const auto original = box.snapshot("A");
    auto expected = box.snapshot("OneDrive/A");
    for (const std::string item : {"new", "sub", "sub/deeper", "sub/deeper/new", "empty", "changed"})
        expected[item] = original.at(item);

    const std::vector<SyncJob> jobs = {box.job("A")};
    const SyncRun result = run(jobs);
    EXPECT_EQ(
        sorted(told(result)),
        sorted({"copied 3, 19, folders 3, up to date 1", "added new 3", "added sub/deeper/new 5", "updated changed 11",
                "newer: A/older here — the copy in OneDrive is newer, so it was left alone",
                "conflict: A/clash — a folder with the same name is already in the backup",
                "conflict: A/folder — a file with the same name is already in the backup", "skip name what?: what_",
                "note: A: 1 item was skipped because OneDrive can't store its name (invisible "
                "characters, a space at "
                "the end, or \" * : < > ? \\ |). Rename it on your drive to back it up.",
                "pair A: 3, 19, 0"}));
    for (const ChangeRecord &change : result.changes) {
        EXPECT_EQ(change.pairID, jobs.front().pairID);
        EXPECT_EQ(Text::toPath(change.path), jobs.front().backup / Text::toPath(change.relPath));
        EXPECT_EQ(Text::toPath(change.fromPath.value_or(QString())),
                  jobs.front().original / Text::toPath(change.relPath));
    }
    EXPECT_EQ(result.finished, result.started);
    EXPECT_EQ(result.pairNames, std::vector{QStringLiteral("A")});
    EXPECT_EQ(box.snapshot("OneDrive/A"), expected);
    EXPECT_EQ(box.snapshot("A"), original);
    EXPECT_EQ(box.leftovers(), Lines{"A/.tw-mine.twtmp"});
}

TEST(SyncRunner, TurnsPairsAwayFirstAndGoesOnWithTheOthers) {
    Sandbox box;
    for (const std::string name : {"A", "C", "E", "F"})
        box.file(name + "/file", name);
    box.file("B");
    box.link("OneDrive/E/file", "nowhere");
    const std::vector<SyncJob> jobs = {box.job("A"),       box.job("B"), box.job("C", box / "OneDrive/gone/C"),
                                       box.job("missing"), box.job("E"), box.job("F")};
    const SyncRun result = run(jobs);
    EXPECT_EQ(
        told(result),
        (Lines{"copied 2, 2, folders 2",
               "error: B: the folder is missing on the drive (" + (box / "B").native() + ": Not a directory)",
               "error: C: the backup folder isn't available (~/OneDrive/gone/C): ~/OneDrive/gone can't be opened (No "
               "such file or directory)",
               "error: missing: the folder is missing on the drive (" + (box / "missing").native() + ")",
               "error: E/file: " + inTheWay, "added file 1", "added file 1",
               "pair B: 0, 0, 1 Folder not found on the drive", "pair C: 0, 0, 1 Backup folder not available",
               "pair missing: 0, 0, 1 Folder not found on the drive", "pair A: 1, 1, 0", "pair E: 0, 0, 1",
               "pair F: 1, 1, 0"}));
    EXPECT_FALSE(fs::exists(box / "OneDrive/gone"));
    EXPECT_EQ(fs::read_symlink(box / "OneDrive/E/file"), "nowhere");
}

TEST(SyncRunner, AFileInPlaceOfTheBackupFolderIsTheOnlyProblemOfItsPair) {
    Sandbox box;
    box.file("A/sub/file");
    box.file("B/file", "B");
    box.file("OneDrive/A", "a file");
    EXPECT_EQ(told(run({box.job("A"), box.job("B")})),
              (Lines{"copied 1, 1, folders 1", "error: A/: couldn't create folder (File exists)", "added file 1",
                     "pair A: 0, 0, 1 Backup folder not available", "pair B: 1, 1, 0"}));
    EXPECT_EQ(box.read("OneDrive/A"), "a file");
    EXPECT_EQ(box.read("OneDrive/B/file"), "B");
}

TEST(SyncRunner, NotesSayHowManyItemsWereSkipped) {
    const std::string why = "(invisible characters, a space at the end, or \" * : < > ? \\ |)";
    const std::tuple<Lines, Lines, std::string> rows[] = {
        {{"a.BAT"}, {"A: 1 file was skipped because OneDrive doesn't accept that type (.bat)."}, "1 skipped"},
        {{"a.jar", "z.bat", "a?", "b:", "c*", "d|", "e ", "folder</inside"},
         {"A: 6 items were skipped because OneDrive can't store their names " + why +
              ". Rename them on your drive to back them up.",
          "A: 2 files were skipped because OneDrive doesn't accept those types (.bat, .jar)."},
         "8 skipped"}};
    for (const auto &[files, expected, headline] : rows) {
        Sandbox box;
        for (const std::string &file : files)
            box.file("A/" + file);
        const SyncRun result = run({box.job("A")});
        Lines notes;
        for (const QString &note : result.notes)
            notes.push_back(Text::toBytes(note));
        EXPECT_EQ(notes, expected);
        EXPECT_EQ(Text::toBytes(result.headline()), "0 files copied (Zero KB) · " + headline);
    }
}

TEST(SyncRunner, RecordsTwoThousandCopies) {
    Sandbox box;
    makeFiles(box, "A", 2'001, "", someTime, 10);
    const SyncRun result = run({box.job("A")});
    EXPECT_EQ(told(result).front(), "copied 2001, 20010, folders 1, omitted 1");
    EXPECT_EQ(result.changes.size(), 2'000u);
}

TEST(SyncRunner, NotesWhatMayNotReachTheCloudUpToDateOrNot) {
    Sandbox box;
    for (const std::string path : {"CON/aux.txt", "end.", " lead/ok", "fine", "what?", "clash."})
        box.file("Aé/" + path);
    box.dir("OneDrive/Aé/clash."); // nothing of it is stored
    std::string deep = "Aé";
    for (int i = 0; i < 39; ++i)
        deep += "/ddddddddd"; // 392 UTF-16 units in all
    box.file(deep + "/" + std::string(7, 'e'));
    SyncJob job = box.job("Aé");
    job.oneDrive = box / "OneDrive";
    const auto noteOf = [&] {
        Lines notes = told(run({job}));
        std::erase_if(notes, [](const std::string &line) { return line.find("clients refuse") == std::string::npos; });
        return notes.empty() ? std::string() : notes.front();
    };
    const std::string first = noteOf();
    EXPECT_TRUE(first.starts_with("note: Aé: 4 items have a name or a path that OneDrive clients refuse (“"))
        << first << " (CON, aux.txt, end., lead)";
    EXPECT_TRUE(first.ends_with(" and 1 more). Their backup may not reach the cloud.")) << first;
    EXPECT_EQ(noteOf(), first) << "up to date";
    box.file(deep + "/" + std::string(8, 'e'));
    EXPECT_TRUE(noteOf().starts_with("note: Aé: 5 items")) << "401 characters";
}

/// Such a copy waits, and others overtake it; the record follows the plan all the same.
TEST(SyncRunner, AnOriginalChangedJustNowKeepsItsPlaceInTheRecord) {
    Sandbox box;
    for (const char *pair : {"A", "B"})
        makeFiles(box, pair, 5, "content ", someTime);
    const Lines planned = told(run({box.job("A"), box.job("B")}));
    fs::remove_all(box / "OneDrive");
    box.dir("OneDrive");
    const std::string first = planned.at(1).substr(6, 2); // of "added 03 40"
    timespec now = {};
    ::clock_gettime(CLOCK_REALTIME, &now);
    box.setTime("A/" + first, FileTime::from(now));
    EXPECT_EQ(told(run({box.job("A"), box.job("B")})), planned);
    EXPECT_EQ(box.snapshot("OneDrive/A"), box.snapshot("A"));
}

TEST(SyncRunner, TwoRunsAtOnceOnOnePairDontBreakEachOther) {
    for (int round = 0; round < 4; ++round) {
        // Beside the targets in every other round: there both runs see each other's temporary files.
        Sandbox box(round % 2 == 0 ? fs::path() : fs::path("/proc/none"));
        for (const std::string folder : {"A", "A/sub", "A/new/deeper"})
            makeFiles(box, folder, 15, "new version ", someTime);
        makeFiles(box, "OneDrive/A", 8, "old version ", later(someTime, -100));
        const SyncJob job = box.job("A");
        SyncRun other;
        std::thread second([&] { other = run({job}); });
        const SyncRun one = run({job});
        second.join();
        EXPECT_EQ(one.errors, std::vector<QString>());
        EXPECT_EQ(other.errors, std::vector<QString>());
        EXPECT_EQ(one.fatal.value_or(QString()) + other.fatal.value_or(QString()), QString());
        EXPECT_GE(one.filesCopied + other.filesCopied, 45);
        EXPECT_EQ(box.snapshot("OneDrive/A"), box.snapshot("A"));
        EXPECT_EQ(box.leftovers(), Lines());
    }
}

} // namespace
