#pragma once

#include <string>
#include <vector>

/// The application in the status area, with its window.
namespace Application {

/// Runs until the user quits; returns the exit status. Where the application runs already on these settings, it is
/// told to do what is asked here, and this process ends. Arguments that it doesn't know keep it from starting.
int run(const std::vector<std::string> &arguments);

} // namespace Application
