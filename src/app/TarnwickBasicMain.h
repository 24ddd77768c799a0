#pragma once

/// The entry point: sets up the test root and chooses the mode from the command line.
namespace TarnwickBasicMain {

/// Exit statuses that are the same in every mode.
enum ExitStatus { Clean = 0, Trouble = 1, WrongUsage = 2, Refused = 3, Stopped = 130 };

/// Runs the process and returns its exit status.
int run(int argc, char **argv);

} // namespace TarnwickBasicMain
