#pragma once

#include <QString>

#include <filesystem>
#include <optional>

/// The folder that stands in for the home folder, the drives and the settings folder, so that automated runs never
/// touch real data. Set at most once, before any other thread exists; only read afterwards.
namespace TestRoot {

namespace fs = std::filesystem;

/// Takes the test root from TARNWICK_TEST_ROOT, unless one is set already. Returns none, also when the variable is
/// missing or empty; otherwise the sentence that says why the program must not start.
std::optional<QString> bootstrapFromEnvironment();

/// Makes the layout and the marker of a test root at `root` and returns its standardised path; does not set it. Fails
/// with std::system_error (std::filesystem::filesystem_error included).
fs::path prepare(const fs::path &root);

/// The active test root, standardised and absolute, or none.
const std::optional<fs::path> &url();
bool isActive();

/// Makes `root` (standardised) the active test root, or none. Only for the entry point of the tests and the self-test.
void set(std::optional<fs::path> root);

} // namespace TestRoot
