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

/// Never destroyed: a write may hang on a dead drive to the end of the process.
SerialQueue &profileQueue() {
    static auto *const queue = new SerialQueue;
    return *queue;
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
    refreshEnvironment();
    const auto mounted = std::find_if(around.drives.begin(), around.drives.end(), [&](const VolumeInfo &drive) {
        return Paths::standardised(drive.url) == Paths::standardised(url);
    });
    if (mounted == around.drives.end())
        return;
    const VolumeInfo drive = *mounted;
    Log::shared().write(QStringLiteral("Drive connected: ") + drive.name);
    importProfileIfNeeded(drive);
    if (!settings.autoSyncOnConnect)
        return;
    std::vector<QUuid> ids;
    for (const FolderPair &pair : settings.pairs) {
        const bool isHome = pair.volumeUUID == Locations::homeKey;
        if (pair.enabled && !isHome && Locations::resolveOriginal(pair, {drive}))
            ids.push_back(pair.id);
    }
    const auto last = lastAutoSync.find(drive.id());
    if (ids.empty() || (last != lastAutoSync.end() && isRecent(last->second)))
        return;
    lastAutoSync[drive.id()] = QDateTime::currentDateTimeUtc();
    syncLater(delayAfterMount(), ids, SyncTrigger::driveConnected);
}

void AppModel::volumeWillUnmount(const Path &url) {
    if (!busy())
        return;
    const Path top = Paths::standardised(url);
    const bool isUsed = std::any_of(activeRoots.begin(), activeRoots.end(),
                                    [&](const Path &folder) { return Paths::isWithin(folder, top); });
    if (!isUsed)
        return;
    Log::shared().write(QStringLiteral("Drive is being ejected during a sync; stopping safely."));
    cancelSync();
    if (onStoppedForEject)
        onStoppedForEject(top);
}

void AppModel::mountsChanged() {
    refreshEnvironment();
    noteChange(); // whether OneDrive is mounted is no part of what was compared
    if (!stopped && waitsForMount && oneDriveRoot()) {
        const Request request = *std::exchange(waitsForMount, std::nullopt);
        sync(request.ids, request.trigger);
    }
}

void AppModel::volumeUnmounted(const Path &url) {
    Log::shared().write(QStringLiteral("Drive disconnected: ") + Text::fromBytes(Paths::lastComponent(url)));
    refreshEnvironment();
}

void AppModel::importProfileIfNeeded(const VolumeInfo &drive) {
    if (readOnly || !Store::profileAccessAllowed(drive.url))
        return;
    offeredDrives.insert(drive.url);
    const bool isKnown = std::any_of(settings.pairs.begin(), settings.pairs.end(),
                                     [&](const FolderPair &pair) { return liesOn(pair, drive); });
    if (isKnown)
        return;
    const std::optional<Store::DriveProfile> profile = Store::readProfile(drive.url);
    if (!profile || profile->pairs.empty())
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
    profileQueue().post([profiles = std::move(profiles)] {
        for (const auto &[url, pairs] : profiles) {
            // A drive that never had folders never gets a profile.
            if (!pairs.empty() || Store::hasProfile(url))
                Store::writeProfile(pairs, url);
        }
    });
}

bool AppModel::flushProfiles(std::chrono::milliseconds limit) {
    return profileQueue().drain(limit);
}
