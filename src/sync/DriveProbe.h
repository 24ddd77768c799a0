#pragma once

#include "platform/FolderAnchor.h"
#include "sync/PairPlan.h"

#include <chrono>

/// Finding out whether a drive is still there. One bad file on a healthy drive is not a drive that has gone.
namespace DriveProbe {

/// Whether the error number is one with which reads and writes fail when a drive goes.
bool isDriveError(int error);

/// Whether any file of the original folder other than `failed` can still be read from the drive itself; a few are
/// tried.
bool canReadAnother(const FolderAnchor &original, const PairPlan &plan, const PlannedCopy &failed);

/// Whether a file can still be written to the disk in the open folder. Leaves nothing behind.
bool canWrite(int folder);

} // namespace DriveProbe

/// Asks now and then whether a folder is still in place, so that asking before every file costs nothing.
class FolderWatch {
  public:
    explicit FolderWatch(const FolderAnchor &watched) : anchor(watched) {}

    /// Fails with std::system_error (ENODEV) when the folder's path leads elsewhere; looks at most every 100 ms.
    void check();

  private:
    using Clock = std::chrono::steady_clock;

    const FolderAnchor &anchor;
    Clock::time_point last;
};
