#include "base/Fmt.h"

#include <cerrno>
#include <gtest/gtest.h>
#include <limits>

namespace {

struct Row {
    std::int64_t bytes;
    const char *expected;
};

TEST(Fmt, ByteCount) {
    const Row rows[] = {
        {0, "Zero KB"},
        {1, "1 byte"},
        {2, "2 bytes"},
        {999, "999 bytes"},
        {1000, "1 KB"},
        {1499, "1 KB"},
        {1501, "2 KB"},
        {999'499, "999 KB"},
        {999'500, "1 MB"},
        {999'999, "1 MB"},
        {1'000'000, "1 MB"},
        {1'049'000, "1 MB"},
        {1'051'000, "1.1 MB"},
        {999'949'000, "999.9 MB"},
        {999'950'000, "1 GB"},
        {1'000'000'000, "1 GB"},
        {1'100'000'000, "1.1 GB"},
        {1'254'000'000, "1.25 GB"},
        {100'000'000'000, "100 GB"},
        {999'994'000'000, "999.99 GB"},
        {999'995'000'000, "1 TB"},
        {1'000'000'000'000'000, "1 PB"},
        {std::numeric_limits<std::int64_t>::max(), "9.22 EB"},
        {-1, "-1 bytes"},
        {-999, "-999 bytes"},
        {-1000, "-1 KB"},
        {std::numeric_limits<std::int64_t>::min(), "-9.22 EB"},
    };
    for (const Row &row : rows)
        EXPECT_EQ(Fmt::byteCount(row.bytes).toStdString(), row.expected) << row.bytes;
}

TEST(Fmt, AByteCountNeverReadsAThousandOfAUnit) {
    for (std::int64_t unit = 1000; unit < 1'000'000'000'000'000'000; unit *= 1000) {
        for (std::int64_t below = 0; below <= unit; below += unit / 1000)
            EXPECT_FALSE(Fmt::byteCount(unit * 1000 - below).startsWith(QStringLiteral("1000")))
                << unit << ' ' << below;
    }
}

TEST(Fmt, OnlyOneIsSingular) {
    const std::pair<std::int64_t, const char *> rows[] = {{-1, "-1 files"}, {0, "0 files"},
                                                          {1, "1 file"},    {2, "2 files"},
                                                          {11, "11 files"}, {1000, "1000 files"}};
    for (const auto &[count, expected] : rows)
        EXPECT_EQ(Fmt::counted(count, QStringLiteral("file")).toStdString(), expected);
}

TEST(Fmt, SystemErrorsAreInTheSystemsWords) {
    EXPECT_EQ(Fmt::systemError(EACCES), QStringLiteral("Permission denied"));
    EXPECT_FALSE(Fmt::systemError(-5).isEmpty());
}

} // namespace
