#pragma once

#include <chrono>
#include <functional>
#include <memory>

/// Runs tasks one after another on a thread of its own, in the order in which they were posted. The thread starts with
/// the first task and is never joined: a task may hang on a dead drive, and nobody is to hang with it.
class SerialQueue {
  public:
    using Task = std::function<void()>;

    SerialQueue();
    SerialQueue(const SerialQueue &) = delete;
    SerialQueue &operator=(const SerialQueue &) = delete;
    /// What was posted is still run, as long as the process lives.
    ~SerialQueue();

    /// Returns at once; may be called from any thread. `task` must not throw. Where no thread can be had it is run
    /// here and now.
    void post(Task task);

    /// Waits until everything posted so far has been run, for `limit` at most; false when that was not enough.
    bool drain(std::chrono::milliseconds limit);

  private:
    struct State;

    static void work(const std::shared_ptr<State> &state);

    std::shared_ptr<State> state; // shared with the thread, which may outlive the queue
};
