#pragma once

#include "platform/FolderAnchor.h"
#include "sync/PairPlan.h"

/// Temporary files of this program that an interrupted run left in a backup folder.
namespace Leftovers {

/// Whether it is a file that was moved aside during a swap. It may be the only old version, so it stays until the pair
/// has finished without errors.
bool isOldVersion(const PlannedLeftover &leftover);

/// Whether it is a file whose own place in its folder is empty, or when that can't be told.
bool isOnlyVersion(const FolderAnchor &backup, const PlannedLeftover &oldVersion);

/// Removes a file that no other process has locked, or a link. Failures are ignored.
void remove(const FolderAnchor &backup, const PlannedLeftover &leftover);

} // namespace Leftovers
