#include "sync/SyncRules.h"

#include <gtest/gtest.h>

namespace {

struct Row {
    const char *situation;
    FileTime original;
    FileTime backup;
    Verdict sameSize;  ///< without the one-hour quirk
    Verdict onFat;     ///< the same with the quirk
    Verdict otherSize; ///< with either rule
};

constexpr Verdict equal = Verdict::UpToDate;
constexpr Verdict copied = Verdict::Copy;
constexpr Verdict kept = Verdict::KeepNewer;

constexpr FileTime noon{1'700'000'000, 0};

constexpr FileTime at(std::int64_t seconds, std::int32_t nanoseconds = 0) {
    return {noon.seconds + seconds, nanoseconds};
}

void PrintTo(const Row &row, std::ostream *out) {
    *out << row.situation;
}

class DecideTest : public testing::TestWithParam<Row> {};

TEST_P(DecideTest, ByTimeAndSize) {
    const Row &row = GetParam();
    const FileVersion original{1000, row.original};
    const SyncRules plain{.fatTimeQuirk = false, .tolerance = 2};
    const SyncRules fat{.fatTimeQuirk = true, .tolerance = 2};
    EXPECT_EQ(decide(original, {1000, row.backup}, plain), row.sameSize) << row.situation;
    EXPECT_EQ(decide(original, {1000, row.backup}, fat), row.onFat) << row.situation << " on FAT";
    for (const std::int64_t size : {0, 999, 1001}) {
        EXPECT_EQ(decide(original, {size, row.backup}, plain), row.otherSize)
            << row.situation << ", " << size;
        EXPECT_EQ(decide(original, {size, row.backup}, fat), row.otherSize)
            << row.situation << " on FAT, " << size;
    }
}

constexpr std::int32_t half = 500'000'000;

INSTANTIATE_TEST_SUITE_P(
    Tolerance, DecideTest,
    testing::Values(
        Row{"same time", noon, noon, equal, equal, copied},
        Row{"original 1.5 s newer", at(1, half), noon, equal, equal, copied},
        Row{"original 2 s newer", at(2), noon, equal, equal, copied},
        Row{"original 2 s newer, within the second", at(2, half), at(0, half), equal, equal, copied},
        Row{"original a nanosecond more than 2 s newer", at(2, 1), noon, copied, copied, copied},
        Row{"original 3 s newer", at(3), noon, copied, copied, copied},
        Row{"backup 1.5 s newer", noon, at(1, half), equal, equal, copied},
        Row{"backup 2 s newer", noon, at(2), equal, equal, copied},
        Row{"backup a nanosecond more than 2 s newer", noon, at(2, 1), kept, kept, kept},
        Row{"backup 10 s newer", noon, at(10), kept, kept, kept},
        Row{"sub-seconds across a full second", at(-2, half), at(0, half), equal, equal, copied}));

INSTANTIATE_TEST_SUITE_P(
    Hour, DecideTest,
    testing::Values(Row{"original an hour newer", at(3600), noon, copied, equal, copied},
                    Row{"backup an hour newer", noon, at(3600), kept, equal, kept},
                    Row{"original 3597 s newer", at(3597), noon, copied, copied, copied},
                    Row{"original 3598 s newer", at(3598), noon, copied, equal, copied},
                    Row{"original 3602 s newer", at(3602), noon, copied, equal, copied},
                    Row{"original just over 3602 s newer", at(3602, 1000), noon, copied, copied, copied},
                    Row{"original 3603 s newer", at(3603), noon, copied, copied, copied},
                    Row{"backup 3597 s newer", noon, at(3597), kept, kept, kept},
                    Row{"backup 3598 s newer", noon, at(3598), kept, equal, kept},
                    Row{"backup 3602 s newer", noon, at(3602), kept, equal, kept},
                    Row{"backup 3603 s newer", noon, at(3603), kept, kept, kept},
                    Row{"original two hours newer", at(7200), noon, copied, copied, copied},
                    Row{"original half an hour newer", at(1800), noon, copied, copied, copied}));

constexpr FileTime beforeEpoch{-1, half};
constexpr FileTime farFuture{std::numeric_limits<std::int64_t>::max(), 999'999'999};

INSTANTIATE_TEST_SUITE_P(
    Extremes, DecideTest,
    testing::Values(
        Row{"both unknown", FileTime::distantPast(), FileTime::distantPast(), equal, equal, copied},
        Row{"original unknown", FileTime::distantPast(), noon, kept, kept, kept},
        Row{"backup unknown", noon, FileTime::distantPast(), copied, copied, copied},
        Row{"across 1970", {1, half}, beforeEpoch, equal, equal, copied},
        Row{"across 1970 and too far", {1, half + 1}, beforeEpoch, copied, copied, copied},
        Row{"an hour across 1970", {3599, half}, beforeEpoch, copied, equal, copied},
        Row{"the whole range", farFuture, FileTime::distantPast(), copied, copied, copied},
        Row{"the whole range the other way", FileTime::distantPast(), farFuture, kept, kept, kept}));

TEST(Decide, ToleranceIsAParameter) {
    const SyncRules strict{.fatTimeQuirk = true, .tolerance = 0};
    EXPECT_EQ(decide({1, at(0, 1)}, {1, noon}, strict), Verdict::Copy);
    EXPECT_EQ(decide({1, noon}, {1, at(0, 1)}, strict), Verdict::KeepNewer);
    EXPECT_EQ(decide({1, at(3600)}, {1, noon}, strict), Verdict::UpToDate);
    EXPECT_EQ(decide({1, at(3601)}, {1, noon}, strict), Verdict::Copy);
}

} // namespace
