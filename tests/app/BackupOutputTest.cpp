#include "app/ProgramTest.h"
#include "base/Text.h"

#include <algorithm>
#include <sstream>
#include <tuple>

#include <sys/stat.h>

namespace {

std::vector<std::string> linesOf(const std::string &text) {
    std::vector<std::string> lines;
    std::istringstream stream(text);
    for (std::string line; std::getline(stream, line);)
        lines.push_back(line);
    return lines;
}

std::vector<std::string> texts(const std::vector<QString> &lines) {
    std::vector<std::string> result;
    for (const QString &line : lines)
        result.push_back(line.toStdString());
    return result;
}

class BackupOutput : public ProgramTest {
  protected:
    using Lines = std::vector<std::string>;

    /// Something of everything that a run can tell.
    void makeEverything() {
        tree.file("Photos/a.jpg", "new");
        tree.file("Photos/b.jpg", "changed", later(someTime, 100));
        tree.file("OneDrive/Photos/B.JPG", "old");
        tree.file("Photos/same.jpg");
        tree.file("OneDrive/Photos/same.jpg");
        tree.file("Photos/sub/c.jpg", "12345");
        tree.file("Photos/left.jpg", "older");
        tree.file("OneDrive/Photos/left.jpg", "newer one", later(someTime, 100));
        tree.file("OneDrive/Photos/only there.jpg");
        tree.file("Photos/what?.jpg");
        tree.file("Photos/run.bat");
        tree.file("Photos/clash");
        tree.dir("OneDrive/Photos/clash");
        tree.link("Photos/link", "a.jpg");
        tree.link("OneDrive/Photos/blocked.jpg", "nowhere");
        tree.file("Photos/blocked.jpg");
    }
};

TEST_F(BackupOutput, TextIsTheHeadlineThenALineForEverything) {
    makeEverything();
    const Program::Outcome outcome = backUp().run();
    EXPECT_EQ(outcome.status, 1);
    EXPECT_EQ(outcome.err, "");
    EXPECT_EQ(
        linesOf(outcome.out),
        (Lines{"3 files copied (15 bytes) · 2 skipped · 1 problem",
               "Photos/blocked.jpg: something that is neither a file nor a folder is in the way in OneDrive",
               "Photos/clash — a folder with the same name is already in the backup",
               "Photos/left.jpg — the copy in OneDrive is newer, so it was left alone",
               "Photos: 1 item was skipped because OneDrive can't store its name (invisible characters, a "
               "space at the "
               "end, or \" * : < > ? \\ |). Rename it on your drive to back it up.",
               "Photos: 1 file was skipped because OneDrive doesn't accept that type (.bat)."}));
}

TEST_F(BackupOutput, JsonTellsWhatHappened) {
    makeEverything();
    const Program::Outcome outcome = backUp({"--json"}).run();
    EXPECT_EQ(outcome.status, 1);
    EXPECT_EQ(outcome.err, "");
    const SyncRun run = recordOf(outcome.out);
    EXPECT_EQ(
        std::tuple(run.filesCopied, run.bytesCopied, run.foldersCreated, run.upToDate, run.changesOmitted),
        std::tuple(3, 15, 1, 1, 0));
    EXPECT_EQ(std::tuple(run.cancelled, run.fatal.has_value(), run.trigger),
              std::tuple(false, false, SyncTrigger::manual));
    EXPECT_LE(run.started, run.finished);
    Lines changes;
    for (const ChangeRecord &change : run.changes) {
        changes.push_back((change.kind == ChangeKind::added ? "added " : "updated ") +
                          change.relPath.toStdString() + ' ' + std::to_string(change.size));
        EXPECT_EQ(change.pairID, run.pairResults.front().pairID);
        const std::string there = change.path.toStdString();
        EXPECT_EQ(tree.read(fs::path(there).lexically_relative(tree.top())),
                  tree.read(fs::path(change.fromPath->toStdString()).lexically_relative(tree.top())));
    }
    std::sort(changes.begin(), changes.end());
    EXPECT_EQ(changes, (Lines{"added a.jpg 3", "added sub/c.jpg 5", "updated b.jpg 7"}));
    ASSERT_EQ(run.pairResults.size(), 1U);
    const PairResult &pair = run.pairResults.front();
    EXPECT_EQ(std::tuple(pair.name, pair.copied, pair.bytes, pair.errors, pair.note),
              std::tuple(QStringLiteral("Photos"), 3, 15, 1, std::optional<QString>()));
    EXPECT_EQ(run.skipped.size(), 2U);
    EXPECT_EQ(run.errors.size(), 1U);
    EXPECT_EQ(run.conflicts.size(), 1U);
    EXPECT_EQ(run.keptNewer.size(), 1U);
    EXPECT_EQ(run.notes.size(), 2U);
    EXPECT_EQ(tree.read("OneDrive/Photos/B.JPG"), "changed");
    EXPECT_EQ(tree.read("OneDrive/Photos/left.jpg"), "newer one");
    EXPECT_TRUE(fs::exists(tree / "OneDrive/Photos/only there.jpg"));
}

TEST_F(BackupOutput, ADryRunIsPrintedInTheLayoutOfTheProgramsFiles) {
    tree.file("Photos/sub/a.jpg", "12345", {1'600'000'000, 500'000'000});
    const Program::Outcome outcome = backUp({"--dry-run", "--json"}).run();
    EXPECT_EQ(outcome.status, 0);
    EXPECT_EQ(outcome.err, "");
    std::string top = tree.top();
    for (std::size_t at = 0; (at = top.find('/', at)) != std::string::npos; at += 2)
        top.insert(at, "\\");
    EXPECT_EQ(outcome.out, R"({
  "conflicts" : [],
  "copies" : [
    {
      "from" : ")" + top + R"(\/Photos\/sub\/a.jpg",
      "kind" : "added",
      "mtime" : 1600000000.5,
      "rel" : "sub\/a.jpg",
      "size" : 5,
      "to" : ")" + top + R"(\/OneDrive\/Photos\/sub\/a.jpg"
    }
  ],
  "folders" : [
    {
      "rel" : "",
      "url" : ")" + top + R"(\/OneDrive\/Photos"
    },
    {
      "rel" : "sub",
      "url" : ")" + top + R"(\/OneDrive\/Photos\/sub"
    }
  ],
  "keptNewer" : [],
  "problems" : [],
  "skipped" : [],
  "skippedLinks" : 0,
  "staleTemps" : [],
  "upToDate" : 0
}
)");
}

TEST_F(BackupOutput, ADryRunChangesNothingAndTellsWhatTheRunWillDo) {
    makeEverything();
    tree.file("OneDrive/Photos/.tw-12345678-123.twtmp");
    const Snapshot before = tree.snapshot();
    const Untouched everything(tree.top());
    const Program::Outcome dry = backUp({"--dry-run"}).run();
    backUp({"--dry-run", "--json"}).run();
    everything.expectUntouched();
    EXPECT_EQ(tree.snapshot(), before);
    EXPECT_EQ(dry.status, 0) << "what stands in the way is only met by the run itself";
    EXPECT_EQ(linesOf(dry.out).front(), "4 files would be copied (22 bytes), 1 folder created");

    const Untouched original(tree / "Photos");
    const SyncRun run = recordOf(backUp({"--json"}).run().out);
    original.expectUntouched();
    Lines expected = {"create  " + (tree / "OneDrive/Photos/sub").native(), "add     blocked.jpg"};
    for (const ChangeRecord &change : run.changes)
        expected.push_back((change.kind == ChangeKind::added ? "add     " : "update  ") +
                           change.relPath.toStdString());
    Lines told = linesOf(dry.out);
    std::erase_if(told, [](const std::string &line) {
        return !line.starts_with("create ") && !line.starts_with("add ") && !line.starts_with("update ");
    });
    std::sort(expected.begin(), expected.end());
    std::sort(told.begin(), told.end());
    EXPECT_EQ(told, expected);
    EXPECT_EQ(leftovers(), Lines());
}

TEST_F(BackupOutput, OnceEverythingIsThereNothingMoreIsDone) {
    tree.file("Photos/a.jpg");
    tree.dir("Photos/empty");
    EXPECT_EQ(backUp().run().out, "1 file copied (7 bytes)\n");
    const Untouched backup(tree / "OneDrive");
    const Program::Outcome again = backUp().run();
    EXPECT_EQ(std::tuple(again.status, again.out), std::tuple(0, "Everything was already up to date\n"));
    EXPECT_EQ(backUp({"--dry-run"}).run().out, "Nothing would be copied\n");
    backup.expectUntouched();
}

TEST_F(BackupOutput, NothingIsWrittenInTheHomeFolderButTheEmptyTemporaryFolder) {
    tree.file("Photos/a.jpg");
    tree.file("home/Library/Logs/other.log");
    Snapshot expected = tree.snapshot("home");
    expected.insert({{".cache", "dir"}, {".cache/TemporaryItems", "dir"}});
    backUp().run();
    EXPECT_EQ(tree.snapshot("home"), expected);
}

struct MissingRow {
    const char *situation;
    std::string removed;
    std::string problem; ///< "@" stands for the tree
};

void PrintTo(const MissingRow &row, std::ostream *out) {
    *out << row.situation;
}

class MissingFolder : public BackupOutput, public testing::WithParamInterface<MissingRow> {};

TEST_P(MissingFolder, IsARunWithAnErrorLine) {
    tree.file("Photos/a.jpg");
    fs::remove_all(tree / GetParam().removed);
    const Snapshot before = tree.snapshot();
    std::string problem = GetParam().problem;
    if (const std::size_t at = problem.find('@'); at != std::string::npos)
        problem.replace(at, 1, tree.top());
    const Program::Outcome outcome = backUp().run();
    EXPECT_EQ(outcome.status, 1);
    EXPECT_EQ(outcome.out, "1 problem\n" + problem + '\n');
    EXPECT_EQ(outcome.err, "");
    EXPECT_EQ(texts(recordOf(backUp({"--json"}).run().out).errors), Lines{problem});
    const Program::Outcome dry = backUp({"--dry-run"}).run();
    EXPECT_EQ(dry.status, 1);
    EXPECT_EQ(dry.out, "Nothing would be copied\n" + problem + '\n');
    EXPECT_EQ(tree.snapshot(), before);
}

INSTANTIATE_TEST_SUITE_P(
    Folders, MissingFolder,
    testing::Values(MissingRow{"the original", "Photos",
                               "Photos: the folder is missing on the drive (@/Photos)"},
                    MissingRow{"the parent of the backup", "OneDrive",
                               "Photos: the backup folder isn't available (@/OneDrive/Photos)"}));

// Streams

TEST_F(BackupOutput, ProgressIsDrawnOnATerminalAndClearedAtTheEnd) {
    for (int i = 0; i < 300; ++i)
        tree.file("Photos/" + std::to_string(i) + "\x1b.jpg");
    for (const char *option : {"--json", "--dry-run"}) {
        Program program = backUp({option});
        program.err = Program::Stream::Terminal;
        const Program::Outcome outcome = program.run();
        const std::string clear = "\r\033[K";
        if (option == std::string("--json")) {
            EXPECT_NE(outcome.err.find(clear + "Comparing “Photos”: "), std::string::npos) << outcome.err;
            EXPECT_NE(outcome.err.find(clear + "0 of "), std::string::npos) << outcome.err;
        }
        EXPECT_TRUE(outcome.err.empty() || outcome.err.ends_with(clear)) << outcome.err;
        EXPECT_EQ(outcome.err.find('\n'), std::string::npos) << "all in one line";
        EXPECT_EQ(outcome.out.find('\r'), std::string::npos) << "the result stays free of it";
    }
}

struct StreamRow {
    const char *situation;
    Program::Stream out;
    Program::Stream err;
};

void PrintTo(const StreamRow &row, std::ostream *out) {
    *out << row.situation;
}

class MissingStream : public BackupOutput, public testing::WithParamInterface<StreamRow> {};

TEST_P(MissingStream, DoesNotKeepTheBackupFromBeingMade) {
    for (int i = 0; i < 50; ++i)
        tree.file("Photos/" + std::to_string(i % 7) + '/' + std::to_string(i), std::string(300'000, 'x'));
    Program program = backUp({"--json"});
    program.out = GetParam().out;
    program.err = GetParam().err;
    EXPECT_EQ(program.run().status, 0);
    EXPECT_EQ(tree.snapshot("OneDrive/Photos"), tree.snapshot("Photos"));
    EXPECT_EQ(leftovers(), Lines());
}

using Stream = Program::Stream;

INSTANTIATE_TEST_SUITE_P(
    Streams, MissingStream,
    testing::Values(StreamRow{"nobody reads the result", Stream::BrokenPipe, Stream::Captured},
                    StreamRow{"nobody reads anything", Stream::BrokenPipe, Stream::BrokenPipe},
                    StreamRow{"no standard output", Stream::Closed, Stream::Captured},
                    StreamRow{"neither standard output nor standard error", Stream::Closed, Stream::Closed}));

} // namespace
