#pragma once

#include <string>
#include <vector>

/// The built-in self-test: the real model, engine and stores, end to end, in a fresh test root of its own.
namespace SelfTestSuite {

/// Runs all suites and prints every failed check and a summary on standard output. `arguments` are those after
/// "--selftest"; with "--keep" the test root stays. Needs a QCoreApplication, and the process for itself: it changes
/// the environment and the active test root. Returns 0 when every check passed, 1 when one failed, 2 without a test
/// root.
int run(const std::vector<std::string> &arguments);

} // namespace SelfTestSuite
