#include "app/ProgramTest.h"

#include <ostream>

namespace {

constexpr const char *usage = "usage: tarnwick-basic --backup ORIGINAL BACKUP [--dry-run] [--json]\n";
constexpr const char *noDisplay =
    "Tarnwick Basic has no display to open its window on. See tarnwick-basic --help for what works without one.\n";
constexpr const char *overlapping = "The backup folder can't be inside the original folder (or the other way round).\n";

constexpr const char *noOriginal = "1 problem\nmissing: the folder is missing on the drive (@/missing)\n";
constexpr const char *noParent = "1 problem\nPhotos: the backup folder isn't available (@/missing/P)\n";
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
                    Row{"no marker", {"--backup", "@/Photos", "@/OneDrive/P"}, 3, noMarker, "", "@/home"}));

TEST_F(ProgramTest, OnlyTheEmptyTemporaryFolderIsLeftInTheHomeFolderOrTheTestRoot) {
    const Snapshot temporary = {{".cache", "dir"}, {".cache/TemporaryItems", "dir"}};
    tree.file("Photos/a.jpg");
    tree.file("root/.tarnwick-test-root", "");
    Program program = backUp();
    program.environment["TARNWICK_TEST_ROOT"] = tree / "root";
    EXPECT_EQ(program.run().status, 0);
    EXPECT_EQ(tree.snapshot("root/Home"), temporary);
    EXPECT_EQ(tree.snapshot("home"), Snapshot());
    fs::remove_all(tree / "OneDrive/Photos");
    EXPECT_EQ(backUp().run().out, "1 file copied (7 bytes)\n");
    EXPECT_EQ(tree.snapshot("home"), temporary);
}

} // namespace
