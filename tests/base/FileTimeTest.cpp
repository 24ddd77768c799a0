#include "base/FileTime.h"

#include <gtest/gtest.h>

namespace {

constexpr std::int64_t earliest = std::numeric_limits<std::int64_t>::min();
constexpr std::int64_t latest = std::numeric_limits<std::int64_t>::max();

TEST(FileTime, SecondsBetween) {
    struct Row {
        const char *situation;
        FileTime later;
        FileTime earlier;
        double expected;
    };
    const Row rows[] = {
        {"equal", {5, 7}, {5, 7}, 0},
        {"half a second", {5, 500'000'000}, {5, 0}, 0.5},
        {"across the full second", {6, 0}, {5, 999'999'999}, 1e-9},
        {"the other way round", {5, 999'999'999}, {6, 0}, -1e-9},
        {"across 1970", {0, 0}, {-1, 500'000'000}, 0.5},
        {"both before 1970", {-10, 0}, {-13, 0}, 3},
        {"exact far from 1970", {latest, 0}, {latest - 3, 0}, 3},
        {"exact far before 1970", {earliest + 3, 0}, {earliest, 0}, 3},
        {"the whole range", {latest, 0}, {earliest, 0}, 18446744073709551616.0},
        {"the whole range the other way round", {earliest, 0}, {latest, 0}, -18446744073709551616.0},
    };
    for (const Row &row : rows)
        EXPECT_NEAR(secondsBetween(row.later, row.earlier), row.expected, 1e-15) << row.situation;
}

TEST(FileTime, Order) {
    const FileTime inOrder[] = {
        FileTime::distantPast(), {earliest, 1}, {-1, 999'999'999}, {0, 0}, {0, 1}, {1, 0}, {latest, 0}};
    for (std::size_t i = 1; i < std::size(inOrder); ++i)
        EXPECT_LT(inOrder[i - 1], inOrder[i]) << i;
}

TEST(FileTime, GoesToAndFromTheSystemsForm) {
    statx_timestamp stamp{};
    stamp.tv_sec = -7;
    stamp.tv_nsec = 999'999'999;
    const FileTime time = FileTime::from(stamp);
    EXPECT_EQ(time, (FileTime{-7, 999'999'999}));
    EXPECT_EQ(time.toTimespec().tv_sec, -7);
    EXPECT_EQ(time.toTimespec().tv_nsec, 999'999'999);
}

} // namespace
