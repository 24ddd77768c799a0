#pragma once

#include "sync/PairPlan.h"

#include <array>
#include <memory>
#include <utility>

/// Keeps the few folders open that were asked for last: a plan's copies come folder by folder.
template <typename Folder>
class FolderCache {
  public:
    /// The folder for this record: the one kept, or what `open` gives (a std::shared_ptr<const Folder>; may throw).
    template <typename Open>
    std::shared_ptr<const Folder> get(const PlanFolder *record, Open open) {
        for (const Kept &entry : kept) {
            if (entry.record == record)
                return entry.folder;
        }
        Kept &slot = kept[next];
        slot = {};
        slot = {record, open()};
        next = (next + 1) % kept.size();
        return slot.folder;
    }

    void clear() { kept = {}; }

  private:
    struct Kept {
        const PlanFolder *record = nullptr;
        std::shared_ptr<const Folder> folder;
    };

    std::array<Kept, 4> kept;
    std::size_t next = 0;
};
