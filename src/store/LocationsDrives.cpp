#include "base/Collation.h"
#include "base/Paths.h"
#include "base/Text.h"
#include "platform/MountTable.h"
#include "platform/VolumeIdentity.h"
#include "store/Locations.h"
#include "store/TestRoot.h"

#include <algorithm>
#include <array>
#include <string_view>

#include <unistd.h>

namespace Locations {

namespace {

bool isBelowDriveFolder(const fs::path &mountPoint) {
    static constexpr std::array<std::string_view, 3> prefixes = {"/media/", "/run/media/", "/mnt/"};
    return std::any_of(prefixes.begin(), prefixes.end(), [&](std::string_view prefix) {
        const std::string &path = mountPoint.native();
        return path.size() > prefix.size() && path.starts_with(prefix);
    });
}

/// A folder of the start-up disk that is mounted elsewhere as well (a bind mount) is no drive.
bool isStartUpDisk(const MountTable &table, const MountEntry &entry) {
    const MountEntry *startUp = table.covering("/");
    return startUp && startUp->device == entry.device;
}

bool isDrive(const MountEntry &entry, Disk &disk) {
    const MountTable &table = disk.mounts();
    const auto mayBeEntered = [&] {
        const PathFacts facts = disk.look(entry.mountPoint);
        return !facts.isAnswered || facts.canEnter;
    };
    return isBelowDriveFolder(entry.mountPoint) && entry.mountPoint.native().find("/.") == std::string::npos &&
           isLocalStorage(entry.type) && !isStartUpDisk(table, entry) && table.isReachable(entry) && mayBeEntered();
}

bool isSameDevice(const MountEntry &a, const MountEntry &b) {
    // The subvolumes of one btrfs drive differ in their device numbers.
    const bool sameSource = a.source == b.source && a.source.starts_with("/dev/") && a.source != "/dev/fuse";
    return a.device == b.device || sameSource;
}

QString nameOf(const MountEntry &entry) {
    const std::optional<std::string> label = VolumeIdentity::label(entry);
    return Text::fromBytes(label ? *label : Paths::lastComponent(entry.mountPoint));
}

VolumeInfo describe(const MountEntry &entry) {
    const std::optional<std::string> uuid = VolumeIdentity::uuid(entry);
    VolumeInfo drive;
    drive.url = entry.mountPoint;
    drive.name = nameOf(entry);
    if (uuid)
        drive.uuid = Text::fromBytes(*uuid);
    drive.fsType = Text::fromBytes(fileSystemTypeName(entry));
    return drive;
}

std::vector<VolumeInfo> mountedDrives(Disk &disk) {
    std::vector<MountEntry> kept;
    std::vector<VolumeInfo> drives;
    for (const MountEntry &entry : disk.mounts().entries()) {
        const auto same = [&](const MountEntry &other) { return isSameDevice(entry, other); };
        if (!isDrive(entry, disk) || std::any_of(kept.begin(), kept.end(), same))
            continue;
        kept.push_back(entry);
        drives.push_back(describe(entry));
    }
    return drives;
}

VolumeInfo describeFake(const fs::path &folder, Disk &disk) {
    VolumeInfo drive;
    drive.url = folder;
    drive.name = Text::fromBytes(Paths::lastComponent(folder));
    drive.fsType = fileSystemType(folder, disk);
    return drive;
}

std::vector<VolumeInfo> fakeDrives(Disk &disk) {
    std::vector<VolumeInfo> drives;
    for (const FolderItem &item : disk.visibleItems(*TestRoot::url() / "Volumes")) {
        const PathFacts facts = disk.look(item.path);
        if (facts.isFolder || !facts.isAnswered)
            drives.push_back(describeFake(item.path, disk));
    }
    return drives;
}

QString lowered(const fs::path &path) {
    return Text::fromPath(path).toLower();
}

} // namespace

VolumeInfo homeDrive(Disk &disk) {
    VolumeInfo drive;
    drive.url = homeURL();
    drive.name = homeName;
    drive.uuid = homeKey;
    drive.fsType = fileSystemType(drive.url, disk);
    return drive;
}

std::vector<VolumeInfo> externalVolumes(Disk &disk) {
    std::vector<VolumeInfo> drives = TestRoot::isActive() ? fakeDrives(disk) : mountedDrives(disk);
    std::stable_sort(drives.begin(), drives.end(),
                     [](const VolumeInfo &a, const VolumeInfo &b) { return Collation::less(a.name, b.name); });
    return drives;
}

std::optional<VolumeInfo> volumeInfo(const fs::path &url, Disk &disk) {
    const fs::path top = Paths::standardised(url);
    if (TestRoot::isActive()) {
        if (top.parent_path() != *TestRoot::url() / "Volumes" || !disk.isFolder(top))
            return std::nullopt;
        return describeFake(top, disk);
    }
    for (const MountEntry &entry : disk.mounts().entries()) {
        if (entry.mountPoint == top && isDrive(entry, disk))
            return describe(entry);
    }
    return std::nullopt;
}

std::optional<VolumeInfo> volume(const fs::path &containing, const std::vector<VolumeInfo> &volumes, Disk &disk) {
    const QString path = lowered(Paths::standardised(containing));
    const VolumeInfo *best = nullptr;
    qsizetype bestLength = -1;
    for (const VolumeInfo &drive : volumes) {
        const QString top = lowered(Paths::standardised(drive.url));
        if ((path == top || path.startsWith(top + u'/')) && top.size() > bestLength) {
            best = &drive;
            bestLength = top.size();
        }
    }
    if (best)
        return *best;
    const std::optional<QString> inHome = relativePath(containing, homeURL(), disk);
    if (inHome && !inHome->isEmpty())
        return homeDrive(disk);
    return std::nullopt;
}

std::optional<fs::path> containingVolume(const fs::path &url, Disk &disk) {
    const MountEntry *mount = disk.holding(url);
    return mount ? std::optional(mount->mountPoint) : std::nullopt;
}

QString volumeName(const fs::path &url) {
    DirectDisk disk;
    const MountEntry *mount = disk.holding(url);
    return mount ? nameOf(*mount) : Text::fromBytes(Paths::lastComponent(url));
}

QString fileSystemType(const fs::path &url, Disk &disk) {
    const MountEntry *mount = disk.holding(url);
    return mount ? Text::fromBytes(fileSystemTypeName(*mount)) : QString();
}

} // namespace Locations
