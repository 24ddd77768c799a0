#include "sync/FoldedIndex.h"

#include <gtest/gtest.h>
#include <map>

namespace {

TEST(FoldedIndex, FindsEveryEntryInTheOrderOfAdding) {
    FoldedIndex index(20'000);
    std::map<std::string, std::vector<std::uint32_t>> expected;
    for (std::uint32_t entry = 0; entry < 20'000; ++entry) {
        // A fresh text each time: the index must not point into the caller's.
        const std::string name = "name " + std::to_string(entry * 7919 % 9000);
        expected[name].push_back(entry);
        ASSERT_EQ(index.add(name, entry), expected[name].front());
    }
    for (const auto &[name, entries] : expected) {
        std::vector<std::uint32_t> found;
        for (std::uint32_t i = index.first(name); i != FoldedIndex::none; i = index.next(i))
            found.push_back(i);
        ASSERT_EQ(found, entries) << name;
    }
    EXPECT_EQ(index.first("name 9000"), FoldedIndex::none);
    EXPECT_EQ(FoldedIndex(0).first("a"), FoldedIndex::none);
}

} // namespace
