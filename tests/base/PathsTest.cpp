#include "base/Paths.h"

#include <gtest/gtest.h>

namespace {

TEST(Paths, Standardised) {
    const std::string here = std::filesystem::current_path().native();
    const std::pair<std::string, std::string> rows[] = {
        {"/..", "/"}, {"//a//./b///", "/a/b"}, {"/a/../../b/..", "/"}, {"/a/..b/...", "/a/..b/..."}, {"", here}};
    for (const auto &[path, expected] : rows)
        EXPECT_EQ(Paths::standardised(path).native(), expected) << path;
}

TEST(Paths, OverlapAndWithin) {
    struct Row {
        const char *a;
        const char *b;
        bool overlap;
        bool aIsWithinB;
    };
    const Row rows[] = {{"/a/Photos", "/a/Photos", true, true},
                        {"/a/Photos/2024", "/a/Photos", true, true},
                        {"/a", "/a/Photos", true, false},
                        {"/a/Photos 2", "/a/Photos", false, false},
                        {"/a/BÜCHER/x", "/a/bücher", true, false}};
    for (const Row &row : rows) {
        EXPECT_EQ(Paths::overlap(row.a, row.b), row.overlap) << row.a;
        EXPECT_EQ(Paths::overlap(row.b, row.a), row.overlap) << row.a;
        EXPECT_EQ(Paths::isWithin(row.a, row.b), row.aIsWithinB) << row.a;
    }
    EXPECT_FALSE(Paths::overlap("/a/b/../c", "/a/b"));
}

} // namespace
