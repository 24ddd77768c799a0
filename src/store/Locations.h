#pragma once

#include "platform/Disk.h"
#include "records/FolderPair.h"
#include "records/VolumeInfo.h"

#include <QString>

#include <filesystem>
#include <optional>
#include <vector>

/// Where things are: the home folder, the drives, the OneDrive folders, and which drive holds a folder. With a test
/// root active everything comes from inside it and the real places are never looked at. Stateless; safe on any thread.
/// Nothing here fails: what can't be read is no drive, no folder, no answer.
namespace Locations {

namespace fs = std::filesystem;

// Places

/// The key and the name of the drive that the home folder counts as, as they are stored.
inline const QString homeKey = QStringLiteral("this-mac-home");
inline const QString homeName = QStringLiteral("This Mac");
/// How that drive is called where it is shown.
inline const QString shownHomeName = QStringLiteral("This computer");

fs::path homeURL();

/// Whether an existing folder stands at `path`; a link to one counts.
bool isFolder(const fs::path &path);

/// `path` with the links in it resolved as far as it exists; `path` itself when that can't be told.
fs::path resolved(const fs::path &path);

/// A path that was stored as text, made absolute (against the home folder, which a leading "~" stands for, too) and
/// standardised. None when no path can read like that.
std::optional<fs::path> storedPath(const QString &text);

/// The user's cache folder: XDG_CACHE_HOME or "~/.cache"; ".cache" in the test root's home when one is active.
fs::path cacheFolder();

/// The user's folder of configurations: XDG_CONFIG_HOME or "~/.config"; ".config" in the test root's home when one is
/// active.
fs::path configFolder();

/// The path for showing, with the home folder shortened to "~". Compares plain text, so "/home/ann" shortens
/// "/home/anna" too.
QString tildePath(const fs::path &url);

// Drives

/// The connected external drives in the order of a file browser: local file systems mounted below "/media/",
/// "/run/media/" or "/mnt/", or the folders in the test root's "Volumes".
std::vector<VolumeInfo> externalVolumes(Disk &disk);

/// The external drive whose top folder is `url`, or none.
std::optional<VolumeInfo> volumeInfo(const fs::path &url, Disk &disk);

/// The drive that the home folder counts as.
VolumeInfo homeDrive(Disk &disk);

/// The drive among `volumes` that holds `url`, the innermost one first; else "This Mac" for a folder below the home
/// folder; else none.
std::optional<VolumeInfo> volume(const fs::path &containing, const std::vector<VolumeInfo> &volumes, Disk &disk);

/// The top folder of the volume that holds the nearest existing ancestor of `url`, or none.
std::optional<fs::path> containingVolume(const fs::path &url, Disk &disk);

/// The name of the volume whose top folder is `url`: its label, else the last component of the path.
QString volumeName(const fs::path &url);

/// The file-system type of the volume that holds `url`, as the comparison rules name it ("msdos" for FAT); empty when
/// unknown.
QString fileSystemType(const fs::path &url, Disk &disk);

// OneDrive folders

struct OneDriveFolder {
    fs::path url;
    QString what; ///< what keeps it in sync, such as "rclone mount onedrive:"; empty when nothing is known of it
    bool operator==(const OneDriveFolder &) const = default;
};

/// The OneDrive folders found, in preference order.
std::vector<OneDriveFolder> oneDriveFolders(Disk &disk);

/// Their places alone.
std::vector<fs::path> oneDriveRoots();

/// The folder that backups go to, or why there is none.
struct OneDriveInUse {
    enum class State {
        Unknown, ///< the disks have not been looked at, or don't answer
        Ready,
        NotFound,
        NotMounted
    };

    State state = State::NotFound;
    std::optional<fs::path> root = {}; ///< only when ready
    std::optional<fs::path> goneChoice =
        {}; ///< the folder chosen by hand, when it isn't there and not merely unmounted
    std::optional<fs::path> mountPoint = {}; ///< that must hold it; none when the home folder's mount does
    bool operator==(const OneDriveInUse &) const = default;
};

/// The chosen folder where it exists, else the first one of `found`. `keptMount` is the mount point that held it when
/// it was last seen: while nothing is mounted there, what stands in its place is not OneDrive.
OneDriveInUse oneDriveInUse(const std::optional<QString> &chosen, const std::optional<QString> &keptMount,
                            const std::vector<OneDriveFolder> &found, Disk &disk);

/// The mount point that has to be remembered for a folder: of the innermost mount that holds it, unless the home folder
/// lies on the same one.
std::optional<fs::path> mountPointToKeep(const fs::path &folder, Disk &disk);

/// Whether the mount point `top` holds `folder` at present, itself or by a mount further in.
bool isHeldBy(const fs::path &folder, const fs::path &top, Disk &disk);

/// The sentence for a OneDrive folder whose mount point is bare.
QString notMounted(const fs::path &mountPoint);

/// Why a folder (its path standardised) can't be the one that backups go to; none when it can.
std::optional<QString> oneDriveRefusal(const fs::path &folder, Disk &disk);

// Paths of pairs

/// `url` relative to `base`: empty when they are the same, none when `url` lies elsewhere. Compares without case, as
/// given, then standardised, then with links resolved; the answer keeps the capitals of `url`.
std::optional<QString> relativePath(const fs::path &url, const fs::path &base, Disk &disk);

/// The same by the text of both paths alone.
std::optional<QString> relativeText(const fs::path &url, const fs::path &base);

/// Whether the two folders are the same or one lies inside the other: as they are written, without regard to case, or
/// with their links resolved.
bool overlap(const fs::path &a, const fs::path &b, Disk &disk);

struct ResolvedFolder {
    VolumeInfo volume;
    fs::path folder;
    bool operator==(const ResolvedFolder &) const = default;
};

/// Where the pair's original folder is right now; none when its drive is not connected.
std::optional<ResolvedFolder> resolveOriginal(const FolderPair &pair, const std::vector<VolumeInfo> &volumes,
                                              Disk &disk);

// The same, asking at once and waiting.

inline std::vector<VolumeInfo> externalVolumes() {
    DirectDisk disk;
    return externalVolumes(disk);
}
inline std::optional<VolumeInfo> volumeInfo(const fs::path &url) {
    DirectDisk disk;
    return volumeInfo(url, disk);
}
inline std::optional<VolumeInfo> volume(const fs::path &containing, const std::vector<VolumeInfo> &volumes) {
    DirectDisk disk;
    return volume(containing, volumes, disk);
}
inline std::optional<fs::path> containingVolume(const fs::path &url) {
    DirectDisk disk;
    return containingVolume(url, disk);
}
inline QString fileSystemType(const fs::path &url) {
    DirectDisk disk;
    return fileSystemType(url, disk);
}
inline std::vector<OneDriveFolder> oneDriveFolders() {
    DirectDisk disk;
    return oneDriveFolders(disk);
}
inline OneDriveInUse oneDriveInUse(const std::optional<QString> &chosen, const std::optional<QString> &keptMount,
                                   const std::vector<OneDriveFolder> &found) {
    DirectDisk disk;
    return oneDriveInUse(chosen, keptMount, found, disk);
}
inline std::optional<fs::path> mountPointToKeep(const fs::path &folder) {
    DirectDisk disk;
    return mountPointToKeep(folder, disk);
}
inline std::optional<QString> relativePath(const fs::path &url, const fs::path &base) {
    DirectDisk disk;
    return relativePath(url, base, disk);
}
inline bool overlap(const fs::path &a, const fs::path &b) {
    DirectDisk disk;
    return overlap(a, b, disk);
}
inline std::optional<ResolvedFolder> resolveOriginal(const FolderPair &pair, const std::vector<VolumeInfo> &volumes) {
    DirectDisk disk;
    return resolveOriginal(pair, volumes, disk);
}

} // namespace Locations
