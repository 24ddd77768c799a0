#pragma once

#include <functional>

/// The way from any thread to the main thread, which nobody ever waits for.
namespace MainThread {

/// Runs `task` on the main thread in one of the next turns of its event loop. Dropped when the application is gone, or
/// goes before its turn comes.
void post(std::function<void()> task);

} // namespace MainThread
