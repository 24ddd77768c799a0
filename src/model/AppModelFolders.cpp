// The folder list of the model.

#include "base/Paths.h"
#include "base/Text.h"
#include "model/AppModel.h"
#include "store/Locations.h"

#include <algorithm>

#include <unistd.h>

namespace {

namespace fs = std::filesystem;

QString lastComponent(const fs::path &path) {
    return Text::fromBytes(Paths::lastComponent(Paths::standardised(path)));
}

bool isWritable(const fs::path &folder) {
    return ::access(folder.c_str(), W_OK | X_OK) == 0;
}

/// Whether `rel` below `base` really is `url`. Relative paths are found without regard to case, but most file systems
/// here tell capitals apart; and a path that is not UTF-8 can't be stored.
bool leadsTo(const fs::path &base, const QString &rel, const fs::path &url) {
    const fs::path joined = rel.isEmpty() ? base : fs::path(base.native() + '/' + Text::toBytes(rel));
    return Paths::standardised(joined) == Paths::standardised(url) ||
           Locations::resolved(joined) == Locations::resolved(url);
}

QString cantWrite(const fs::path &folder) {
    return QStringLiteral("Tarnwick can't write to “") + lastComponent(folder) +
           QStringLiteral("”. Pick a folder you have permission to change.");
}

QString cantBackUpFrom(const fs::path &original) {
    return QStringLiteral("“") + lastComponent(original) +
           QStringLiteral("” can't be backed up from there. Pick a folder inside your home folder or on a connected "
                          "drive.");
}

const QString noOneDrive = QStringLiteral(
    "OneDrive wasn't found on this computer. Install and sign in to OneDrive, or choose its folder in Settings.");
const QString outsideOneDrive =
    QStringLiteral("Tarnwick Basic backs up to OneDrive. Choose a folder inside OneDrive (not OneDrive's top folder).");
const QString overlapping =
    QStringLiteral("The backup folder can't be inside the original folder (or the other way round).");

QString keyOf(const FolderPair &pair) {
    return pair.volumeUUID ? *pair.volumeUUID : QStringLiteral("name:") + pair.volumeName;
}

} // namespace

std::optional<QString> AppModel::addPair(const Path &originalFolder, const Path &backupFolder) {
    const Path original = Paths::standardised(originalFolder);
    const Path backup = Paths::standardised(backupFolder);
    refreshEnvironment();
    const std::optional<Source> source = locateSource(original);
    if (!source)
        return cantBackUpFrom(original);
    if (const Locations::OneDriveInUse &oneDrive = around.oneDrive; !oneDrive.root)
        return oneDrive.mountPoint ? Locations::notMounted(*oneDrive.mountPoint) : noOneDrive;
    const std::optional<QString> backupRel = oneDriveRelativePath(backup);
    if (!backupRel)
        return outsideOneDrive;
    if (overlaps(original, backup))
        return overlapping;
    if (std::optional<QString> problem = backupFolderProblem(backup))
        return problem;

    const auto same = std::find_if(settings.pairs.begin(), settings.pairs.end(), [&](const FolderPair &pair) {
        return keyOf(pair) == source->volume.id() && pair.sourceRelPath == source->rel;
    });
    if (same != settings.pairs.end()) {
        pointTo(QUuid(same->id), *backupRel);
        return std::nullopt;
    }
    AppConfig next = settings;
    next.pairs.push_back({.volumeUUID = source->volume.uuid,
                          .volumeName = source->volume.name,
                          .sourceRelPath = source->rel,
                          .backupRelPath = *backupRel});
    setConfig(next);
    return std::nullopt;
}

std::optional<QString> AppModel::setBackup(const QUuid &id, const Path &backupFolder) {
    const Path backup = Paths::standardised(backupFolder);
    const std::optional<std::size_t> index = pairIndex(id);
    if (!index)
        return QStringLiteral("That folder isn't in the list any more.");
    const std::optional<Path> original = originalURL(settings.pairs[*index]);
    if (original && overlaps(*original, backup))
        return overlapping;
    const std::optional<QString> backupRel = oneDriveRelativePath(backup);
    if (!backupRel)
        return outsideOneDrive;
    if (std::optional<QString> problem = backupFolderProblem(backup))
        return problem;
    pointTo(id, *backupRel);
    return std::nullopt;
}

void AppModel::pointTo(const QUuid &id, const QString &backupRelPath) {
    changePair(id, [&](FolderPair &pair) { pair.backupRelPath = backupRelPath; });
    changePair(id, [](FolderPair &pair) { pair.enabled = true; });
}

void AppModel::changePair(const QUuid &id, const std::function<void(FolderPair &)> &change) {
    const std::optional<std::size_t> index = pairIndex(id);
    if (!index)
        return;
    AppConfig next = settings;
    change(next.pairs[*index]);
    setConfig(next);
}

void AppModel::setEnabled(const QUuid &id, bool enabled) {
    changePair(id, [=](FolderPair &pair) { pair.enabled = enabled; });
}

void AppModel::remove(const QUuid &id) {
    AppConfig next = settings;
    std::erase_if(next.pairs, [&](const FolderPair &pair) { return pair.id == id; });
    setConfig(next);
}

std::optional<AppModel::Source> AppModel::locateSource(const Path &url) const {
    const auto sourceOn = [&](const VolumeInfo &drive) -> std::optional<Source> {
        const std::optional<QString> rel = Locations::relativePath(url, drive.url);
        if (!rel || !leadsTo(drive.url, *rel, url) || (drive.uuid == Locations::homeKey && rel->isEmpty()))
            return std::nullopt;
        return Source{drive, *rel};
    };
    if (const std::optional<VolumeInfo> drive = Locations::volume(url, around.drives)) {
        if (std::optional<Source> source = sourceOn(*drive))
            return source;
        // Only its name differs in capitals: the drive that really holds the folder may be another one.
    }
    const std::optional<Path> top = Locations::containingVolume(url);
    if (!top)
        return std::nullopt;
    for (const VolumeInfo &drive : around.drives) {
        if (Paths::standardised(drive.url) == Paths::standardised(*top))
            return sourceOn(drive);
    }
    const std::optional<VolumeInfo> drive = Locations::volumeInfo(*top);
    return drive ? sourceOn(*drive) : std::nullopt;
}

std::optional<QString> AppModel::oneDriveRelativePath(const Path &url) const {
    const std::optional<Path> root = oneDriveRoot();
    if (!root)
        return std::nullopt;
    const std::optional<QString> rel = Locations::relativePath(url, *root);
    return rel && !rel->isEmpty() && leadsTo(*root, *rel, url) ? rel : std::nullopt;
}

bool AppModel::overlaps(const Path &a, const Path &b) {
    return Locations::overlap(a, b);
}

std::optional<QString> AppModel::backupFolderProblem(const Path &url) {
    if (Locations::isFolder(url))
        return isWritable(url) ? std::nullopt : std::optional(cantWrite(url));
    const Path parent = Paths::standardised(url).parent_path();
    if (!Locations::isFolder(parent))
        return QStringLiteral("The place for the backup (“") + lastComponent(parent) +
               QStringLiteral("”) isn't available. Open OneDrive and make sure it is signed in.");
    if (!isWritable(parent))
        return QStringLiteral("Tarnwick can't create a folder in “") + lastComponent(parent) +
               QStringLiteral("”. Pick a folder you have permission to change.");
    return std::nullopt;
}

std::optional<QString> AppModel::chooseOneDrive(const std::optional<Path> &folder) {
    AppConfig next = settings;
    next.oneDriveRootPath.reset();
    next.oneDriveMountPoint.reset();
    if (folder) {
        const Path chosen = Paths::standardised(*folder);
        if (std::optional<QString> problem = Locations::oneDriveRefusal(chosen))
            return problem;
        next.oneDriveRootPath = Text::fromPath(chosen);
    }
    setConfig(next);
    refreshEnvironment(); // the same folder may lie on another mount by now
    return std::nullopt;
}
