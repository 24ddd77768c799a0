#include "sync/FoldedIndex.h"

#include <bit>
#include <functional>

FoldedIndex::FoldedIndex(std::size_t capacity)
    : slots(std::bit_ceil(2 * capacity + 1), none), keys(capacity), following(capacity, none) {
}

std::size_t FoldedIndex::slotOf(std::string_view folded) const {
    const std::size_t mask = slots.size() - 1;
    std::size_t slot = std::hash<std::string_view>()(folded) & mask;
    while (slots[slot] != none && keys[slots[slot]] != folded)
        slot = (slot + 1) & mask;
    return slot;
}

std::uint32_t FoldedIndex::add(std::string_view folded, std::uint32_t entry) {
    const std::size_t slot = slotOf(folded);
    if (slots[slot] == none) {
        slots[slot] = entry;
        keys[entry] = names.add(folded);
        return entry;
    }
    std::uint32_t last = slots[slot];
    while (following[last] != none)
        last = following[last];
    following[last] = entry;
    return slots[slot];
}

std::uint32_t FoldedIndex::first(std::string_view folded) const {
    return slots[slotOf(folded)];
}
