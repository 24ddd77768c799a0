#pragma once

#include "records/SyncProgress.h"

#include <chrono>
#include <functional>

/// Passes on progress without flooding whoever shows it. Used on one thread.
class ProgressReporter {
  public:
    using Report = std::function<void(const SyncProgress &)>;

    explicit ProgressReporter(Report callback) : report(std::move(callback)) {}

    SyncProgress progress;

    /// Whether more than 0.12 seconds have passed since the last report.
    bool isDue() const { return Clock::now() - lastEmit > std::chrono::milliseconds(120); }

    /// Reports now.
    void emitNow() {
        lastEmit = Clock::now();
        report(progress);
    }

    /// Reports if a report is due.
    void emitThrottled() {
        if (isDue())
            emitNow();
    }

  private:
    using Clock = std::chrono::steady_clock;

    Report report;
    Clock::time_point lastEmit; // the epoch: long ago
};
