#pragma once

#include <string>
#include <vector>

/// The application in the status area, with its window.
namespace Application {

/// Runs until the user quits; returns the exit status. Where the application runs already on these settings, it is
/// told to do what is asked here, and this process ends. "--login" says that the desktop starts it at login,
/// "--service" that it was started to be told something, "--action NAME" what it is to do at once.
int run(const std::vector<std::string> &arguments);

} // namespace Application
