#pragma once

#include "records/AppConfig.h"
#include "records/SyncRun.h"

#include <QString>

#include <filesystem>
#include <optional>
#include <vector>

/// The application's own two files, the settings and the history of runs, in one folder. Nothing here throws: troubles
/// with the settings go to the log, troubles with the history nowhere. For one thread, and one process at a time. What
/// is made is the user's alone; a file that is replaced keeps its permissions.
namespace Store {

/// The folder of both files: TARNWICK_SUPPORT_DIR as it stands, else "Support" in the test root, else "Tarnwick Basic"
/// in the user's data folder. Made with any missing parents; a failure to do so is ignored.
std::filesystem::path supportDir();

/// Whether TARNWICK_SUPPORT_DIR is set (also to nothing) or a test root is active.
bool isTestMode();

/// The stored settings, or fresh ones when there is nothing usable; without the folders where only their list can't be
/// understood. So that the next save costs the user nothing, a file that can't be understood is copied to
/// "config-unreadable-SECONDS.json" beside it, and one that can't be read or copied is given that name by the next
/// save.
AppConfig loadConfig();

/// The stored settings for whoever only wants to know something of them; fresh ones when there is nothing usable.
/// Changes nothing on the disk.
AppConfig peekConfig();

/// Replaces the settings file in one step. Returns none when that is done; otherwise the reason, which is logged, too,
/// and the old file stays.
[[nodiscard]] std::optional<QString> save(const AppConfig &config);

/// The stored runs, newest first; none when there is nothing usable.
std::vector<SyncRun> loadHistory();

/// Replaces the history file in one step; a failure is dropped and the old file stays. May run on a thread of its own.
void save(const std::vector<SyncRun> &history);

} // namespace Store
