#pragma once

#include <string>

/// Runs `command` in the shell, which finds the system's programs, too, and returns what it printed without the end of
/// the last line. Where it fails, this throws a std::runtime_error with all that it said.
std::string shell(const std::string &command);
