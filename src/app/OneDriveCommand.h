#pragma once

#include <string>
#include <vector>

/// "--onedrive": which OneDrive folders there are and which one is used; with a folder, use that one.
namespace OneDriveCommand {

/// Runs the command with the process's arguments (without the program name) and returns the exit status.
int run(const std::vector<std::string> &arguments);

} // namespace OneDriveCommand
