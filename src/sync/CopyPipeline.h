#pragma once

#include "sync/Copier.h"
#include "sync/PairPlan.h"

#include <chrono>
#include <exception>
#include <functional>
#include <future>
#include <optional>
#include <set>
#include <variant>
#include <vector>

/// One planned copy on its way.
struct CopyInProgress {
    /// Why it was not staged, in words for the user.
    struct NotStaged {
        QString text;
    };
    /// What kept it from being published, yet to be judged.
    struct NotPublished {
        std::exception_ptr error;
    };

    const PlannedCopy *copy = nullptr;
    std::size_t number = 0;   ///< of the copy in its plan, from 1
    FileVersion version = {}; ///< of the original as it is copied
    /// What became of it so far. A copy that needed no staging comes as published.
    std::variant<NotStaged, StagedCopy, NotPublished, PublishedCopy> state = {};

    StagedCopy *staged() { return std::get_if<StagedCopy>(&state); }
};

/// Collects staged copies in batches. Each batch is flushed and then published on a thread of its own while the next
/// one is being staged; then its copies are handed back to be settled, always in the order in which they were added. So
/// nothing is published before its data is on disk, and the disk is never waited for while there is something to copy.
/// All operations on one thread.
class CopyPipeline {
  public:
    enum class Next { GoOn, Stop };
    /// Publishes one staged copy: changes its state to published or not, and never throws. Called on the batch's
    /// thread, or on the caller's while no batch's thread runs. After a failure nothing more is published before it has
    /// been settled.
    using Publish = std::function<void(CopyInProgress &item)>;
    /// Told on the caller's thread what became of one copy; `flushError` is the errno of a failed flush, else 0. With
    /// Stop, everything that is still waiting is dropped.
    using Settle = std::function<Next(CopyInProgress &item, int flushError)>;

    CopyPipeline(Publish publishCallback, Settle settleCallback)
        : publish(std::move(publishCallback)), settle(std::move(settleCallback)) {}
    ~CopyPipeline();

    /// Adds the next copy; may settle earlier ones.
    Next add(CopyInProgress item);

    /// Flushes, publishes and settles everything that was added.
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
    static bool isFlushed(const Batch &batch);
    static int flush(const std::set<TempVolume *> &volumes);
    int flushAndPublish(Batch &batch) const;
    void start();
    Next finish();
    bool isDone() const;
    void drop();

    Publish publish;
    Settle settle;
    Batch filling;
    Batch underWay; // belongs to its thread until `result` is there
    std::future<int> result;
    std::set<TempVolume *> published;
};
