#pragma once

#include <atomic>

/// The one thing that a running sync shares with the main thread: a flag that is set once and never cleared. Both
/// operations may be called on any thread.
class CancelToken {
  public:
    void cancel() { flag.store(true, std::memory_order_release); }
    bool isCancelled() const { return flag.load(std::memory_order_acquire); }

  private:
    // Atomic instead of a lock: it is asked for every file, and a signal handler may set it.
    std::atomic<bool> flag = false;
};
