#pragma once

/// The application with its window.
namespace Application {

/// Runs until the window is closed; returns the exit status.
int run();

} // namespace Application
