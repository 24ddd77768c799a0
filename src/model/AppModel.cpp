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
    purgeInBackground(around.drives, oneDriveRoot());
    holdProfileWrites = true;
    for (const VolumeInfo &drive : std::vector(around.drives))
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
    DirectDisk disk;
    Surroundings now = Surroundings::look(settings, disk);
    if (now == around)
        return;
    around = std::move(now);
    std::erase_if(offeredDrives, [this](const Path &top) {
        return std::none_of(around.drives.begin(), around.drives.end(),
                            [&](const VolumeInfo &drive) { return drive.url == top; });
    });
    noteChange();
}

/// Remembers on which mount the OneDrive folder in use lies, so that a later look can tell it from the bare mount
/// point.
void AppModel::keepMountPoint() {
    const Locations::OneDriveInUse &now = around.oneDrive;
    const std::optional<Path> mountPoint = around.mountPointToKeep;
    // Beside a missing choice what is remembered may be the missing folder's.
    if (readOnly || !now.root || (now.goneChoice && !mountPoint))
        return;
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
    if (settings.pairs != before.pairs || settings.oneDriveMountPoint != before.oneDriveMountPoint)
        look();
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
    for (const Locations::OneDriveFolder &folder : around.oneDriveFolders)
        roots.push_back(folder.url);
    return roots;
}

std::optional<QString> AppModel::oneDriveNotice() const {
    const Locations::OneDriveInUse &now = around.oneDrive;
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
    std::erase_if(pairs, [this](const FolderPair &pair) { return !found(pair).original; });
    return pairs;
}

bool AppModel::hasHomePairs() const {
    return std::any_of(settings.pairs.begin(), settings.pairs.end(),
                       [](const FolderPair &pair) { return pair.volumeUUID == Locations::homeKey; });
}

std::vector<QString> AppModel::connectedDriveNames() const {
    std::vector<QString> names;
    for (const VolumeInfo &drive : around.drives)
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

/// What the last look found of a pair; nothing of a pair that isn't in the list.
const Surroundings::Pair &AppModel::found(const FolderPair &pair) const {
    static const Surroundings::Pair nothing;
    const auto at = around.pairs.find(pair.id);
    return at == around.pairs.end() ? nothing : at->second;
}

std::vector<PairRow> AppModel::rows() const {
    std::vector<PairRow> result;
    for (const FolderPair &pair : settings.pairs) {
        const Surroundings::Pair &seen = found(pair);
        PairRow row;
        row.pair = pair;
        row.number = static_cast<int>(result.size()) + 1;
        row.connected = seen.original.has_value();
        row.oneDrive = around.oneDrive.state;
        row.backupURL = seen.backup;
        row.backupExists = seen.backupExists;
        result.push_back(std::move(row));
    }
    return result;
}

std::optional<AppModel::Path> AppModel::originalURL(const FolderPair &pair) const {
    const std::optional<Locations::ResolvedFolder> &original = found(pair).original;
    return original ? std::optional(original->folder) : std::nullopt;
}

std::optional<std::size_t> AppModel::pairIndex(const QUuid &id) const {
    const auto found = std::find_if(settings.pairs.begin(), settings.pairs.end(),
                                    [&](const FolderPair &pair) { return pair.id == id; });
    return found == settings.pairs.end() ? std::nullopt
                                         : std::optional(static_cast<std::size_t>(found - settings.pairs.begin()));
}
