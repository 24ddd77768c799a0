#include "base/Fmt.h"

#include <gtest/gtest.h>
#include <limits>

namespace {

TEST(Fmt, ByteCount) {
    const std::pair<std::int64_t, const char *> rows[] = {{0, "Zero KB"},
                                                          {1, "1 byte"},
                                                          {999, "999 bytes"},
                                                          {1000, "1 KB"},
                                                          {999'499, "999 KB"},
                                                          {999'500, "1 MB"},
                                                          {1'051'000, "1.1 MB"},
                                                          {999'949'000, "999.9 MB"},
                                                          {999'950'000, "1 GB"},
                                                          {1'254'000'000, "1.25 GB"},
                                                          {100'000'000'000, "100 GB"},
                                                          {999'995'000'000, "1 TB"},
                                                          {std::numeric_limits<std::int64_t>::min(), "-9.22 EB"}};
    for (const auto &[bytes, expected] : rows)
        EXPECT_EQ(Fmt::byteCount(bytes).toStdString(), expected) << bytes;
}

TEST(Fmt, MomentsAreEnglishAndFollowTheRegionInOrderAndClock) {
    const QDateTime now(QDate(2025, 10, 21), QTime(9, 0)), old(QDate(2025, 10, 9), QTime(13, 4));
    struct Row {
        const char *region, *today, *before;
    };
    const Row rows[] = {
        {"C", "Today at 13:04", "9 Oct 2025 at 13:04"},     {"de_DE", "Today at 13:04", "9 Oct 2025 at 13:04"},
        {"en_GB", "Today at 13:04", "9 Oct 2025 at 13:04"}, {"en_US", "Today at 1:04 PM", "Oct 9, 2025 at 1:04 PM"},
        {"fa_IR", "Today at 13:04", "2025-10-09 at 13:04"}, {"ar_EG", "Today at 1:04 PM", "9 Oct 2025 at 1:04 PM"},
        {"hu_HU", "Today at 13:04", "2025-10-09 at 13:04"}, {"fr_CA", "Today at 13:04", "2025-10-09 at 13:04"}};
    for (const Row &row : rows) {
        const QLocale region{QLatin1String(row.region)};
        EXPECT_EQ(Fmt::when(old.addDays(12), now, region).toStdString(), row.today) << row.region;
        EXPECT_EQ(Fmt::when(old, now, region).toStdString(), row.before) << row.region;
    }
    EXPECT_EQ(Fmt::when(old.addDays(11), now, QLocale::c()).toStdString(), "Yesterday at 13:04");
}

TEST(Fmt, NumbersHaveAsciiDigits) {
    const std::pair<const char *, const char *> rows[] = {
        {"C", "48,213"}, {"en_US", "48,213"}, {"de_DE", "48.213"}, {"fa_IR", "48,213"}, {"ar_EG", "48,213"}};
    for (const auto &[region, expected] : rows)
        EXPECT_EQ(Fmt::grouped(48'213, QLocale(QLatin1String(region))).toStdString(), expected) << region;
}

} // namespace
