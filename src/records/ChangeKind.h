#pragma once

#include "json/RawText.h"

#include <array>

/// What a copy did: `added` a file that was new in the backup, or `updated` one that was there.
enum class ChangeKind { added, updated };

/// The stored texts, in the order of the cases.
constexpr std::array<QLatin1StringView, 2> rawTexts(ChangeKind) {
    return {QLatin1StringView("added"), QLatin1StringView("updated")};
}
