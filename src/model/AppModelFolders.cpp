// The folder list of the model.

#include "base/Paths.h"
#include "base/Text.h"
#include "model/AppModel.h"
#include "store/Locations.h"

#include <algorithm>
#include <memory>

namespace {

namespace fs = std::filesystem;

QString lastComponent(const fs::path &path) {
    return Text::fromBytes(Paths::lastComponent(Paths::standardised(path)));
}

/// Whether `rel` below `base` really is `url`. Relative paths are found without regard to case, but most file systems
/// here tell capitals apart; and a path that is not UTF-8 can't be stored.
bool leadsTo(const fs::path &base, const QString &rel, const fs::path &url, Disk &disk) {
    const fs::path joined = rel.isEmpty() ? base : fs::path(base.native() + '/' + Text::toBytes(rel));
    return Paths::standardised(joined) == Paths::standardised(url) || disk.resolved(joined) == disk.resolved(url);
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

QString keyOf(const FolderPair &pair) {
    return pair.volumeUUID ? *pair.volumeUUID : QStringLiteral("name:") + pair.volumeName;
}

struct Source {
    VolumeInfo volume;
    QString rel;
};

/// Where a chosen original folder lives; none when it can't be backed up from there.
std::optional<Source> locateSource(const fs::path &url, const std::vector<VolumeInfo> &drives, Disk &disk) {
    const auto sourceOn = [&](const VolumeInfo &drive) -> std::optional<Source> {
        const std::optional<QString> rel = Locations::relativePath(url, drive.url, disk);
        if (!rel || !leadsTo(drive.url, *rel, url, disk) || (drive.uuid == Locations::homeKey && rel->isEmpty()))
            return std::nullopt;
        return Source{drive, *rel};
    };
    if (const std::optional<VolumeInfo> drive = Locations::volume(url, drives, disk)) {
        if (std::optional<Source> source = sourceOn(*drive))
            return source;
        // Only its name differs in capitals: the drive that really holds the folder may be another one.
    }
    const std::optional<fs::path> top = Locations::containingVolume(url, disk);
    if (!top)
        return std::nullopt;
    for (const VolumeInfo &drive : drives) {
        if (Paths::standardised(drive.url) == Paths::standardised(*top))
            return sourceOn(drive);
    }
    const std::optional<VolumeInfo> drive = Locations::volumeInfo(*top, disk);
    return drive ? sourceOn(*drive) : std::nullopt;
}

/// The folder relative to the OneDrive folder; none when it isn't below it.
std::optional<QString> oneDriveRelativePath(const fs::path &url, const std::optional<fs::path> &root, Disk &disk) {
    if (!root)
        return std::nullopt;
    const std::optional<QString> rel = Locations::relativePath(url, *root, disk);
    return rel && !rel->isEmpty() && leadsTo(*root, *rel, url, disk) ? rel : std::nullopt;
}

std::optional<QString> backupFolderProblem(const fs::path &url, Disk &disk) {
    if (const PathFacts facts = disk.look(url); facts.isFolder)
        return facts.canWrite ? std::nullopt : std::optional(cantWrite(url));
    const fs::path parent = Paths::standardised(url).parent_path();
    const PathFacts facts = disk.look(parent);
    if (!facts.isFolder)
        return QStringLiteral("The place for the backup (“") + lastComponent(parent) +
               QStringLiteral("”) isn't available. Open OneDrive and make sure it is signed in.");
    if (!facts.canWrite)
        return QStringLiteral("Tarnwick can't create a folder in “") + lastComponent(parent) +
               QStringLiteral("”. Pick a folder you have permission to change.");
    return std::nullopt;
}

/// Which disk hasn't answered, in words: that of the first of these folders for which it holds.
QString isNotAnswering(const std::vector<fs::path> &folders, Disk &disk) {
    const auto silent = std::find_if(folders.begin(), folders.end(),
                                     [&](const fs::path &folder) { return !disk.look(folder).isAnswered; });
    if (silent == folders.end())
        return Surroundings::isNotAnswering(QStringLiteral("OneDrive"));
    const MountEntry *mount = disk.mounts().covering(disk.resolved(*silent));
    const bool isOwn = mount && mount->mountPoint != "/";
    return Surroundings::isNotAnswering(lastComponent(isOwn ? mount->mountPoint : *silent));
}

} // namespace

/// What the user decided about one pair.
struct AppModel::Choice {
    VolumeInfo volume = {};
    QString sourceRelPath = {};
    QString backupRelPath = {};
};

/// Asks the disks until everything that `judge` asks, on top of the surroundings, is answered; then does `act` unless
/// it is refused. The choice is about `folders`.
void AppModel::decide(const Judge &judge, Needs needs, const std::vector<Path> &folders,
                      const std::function<void()> &act, const Answer &done) {
    const auto verdict = std::make_shared<std::optional<QString>>();
    const auto question = [=, this](Disk &disk) {
        const Surroundings now = Surroundings::look(settings, around, disk);
        const std::size_t unanswered = disk.unanswered();
        *verdict = judge(now, disk);
        const bool isSure = disk.unanswered() == unanswered && (needs == Needs::Nothing || now.oneDriveIsSure);
        if (!isSure)
            *verdict = isNotAnswering(folders, disk);
        return isSure;
    };
    askPatiently(question, [=](bool) {
        if (!*verdict)
            act();
        if (done)
            done(*verdict);
    });
}

void AppModel::addPair(const Path &originalFolder, const Path &backupFolder, Answer done) {
    const Path original = Paths::standardised(originalFolder);
    const Path backup = Paths::standardised(backupFolder);
    const auto choice = std::make_shared<Choice>();
    const auto judge = [=](const Surroundings &now, Disk &disk) -> std::optional<QString> {
        const std::optional<Source> source = locateSource(original, now.drives, disk);
        if (!source)
            return cantBackUpFrom(original);
        if (const Locations::OneDriveInUse &oneDrive = now.oneDrive; !oneDrive.root)
            return oneDrive.mountPoint ? Locations::notMounted(*oneDrive.mountPoint) : noOneDrive;
        const std::optional<QString> backupRel = oneDriveRelativePath(backup, now.oneDrive.root, disk);
        if (!backupRel)
            return outsideOneDrive;
        if (Locations::overlap(original, backup, disk))
            return SyncJob::overlapping();
        *choice = {source->volume, source->rel, *backupRel};
        return backupFolderProblem(backup, disk);
    };
    refreshEnvironment();
    decide(
        judge, Needs::OneDrive, {original, backup}, [this, choice] { add(*choice); }, done);
}

void AppModel::add(const Choice &choice) {
    const auto same = std::find_if(settings.pairs.begin(), settings.pairs.end(), [&](const FolderPair &pair) {
        return keyOf(pair) == choice.volume.id() && pair.sourceRelPath == choice.sourceRelPath;
    });
    if (same != settings.pairs.end())
        return pointTo(QUuid(same->id), choice.backupRelPath);
    AppConfig next = settings;
    next.pairs.push_back({.volumeUUID = choice.volume.uuid,
                          .volumeName = choice.volume.name,
                          .sourceRelPath = choice.sourceRelPath,
                          .backupRelPath = choice.backupRelPath});
    setConfig(next);
}

void AppModel::setBackup(const QUuid &id, const Path &backupFolder, Answer done) {
    const Path backup = Paths::standardised(backupFolder);
    const auto rel = std::make_shared<QString>();
    const auto judge = [=, this](const Surroundings &now, Disk &disk) -> std::optional<QString> {
        const std::optional<std::size_t> index = pairIndex(id);
        if (!index)
            return QStringLiteral("That folder isn't in the list any more.");
        const std::optional<Locations::ResolvedFolder> &original = now.of(settings.pairs[*index]).original;
        if (original && Locations::overlap(original->folder, backup, disk))
            return SyncJob::overlapping();
        const std::optional<QString> backupRel = oneDriveRelativePath(backup, now.oneDrive.root, disk);
        if (!backupRel)
            return outsideOneDrive;
        *rel = *backupRel;
        return backupFolderProblem(backup, disk);
    };
    decide(
        judge, Needs::OneDrive, {backup}, [this, id, rel] { pointTo(id, *rel); }, done);
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

void AppModel::chooseOneDrive(const std::optional<Path> &folder, Answer done) {
    const std::optional<Path> chosen = folder ? std::optional(Paths::standardised(*folder)) : std::nullopt;
    const auto judge = [chosen](const Surroundings &, Disk &disk) {
        return chosen ? Locations::oneDriveRefusal(*chosen, disk) : std::nullopt;
    };
    const auto act = [this, chosen] {
        AppConfig next = settings;
        next.oneDriveRootPath = chosen ? std::optional(Text::fromPath(*chosen)) : std::nullopt;
        next.oneDriveMountPoint.reset();
        setConfig(next);
        refreshEnvironment(); // the same folder may lie on another mount by now
    };
    decide(judge, Needs::Nothing, chosen ? std::vector{*chosen} : std::vector<Path>(), act, done);
}

void AppModel::whetherFolder(const Path &path, std::function<void(std::optional<bool>)> answer) {
    const auto isFolder = std::make_shared<bool>(false);
    askPatiently(
        [isFolder, path](Disk &disk) {
            *isFolder = disk.isFolder(path);
            return false;
        },
        [isFolder, answer = std::move(answer)](bool isAnswered) {
            answer(isAnswered ? std::optional(*isFolder) : std::nullopt);
        });
}
