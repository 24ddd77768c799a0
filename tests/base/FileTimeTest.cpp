#include "base/FileTime.h"

#include <gtest/gtest.h>

namespace {

TEST(FileTime, SecondsBetween) {
    constexpr std::int64_t earliest = std::numeric_limits<std::int64_t>::min();
    constexpr std::int64_t latest = std::numeric_limits<std::int64_t>::max();
    struct Row {
        const char *situation;
        FileTime later;
        FileTime earlier;
        double expected;
    };
    const Row rows[] = {
        {"across the full second", {6, 0}, {5, 999'999'999}, 1e-9},
        {"across 1970, the other way round", {-1, 500'000'000}, {0, 0}, -0.5},
        {"exact far from 1970", {latest, 0}, {latest - 3, 0}, 3},
        {"the whole range", {earliest, 0}, {latest, 0}, -18446744073709551616.0},
    };
    for (const Row &row : rows)
        EXPECT_NEAR(secondsBetween(row.later, row.earlier), row.expected, 1e-15) << row.situation;
}

} // namespace
