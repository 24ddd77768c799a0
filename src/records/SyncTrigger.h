#pragma once

#include "json/RawText.h"

#include <QString>

#include <array>

/// What started a run.
enum class SyncTrigger { manual, driveConnected, launch };

/// The stored texts, in the order of the cases.
constexpr std::array<QLatin1StringView, 3> rawTexts(SyncTrigger) {
    return {QLatin1StringView("manual"), QLatin1StringView("driveConnected"), QLatin1StringView("launch")};
}

/// What the user reads: "Sync Now", "Drive connected" or "At startup".
QString label(SyncTrigger trigger);
