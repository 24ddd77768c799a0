#include "store/TestRoot.h"

#include "support/TestTree.h"

#include <cstdlib>
#include <gtest/gtest.h>

#include <unistd.h>

namespace {

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

    TestTree tree;
};

/// Called after everything static has been destroyed.
void endByWhetherARootIsActive() {
    ::_exit(TestRoot::isActive() && *TestRoot::url() == "/root" ? 0 : 1);
}

/// Before anything static is made, so that it is called after all of that has gone.
[[gnu::constructor(101)]] void registerEnd() {
    ::on_exit([](int status, void *) { status == 77 ? endByWhetherARootIsActive() : void(); }, nullptr);
}

TEST(TestRootAtTheEnd, StaysActiveForThreadsThatNobodyWaitsFor) {
    const auto end = [] {
        TestRoot::set("/root");
        std::exit(77);
    };
    EXPECT_EXIT(end(), testing::ExitedWithCode(0), "");
}

TEST_F(TestRootVariable, WithoutAMarkedFolderTheStartIsRefused) {
    tree.file("unmarked/tarnwick-test-root");
    tree.file("file");
    for (const std::string &value : {(tree / "none").native(), (tree / "unmarked").native(), (tree / "file").native(),
                                     std::string(" "), std::string()}) {
        EXPECT_EQ(start(value).has_value(), !value.empty()) << value;
        EXPECT_EQ(TestRoot::url(), std::nullopt) << value;
    }
}

TEST_F(TestRootVariable, APreparedFolderIsAcceptedAndHoldsOnceItIsSet) {
    EXPECT_EQ(start(TestRoot::prepare(tree / "x/../first//")), std::nullopt);
    EXPECT_EQ(start(TestRoot::prepare(tree / "second")), std::nullopt);
    EXPECT_EQ(TestRoot::url(), tree / "first");
}

} // namespace
