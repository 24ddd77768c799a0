#include "app/ProgramTest.h"

#include <ostream>

namespace {

constexpr const char *usage = "usage: tarnwick-basic --backup ORIGINAL BACKUP [--dry-run] [--json]\n";
constexpr const char *overlapping =
    "The backup folder can't be inside the original folder (or the other way round).\n";

/// "@" at the beginning of an argument stands for the tree.
struct Row {
    const char *situation;
    std::vector<std::string> arguments;
    std::string complaint;
};

void PrintTo(const Row &row, std::ostream *out) {
    *out << row.situation;
}

class Refused : public ProgramTest, public testing::WithParamInterface<Row> {};

TEST_P(Refused, IsToldInOneSentenceAndNothingIsDone) {
    tree.file("Photos/a.jpg");
    tree.dir("OneDrive/Photos/Inner");
    tree.link("shortcut", "Photos");
    tree.link("OneDrive/back", "../Photos");
    const Snapshot before = tree.snapshot();
    Program program = this->program({});
    for (const std::string &argument : GetParam().arguments)
        program.arguments.push_back(argument.starts_with('@') ? tree / argument.substr(1)
                                                              : fs::path(argument));
    program.workingFolder = tree.top();
    const Program::Outcome outcome = program.run();
    EXPECT_EQ(outcome.status, 2);
    EXPECT_EQ(outcome.out, "");
    EXPECT_EQ(outcome.err, GetParam().complaint);
    EXPECT_EQ(tree.snapshot(), before);
}

INSTANTIATE_TEST_SUITE_P(
    Usage, Refused,
    testing::Values(
        Row{"no folders", {"--backup"}, usage}, Row{"one folder", {"--backup", "@Photos"}, usage},
        Row{"three folders", {"--backup", "@Photos", "@OneDrive/Photos", "@OneDrive/P"}, usage},
        Row{"an unknown option", {"--backup", "@Photos", "@OneDrive/P", "--quiet"}, usage},
        Row{"an option with a value", {"--backup", "@Photos", "@OneDrive/P", "--json=1"}, usage},
        Row{"an empty original", {"--backup", "", "@OneDrive/P"}, usage},
        Row{"an empty backup", {"--backup", "@Photos", "", "--json"}, usage},
        Row{"a third folder after the mark", {"--backup", "@Photos", "--", "@OneDrive/P", "--json"}, usage},
        Row{"only options", {"--backup", "--dry-run", "--json"}, usage}));

INSTANTIATE_TEST_SUITE_P(
    Overlap, Refused,
    testing::Values(
        Row{"the same folder", {"--backup", "@Photos", "@Photos"}, overlapping},
        Row{"the same folder, spelled differently",
            {"--backup", "@Photos/", "OneDrive/../Photos/."},
            overlapping},
        Row{"the same folder but for case", {"--backup", "@Photos", "@pHOTOS"}, overlapping},
        Row{"backup inside", {"--backup", "@Photos", "@Photos/Backup"}, overlapping},
        Row{"backup inside but for case", {"--backup", "@Photos", "@photos/Backup"}, overlapping},
        Row{"backup inside through a link", {"--backup", "@Photos", "@shortcut/Backup"}, overlapping},
        Row{"backup inside through a link further down",
            {"--backup", "@Photos", "@OneDrive/back/new/newer"},
            overlapping},
        Row{"original inside", {"--backup", "@OneDrive/Photos/Inner", "@OneDrive/Photos"}, overlapping},
        Row{"original inside through a link", {"--backup", "@OneDrive/back", "@Photos"}, overlapping},
        Row{"everything", {"--backup", "/", "@OneDrive/Photos"}, overlapping},
        Row{"into everything", {"--backup", "@Photos", "/"}, overlapping},
        Row{"a missing original", {"--backup", "@missing", "@missing/x"}, overlapping},
        Row{"only looked at",
            {"--backup", "@Photos", "@Photos/Backup", "--dry-run", "--json"},
            overlapping}));

class CommandLine : public ProgramTest {
  protected:
    static std::string refusal(const std::string &value) {
        return "TARNWICK_TEST_ROOT is set to “" + value +
               "”, but that folder doesn't exist or has no .tarnwick-test-root marker. Not starting, so "
               "nothing real is "
               "touched.\n";
    }
};

TEST_F(CommandLine, HelpAndVersionGoToStandardOutput) {
    const Program::Outcome help = program({"--help"}).run();
    EXPECT_EQ(help.status, 0);
    EXPECT_EQ(help.err, "");
    EXPECT_NE(help.out.find("tarnwick-basic --backup ORIGINAL BACKUP [--dry-run] [--json]\n"),
              std::string::npos);
    const Program::Outcome version = program({"--version"}).run();
    EXPECT_EQ(version.status, 0);
    EXPECT_EQ(version.err, "");
    EXPECT_EQ(version.out.rfind("Tarnwick Basic ", 0), 0U);
    EXPECT_EQ(version.out.find('\n'), version.out.size() - 1);
}

TEST_F(CommandLine, HelpIsShownInsteadOfABackup) {
    tree.file("Photos/a.jpg");
    const Snapshot before = tree.snapshot();
    EXPECT_EQ(backUp({"--help"}).run().out, program({"--help"}).run().out);
    EXPECT_EQ(tree.snapshot(), before);
}

TEST_F(CommandLine, ATestRootWithoutMarkerStopsEverything) {
    tree.file("Photos/a.jpg");
    tree.file("file");
    const Snapshot before = tree.snapshot();
    for (const std::string value : {"missing", "file", "home", "b\xff"}) {
        for (const char *option : {"--json", "--help", "--version"}) {
            Program program = backUp({option});
            program.environment["TARNWICK_TEST_ROOT"] = tree / value;
            const Program::Outcome outcome = program.run();
            EXPECT_EQ(outcome.status, 3);
            EXPECT_EQ(outcome.out, "");
            EXPECT_EQ(outcome.err, refusal(tree / (value == "b\xff" ? "b\uFFFD" : value)));
        }
    }
    EXPECT_EQ(tree.snapshot(), before);
}

TEST_F(CommandLine, ATestRootWithAMarkerOfAnyKindHoldsTheTemporaryFolder) {
    tree.file("Photos/a.jpg");
    tree.file("file/.tarnwick-test-root", "");
    tree.dir("folder/.tarnwick-test-root");
    tree.link("link/.tarnwick-test-root", "nowhere");
    for (const std::string root : {"file", "folder", "link"}) {
        fs::remove_all(tree / "OneDrive/Photos");
        Program program = backUp();
        program.environment["TARNWICK_TEST_ROOT"] = "./x/../" + root + '/';
        program.environment["XDG_CACHE_HOME"] = tree / "home/cache";
        program.workingFolder = tree.top();
        const Program::Outcome outcome = program.run();
        EXPECT_EQ(outcome.status, 0) << outcome.err;
        EXPECT_EQ(tree.snapshot("OneDrive/Photos"), tree.snapshot("Photos"));
        EXPECT_EQ(tree.snapshot(root + "/Home"),
                  (Snapshot{{".cache", "dir"}, {".cache/TemporaryItems", "dir"}}));
    }
    EXPECT_EQ(tree.snapshot("home"), Snapshot());
}

TEST_F(CommandLine, AnEmptyTestRootIsNone) {
    tree.file("Photos/a.jpg");
    Program program = backUp();
    program.environment["TARNWICK_TEST_ROOT"] = "";
    EXPECT_EQ(program.run().status, 0);
    EXPECT_EQ(tree.snapshot("OneDrive/Photos"), tree.snapshot("Photos"));
}

struct PathRow {
    const char *situation;
    std::string original; ///< as it is made, in the tree
    std::vector<std::string> arguments;
    std::string backup; ///< where it has to arrive
    std::string name;   ///< how the pair is called
};

void PrintTo(const PathRow &row, std::ostream *out) {
    *out << row.situation;
}

class FolderArguments : public ProgramTest, public testing::WithParamInterface<PathRow> {};

TEST_P(FolderArguments, LeadToTheFoldersThatAreMeant) {
    const PathRow &row = GetParam();
    tree.file(row.original + "/sub/a.jpg");
    tree.link("to-drive", "Photos");
    tree.file("home/b.jpg");
    Program program = this->program({});
    for (const std::string &argument : row.arguments)
        program.arguments.push_back(argument.starts_with('@') ? tree / argument.substr(1)
                                                              : fs::path(argument));
    program.arguments.emplace(program.arguments.begin(), "--json");
    program.workingFolder = tree / "home";
    const Program::Outcome outcome = program.run();
    ASSERT_EQ(outcome.status, 0) << outcome.err;
    const SyncRun run = recordOf(outcome.out);
    EXPECT_EQ(run.pairNames.front().toStdString(), row.name);
    ASSERT_EQ(run.changes.size(), 1U);
    EXPECT_EQ(run.changes.front().relPath, QStringLiteral("sub/a.jpg"));
    EXPECT_EQ(tree.snapshot(row.backup), tree.snapshot(row.original));
}

INSTANTIATE_TEST_SUITE_P(
    Paths, FolderArguments,
    testing::Values(
        PathRow{"relative", "home/Photos", {"--backup", "Photos", "../OneDrive/P"}, "OneDrive/P", "Photos"},
        PathRow{"dots and repeated separators",
                "Photos",
                {"--backup", "./..//Photos/./sub/..", "@OneDrive//x/../P"},
                "OneDrive/P",
                "Photos"},
        PathRow{"separators at the end",
                "Photos",
                {"--backup", "@Photos///", "@OneDrive/P//"},
                "OneDrive/P",
                "Photos"},
        PathRow{
            "options in between", "Photos", {"@Photos", "--backup", "@OneDrive/P"}, "OneDrive/P", "Photos"},
        PathRow{"the mark in front",
                "Photos",
                {"--backup", "--", "@Photos", "@OneDrive/P"},
                "OneDrive/P",
                "Photos"},
        PathRow{"names like options",
                "home/--dry-run",
                {"--backup", "--", "--dry-run", "--json"},
                "home/--json",
                "--dry-run"},
        PathRow{"a name like an option that comes first",
                "home/--help",
                {"--backup", "--", "--help", "--version"},
                "home/--version",
                "--help"},
        PathRow{"one dash is a name", "home/-x", {"--backup", "-x", "-"}, "home/-", "-x"},
        PathRow{"blanks and letters of all kinds",
                "My Büro 🙂 ",
                {"--backup", "@My Büro 🙂 ", "@OneDrive/ü \n"},
                "OneDrive/ü \n",
                "My Büro 🙂 "},
        PathRow{"no UTF-8", "b\xff", {"--backup", "@b\xff", "@OneDrive/\xfe"}, "OneDrive/\xfe", "b\uFFFD"},
        PathRow{"an original through a link",
                "Photos",
                {"--backup", "@to-drive", "@OneDrive/P"},
                "OneDrive/P",
                "to-drive"},
        PathRow{"names that only begin alike",
                "Photos",
                {"--backup", "@Photos", "@Photos 2"},
                "Photos 2",
                "Photos"}));

} // namespace
