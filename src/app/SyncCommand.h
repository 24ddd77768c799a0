#pragma once

#include <string>
#include <vector>

/// "--sync": what Sync Now does, without a window.
namespace SyncCommand {

/// Runs the command with the process's arguments (without the program name) and returns the exit status.
int run(const std::vector<std::string> &arguments);

} // namespace SyncCommand
