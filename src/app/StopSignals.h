#pragma once

#include "sync/CancelToken.h"

#include <functional>

/// Stopping a run from outside.
namespace StopSignals {

/// From now on the first SIGINT, SIGTERM or SIGHUP cancels the token, and a second one ends the process at once with
/// status 130. `then` is called after the cancel, on a thread of its own. Where no thread can be started, a signal goes
/// on ending the process as it always does: no file is ever half-made. Call this once, before any other thread exists;
/// `token` must live as long as the process.
void cancelOnSignal(CancelToken &token, std::function<void()> then = nullptr);

} // namespace StopSignals
