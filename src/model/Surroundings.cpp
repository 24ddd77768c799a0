#include "model/Surroundings.h"

#include "base/Paths.h"
#include "base/Text.h"
#include "store/TestRoot.h"

namespace {

namespace fs = std::filesystem;

std::optional<fs::path> backupOf(const FolderPair &pair, const std::optional<fs::path> &oneDrive) {
    if (!oneDrive || pair.backupRelPath.isEmpty())
        return oneDrive;
    // Joined as text: a stored path that begins with "/" must not replace OneDrive's.
    return fs::path(oneDrive->native() + '/' + Text::toBytes(pair.backupRelPath));
}

QString nameOf(const fs::path &folder) {
    return Text::fromBytes(Paths::lastComponent(Paths::standardised(folder)));
}

/// A folder in the home folder may lie on a mount of its own.
QString placeOf(const Locations::ResolvedFolder &original, Disk &disk) {
    if (original.volume.uuid != Locations::homeKey)
        return original.volume.name;
    const MountEntry *mount = disk.mounts().covering(disk.resolved(original.folder));
    return mount && Paths::isWithin(mount->mountPoint, original.volume.url) && mount->mountPoint != original.volume.url
               ? nameOf(mount->mountPoint)
               : Locations::shownHomeName;
}

/// Whether it can't become another one as soon as everything has answered.
bool isSure(const Locations::OneDriveInUse &oneDrive, bool isAnswered, Disk &disk) {
    if (oneDrive.root)
        return disk.look(*oneDrive.root).isAnswered && disk.look(Locations::homeURL()).isAnswered;
    return isAnswered || oneDrive.state == Locations::OneDriveInUse::State::NotMounted;
}

std::optional<QString> silentOriginal(const FolderPair &pair, const Surroundings::Pair &found, bool drivesAreSure,
                                      Disk &disk) {
    if (!found.original)
        return drivesAreSure ? std::nullopt : std::optional(pair.volumeName);
    return disk.look(found.original->folder).isAnswered ? std::nullopt : std::optional(placeOf(*found.original, disk));
}

std::optional<QString> silentBackup(const Surroundings::Pair &pair, const Surroundings &around, Disk &disk) {
    if (around.oneDriveIsSure && (!pair.backup || disk.look(*pair.backup).isAnswered))
        return std::nullopt;
    return around.oneDrive.root ? nameOf(*around.oneDrive.root) : QStringLiteral("OneDrive");
}

} // namespace

Surroundings Surroundings::look(const AppConfig &settings, const Surroundings &before, Disk &disk) {
    Surroundings now;
    now.drives = Locations::externalVolumes(disk);
    // Otherwise the mount table lists them, and one that doesn't answer is there.
    const bool drivesAreSure = !TestRoot::isActive() || disk.unanswered() == 0;
    for (const VolumeInfo &drive : now.drives) {
        if (!disk.look(drive.url).isAnswered)
            now.silentDrives.insert(drive.url);
    }
    const std::size_t unanswered = disk.unanswered();
    now.oneDriveFolders = Locations::oneDriveFolders(disk);
    now.oneDrive =
        Locations::oneDriveInUse(settings.oneDriveRootPath, settings.oneDriveMountPoint, now.oneDriveFolders, disk);
    now.oneDriveIsSure = isSure(now.oneDrive, disk.unanswered() == unanswered, disk);
    if (!now.oneDriveIsSure && before.oneDrive.root)
        now.oneDrive = before.oneDrive;
    else if (!now.oneDriveIsSure && !now.oneDrive.root)
        now.oneDrive = {.state = Locations::OneDriveInUse::State::Unknown};
    if (now.oneDrive.root)
        now.mountPointToKeep = Locations::mountPointToKeep(*now.oneDrive.root, disk);
    for (const FolderPair &pair : settings.pairs) {
        Pair &found = now.pairs[pair.id];
        found.original = Locations::resolveOriginal(pair, now.drives, disk);
        found.backup = backupOf(pair, now.oneDrive.root);
        found.backupExists = found.backup && disk.isFolder(*found.backup);
        found.silentPlace = silentOriginal(pair, found, drivesAreSure, disk);
        if (!found.silentPlace)
            found.silentPlace = silentBackup(found, now, disk);
    }
    return now;
}

const Surroundings::Pair &Surroundings::of(const FolderPair &pair) const {
    static const Pair nothing;
    const auto at = pairs.find(pair.id);
    return at == pairs.end() ? nothing : at->second;
}

QString Surroundings::silence(const QString &place) {
    return QStringLiteral("“") + place + QStringLiteral("” isn't answering");
}

AppConfig Surroundings::withMountPoint(AppConfig settings) const {
    // Beside a missing choice what is remembered may be the missing folder's.
    if (oneDrive.root && (!oneDrive.goneChoice || mountPointToKeep))
        settings.oneDriveMountPoint =
            mountPointToKeep ? std::optional(Text::fromPath(*mountPointToKeep)) : std::nullopt;
    return settings;
}

std::optional<QString> Surroundings::oneDriveNotice() const {
    const Locations::OneDriveInUse &now = oneDrive;
    if (now.state == Locations::OneDriveInUse::State::NotMounted)
        return Locations::notMounted(*now.mountPoint);
    if (now.state == Locations::OneDriveInUse::State::Unknown)
        return std::nullopt;
    if (now.goneChoice && now.root)
        return QStringLiteral("The chosen OneDrive folder (") + Locations::tildePath(*now.goneChoice) +
               QStringLiteral(") wasn't found, so backups go to ") + Locations::tildePath(*now.root) +
               QStringLiteral(". Choose your OneDrive folder in Settings.");
    if (now.goneChoice)
        return QStringLiteral("OneDrive wasn't found (") + Locations::tildePath(*now.goneChoice) +
               QStringLiteral("). Start your OneDrive client, or choose your OneDrive folder in Settings.");
    if (!now.root)
        return QStringLiteral("OneDrive wasn't found on this computer. Open Settings to choose your OneDrive folder.");
    return std::nullopt;
}
