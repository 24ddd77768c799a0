#include "app/ProgramTest.h"

#include <regex>

namespace {

/// `--selftest` in a world in which every place is inside the tree.
class BuiltInSelfTest : public ProgramTest {
  protected:
    Program::Outcome run(const char *folder) const {
        Program program;
        program.words = {TARNWICK_PROGRAM, "--apptest", "1", "--selftest"}; // the self-test comes first
        program.environment = {{"HOME", tree / "home"},
                               {"XDG_CACHE_HOME", tree / "home"},
                               {"TARNWICK_SUPPORT_DIR", tree / "home"},
                               {"TARNWICK_SELFTEST_DIR", tree / folder}};
        return program.run();
    }
};

TEST_F(BuiltInSelfTest, PassesAndLeavesNothingBehind) {
    const Program::Outcome outcome = run("Photos");
    EXPECT_EQ(outcome.status, 0);
    EXPECT_EQ(outcome.err, "");
    const std::regex frame("^Tarnwick Basic self-test\\. Test root: [^\n]*/Photos/selftest-\\d+-[0-9A-F]{6}\n[^]*"
                           "\n\n-{45}\nSelf-test: (\\d+) checks passed, 0 failed \\(\\1 total\\)\n$");
    EXPECT_TRUE(std::regex_match(outcome.out, frame)) << outcome.out;
    EXPECT_EQ(tree.snapshot(), (Snapshot{{"OneDrive", "dir"}, {"Photos", "dir"}, {"home", "dir"}}));
}

TEST_F(BuiltInSelfTest, SaysThatItsTestRootCannotBeMade) {
    tree.file("file");
    const Program::Outcome outcome = run("file");
    EXPECT_EQ(outcome.status, 2);
    const std::regex line("Could not create the test root at [^\n]*/file/selftest-[^\n]*: Not a directory\n");
    EXPECT_TRUE(std::regex_match(outcome.out, line)) << outcome.out;
}

} // namespace
