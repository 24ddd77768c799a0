#include "platform/VolumeIdentity.h"

#include <system_error>

#include <sys/stat.h>
#include <sys/sysmacros.h>

namespace VolumeIdentity {

namespace {

namespace fs = std::filesystem;

int hexDigit(char c) {
    if (c >= '0' && c <= '9')
        return c - '0';
    if (c >= 'a' && c <= 'f')
        return c - 'a' + 10;
    return c >= 'A' && c <= 'F' ? c - 'A' + 10 : -1;
}

/// udev writes every byte that is unusual in a file name as "\x" and two hexadecimal digits.
std::string unescaped(const std::string &name) {
    std::string result;
    for (std::size_t i = 0; i < name.size(); ++i) {
        if (name.compare(i, 2, "\\x") == 0 && i + 3 < name.size() && hexDigit(name[i + 2]) >= 0 &&
            hexDigit(name[i + 3]) >= 0) {
            result += static_cast<char>(hexDigit(name[i + 2]) * 16 + hexDigit(name[i + 3]));
            i += 3;
        } else {
            result += name[i];
        }
    }
    return result;
}

/// The name of the link that leads to the entry's device.
std::optional<std::string> linkTo(const MountEntry &entry, const fs::path &links) {
    struct stat device = {};
    if (!entry.source.starts_with('/') || ::stat(entry.source.c_str(), &device) != 0 || !S_ISBLK(device.st_mode))
        return std::nullopt;
    std::error_code error;
    for (fs::directory_iterator link(links, error), end; !error && link != end; link.increment(error)) {
        struct stat target = {};
        if (::stat(link->path().c_str(), &target) == 0 && S_ISBLK(target.st_mode) && target.st_rdev == device.st_rdev)
            return unescaped(link->path().filename().native());
    }
    return std::nullopt;
}

} // namespace

std::optional<std::string> uuid(const MountEntry &entry, const fs::path &links) {
    return linkTo(entry, links);
}

std::optional<std::string> label(const MountEntry &entry, const fs::path &links) {
    return linkTo(entry, links);
}

namespace {

/// The object path ends in the device's name; every byte that is no letter or digit stands as "_" and two
/// hexadecimal digits.
std::string deviceNameOf(std::string_view object) {
    object.remove_prefix(object.rfind('/') + 1);
    std::string name;
    for (std::size_t i = 0; i < object.size(); ++i) {
        const bool isEscape = object[i] == '_' && i + 2 < object.size();
        name += isEscape ? static_cast<char>(hexDigit(object[i + 1]) * 16 + hexDigit(object[i + 2])) : object[i];
        i += isEscape ? 2 : 0;
    }
    return name;
}

} // namespace

std::vector<fs::path> mountPointsOf(std::string_view udisksObject) {
    const std::string device = "/dev/" + deviceNameOf(udisksObject);
    struct stat facts = {};
    const bool isBlock = ::stat(device.c_str(), &facts) == 0 && S_ISBLK(facts.st_mode);
    std::vector<fs::path> mountPoints;
    const MountTable table = MountTable::read();
    for (const MountEntry &entry : table.entries()) {
        // By number where the mount names the device otherwise (an encrypted drive), by name where the file system
        // has a number of its own (btrfs).
        if (entry.source == device || (isBlock && entry.device == facts.st_rdev))
            mountPoints.push_back(entry.mountPoint);
    }
    return mountPoints;
}

bool deviceExists(dev_t device) {
    if (major(device) == 0)
        return true;
    const fs::path devices = "/sys/dev/block";
    const fs::path entry = devices / (std::to_string(major(device)) + ':' + std::to_string(minor(device)));
    std::error_code error;
    if (!fs::exists(entry, error)) // in a chroot without /sys nothing tells
        return error != std::error_code() || !fs::exists(devices, error);
    // A loop device stays when its file is detached; only its "loop" folder goes.
    constexpr unsigned loopMajor = 7;
    return major(device) != loopMajor || fs::exists(entry / "loop", error);
}

} // namespace VolumeIdentity
