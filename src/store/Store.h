#pragma once

#include "records/AppConfig.h"
#include "records/SyncRun.h"

#include <filesystem>
#include <vector>

/// The application's own two files, the settings and the history of runs, in one folder. Nothing here fails: troubles
/// with the settings go to the log, troubles with the history nowhere. For one thread, and one process at a time.
namespace Store {

/// The folder of both files: TARNWICK_SUPPORT_DIR as it stands, else "Support" in the test root, else "Tarnwick Basic"
/// in the user's data folder. Made with any missing parents; a failure to do so is ignored.
std::filesystem::path supportDir();

/// Whether TARNWICK_SUPPORT_DIR is set (also to nothing) or a test root is active.
bool isTestMode();

/// The stored settings, or fresh ones when there is nothing usable. A file that can't be understood is copied to
/// "config-unreadable-SECONDS.json" beside it first, so that the next save costs the user nothing.
AppConfig loadConfig();

/// The stored settings for whoever only wants to know something of them; fresh ones when there is nothing usable.
/// Changes nothing on the disk.
AppConfig peekConfig();

/// Replaces the settings file in one step. A failure is logged and the old file stays.
void save(const AppConfig &config);

/// The stored runs, newest first; none when there is nothing usable.
std::vector<SyncRun> loadHistory();

/// Replaces the history file in one step; a failure is dropped and the old file stays. May run on a thread of its own.
void save(const std::vector<SyncRun> &history);

} // namespace Store
