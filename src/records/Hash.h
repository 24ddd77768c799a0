#pragma once

#include <QHashFunctions>

#include <cstddef>
#include <filesystem>
#include <optional>
#include <type_traits>

/// Hashes of records that compare equal field by field.
namespace Hash {

template <typename Field>
std::size_t of(const Field &field) {
    if constexpr (std::is_enum_v<Field>)
        return static_cast<std::size_t>(field);
    else
        return qHash(field);
}
inline std::size_t of(const std::filesystem::path &path) {
    return std::filesystem::hash_value(path);
}
template <typename Field>
std::size_t of(const std::optional<Field> &field) {
    constexpr std::size_t absent = 0x5bd1e995;
    return field ? of(*field) : absent;
}

/// One hash over all of `fields`, in which their order counts.
template <typename... Fields>
std::size_t ofAll(const Fields &...fields) {
    std::size_t hash = 0;
    ((hash ^= of(fields) + 0x9e3779b97f4a7c15u + (hash << 6) + (hash >> 2)), ...);
    return hash;
}

} // namespace Hash
