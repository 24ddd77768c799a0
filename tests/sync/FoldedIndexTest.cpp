#include "sync/FoldedIndex.h"

#include <gtest/gtest.h>
#include <map>

namespace {

TEST(FoldedIndex, FindsEveryEntryInTheOrderOfAdding) {
    constexpr std::uint32_t count = 20'000;
    FoldedIndex index(count);
    std::map<std::string, std::vector<std::uint32_t>> expected;
    for (std::uint32_t entry = 0; entry < count; ++entry) {
        // A fresh text each time: the index must not point into the caller's.
        const std::string name = "name " + std::to_string(entry * 7919 % 9000);
        const auto [place, isFirst] = expected.try_emplace(name);
        place->second.push_back(entry);
        ASSERT_EQ(index.add(name, entry), place->second.front());
        ASSERT_EQ(isFirst, place->second.front() == entry);
    }
    for (const auto &[name, entries] : expected) {
        std::vector<std::uint32_t> found;
        for (std::uint32_t i = index.first(name); i != FoldedIndex::none; i = index.next(i))
            found.push_back(i);
        ASSERT_EQ(found, entries) << name;
    }
    for (const char *other : {"", "name", "name 9000", "name 1 ", "Name 1"})
        EXPECT_EQ(index.first(other), FoldedIndex::none) << other;
}

TEST(FoldedIndex, WithoutRoomNothingIsFound) {
    EXPECT_EQ(FoldedIndex(0).first("a"), FoldedIndex::none);
}

} // namespace
