#include "store/Locations.h"

#include "base/Collation.h"
#include "base/Paths.h"
#include "base/Text.h"
#include "platform/FileFacts.h"
#include "platform/MountTable.h"
#include "platform/VolumeIdentity.h"
#include "store/TestRoot.h"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <pwd.h>
#include <string_view>

#include <fcntl.h>
#include <unistd.h>

namespace Locations {

namespace {

/// The entries of a folder in the system's order, without hidden ones; empty when it can't be listed.
std::vector<fs::path> visibleEntries(const fs::path &folder) {
    std::vector<fs::path> entries;
    std::error_code error;
    for (fs::directory_iterator entry(folder, error), end; !error && entry != end; entry.increment(error)) {
        if (!entry->path().filename().native().starts_with('.'))
            entries.push_back(entry->path());
    }
    return entries;
}

const MountEntry *mountOf(const MountTable &table, const fs::path &url) {
    fs::path path = Paths::standardised(url);
    std::optional<FileFacts> facts;
    while (!(facts = lookAt(AT_FDCWD, path.c_str(), LinkAtEnd::IsFollowed)) && path != path.root_path())
        path = path.parent_path();
    if (!facts)
        return nullptr;
    const MountEntry *mount = table.withId(static_cast<int>(facts->mountId));
    return mount ? mount : table.covering(path);
}

// Drives

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

bool isDrive(const MountTable &table, const MountEntry &entry) {
    return isBelowDriveFolder(entry.mountPoint) && entry.mountPoint.native().find("/.") == std::string::npos &&
           isLocalStorage(entry.type) && !isStartUpDisk(table, entry) && table.isReachable(entry) &&
           ::access(entry.mountPoint.c_str(), X_OK) == 0;
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

std::vector<VolumeInfo> mountedDrives() {
    const MountTable table = MountTable::read();
    std::vector<MountEntry> kept;
    std::vector<VolumeInfo> drives;
    for (const MountEntry &entry : table.entries()) {
        const auto same = [&](const MountEntry &other) { return isSameDevice(entry, other); };
        if (!isDrive(table, entry) || std::any_of(kept.begin(), kept.end(), same))
            continue;
        kept.push_back(entry);
        drives.push_back(describe(entry));
    }
    return drives;
}

VolumeInfo describeFake(const fs::path &folder) {
    VolumeInfo drive;
    drive.url = folder;
    drive.name = Text::fromBytes(Paths::lastComponent(folder));
    drive.fsType = fileSystemType(folder);
    return drive;
}

std::vector<VolumeInfo> fakeDrives() {
    std::vector<VolumeInfo> drives;
    for (const fs::path &entry : visibleEntries(*TestRoot::url() / "Volumes")) {
        if (isFolder(entry))
            drives.push_back(describeFake(entry));
    }
    return drives;
}

VolumeInfo homeDrive() {
    VolumeInfo drive;
    drive.url = homeURL();
    drive.name = homeName;
    drive.uuid = homeKey;
    drive.fsType = fileSystemType(drive.url);
    return drive;
}

// OneDrive

bool isOneDriveFolder(const fs::path &entry) {
    std::error_code error;
    return entry.filename().native().starts_with("OneDrive") && !fs::is_symlink(entry, error) && isFolder(entry) &&
           ::access(entry.c_str(), R_OK) == 0;
}

bool isLeftOver(const QString &name) {
    return name.contains(u'(');
}

// Relative paths

QString lowered(const fs::path &path) {
    return Text::fromPath(path).toLower();
}

std::optional<QString> relativeText(const fs::path &url, const fs::path &base) {
    const QString path = Text::fromPath(url);
    QString top = Text::fromPath(base);
    if (path == top)
        return QString();
    if (!top.endsWith(u'/'))
        top += u'/';
    if (!path.toLower().startsWith(top.toLower()))
        return std::nullopt;
    return path.mid(top.size());
}

} // namespace

bool isFolder(const fs::path &path) {
    std::error_code error;
    return fs::is_directory(path, error);
}

fs::path resolved(const fs::path &path) {
    std::error_code error;
    fs::path result = fs::weakly_canonical(path, error);
    return error ? path : Paths::standardised(result);
}

fs::path homeURL() {
    if (TestRoot::isActive())
        return *TestRoot::url() / "Home";
    const char *home = std::getenv("HOME");
    if (home && *home == '/')
        return Paths::standardised(home);
    const passwd *user = ::getpwuid(::getuid());
    return Paths::standardised(user && user->pw_dir ? user->pw_dir : "/");
}

fs::path cacheFolder() {
    const char *cache = std::getenv("XDG_CACHE_HOME");
    if (!TestRoot::isActive() && cache && *cache == '/')
        return Paths::standardised(cache);
    return homeURL() / ".cache";
}

QString tildePath(const fs::path &url) {
    const QString home = Text::fromPath(homeURL());
    const QString path = Text::fromPath(url);
    return path.startsWith(home) ? QStringLiteral("~") + path.mid(home.size()) : path;
}

std::vector<VolumeInfo> externalVolumes() {
    std::vector<VolumeInfo> drives = TestRoot::isActive() ? fakeDrives() : mountedDrives();
    std::stable_sort(drives.begin(), drives.end(),
                     [](const VolumeInfo &a, const VolumeInfo &b) { return Collation::less(a.name, b.name); });
    return drives;
}

std::optional<VolumeInfo> volumeInfo(const fs::path &url) {
    const fs::path top = Paths::standardised(url);
    if (TestRoot::isActive()) {
        if (top.parent_path() != *TestRoot::url() / "Volumes" || !isFolder(top))
            return std::nullopt;
        return describeFake(top);
    }
    const MountTable table = MountTable::read();
    for (const MountEntry &entry : table.entries()) {
        if (entry.mountPoint == top && isDrive(table, entry))
            return describe(entry);
    }
    return std::nullopt;
}

std::vector<fs::path> oneDriveRoots() {
    std::vector<fs::path> roots;
    for (const fs::path &place : {homeURL() / "Library/CloudStorage", homeURL()}) {
        for (const fs::path &entry : visibleEntries(place)) {
            if (isOneDriveFolder(entry) && std::find(roots.begin(), roots.end(), entry) == roots.end())
                roots.push_back(entry);
        }
    }
    std::stable_sort(roots.begin(), roots.end(), [](const fs::path &a, const fs::path &b) {
        const QString first = Text::fromPath(a.filename());
        const QString second = Text::fromPath(b.filename());
        return isLeftOver(first) != isLeftOver(second) ? isLeftOver(second) : Collation::less(first, second);
    });
    return roots;
}

std::optional<QString> relativePath(const fs::path &url, const fs::path &base) {
    if (std::optional<QString> asGiven = relativeText(url, base))
        return asGiven;
    const fs::path path = Paths::standardised(url);
    const fs::path top = Paths::standardised(base);
    if (std::optional<QString> standard = relativeText(path, top))
        return standard;
    return relativeText(resolved(path), resolved(top));
}

std::optional<VolumeInfo> volume(const fs::path &containing, const std::vector<VolumeInfo> &volumes) {
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
    const std::optional<QString> inHome = relativePath(containing, homeURL());
    if (inHome && !inHome->isEmpty())
        return homeDrive();
    return std::nullopt;
}

std::optional<fs::path> containingVolume(const fs::path &url) {
    const MountTable table = MountTable::read();
    const MountEntry *mount = mountOf(table, url);
    return mount ? std::optional(mount->mountPoint) : std::nullopt;
}

QString volumeName(const fs::path &url) {
    const MountTable table = MountTable::read();
    const MountEntry *mount = mountOf(table, url);
    return mount ? nameOf(*mount) : Text::fromBytes(Paths::lastComponent(url));
}

QString fileSystemType(const fs::path &url) {
    const MountTable table = MountTable::read();
    const MountEntry *mount = mountOf(table, url);
    return mount ? Text::fromBytes(fileSystemTypeName(*mount)) : QString();
}

std::optional<ResolvedFolder> resolveOriginal(const FolderPair &pair, const std::vector<VolumeInfo> &volumes) {
    const auto folderOn = [&](const fs::path &top) {
        // Joined as text: a stored path that begins with "/" must not replace the drive's.
        return pair.sourceRelPath.isEmpty() ? top : fs::path(top.native() + '/' + Text::toBytes(pair.sourceRelPath));
    };
    if (pair.volumeUUID == homeKey) {
        const VolumeInfo home = homeDrive();
        return ResolvedFolder{home, folderOn(home.url)};
    }
    for (const VolumeInfo &drive : volumes) {
        if (pair.volumeUUID && drive.uuid == pair.volumeUUID)
            return ResolvedFolder{drive, folderOn(drive.url)};
    }
    for (const VolumeInfo &drive : volumes) {
        if (drive.name == pair.volumeName && isFolder(folderOn(drive.url)))
            return ResolvedFolder{drive, folderOn(drive.url)};
    }
    return std::nullopt;
}

} // namespace Locations
