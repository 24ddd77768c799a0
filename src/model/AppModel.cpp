#include "model/AppModel.h"

#include "base/Text.h"
#include "store/Locations.h"
#include "store/Store.h"
#include "sync/TempArea.h"

#include <QStringList>
#include <QTimer>

#include <algorithm>
#include <set>

namespace {

namespace fs = std::filesystem;

constexpr int launchDelay = 20'000;

/// A queue of its own: a sleeping drive holds up neither the profiles nor the log.
void purgeInBackground(const std::vector<VolumeInfo> &drives, const std::optional<fs::path> &oneDrive) {
    std::vector<fs::path> tops;
    for (const VolumeInfo &drive : drives)
        tops.push_back(drive.url);
    SerialQueue().post([tops, oneDrive]() mutable {
        if (oneDrive) {
            if (const std::optional<fs::path> volume = Locations::containingVolume(*oneDrive))
                tops.push_back(*volume);
            tops.push_back(oneDrive->parent_path());
        }
        TempArea::purgeStale(tops);
    });
}

} // namespace

AppModel &AppModel::shared() {
    static AppModel *const model = new AppModel;
    return *model;
}

AppModel::AppModel() : settings(Store::loadConfig()), runs(Store::loadHistory()) {
    look();
}

AppModel::~AppModel() = default;

void AppModel::start(bool syncIfConnected) {
    refreshEnvironment();
    purgeInBackground(drives, oneDriveRoot());
    holdProfileWrites = true;
    for (const VolumeInfo &drive : std::vector(drives))
        importProfileIfNeeded(drive);
    holdProfileWrites = false;
    writeProfiles();
    if (!syncIfConnected || !settings.autoSyncOnConnect || readyPairs().empty())
        return;
    QTimer::singleShot(launchDelay, Qt::PreciseTimer, this, [this] {
        if (!stopped && !busy() && !readyPairs().empty())
            sync(std::nullopt, SyncTrigger::launch);
    });
}

void AppModel::refreshEnvironment() {
    look();
    keepMountPoint();
}

void AppModel::look() {
    std::vector<VolumeInfo> drivesNow = Locations::externalVolumes();
    std::vector<Locations::OneDriveFolder> foldersNow = Locations::oneDriveFolders();
    if (drivesNow == drives && foldersNow == folders)
        return;
    drives = std::move(drivesNow);
    folders = std::move(foldersNow);
    std::erase_if(offeredDrives, [this](const Path &top) {
        return std::none_of(drives.begin(), drives.end(), [&](const VolumeInfo &drive) { return drive.url == top; });
    });
    noteChange();
}

/// Remembers on which mount the OneDrive folder in use lies, so that a later look can tell it from the bare mount
/// point.
void AppModel::keepMountPoint() {
    const Locations::OneDriveInUse now = oneDriveInUse();
    if (readOnly || !now.root)
        return;
    const std::optional<Path> mountPoint = Locations::mountPointToKeep(*now.root);
    if (now.goneChoice && !mountPoint)
        return; // what is remembered may be the missing folder's
    AppConfig next = settings;
    next.oneDriveMountPoint = mountPoint ? std::optional(Text::fromPath(*mountPoint)) : std::nullopt;
    setConfig(next);
}

// State

void AppModel::noteChange() {
    if (std::exchange(changeIsDue, true))
        return;
    QMetaObject::invokeMethod(
        this,
        [this] {
            changeIsDue = false;
            Q_EMIT changed();
        },
        Qt::QueuedConnection);
}

void AppModel::setConfig(const AppConfig &value) {
    if (value == settings)
        return;
    const AppConfig before = std::exchange(settings, value);
    // What was remembered belongs to the folder before.
    if (settings.oneDriveRootPath != before.oneDriveRootPath &&
        settings.oneDriveMountPoint == before.oneDriveMountPoint)
        settings.oneDriveMountPoint.reset();
    noteChange();
    Store::save(settings);
    if (settings.pairs != before.pairs)
        writeProfiles();
    if (settings.oneDriveRootPath != before.oneDriveRootPath)
        refreshEnvironment();
}

void AppModel::setBanner(std::optional<QString> text) {
    notice = std::move(text);
    noteChange();
}

void AppModel::setTab(MainTab value) {
    shownTab = value;
    noteChange();
}

void AppModel::setSelectedRunID(std::optional<QUuid> value) {
    selectedRun = value;
    noteChange();
}

void AppModel::setShowingAddFolder(bool value) {
    addFolderIsShown = value;
    noteChange();
}

void AppModel::showSampleHistory(std::vector<SyncRun> sample) {
    runs = std::move(sample);
    selectedRun = runs.empty() ? std::nullopt : std::optional(runs.front().id);
    noteChange();
}

void AppModel::showSampleProgress(const SyncProgress &sample) {
    token = std::make_shared<CancelToken>();
    currentProgress = sample;
    Q_EMIT progressChanged();
    noteChange();
}

// Derived values

std::vector<AppModel::Path> AppModel::oneDriveRoots() const {
    std::vector<Path> roots;
    for (const Locations::OneDriveFolder &folder : folders)
        roots.push_back(folder.url);
    return roots;
}

Locations::OneDriveInUse AppModel::oneDriveInUse() const {
    return Locations::oneDriveInUse(settings.oneDriveRootPath, settings.oneDriveMountPoint, folders);
}

std::optional<QString> AppModel::oneDriveNotice() const {
    const Locations::OneDriveInUse now = oneDriveInUse();
    if (now.state == Locations::OneDriveInUse::State::NotMounted)
        return Locations::notMounted(*now.mountPoint);
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

std::vector<FolderPair> AppModel::enabledPairs() const {
    std::vector<FolderPair> pairs;
    std::copy_if(settings.pairs.begin(), settings.pairs.end(), std::back_inserter(pairs),
                 [](const FolderPair &pair) { return pair.enabled; });
    return pairs;
}

std::vector<FolderPair> AppModel::readyPairs() const {
    std::vector<FolderPair> pairs = enabledPairs();
    std::erase_if(pairs, [this](const FolderPair &pair) { return !Locations::resolveOriginal(pair, drives); });
    return pairs;
}

bool AppModel::hasHomePairs() const {
    return std::any_of(settings.pairs.begin(), settings.pairs.end(),
                       [](const FolderPair &pair) { return pair.volumeUUID == Locations::homeKey; });
}

std::vector<QString> AppModel::connectedDriveNames() const {
    std::vector<QString> names;
    for (const VolumeInfo &drive : drives)
        names.push_back(drive.name);
    return names;
}

bool AppModel::canSync() const {
    return !busy() && !readyPairs().empty() && oneDriveRoot();
}

std::optional<QString> AppModel::syncBlocker() const {
    if (settings.pairs.empty())
        return QStringLiteral("Add a folder to back it up to OneDrive.");
    const std::vector<FolderPair> enabled = enabledPairs();
    if (enabled.empty())
        return QStringLiteral("Tick a folder to back it up.");
    if (!oneDriveRoot())
        return oneDriveNotice();
    if (!readyPairs().empty())
        return std::nullopt;
    std::set<QString> names;
    for (const FolderPair &pair : enabled)
        names.insert(pair.volumeName);
    return QStringLiteral("Connect “") + QStringList(names.begin(), names.end()).join(QStringLiteral(", ")) +
           QStringLiteral("” to sync.");
}

std::optional<AppModel::Path> AppModel::backupURL(const FolderPair &pair) const {
    const std::optional<Path> root = oneDriveRoot();
    if (!root || pair.backupRelPath.isEmpty())
        return root;
    // Joined as text: a stored path that begins with "/" must not replace OneDrive's.
    return Path(root->native() + '/' + Text::toBytes(pair.backupRelPath));
}

std::vector<PairRow> AppModel::rows() const {
    std::vector<PairRow> result;
    const Locations::OneDriveInUse oneDrive = oneDriveInUse();
    for (const FolderPair &pair : settings.pairs) {
        PairRow row;
        row.pair = pair;
        row.number = static_cast<int>(result.size()) + 1;
        row.connected = Locations::resolveOriginal(pair, drives).has_value();
        row.oneDrive = oneDrive.state;
        row.backupURL = backupURL(pair);
        row.backupExists = row.backupURL && Locations::isFolder(*row.backupURL);
        result.push_back(std::move(row));
    }
    return result;
}

std::optional<AppModel::Path> AppModel::originalURL(const FolderPair &pair) const {
    const std::optional<Locations::ResolvedFolder> found = Locations::resolveOriginal(pair, drives);
    return found ? std::optional(found->folder) : std::nullopt;
}

std::optional<std::size_t> AppModel::pairIndex(const QUuid &id) const {
    const auto found = std::find_if(settings.pairs.begin(), settings.pairs.end(),
                                    [&](const FolderPair &pair) { return pair.id == id; });
    return found == settings.pairs.end() ? std::nullopt
                                         : std::optional(static_cast<std::size_t>(found - settings.pairs.begin()));
}
