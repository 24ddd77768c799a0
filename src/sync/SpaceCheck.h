#pragma once

#include "sync/PairPlan.h"

#include <QString>

#include <optional>
#include <vector>

/// Whether the volumes of the backups have room for what is planned.
namespace SpaceCheck {

/// Kept free on every volume; not part of the amount told.
inline constexpr std::int64_t margin = 300LL * 1024 * 1024;

/// The bytes that a plan needs: its new files and once more its largest copy, which stands beside an old version until
/// it is swapped in.
std::int64_t need(const PairPlan &plan);

/// The free bytes of a volume; none when unknown.
std::optional<std::int64_t> freeSpace(const std::filesystem::path &volume);

/// The sentence that refuses the run, or none. An unknown free space never blocks one.
std::optional<QString> spaceProblem(const std::vector<const PairPlan *> &plans);

} // namespace SpaceCheck
