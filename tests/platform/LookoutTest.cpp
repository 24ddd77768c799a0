#include "platform/Lookout.h"

#include "base/Paths.h"
#include "support/TestTree.h"

#include <QCoreApplication>
#include <QtCore/qtestsupport_core.h>

#include <atomic>
#include <gtest/gtest.h>
#include <mutex>

namespace {

using namespace std::chrono_literals;

/// A lookout over "slow" and "quick", which stand for two mounts: the one answers when it is let.
class LookoutTest : public testing::Test {
  protected:
    LookoutTest() {
        static const auto *const application = new QCoreApplication(
            *new int(1), new char *[2] { program_invocation_name, nullptr });
        EXPECT_TRUE(application);
    }
    ~LookoutTest() override {
        release();
        EXPECT_TRUE(until([&] { return askedNow == 0; }));
    }
    static bool until(const std::function<bool()> &condition) { return QTest::qWaitFor(condition, 10'000); }
    void release() {
        hold = false;
        hold.notify_all();
    }
    DiskAnswer answerTo(const DiskQuestion &question) {
        ++asked;
        ++askedNow;
        if (Paths::isWithin(question.path, "/proc"))
            hold.wait(true);
        DiskAnswer answer = answerOf(question);
        --askedNow;
        return answer;
    }
    /// Asks both mounts. /proc is one of its own wherever these tests run.
    Lookout::Inquiry about(Lookout::Afterwards afterwards, std::chrono::milliseconds patience) {
        return {.question =
                    [this](Disk &disk) {
                        const bool isSlowThere = disk.isFolder("/proc/self");
                        isQuickThere = disk.isFolder(tree.top());
                        if (isQuickThere)
                            isQuickThere = disk.isFolder(tree / "next"); // depends on the answer before
                        found = std::string(isQuickThere ? "quick " : "") + (isSlowThere ? "slow" : "");
                        return isEnough;
                    },
                .patience = patience,
                .afterwards = afterwards,
                .ended = [this](bool isAnswered) { told.push_back(found + (isAnswered ? "!" : "?")); }};
    }

    TestTree tree;
    std::atomic<bool> hold = true;
    std::atomic<int> asked = 0, askedNow = 0;
    bool isQuickThere = false, isEnough = false;
    std::string found;
    std::vector<std::string> told;
    Lookout lookout{[this](const DiskQuestion &question) { return answerTo(question); }};
};

TEST_F(LookoutTest, WhatHangsHoldsUpNothingElse) {
    tree.dir("next");
    lookout.ask(about(Lookout::Afterwards::GiveUp, 300ms));
    EXPECT_EQ(asked, 0) << "nobody is asked before the event loop turns";
    EXPECT_EQ(lookout.waiting(), 1u);
    ASSERT_TRUE(until([&] { return !told.empty(); }));
    EXPECT_EQ(told, std::vector<std::string>{"quick ?"}) << "after the patience, with what is known";
    EXPECT_EQ(lookout.waiting(), 0u);
    const int before = asked;
    told.clear();
    lookout.ask(about(Lookout::Afterwards::GiveUp, 300ms));
    ASSERT_TRUE(until([&] { return !told.empty(); }));
    EXPECT_EQ(askedNow, 1) << "what hangs is not asked once more meanwhile";
    EXPECT_GT(asked, before);
    release();
    lookout.ask(about(Lookout::Afterwards::GiveUp, 10s));
    ASSERT_TRUE(until([&] { return told.size() == 2; }));
    EXPECT_EQ(told.back(), "quick slow!");
}

TEST_F(LookoutTest, WhatIsEnoughEndsAtOnce) {
    tree.dir("next");
    isEnough = true;
    lookout.ask(about(Lookout::Afterwards::GiveUp, 10s));
    ASSERT_TRUE(until([&] { return !told.empty(); }));
    EXPECT_EQ(told, std::vector<std::string>{"!"});
}

TEST_F(LookoutTest, AnAnswerCountsWheneverItComes) {
    tree.dir("next");
    lookout.ask(about(Lookout::Afterwards::GoOn, 100ms));
    EXPECT_EQ(lookout.waiting(), 0u) << "nobody waits for such a one";
    ASSERT_TRUE(until([&] { return !told.empty(); }));
    EXPECT_EQ(told.front(), "quick ?");
    release();
    ASSERT_TRUE(until([&] { return told.back() == "quick slow!"; }));
    // Known to be there before, a mount that is slow now is taken to be as it was.
    hold = true;
    told.clear();
    lookout.ask(about(Lookout::Afterwards::GoOn, 100ms));
    ASSERT_TRUE(until([&] { return !told.empty(); }));
    EXPECT_EQ(told.front(), "quick slow?");
    // Until a single request takes longer than anything that answers.
    ASSERT_TRUE(until([&] { return told.size() == 2; }));
    EXPECT_EQ(told.back(), "quick ?");
    // Whoever asks now is told at once.
    told.clear();
    lookout.ask(about(Lookout::Afterwards::GoOn, 1h));
    ASSERT_TRUE(until([&] { return !told.empty(); }));
    EXPECT_EQ(told.front(), "quick ?");
}

TEST_F(LookoutTest, WhoIsDroppedIsToldNothing) {
    const Lookout::Ticket ticket = lookout.ask(about(Lookout::Afterwards::GiveUp, 50ms));
    ASSERT_TRUE(until([&] { return askedNow == 1; }));
    lookout.drop(ticket);
    bool isOver = false;
    lookout.ask({.question = [](Disk &disk) { return disk.isFolder("/proc/self"); },
                 .patience = 200ms,
                 .ended = [&](bool) { isOver = true; }});
    ASSERT_TRUE(until([&] { return isOver; }));
    EXPECT_EQ(told, std::vector<std::string>());
}

} // namespace
