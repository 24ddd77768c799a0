#include "app/ProgramTest.h"

#include <ostream>

namespace {

constexpr const char *usage = "usage: tarnwick-basic --backup ORIGINAL BACKUP [--dry-run] [--json]\n";
constexpr const char *noDisplay =
    "Tarnwick Basic has no display to open its window on. See tarnwick-basic --help for what works without one.\n";
constexpr const char *overlapping = "The backup folder can't be inside the original folder (or the other way round).\n";

constexpr const char *noOriginal = "1 problem\nmissing: the folder is missing on the drive (@/missing)\n";
constexpr const char *noParent = "1 problem\nPhotos: the backup folder isn't available (@/missing/P): @/missing can't "
                                 "be opened (No such file or directory)\n";
constexpr const char *noFolder = "1 problem\nfile: the folder is missing on the drive (@/file: Not a directory)\n";
constexpr const char *noAction =
    "--action takes sync-now, add-folder, show-activity or show-settings. See tarnwick-basic --help.\n";
std::string unknown(const std::string &word) {
    return "“" + word + "” is no option and no folder. See tarnwick-basic --help.\n";
}
constexpr const char *noMarker =
    "TARNWICK_TEST_ROOT is set to “@/home”, but that folder doesn't exist or has no .tarnwick-test-root marker. Not "
    "starting, so nothing real is touched.\n";

/// "@" stands for the tree.
struct Row {
    const char *situation;
    std::vector<std::string> arguments;
    int status;
    std::string err;
    std::string out = "";
    std::string testRoot = "";
};

void PrintTo(const Row &row, std::ostream *out) {
    *out << row.situation;
}

class Refused : public ProgramTest, public testing::WithParamInterface<Row> {};

TEST_P(Refused, IsToldInOneSentenceAndNothingIsDone) {
    tree.file("Photos/a.jpg");
    tree.dir("OneDrive/Photos/Inner");
    tree.link("shortcut", "Photos");
    tree.file("file");
    const Snapshot before = tree.snapshot();
    Program program = backUp();
    program.words.resize(1); // the program without arguments
    for (const std::string &argument : GetParam().arguments)
        program.words.push_back(inTree(argument));
    program.environment["TARNWICK_TEST_ROOT"] = inTree(GetParam().testRoot);
    for (const char *variable : {"DISPLAY", "WAYLAND_DISPLAY", "QT_QPA_PLATFORM"})
        program.environment[variable] = "";
    const Program::Outcome outcome = program.run();
    EXPECT_EQ(outcome.status, GetParam().status);
    EXPECT_EQ(outcome.out, inTree(GetParam().out));
    EXPECT_EQ(outcome.err, inTree(GetParam().err));
    EXPECT_EQ(tree.snapshot(), before);
}

INSTANTIATE_TEST_SUITE_P(
    Arguments, Refused,
    testing::Values(Row{"nothing", {}, 2, noDisplay}, Row{"one folder", {"--backup", "@/Photos"}, 2, usage},
                    Row{"an unknown option", {"--backup", "@/Photos", "@/OneDrive/P", "--quiet"}, 2, usage},
                    Row{"options behind the mark", {"--backup", "@/Photos", "--", "@/OneDrive/P", "--json"}, 2, usage},
                    Row{"the same folder", {"--backup", "@/Photos/", "@/OneDrive/../Photos"}, 2, overlapping},
                    Row{"inside but for case", {"--backup", "@/Photos", "@/photos/Backup"}, 2, overlapping},
                    Row{"inside through a link", {"--backup", "@/Photos", "@/shortcut/Backup"}, 2, overlapping},
                    Row{"around", {"--backup", "@/OneDrive/Photos/Inner", "@/OneDrive/Photos"}, 2, overlapping},
                    Row{"no original", {"--backup", "@/missing", "@/OneDrive/P"}, 1, "", noOriginal},
                    Row{"no parent of the backup", {"--backup", "@/Photos", "@/missing/P"}, 1, "", noParent},
                    Row{"a file for an original", {"--backup", "@/file", "@/OneDrive/P"}, 1, "", noFolder},
                    Row{"no marker", {"--backup", "@/Photos", "@/OneDrive/P"}, 3, noMarker, "", "@/home"},
                    Row{"no marker and a stray word", {"--bakup"}, 3, noMarker, "", "@/home"}));

// What isn't refused gets as far as to look for a display.
INSTANTIATE_TEST_SUITE_P(
    Starts, Refused,
    testing::Values(Row{"a misspelt command", {"--bakup", "@/Photos"}, 2, unknown("--bakup")},
                    Row{"a stray word", {"photos"}, 2, unknown("photos")},
                    Row{"a stray word with the toolkit's", {"-platform", "xcb", "x"}, 2, unknown("x")},
                    Row{"a file", {"@/file"}, 2, unknown("@/file")}, Row{"an empty word", {""}, 2, unknown("")},
                    Row{"one letter", {"--login", "-n"}, 2, unknown("-n")},
                    Row{"an option of a command alone", {"--json"}, 2, unknown("--json")},
                    Row{"an option behind the mark", {"--", "--login"}, 2, unknown("--login")},
                    Row{"no action", {"--action"}, 2, noAction},
                    Row{"an unknown action", {"--action", "nope"}, 2, noAction},
                    Row{"an action", {"--action", "show-settings"}, 2, noDisplay},
                    Row{"at login", {"--login", "-session", "1_2", "--style=Fusion"}, 2, noDisplay},
                    Row{"a folder", {"@/Photos", "--", "@/shortcut"}, 2, noDisplay},
                    Row{"seconds that are missing", {"--apptest"}, 2, noDisplay},
                    Row{"a picture that is missing", {"--service", "--snapshot"}, 2, noDisplay}));

TEST_F(ProgramTest, WhatStandardOutputDoesNotTakeIsAnError) {
    tree.file("Photos/a.jpg");
    Program program = backUp();
    const Lines ownWords = program.words;
    for (const Lines &arguments : {Lines{"--version"}, Lines{"--sync", "-h"}, Lines{"--list"},
                                   Lines{"--list", "--json"}, Lines{ownWords.begin() + 1, ownWords.end()}}) {
        program.words = {"sh", "-c", "exec \"$@\" >/dev/full", "-", TARNWICK_PROGRAM};
        program.words.insert(program.words.end(), arguments.begin(), arguments.end());
        const Program::Outcome outcome = program.run();
        EXPECT_EQ(outcome.status, 1) << arguments[0];
        EXPECT_EQ(outcome.err, "write error: No space left on device\n") << arguments[0];
    }
    EXPECT_EQ(tree.read("OneDrive/Photos/a.jpg"), "content");
}

TEST_F(ProgramTest, ControlCharactersInNamesAreShownOnATerminalAndSentElsewhere) {
    tree.file("Photos/a\x1b]0;evil\x07\u009bm\x7f.bat");
    Program program = backUp();
    EXPECT_NE(program.run().out.find("a\x1b]0;evil\x07\u009bm\x7f.bat"), std::string::npos);
    program.words = {"script", "-qec", TARNWICK_PROGRAM " --backup " + program.words[2] + ' ' + program.words[3],
                     "/dev/null"};
    const std::string shown = program.run().out;
    EXPECT_NE(shown.find("Photos/a␛]0;evil␇\uFFFDm␡.bat"), std::string::npos) << shown;
    EXPECT_EQ(shown.find("\x1b]"), std::string::npos) << shown;
}

TEST_F(ProgramTest, OnlyTheEmptyTemporaryFolderIsLeftInTheHomeFolderOrTheTestRoot) {
    tree.file("Photos/a.jpg");
    tree.file("root/.tarnwick-test-root", "");
    Program program = backUp();
    for (const auto &[root, home] : {std::pair("root", "root/Home"), std::pair("", "home")}) {
        program.environment["TARNWICK_TEST_ROOT"] = *root ? (tree / root).native() : "";
        fs::remove_all(tree / "OneDrive/Photos");
        EXPECT_EQ(tree.snapshot("home"), Snapshot());
        EXPECT_EQ(program.run().out, "1 file copied (7 bytes)\n");
        EXPECT_EQ(tree.snapshot(home), (Snapshot{{".cache", "dir"}, {".cache/TemporaryItems", "dir"}}));
    }
}

} // namespace
