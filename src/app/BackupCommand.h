#pragma once

#include <string>
#include <vector>

/// "--backup": one folder backed up once, without settings, history, profile or log.
namespace BackupCommand {

/// Runs the command with the process's arguments (without the program name) and returns the exit status.
int run(const std::vector<std::string> &arguments);

} // namespace BackupCommand
