#pragma once

#include "sync/CancelToken.h"

/// Stopping a run from outside.
namespace StopSignals {

/// From now on the first SIGINT, SIGTERM or SIGHUP cancels the token, and a second one ends the process at once with
/// status 130. Call it once, before any other thread exists; `token` must live as long as the process.
void cancelOnSignal(CancelToken &token);

} // namespace StopSignals
