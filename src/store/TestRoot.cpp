#include "store/TestRoot.h"

#include "base/Paths.h"
#include "base/Text.h"

#include <cerrno>
#include <cstdlib>
#include <fstream>
#include <string>
#include <system_error>

namespace TestRoot {

namespace {

constexpr const char *variable = "TARNWICK_TEST_ROOT";
constexpr const char *marker = ".tarnwick-test-root";

/// Never destroyed: threads that nobody waits for may look for it to the end of the process.
std::optional<fs::path> &active = *new std::optional<fs::path>;

} // namespace

std::optional<QString> bootstrapFromEnvironment() {
    const char *value = std::getenv(variable);
    if (active || !value || *value == '\0')
        return std::nullopt;
    const fs::path root = Paths::standardised(value);
    std::error_code error;
    if (fs::is_directory(root, error) && fs::symlink_status(root / marker, error).type() != fs::file_type::not_found &&
        !error) {
        active = root;
        return std::nullopt;
    }
    return QLatin1String(variable) + QStringLiteral(" is set to “") + Text::fromBytes(value) +
           QStringLiteral("”, but that folder doesn't exist or has no ") + QLatin1String(marker) +
           QStringLiteral(" marker. Not starting, so nothing real is touched.");
}

fs::path prepare(const fs::path &root) {
    const fs::path top = Paths::standardised(root);
    for (const char *folder : {"Home/Library/CloudStorage", "Home/Library/Logs", "Volumes", "Support"})
        fs::create_directories(top / folder);
    std::ofstream file(top / marker, std::ios::trunc | std::ios::binary);
    file << "Tarnwick Basic test root: safe to delete.\n" << std::flush;
    if (!file)
        throw fs::filesystem_error("cannot write the marker", top / marker,
                                   std::error_code(errno != 0 ? errno : EIO, std::generic_category()));
    return top;
}

const std::optional<fs::path> &url() {
    return active;
}

bool isActive() {
    return active.has_value();
}

void set(std::optional<fs::path> root) {
    active = std::move(root);
}

} // namespace TestRoot
