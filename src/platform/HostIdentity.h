#pragma once

#include <filesystem>
#include <optional>
#include <string>

/// Which computer this is.
namespace HostIdentity {

/// The machine's identifier, 32 lower-case hexadecimal digits, the same until the system is installed anew; none when
/// the system has none.
std::optional<std::string> machineId(const std::filesystem::path &file = "/etc/machine-id");

/// The computer's name as it calls itself; empty when it has none.
std::string displayName();

} // namespace HostIdentity
