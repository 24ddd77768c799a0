#include "base/Paths.h"
#include "base/Text.h"
#include "store/Locations.h"

namespace Locations {

namespace {

std::optional<QString> relativeAsGiven(const fs::path &url, const fs::path &base) {
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
    if (std::optional<QString> text = relativeText(url, base))
        return text;
    return relativeAsGiven(disk.resolved(url), disk.resolved(base));
}

std::optional<QString> relativeText(const fs::path &url, const fs::path &base) {
    if (std::optional<QString> asGiven = relativeAsGiven(url, base))
        return asGiven;
    return relativeAsGiven(Paths::standardised(url), Paths::standardised(base));
}

bool overlap(const fs::path &a, const fs::path &b, Disk &disk) {
    return Paths::overlap(a, b) || Paths::overlap(disk.resolved(a), disk.resolved(b));
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
