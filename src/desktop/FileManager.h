#pragma once

#include <filesystem>

/// The desktop's file manager and its choice of applications. Nothing here waits or fails visibly. For the main thread.
namespace FileManager {

/// Opens a window that shows `path` selected; where the file manager can't do that, the folder that holds it.
void show(const std::filesystem::path &path);

/// Opens the file or folder in the application that the desktop has for it.
void open(const std::filesystem::path &path);

} // namespace FileManager
