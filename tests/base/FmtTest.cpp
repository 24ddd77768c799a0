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

} // namespace
