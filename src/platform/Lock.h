#pragma once

/// What this program has under way is locked, so that another process never mistakes it for a leftover.
namespace Lock {

/// Locks the open file or folder until it is closed; false when another process holds it or the file system knows no
/// locks. Never waits.
bool tryLock(int descriptor);

} // namespace Lock
