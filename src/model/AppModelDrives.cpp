// Drives that come and go, and what the model keeps on them.

#include "base/Paths.h"
#include "base/Text.h"
#include "model/AppModel.h"
#include "store/DriveProfile.h"
#include "store/Locations.h"
#include "store/Log.h"
#include "store/Store.h"

#include <algorithm>
#include <cstdlib>

namespace {

namespace fs = std::filesystem;

constexpr int mountDelay = 6000;
constexpr int fastMountDelay = 1000;
/// A drive that comes back within this time is not synced again by itself.
constexpr qint64 quietSeconds = 300;

/// One for each drive (by its top folder), so that a dead one holds up no other; never destroyed, because a write may
/// hang to the end of the process.
std::map<fs::path, SerialQueue> &profileQueues() {
    static auto *const queues = new std::map<fs::path, SerialQueue>;
    return *queues;
}

/// By identifier where both have one, so that a renamed drive keeps its pairs; else by name.
bool liesOn(const FolderPair &pair, const VolumeInfo &drive) {
    if (pair.volumeUUID == Locations::homeKey)
        return false;
    return pair.volumeUUID && drive.uuid ? pair.volumeUUID == drive.uuid : pair.volumeName == drive.name;
}

int delayAfterMount() {
    return Store::isTestMode() && std::getenv("TARNWICK_FAST_TIMERS") ? fastMountDelay : mountDelay;
}

/// A clock that was set back must not silence a drive for longer.
bool isRecent(const QDateTime &moment) {
    const qint64 passed = moment.secsTo(QDateTime::currentDateTimeUtc());
    return passed >= 0 && passed < quietSeconds;
}

} // namespace

void AppModel::volumeMounted(const Path &url) {
    refreshEnvironment([this, url] { driveCame(url); });
}

const VolumeInfo *AppModel::driveAt(const Path &top) const {
    const auto found = std::find_if(around.drives.begin(), around.drives.end(), [&](const VolumeInfo &drive) {
        return Paths::standardised(drive.url) == Paths::standardised(top);
    });
    return found == around.drives.end() ? nullptr : &*found;
}

void AppModel::driveCame(const Path &url) {
    const VolumeInfo *mounted = driveAt(url);
    if (!mounted)
        return;
    const VolumeInfo drive = *mounted;
    Log::shared().write(QStringLiteral("Drive connected: ") + drive.name);
    importProfiles({drive}, [this, drive] {
        if (settings.autoSyncOnConnect)
            syncOnConnect(drive);
    });
}

void AppModel::syncOnConnect(const VolumeInfo &drive) {
    const auto ids = std::make_shared<std::vector<QUuid>>();
    const auto question = [this, ids, drive](Disk &disk) {
        ids->clear();
        for (const FolderPair &pair : settings.pairs) {
            const bool isHome = pair.volumeUUID == Locations::homeKey;
            if (pair.enabled && !isHome && Locations::resolveOriginal(pair, {drive}, disk))
                ids->push_back(pair.id);
        }
        return false;
    };
    askPatiently(question, [this, ids, drive](bool) {
        const std::optional<QDateTime> last = lastAutoSync(drive.id());
        if (ids->empty() || (last && isRecent(*last)))
            return;
        setLastAutoSync(drive.id(), QDateTime::currentDateTimeUtc());
        syncLater(delayAfterMount(), *ids, SyncTrigger::driveConnected);
    });
}

std::optional<QDateTime> AppModel::lastAutoSync(const QString &drive) const {
    const auto found = autoSyncs.find(drive);
    return found == autoSyncs.end() ? std::nullopt : std::optional(found->second);
}

void AppModel::volumeWillUnmount(const Path &url) {
    if (!busy())
        return;
    const Path top = Paths::standardised(url);
    const auto isOnIt = [&](const Path &folder) { return Paths::isWithin(Paths::standardised(folder), top); };
    const std::vector<Path> used = preparing ? rootsOfEnabledPairs() : activeRoots;
    if (std::none_of(used.begin(), used.end(), isOnIt))
        return;
    Log::shared().write(QStringLiteral("Drive is being ejected during a sync; stopping safely."));
    const bool hasBegun = !preparing;
    cancelSync();
    if (hasBegun)
        Q_EMIT stoppedForEject(top);
}

/// What a sync that is asked for may use.
std::vector<AppModel::Path> AppModel::rootsOfEnabledPairs() const {
    std::vector<Path> roots;
    for (const FolderPair &pair : enabledPairs()) {
        const Surroundings::Pair &seen = found(pair);
        if (seen.original)
            roots.push_back(seen.original->folder);
        if (seen.backup)
            roots.push_back(*seen.backup);
    }
    return roots;
}

void AppModel::mountsChanged() {
    refreshEnvironment();
}

void AppModel::volumeUnmounted(const Path &url) {
    if (driveAt(url))
        Log::shared().write(QStringLiteral("Drive disconnected: ") + Text::fromBytes(Paths::lastComponent(url)));
    refreshEnvironment();
}

void AppModel::importProfiles(const std::vector<VolumeInfo> &drives, std::function<void()> then) {
    struct Stored {
        VolumeInfo drive;
        std::optional<Store::DriveProfile> profile;
        bool isAnswered = false;
    };
    const auto stored = std::make_shared<std::vector<Stored>>();
    for (const VolumeInfo &drive : drives) {
        if (!readOnly && Store::profileAccessAllowed(drive.url))
            stored->push_back({drive, std::nullopt});
    }
    const auto question = [stored](Disk &disk) {
        for (Stored &each : *stored) {
            const std::size_t unanswered = disk.unanswered();
            each.profile = Store::readProfile(each.drive.url, disk);
            each.isAnswered = disk.unanswered() == unanswered;
        }
        return false;
    };
    askPatiently(question, [this, stored, then = std::move(then)](bool) {
        for (const Stored &each : *stored) {
            if (!each.isAnswered)
                Log::shared().write(Surroundings::isNotAnswering(each.drive.name) +
                                    QStringLiteral(" Its folder choices were not looked at."));
            else
                bringBack(each.drive, each.profile);
        }
        if (then)
            then();
    });
}

void AppModel::bringBack(const VolumeInfo &drive, const std::optional<Store::DriveProfile> &profile) {
    offeredDrives.insert(drive.url);
    const bool isKnown = std::any_of(settings.pairs.begin(), settings.pairs.end(),
                                     [&](const FolderPair &pair) { return liesOn(pair, drive); });
    if (isKnown || !profile || profile->pairs.empty())
        return;
    AppConfig next = settings;
    for (const Store::ProfilePair &pair : profile->pairs)
        next.pairs.push_back({.enabled = pair.enabled,
                              .volumeUUID = drive.uuid,
                              .volumeName = drive.name,
                              .sourceRelPath = pair.sourceRelPath,
                              .backupRelPath = pair.backupRelPath});
    setConfig(next);
    setBanner(QStringLiteral("Brought back your folder choices for “") + drive.name +
              QStringLiteral("”. Check them below."));
    Log::shared().write(QStringLiteral("Restored ") + QString::number(profile->pairs.size()) +
                        QStringLiteral(" folder pair(s) from this computer's own profile on ") + drive.name);
}

void AppModel::writeProfiles() {
    if (readOnly || holdProfileWrites)
        return;
    std::vector<std::pair<Path, std::vector<Store::ProfilePair>>> profiles;
    for (const VolumeInfo &drive : around.drives) {
        if (!Store::profileAccessAllowed(drive.url))
            continue;
        std::vector<Store::ProfilePair> pairs;
        for (const FolderPair &pair : settings.pairs) {
            if (liesOn(pair, drive))
                pairs.push_back({pair.sourceRelPath, pair.backupRelPath, pair.enabled});
        }
        // Two drives may come at once: the second one's choices must not be taken for none before they are brought
        // back.
        if (pairs.empty() && !offeredDrives.contains(drive.url))
            continue;
        offeredDrives.insert(drive.url);
        profiles.emplace_back(drive.url, std::move(pairs));
    }
    for (const auto &profile : profiles) {
        profileQueues()[profile.first].post([url = profile.first, pairs = profile.second] {
            // A drive that never had folders never gets a profile.
            if (!pairs.empty() || Store::hasProfile(url))
                Store::writeProfile(pairs, url);
        });
    }
}

bool AppModel::flushProfiles(std::chrono::milliseconds limit) {
    const auto end = std::chrono::steady_clock::now() + limit;
    bool isDone = true;
    for (auto &[drive, queue] : profileQueues())
        isDone &= queue.drain(std::chrono::duration_cast<std::chrono::milliseconds>(
            std::max(end - std::chrono::steady_clock::now(), std::chrono::steady_clock::duration::zero())));
    return isDone;
}

bool AppModel::hasUnfinishedWork() const {
    return busy() || !flushProfiles({});
}

void AppModel::whetherItsDisksAnswer(std::chrono::milliseconds limit, std::function<void(bool)> answer) {
    std::vector<Path> places = activeRoots;
    for (auto &[drive, queue] : profileQueues()) {
        if (!queue.drain({}))
            places.push_back(drive);
    }
    const auto look = [places](Disk &disk) {
        for (const Path &place : places)
            disk.look(place);
        return false;
    };
    lookout.ask({.question = look, .patience = limit, .ended = std::move(answer)});
}
