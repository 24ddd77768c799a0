#pragma once

#include <QLatin1StringView>

#include <cstddef>

/// An enumeration that is stored as text: rawTexts(case) gives the texts of all cases in their order.
template <typename Case>
concept StoredAsText = requires(Case value) {
    rawTexts(value).size();
};

/// The text that `value` is stored as.
template <StoredAsText Case>
constexpr QLatin1StringView rawText(Case value) {
    return rawTexts(value)[static_cast<std::size_t>(value)];
}
