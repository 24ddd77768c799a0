#pragma once

#include "sync/Copier.h"
#include "sync/PairPlan.h"

#include <chrono>
#include <functional>
#include <future>
#include <optional>
#include <set>
#include <vector>

/// One planned copy on its way: staged, or failed with what is to be told of it.
struct CopyInProgress {
    const PlannedCopy *copy = nullptr;
    std::optional<StagedCopy> staged;
    QString failure; ///< for the user; meaningful when not staged
};

/// Collects staged copies in batches, has each batch flushed on a thread of its own while the next one is being staged, and
/// hands the copies back for publishing, always in the order in which they were added. So nothing is published before its
/// data is on disk, and the disk is never waited for while there is something to copy. Used on one thread.
class CopyPipeline {
  public:
    enum class Next { GoOn, Stop };
    /// Told what became of one copy; `flushError` is the errno of a failed flush, else 0. With Stop, everything that is
    /// still waiting is dropped.
    using Settle = std::function<Next(CopyInProgress &item, int flushError)>;

    explicit CopyPipeline(Settle settleCallback) : settle(std::move(settleCallback)) {}
    ~CopyPipeline();

    /// Adds the next copy; may settle earlier ones.
    Next add(CopyInProgress item);

    /// Flushes and settles everything that was added.
    Next drain();

    /// Brings the final names of everything published so far onto the disk. 0 on success, else the errno.
    int flushPublished();

  private:
    using Clock = std::chrono::steady_clock;

    struct Batch {
        std::vector<CopyInProgress> items;
        std::set<TempVolume *> volumes;
        std::int64_t bytes = 0;
        std::size_t besideTarget = 0;
        Clock::time_point begun;
    };

    static bool isFull(const Batch &batch);
    static int flush(const std::set<TempVolume *> &volumes);
    void startFlush();
    Next finishFlush();
    bool isFlushDone() const;
    void drop();

    Settle settle;
    Batch filling;
    Batch flushing;
    std::future<int> flushResult;
    std::set<TempVolume *> published;
};
