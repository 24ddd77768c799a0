#include "model/Surroundings.h"

#include "base/Text.h"

namespace {

namespace fs = std::filesystem;

std::optional<fs::path> backupOf(const FolderPair &pair, const std::optional<fs::path> &oneDrive) {
    if (!oneDrive || pair.backupRelPath.isEmpty())
        return oneDrive;
    // Joined as text: a stored path that begins with "/" must not replace OneDrive's.
    return fs::path(oneDrive->native() + '/' + Text::toBytes(pair.backupRelPath));
}

} // namespace

Surroundings Surroundings::look(const AppConfig &settings, Disk &disk) {
    Surroundings now;
    now.drives = Locations::externalVolumes(disk);
    now.oneDriveFolders = Locations::oneDriveFolders(disk);
    now.oneDrive =
        Locations::oneDriveInUse(settings.oneDriveRootPath, settings.oneDriveMountPoint, now.oneDriveFolders, disk);
    if (now.oneDrive.root)
        now.mountPointToKeep = Locations::mountPointToKeep(*now.oneDrive.root, disk);
    for (const FolderPair &pair : settings.pairs) {
        Pair &found = now.pairs[pair.id];
        found.original = Locations::resolveOriginal(pair, now.drives, disk);
        found.backup = backupOf(pair, now.oneDrive.root);
        found.backupExists = found.backup && disk.isFolder(*found.backup);
    }
    return now;
}
