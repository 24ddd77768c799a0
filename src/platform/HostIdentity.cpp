#include "platform/HostIdentity.h"

#include "base/Text.h"

#include <algorithm>
#include <array>
#include <fstream>

#include <unistd.h>

namespace HostIdentity {

std::optional<std::string> machineId(const std::filesystem::path &file) {
    std::ifstream stream(file);
    std::string id;
    std::getline(stream, id);
    id = Text::asciiLower(id);
    const auto isHex = [](char c) { return (c >= '0' && c <= '9') || (c >= 'a' && c <= 'f'); };
    return id.size() == 32 && std::all_of(id.begin(), id.end(), isHex) ? std::optional(id) : std::nullopt;
}

std::string displayName() {
    std::array<char, 256> name = {};
    return ::gethostname(name.data(), name.size() - 1) == 0 ? name.data() : "";
}

} // namespace HostIdentity
