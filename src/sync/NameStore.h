#pragma once

#include <algorithm>
#include <cstring>
#include <memory>
#include <string_view>
#include <vector>

/// Keeps many short names in few large blocks. A name stays where it is for the life of the store, also when the store
/// is moved.
class NameStore {
  public:
    /// The stored copy of `name`, followed by a NUL byte.
    std::string_view add(std::string_view name) {
        if (name.size() + 1 > left) {
            left = std::max(blockSize, name.size() + 1);
            blocks.push_back(std::make_unique_for_overwrite<char[]>(left));
            next = blocks.back().get();
        }
        char *copy = next;
        std::memcpy(copy, name.data(), name.size());
        copy[name.size()] = '\0';
        next += name.size() + 1;
        left -= name.size() + 1;
        return {copy, name.size()};
    }

  private:
    static constexpr std::size_t blockSize = 32 * 1024;

    std::vector<std::unique_ptr<char[]>> blocks;
    char *next = nullptr;
    std::size_t left = 0;
};
