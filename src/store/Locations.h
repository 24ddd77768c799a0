#pragma once

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

/// The key and the name of the drive that the home folder counts as.
inline const QString homeKey = QStringLiteral("this-mac-home");
inline const QString homeName = QStringLiteral("This Mac");

fs::path homeURL();

/// Whether an existing folder stands at `path`; a link to one counts.
bool isFolder(const fs::path &path);

/// `path` with the links in it resolved as far as it exists; `path` itself when that can't be told.
fs::path resolved(const fs::path &path);

/// The user's cache folder: XDG_CACHE_HOME or "~/.cache"; ".cache" in the test root's home when one is active.
fs::path cacheFolder();

/// The path for showing, with the home folder shortened to "~". Compares plain text, so "/home/ann" shortens
/// "/home/anna" too.
QString tildePath(const fs::path &url);

/// The connected external drives in the order of a file browser: local file systems mounted below "/media/",
/// "/run/media/" or "/mnt/", or the folders in the test root's "Volumes".
std::vector<VolumeInfo> externalVolumes();

/// The external drive whose top folder is `url`, or none.
std::optional<VolumeInfo> volumeInfo(const fs::path &url);

/// The OneDrive folders found, in preference order.
std::vector<fs::path> oneDriveRoots();

/// `url` relative to `base`: empty when they are the same, none when `url` lies elsewhere. Compares without case, as
/// given, then standardised, then with links resolved; the answer keeps the capitals of `url`.
std::optional<QString> relativePath(const fs::path &url, const fs::path &base);

/// The drive among `volumes` that holds `url`, the innermost one first; else "This Mac" for a folder below the home
/// folder; else none.
std::optional<VolumeInfo> volume(const fs::path &containing, const std::vector<VolumeInfo> &volumes);

/// The top folder of the volume that holds the nearest existing ancestor of `url`, or none.
std::optional<fs::path> containingVolume(const fs::path &url);

/// The name of the volume whose top folder is `url`: its label, else the last component of the path.
QString volumeName(const fs::path &url);

/// The file-system type of the volume that holds `url`, as the comparison rules name it ("msdos" for FAT); empty when
/// unknown.
QString fileSystemType(const fs::path &url);

struct ResolvedFolder {
    VolumeInfo volume;
    fs::path folder;
    bool operator==(const ResolvedFolder &) const = default;
};

/// Where the pair's original folder is right now; none when its drive is not connected.
std::optional<ResolvedFolder> resolveOriginal(const FolderPair &pair, const std::vector<VolumeInfo> &volumes);

} // namespace Locations
