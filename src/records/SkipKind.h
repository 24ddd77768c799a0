#pragma once

#include "json/RawText.h"

#include <array>

/// Why an item was skipped: OneDrive can't store its `name`, or refuses its file `type`.
enum class SkipKind { name, type };

/// The stored texts, in the order of the cases.
constexpr std::array<QLatin1StringView, 2> rawTexts(SkipKind) {
    return {QLatin1StringView("name"), QLatin1StringView("type")};
}
