#include "base/Paths.h"
#include "base/Text.h"
#include "store/Locations.h"

namespace Locations {

namespace {

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

std::optional<QString> relativePath(const fs::path &url, const fs::path &base, Disk &disk) {
    if (std::optional<QString> asGiven = relativeText(url, base))
        return asGiven;
    const fs::path path = Paths::standardised(url);
    const fs::path top = Paths::standardised(base);
    if (std::optional<QString> standard = relativeText(path, top))
        return standard;
    return relativeText(disk.resolved(path), disk.resolved(top));
}

bool overlap(const fs::path &a, const fs::path &b) {
    return Paths::overlap(a, b) || Paths::overlap(resolved(a), resolved(b));
}

std::optional<ResolvedFolder> resolveOriginal(const FolderPair &pair, const std::vector<VolumeInfo> &volumes,
                                              Disk &disk) {
    const auto folderOn = [&](const fs::path &top) {
        // Joined as text: a stored path that begins with "/" must not replace the drive's.
        return pair.sourceRelPath.isEmpty() ? top : fs::path(top.native() + '/' + Text::toBytes(pair.sourceRelPath));
    };
    if (pair.volumeUUID == homeKey) {
        const VolumeInfo home = homeDrive(disk);
        return ResolvedFolder{home, folderOn(home.url)};
    }
    for (const VolumeInfo &drive : volumes) {
        if (pair.volumeUUID && drive.uuid == pair.volumeUUID)
            return ResolvedFolder{drive, folderOn(drive.url)};
    }
    for (const VolumeInfo &drive : volumes) {
        if (drive.name != pair.volumeName)
            continue;
        const PathFacts facts = disk.look(folderOn(drive.url));
        if (facts.isFolder || !facts.isAnswered)
            return ResolvedFolder{drive, folderOn(drive.url)};
    }
    return std::nullopt;
}

} // namespace Locations
