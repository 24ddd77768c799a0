#include "base/SerialQueue.h"

#include <condition_variable>
#include <deque>
#include <mutex>
#include <system_error>
#include <thread>

struct SerialQueue::State {
    std::mutex mutex;
    std::condition_variable arrived;
    std::condition_variable idle;
    std::deque<Task> tasks;
    bool hasThread = false;
    bool isBusy = false;
    bool isClosed = false;
};

SerialQueue::SerialQueue() : state(std::make_shared<State>()) {
}

SerialQueue::~SerialQueue() {
    const std::lock_guard lock(state->mutex);
    state->isClosed = true;
    state->arrived.notify_one();
}

void SerialQueue::post(Task task) {
    std::unique_lock lock(state->mutex);
    if (!state->hasThread) {
        try {
            std::thread([shared = state] { work(shared); }).detach();
            state->hasThread = true;
        } catch (const std::system_error &) {
            lock.unlock();
            return task();
        }
    }
    state->tasks.push_back(std::move(task));
    state->arrived.notify_one();
}

bool SerialQueue::drain(std::chrono::milliseconds limit) {
    std::unique_lock lock(state->mutex);
    return state->idle.wait_for(lock, limit, [this] { return state->tasks.empty() && !state->isBusy; });
}

void SerialQueue::work(const std::shared_ptr<State> &state) {
    std::unique_lock lock(state->mutex);
    for (;;) {
        state->arrived.wait(lock, [&] { return !state->tasks.empty() || state->isClosed; });
        if (state->tasks.empty())
            return;
        Task task = std::move(state->tasks.front());
        state->tasks.pop_front();
        state->isBusy = true;
        lock.unlock();
        task();
        task = nullptr; // whatever it holds goes before anyone is told that it is done
        lock.lock();
        state->isBusy = false;
        if (state->tasks.empty())
            state->idle.notify_all();
    }
}
