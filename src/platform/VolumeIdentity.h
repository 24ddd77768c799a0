#pragma once

#include "platform/MountTable.h"

#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

/// What udev knows of a mounted file system, read from its folder of links; the file system itself is never asked.
namespace VolumeIdentity {

/// The UUID of the file system on the entry's device as udev gives it, or none. `links` is the folder of the links.
std::optional<std::string> uuid(const MountEntry &entry, const std::filesystem::path &links = "/dev/disk/by-uuid");

/// The label of the file system, or none when it has none.
std::optional<std::string> label(const MountEntry &entry, const std::filesystem::path &links = "/dev/disk/by-label");

/// Where the block device is mounted that UDisks2 knows as the object `udisksObject`
/// ("/org/freedesktop/UDisks2/block_devices/sdb1").
std::vector<std::filesystem::path> mountPointsOf(std::string_view udisksObject);

/// Whether the device behind a mount still exists: its entry in sysfs and, for a loop device, its backing file. A
/// file system without a device of its own (tmpfs, FUSE) always answers true.
bool deviceExists(dev_t device);

} // namespace VolumeIdentity
