#include "base/Paths.h"

#include <gtest/gtest.h>

namespace {

namespace fs = std::filesystem;

TEST(Paths, Standardised) {
    const std::string here = fs::current_path().native();
    const std::pair<std::string, std::string> rows[] = {
        {"/", "/"},
        {"//", "/"},
        {"///", "/"},
        {"/.", "/"},
        {"/..", "/"},
        {"/a", "/a"},
        {"//a//b///", "/a/b"},
        {"/a/./b/", "/a/b"},
        {"/a/b/.", "/a/b"},
        {"/a/b/..", "/a"},
        {"/a/../../b", "/b"},
        {"/a/..b/...", "/a/..b/..."},
        {"/a/ ", "/a/ "},
        {"/\xff/", "/\xff"},
        {"a/b/", here + "/a/b"},
        {"./a", here + "/a"},
        {".", here},
        {"", here},
    };
    for (const auto &[path, expected] : rows)
        EXPECT_EQ(Paths::standardised(path).native(), expected) << path;
}

TEST(Paths, LastComponent) {
    const std::pair<std::string, std::string> rows[] = {{"/", "/"}, {"/a", "a"}, {"/a/b.c", "b.c"}};
    for (const auto &[path, expected] : rows)
        EXPECT_EQ(Paths::lastComponent(path), expected) << path;
}

TEST(Paths, OverlapAndWithin) {
    struct Row {
        const char *situation;
        const char *a;
        const char *b;
        bool overlap;
        bool aIsWithinB;
    };
    const Row rows[] = {
        {"the same", "/a/Photos", "/a/Photos", true, true},
        {"below", "/a/Photos/2024", "/a/Photos", true, true},
        {"above", "/a", "/a/Photos", true, false},
        {"only the name begins alike", "/a/Photos 2", "/a/Photos", false, false},
        {"beside", "/a/b", "/a/c", false, false},
        {"below the root folder", "/a", "/", true, true},
        {"the root folder twice", "/", "/", true, true},
        {"other case", "/a/PHOTOS/x", "/a/photos", true, false},
        {"other case beyond ASCII", "/a/BÜCHER/x", "/a/bücher", true, false},
    };
    for (const Row &row : rows) {
        EXPECT_EQ(Paths::overlap(row.a, row.b), row.overlap) << row.situation;
        EXPECT_EQ(Paths::overlap(row.b, row.a), row.overlap) << row.situation << ", turned round";
        EXPECT_EQ(Paths::isWithin(row.a, row.b), row.aIsWithinB) << row.situation;
    }
    EXPECT_TRUE(Paths::overlap("/a/x/../b/", "//a/b"));
    EXPECT_FALSE(Paths::overlap("/a/b/../c", "/a/b"));
}

} // namespace
