#pragma once

#include <filesystem>
#include <functional>

/// The desktop's file manager and its choice of applications. Nothing here waits. For the main thread.
namespace FileManager {

/// Opens a window that shows `path` selected; where the file manager can't do that, the folder that holds it.
void show(const std::filesystem::path &path);

/// Opens the file or folder in the application that the desktop has for it.
void open(const std::filesystem::path &path);

/// From now on `handler` is called with what could not be opened, be it that no application is there for it. Null for
/// nobody.
void whenFailed(std::function<void(const std::filesystem::path &path)> handler);

} // namespace FileManager
