#include "store/TestRoot.h"

#include "base/Text.h"
#include "support/TestTree.h"

#include <cstdlib>
#include <gtest/gtest.h>

namespace {

using Snapshot = std::map<std::string, std::string>;

class TestRootVariable : public testing::Test {
  protected:
    TestRootVariable() { TestRoot::set(std::nullopt); }
    ~TestRootVariable() override {
        TestRoot::set(std::nullopt);
        ::unsetenv("TARNWICK_TEST_ROOT");
    }

    static std::optional<QString> start(const std::string &value) {
        ::setenv("TARNWICK_TEST_ROOT", value.c_str(), 1);
        return TestRoot::bootstrapFromEnvironment();
    }

    static QString refusal(const std::string &value) {
        return QStringLiteral("TARNWICK_TEST_ROOT is set to “") + Text::fromBytes(value) +
               QStringLiteral(
                   "”, but that folder doesn't exist or has no .tarnwick-test-root marker. Not starting, so "
                   "nothing real is touched.");
    }

    TestTree tree;
};

TEST_F(TestRootVariable, MissingOrEmptyStartsNormally) {
    ::unsetenv("TARNWICK_TEST_ROOT");
    EXPECT_EQ(TestRoot::bootstrapFromEnvironment(), std::nullopt);
    EXPECT_EQ(start(""), std::nullopt);
    EXPECT_FALSE(TestRoot::isActive());
}

TEST_F(TestRootVariable, WithoutAMarkedFolderTheStartIsRefused) {
    tree.file("marked/.tarnwick-test-root");
    tree.file("unmarked/tarnwick-test-root");
    tree.file("file");
    tree.dir("deep/.tarnwick-test-root");
    for (const std::string &value :
         {(tree / "none").native(), (tree / "unmarked").native(), (tree / "file").native(),
          (tree / "deep/..").native(), (tree / "marked").native() + " ",
          (tree / "marked/.tarnwick-test-root").native(), std::string(" "),
          (tree / "none//x/../“q”").native(), (tree / "b\xff").native()}) {
        EXPECT_EQ(start(value), refusal(value));
        EXPECT_EQ(TestRoot::url(), std::nullopt) << value;
    }
}

TEST_F(TestRootVariable, AMarkerOfAnyKindIsEnoughAndThePathIsStandardised) {
    tree.file("file/.tarnwick-test-root", "");
    tree.dir("folder/.tarnwick-test-root");
    tree.link("link/.tarnwick-test-root", "nowhere");
    tree.link("to-folder", "folder");
    const fs::path before = fs::current_path();
    fs::current_path(tree.top());
    const std::pair<std::string, fs::path> rows[] = {
        {tree / "file", tree / "file"},  {tree / "folder//x/.././", tree / "folder"},
        {tree / "link/", tree / "link"}, {tree / "to-folder", tree / "to-folder"},
        {"./file", tree / "file"},
    };
    for (const auto &[value, root] : rows) {
        TestRoot::set(std::nullopt);
        EXPECT_EQ(start(value), std::nullopt);
        EXPECT_EQ(TestRoot::url(), root) << value;
        EXPECT_TRUE(TestRoot::isActive());
    }
    fs::current_path(before);
}

TEST_F(TestRootVariable, OnceSetItHolds) {
    tree.file("first/.tarnwick-test-root");
    tree.file("second/.tarnwick-test-root");
    ASSERT_EQ(start(tree / "first"), std::nullopt);
    EXPECT_EQ(start(tree / "second"), std::nullopt);
    EXPECT_EQ(start(tree / "none"), std::nullopt);
    EXPECT_EQ(TestRoot::url(), tree / "first");
}

TEST_F(TestRootVariable, PrepareMakesAFolderThatIsAccepted) {
    tree.file("new/root/.tarnwick-test-root",
              "something older and longer than what is written over it by the program");
    tree.file("new/root/Home/kept");
    const fs::path root = TestRoot::prepare(tree / "x/../new//root/");
    EXPECT_EQ(root, tree / "new/root");
    EXPECT_FALSE(TestRoot::isActive()) << "preparing doesn't set it";
    EXPECT_EQ(tree.read("new/root/.tarnwick-test-root"), "Tarnwick Basic test root: safe to delete.\n");
    Snapshot made = tree.snapshot("new/root");
    EXPECT_EQ(made.erase(".tarnwick-test-root"), 1U);
    EXPECT_EQ(made.erase("Home/kept"), 1U);
    EXPECT_EQ(made, (Snapshot{{"Home", "dir"},
                              {"Home/Library", "dir"},
                              {"Home/Library/CloudStorage", "dir"},
                              {"Home/Library/Logs", "dir"},
                              {"Support", "dir"},
                              {"Volumes", "dir"}}));
    EXPECT_EQ(start(root), std::nullopt);
    EXPECT_EQ(TestRoot::url(), root);
}

TEST_F(TestRootVariable, PrepareStopsAtTheFirstFailure) {
    tree.file("file");
    EXPECT_THROW(TestRoot::prepare(tree / "file"), std::system_error);
    tree.file("blocked/Volumes");
    EXPECT_THROW(TestRoot::prepare(tree / "blocked"), std::system_error);
    EXPECT_FALSE(fs::exists(tree / "blocked/Support"));
    EXPECT_FALSE(fs::exists(tree / "blocked/.tarnwick-test-root"));
    tree.dir("marked/.tarnwick-test-root");
    EXPECT_THROW(TestRoot::prepare(tree / "marked"), std::system_error) << "the marker can't be written";
}

} // namespace
