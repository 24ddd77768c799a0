#include "sync/SpaceCheck.h"

#include "base/Text.h"
#include "support/LoopMount.h"
#include "support/TestTree.h"

#include <gtest/gtest.h>

namespace {

constexpr std::int64_t margin = 314'572'800;

/// A plan of copies of these sizes; negative for updates.
PairPlan planOf(const fs::path &backup, const std::vector<std::int64_t> &sizes) {
    PairPlan plan("/original", backup);
    for (const std::int64_t size : sizes) {
        PlannedCopy copy;
        copy.folder = plan.top();
        copy.size = std::abs(size);
        if (size < 0)
            copy.replaces = plan.store(FileVersion{1, someTime});
        plan.copies.push_back(copy);
    }
    return plan;
}

TEST(SpaceNeed, IsTheNewFilesAndOnceMoreTheLargestCopy) {
    const std::vector<std::pair<std::vector<std::int64_t>, std::int64_t>> rows = {
        {{}, 0},        {{10}, 20},
        {{-10}, 10},    {{10, -20, 5}, 35},
        {{10, -5}, 20}, {{4'000'000'000, -5'000'000'000}, 9'000'000'000},
    };
    for (const auto &[sizes, need] : rows)
        EXPECT_EQ(SpaceCheck::need(planOf("/", sizes)), need) << testing::PrintToString(sizes);
}

/// A small drive whose free space is known exactly.
class SpaceTest : public testing::Test {
  protected:
    void SetUp() override {
        if (const auto reason = LoopMount::whyNot(LoopMount::Type::Tmpfs))
            GTEST_SKIP() << *reason;
        drive.emplace(
            LoopMount::Options{.type = LoopMount::Type::Tmpfs, .size = 1'200'000'000, .name = "Backup Drive"});
        free = SpaceCheck::freeSpace(drive->top()).value_or(0);
    }

    /// Whether plans on the drive with these copies are refused.
    std::optional<QString> problem(const std::vector<std::vector<std::int64_t>> &plans) const {
        std::vector<PairPlan> all;
        for (const auto &sizes : plans)
            all.push_back(planOf(drive->top() / "not made yet" / "either", sizes));
        std::vector<const PairPlan *> pointers;
        for (const PairPlan &plan : all)
            pointers.push_back(&plan);
        return SpaceCheck::spaceProblem(pointers);
    }

    std::optional<LoopMount> drive;
    std::int64_t free = 0;
};

TEST_F(SpaceTest, TheMarginIsExactAndPairsOnOneVolumeAreAddedUp) {
    EXPECT_EQ(problem({{500'000'000}}), QStringLiteral("Not enough free space on “Backup Drive”: this sync needs about "
                                                       "1 GB but only 1.2 GB is free."));
    EXPECT_EQ(problem({{-800'000'000, -800'000'000, -800'000'000}}), std::nullopt);
    const std::int64_t room = (free - margin) / 2 * 2;
    EXPECT_EQ(problem({{-room}}), std::nullopt);
    EXPECT_NE(problem({{-room - 2}}), std::nullopt);
    EXPECT_EQ(problem({{-room / 2}, {-room / 2}}), std::nullopt);
    EXPECT_NE(problem({{-room / 2}, {-room / 2}, {-2}}), std::nullopt);
    EXPECT_EQ(problem({}), std::nullopt);
}

} // namespace
