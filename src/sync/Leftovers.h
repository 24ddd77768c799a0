#pragma once

#include "platform/FolderAnchor.h"
#include "sync/PairPlan.h"

/// Temporary files of this program that an interrupted run left in a backup folder.
namespace Leftovers {

/// Whether it is a file that was moved aside during a swap. It may be the only old version, so it stays until the pair
/// has finished without errors.
bool isOldVersion(const PlannedLeftover &leftover);

/// Whether the file that the old version was moved aside for stands in its folder again. False also when that can't be
/// told.
bool targetStands(const FolderAnchor &backup, const PlannedLeftover &oldVersion);

/// Removes a file that no other process has locked, or a link. Failures are ignored.
void remove(const FolderAnchor &backup, const PlannedLeftover &leftover);

} // namespace Leftovers
