#include "model/AppModel.h"

#include "base/Paths.h"
#include "base/Text.h"
#include "store/Locations.h"
#include "store/Store.h"
#include "sync/TempArea.h"

#include <QStringList>

#include <algorithm>
#include <set>

namespace {

namespace fs = std::filesystem;

constexpr int launchDelay = 20'000;
/// How long what has to know waits for a disk; one that sleeps takes ten seconds to spin up.
constexpr std::chrono::seconds patience(30);

bool hasSameFolders(const FolderPair &a, const FolderPair &b) {
    return a.volumeUUID == b.volumeUUID && a.volumeName == b.volumeName && a.sourceRelPath == b.sourceRelPath &&
           a.backupRelPath == b.backupRelPath;
}

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

AppModel::AppModel() : settings(readOnly ? Store::peekConfig() : Store::loadConfig()), runs(Store::loadHistory()) {
    longPreparation.setSingleShot(true);
    connect(&longPreparation, &QTimer::timeout, this, &AppModel::noteChange);
    refreshEnvironment();
}

AppModel::~AppModel() = default;

void AppModel::start(bool syncIfConnected, std::function<void()> then) {
    refreshEnvironment([this, syncIfConnected, then = std::move(then)] {
        purgeInBackground(around.drives, oneDriveRoot());
        holdProfileWrites = true;
        importProfiles(around.drives, [this, syncIfConnected, then] {
            holdProfileWrites = false;
            writeProfiles();
            if (then)
                then();
            if (syncIfConnected)
                refreshEnvironment([this] { launch(); }); // with what was brought back
        });
    });
}

void AppModel::launch() {
    if (!settings.autoSyncOnConnect || !somethingMayBeReady())
        return;
    QTimer::singleShot(launchDelay, Qt::PreciseTimer, this, [this] {
        if (!isStopped && !busy() && somethingMayBeReady())
            sync(std::nullopt, SyncTrigger::launch);
    });
}

/// What doesn't answer at the moment may have woken up when it is needed.
bool AppModel::somethingMayBeReady() const {
    const std::vector<FolderPair> enabled = enabledPairs();
    return std::any_of(enabled.begin(), enabled.end(),
                       [this](const FolderPair &pair) { return found(pair).original.has_value(); });
}

// Looking at the disks

void AppModel::refreshEnvironment(std::function<void()> then) {
    if (then)
        afterLook.emplace_back(looksBegun + 1, std::move(then));
    if (std::exchange(lookIsDue, true))
        return;
    QMetaObject::invokeMethod(this, &AppModel::lookWhenDue, Qt::QueuedConnection);
}

/// One look after the other: many requests in a row don't start it over and over again.
void AppModel::lookWhenDue() {
    if (!lookIsDue || looksTold != looksBegun)
        return;
    lookIsDue = false;
    lookout.drop(currentLook); // which goes on only for what has not answered, and is asked again now
    const std::uint64_t number = ++looksBegun;
    const auto now = std::make_shared<Surroundings>();
    currentLook = lookout.ask({.question =
                                   [now, config = settings, before = around](Disk &disk) {
                                       *now = Surroundings::look(config, before, disk);
                                       return false;
                                   },
                               .patience = Lookout::hanging,
                               .afterwards = Lookout::Afterwards::GoOn,
                               .ended = [=, this](bool isAnswered) { lookIsTold(*now, isAnswered, number); }});
}

void AppModel::lookIsTold(const Surroundings &now, bool isAnswered, std::uint64_t number) {
    const bool isFirst = !hasLooked();
    looksTold = number;
    takeOver(now);
    if (isFirst)
        noteChange();
    if (isAnswered)
        keepMountPoint();
    while (!afterLook.empty() && afterLook.front().first <= number) {
        const std::function<void()> then = std::move(afterLook.front().second);
        afterLook.pop_front();
        then();
    }
    syncWhatWaitedForTheMount();
    lookWhenDue();
}

void AppModel::takeOver(const Surroundings &now) {
    if (now == around)
        return;
    around = now;
    std::erase_if(offeredDrives, [this](const Path &top) {
        return std::none_of(around.drives.begin(), around.drives.end(),
                            [&](const VolumeInfo &drive) { return drive.url == top; });
    });
    noteChange();
}

void AppModel::keepMountPoint() {
    if (!readOnly)
        setConfig(around.withMountPoint(settings));
}

bool AppModel::isLooking() const {
    return lookIsDue || looksTold != looksBegun || lookout.waiting() > 0;
}

Lookout::Ticket AppModel::askPatiently(Lookout::Question question, Lookout::Ended ended) {
    return lookout.ask({.question = std::move(question), .patience = patience, .ended = std::move(ended)});
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
    saveTrouble = Store::save(settings);
    if (settings.pairs != before.pairs) {
        forgetMovedPairs(before.pairs);
        writeProfiles();
    }
    if (settings.pairs != before.pairs || settings.oneDriveMountPoint != before.oneDriveMountPoint ||
        settings.oneDriveRootPath != before.oneDriveRootPath)
        refreshEnvironment();
}

/// What was found of them belongs to other folders.
void AppModel::forgetMovedPairs(const std::vector<FolderPair> &before) {
    for (const FolderPair &old : before) {
        const std::optional<std::size_t> index = pairIndex(old.id);
        if (!index || !hasSameFolders(settings.pairs[*index], old))
            around.pairs.erase(old.id);
    }
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

bool AppModel::isAnswering(const Path &path) const {
    if (around.oneDrive.root && !around.oneDriveIsSure && Paths::isWithin(path, *around.oneDrive.root))
        return false;
    return std::none_of(around.silentDrives.begin(), around.silentDrives.end(),
                        [&](const Path &drive) { return Paths::isWithin(path, drive); });
}

std::vector<FolderPair> AppModel::enabledPairs() const {
    std::vector<FolderPair> pairs;
    std::copy_if(settings.pairs.begin(), settings.pairs.end(), std::back_inserter(pairs),
                 [](const FolderPair &pair) { return pair.enabled; });
    return pairs;
}

std::vector<FolderPair> AppModel::readyPairs() const {
    std::vector<FolderPair> pairs = enabledPairs();
    std::erase_if(pairs, [this](const FolderPair &pair) {
        const Surroundings::Pair &seen = found(pair);
        return !seen.original || seen.silentPlace;
    });
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
    if (!hasLooked())
        return QStringLiteral("Looking for your drives and OneDrive…");
    if (const std::optional<QString> absence = oneDriveNotice(); absence && !oneDriveRoot())
        return absence;
    if (!readyPairs().empty())
        return std::nullopt;
    std::set<QString> names;
    for (const FolderPair &pair : enabled) {
        if (const std::optional<QString> &silent = found(pair).silentPlace)
            return Surroundings::isNotAnswering(*silent);
        names.insert(pair.volumeName);
    }
    return QStringLiteral("Connect “") + QStringList(names.begin(), names.end()).join(QStringLiteral(", ")) +
           QStringLiteral("” to sync.");
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
        row.silentPlace = seen.silentPlace;
        row.isLookedAt = around.pairs.contains(pair.id);
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
