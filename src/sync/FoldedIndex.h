#pragma once

#include "sync/Lister.h"
#include "sync/NameStore.h"

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

/// Finds the entries of one folder by their folded names (see OneDriveNames::folded).
class FoldedIndex {
  public:
    static constexpr std::uint32_t none = 0xFFFFFFFF;

    /// Makes room for `capacity` entries; more must not be added.
    explicit FoldedIndex(std::size_t capacity);

    /// Adds the entry number `entry` (each number once, below the capacity). Returns the number of the first entry that
    /// was added under the same folded name, which is `entry` itself when it is the first.
    std::uint32_t add(std::string_view folded, std::uint32_t entry);

    /// The first entry added under the folded name, or `none`.
    std::uint32_t first(std::string_view folded) const;

    /// The entry added after this one under the same folded name, or `none`.
    std::uint32_t next(std::uint32_t entry) const { return following[entry]; }

  private:
    std::size_t slotOf(std::string_view folded) const;

    std::vector<std::uint32_t> slots; // a power of two, at most half full; holds first entries or `none`
    std::vector<std::string_view> keys;
    std::vector<std::uint32_t> following;
    NameStore names;
};
