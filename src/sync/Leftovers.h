#pragma once

#include "platform/FolderAnchor.h"
#include "sync/PairPlan.h"

/// Temporary files of this program that an interrupted run left in a backup folder.
namespace Leftovers {

/// Whether it is a file that was moved aside during a swap. It may be the only old version, so it stays until the pair
/// has finished without errors.
bool isOldVersion(const PlannedLeftover &leftover);

/// Removes it, unless another process has it locked or it is no plain file. Failures are ignored.
void remove(const FolderAnchor &backup, const PlannedLeftover &leftover);

} // namespace Leftovers
