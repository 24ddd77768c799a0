#pragma once

#include "platform/Mover.h"
#include "sync/Published.h"
#include "sync/SyncRules.h"

/// Putting a complete copy under its final name. What stands there is replaced in one step or not at all.
namespace Swap {

/// Moves `copy` to `target` if what stands there is what was planned for (`planned`; null: nothing). Otherwise decides
/// anew between `original` and what stands there now. `copy` is gone afterwards when the result is Added or Updated,
/// and untouched otherwise. Fails with std::system_error (EXDEV: the two are not on one volume) or CopyError; then the
/// file at `target` is as it was.
Published intoPlace(Mover &mover, NameAt copy, NameAt target, const FileVersion &original, const FileVersion *planned,
                    const SyncRules &rules);

} // namespace Swap
