#include "sync/SyncRules.h"

#include <cmath>
#include <gtest/gtest.h>
#include <string>

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
constexpr FileTime unknown = FileTime::distantPast();

constexpr FileTime at(std::int64_t seconds, std::int32_t nanoseconds = 0) {
    return {noon.seconds + seconds, nanoseconds};
}

TEST(Decide, ByTimeAndSize) {
    const Row rows[] = {{"same time", noon, noon, equal, equal, copied},
                        {"original 2 s newer", at(2), noon, equal, equal, copied},
                        {"original a nanosecond more than 2 s newer", at(2, 1), noon, copied, copied, copied},
                        {"backup 2 s newer", noon, at(2), equal, equal, copied},
                        {"backup a nanosecond more than 2 s newer", noon, at(2, 1), kept, kept, kept},
                        {"original an hour newer", at(3600), noon, copied, equal, copied},
                        {"original 3602 s newer", at(3602), noon, copied, equal, copied},
                        {"original just over 3602 s newer", at(3602, 1000), noon, copied, copied, copied},
                        {"backup 3597 s newer", noon, at(3597), kept, kept, kept},
                        {"backup 3602 s newer", noon, at(3602), kept, equal, kept},
                        {"backup 3603 s newer", noon, at(3603), kept, kept, kept},
                        {"original two hours newer", at(7200), noon, copied, copied, copied},
                        {"original unknown", unknown, noon, kept, kept, kept},
                        {"backup unknown", noon, unknown, copied, copied, copied}};
    for (const Row &row : rows) {
        const FileVersion original{1000, row.original};
        const SyncRules plain{.fatTimeQuirk = false, .tolerance = 2};
        const SyncRules fat{.fatTimeQuirk = true, .tolerance = 2};
        EXPECT_EQ(decide(original, {1000, row.backup}, plain), row.sameSize) << row.situation;
        EXPECT_EQ(decide(original, {1000, row.backup}, fat), row.onFat) << row.situation << " on FAT";
        for (const std::int64_t size : {999, 1001}) {
            EXPECT_EQ(decide(original, {size, row.backup}, plain), row.otherSize) << row.situation << ", " << size;
            EXPECT_EQ(decide(original, {size, row.backup}, fat), row.otherSize) << row.situation << " on FAT, " << size;
        }
    }
}

/// When a change of an original right after `now` would show: "cold" (in any case), else from how many milliseconds
/// after its date on, and "hides" when even the date may stay the same.
std::string heat(FileTime date, double ago, bool fat) {
    const std::int64_t nanoseconds = date.nanoseconds + static_cast<std::int64_t>(ago * 1e9);
    const FileTime now{date.seconds + nanoseconds / 1'000'000'000,
                       static_cast<std::int32_t>(nanoseconds % 1'000'000'000)};
    const std::optional<HotOriginal> hot = hotness(date, now, {.fatTimeQuirk = fat, .tolerance = 2});
    if (!hot)
        return "cold";
    return std::to_string(std::lround(secondsBetween(hot->coolAt, date) * 1000)) +
           (hot->mayHideAChange ? ", hides" : "");
}

TEST(Decide, WhichOriginalsAreHot) {
    const FileTime exact = at(0, 900'000'000);
    const struct {
        double ago;
        std::string exact, wholeSeconds, onFat;
    } rows[] = {{0, "2020, hides", "3000, hides", "4000, hides"},
                {0.01, "2020, hides", "3000, hides", "4000, hides"},
                {0.05, "2020", "3000, hides", "4000, hides"},
                {1.5, "2020", "3000", "4000, hides"},
                {2.5, "cold", "3000", "4000"},
                {3.5, "cold", "cold", "4000"},
                {4.5, "cold", "cold", "cold"}};
    for (const auto &row : rows) {
        EXPECT_EQ(heat(exact, row.ago, false), row.exact) << row.ago;
        EXPECT_EQ(heat(noon, row.ago, false), row.wholeSeconds) << row.ago;
        EXPECT_EQ(heat(exact, row.ago, true), row.onFat) << row.ago;
    }
    EXPECT_EQ(hotness(at(100), noon, {}).has_value(), false) << "a date in the future";
}

} // namespace
