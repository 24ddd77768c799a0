#pragma once

#include "base/SerialQueue.h"
#include "model/PairRow.h"
#include "model/Surroundings.h"
#include "platform/Lookout.h"
#include "records/AppConfig.h"
#include "records/MainTab.h"
#include "records/SyncProgress.h"
#include "records/SyncRun.h"
#include "records/VolumeInfo.h"
#include "store/DriveProfile.h"
#include "store/Locations.h"
#include "sync/CancelToken.h"
#include "sync/SyncJob.h"

#include <QDateTime>
#include <QObject>
#include <QTimer>

#include <cstdint>
#include <deque>
#include <filesystem>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <vector>

/// The one observable object of the running application: the settings, the drives, the OneDrive folders, the running
/// sync and the history. Every user action and every drive event calls one of its operations; views only read.
///
/// Lives on the main thread, needs an event loop, and takes the settings folder for its own. It never waits for a disk:
/// what it tells of the disks is what the last look found, and what must know more answers later. An operation that may
/// refuse calls its `Answer` once, with the sentence for the user, or with none when it did what was asked.
class AppModel : public QObject {
    Q_OBJECT
  public:
    using Path = std::filesystem::path;
    /// The pairs that a sync is asked for; none means every enabled pair.
    using PairIDs = std::optional<std::vector<QUuid>>;

    using Answer = std::function<void(const std::optional<QString> &refusal)>;

    /// The application's model, made on first use and never destroyed.
    static AppModel &shared();
    /// While read-only no model starts a sync or reads or writes a drive profile: for showing sample data.
    static void setReadOnly(bool value) { readOnly = value; }
    static bool isReadOnly() { return readOnly; }

    /// Loads the settings and the history and asks for a first look at the disks; starts nothing.
    AppModel();
    /// A sync under way goes on, and its result is dropped.
    ~AppModel() override;

    /// Called once after launch: clears what earlier runs left, brings back folder choices from the drives, and, if
    /// asked and something is ready, syncs 20 seconds later. `then` is called when the choices are back.
    void start(bool syncIfConnected, std::function<void()> then = {});
    /// From now on every delayed sync is dropped when its time comes.
    void stop() { isStopped = true; }
    /// Asks for a new look at the drives and the OneDrive folders. `then` is called when it is back, or when what it
    /// lacks has not been answered for two seconds; in the order of the requests.
    void refreshEnvironment(std::function<void()> then = {});
    /// Whether a first look is back. Before, nothing is known of the disks.
    bool hasLooked() const { return looksTold > 0; }
    /// Whether somebody waits for the disks, as from the beginning: a look has been asked for and isn't back, or an
    /// operation has not answered.
    bool isLooking() const;

    // State

    const AppConfig &config() const { return settings; }
    /// Saves what differs, and does what a change entails: drive profiles when the pairs changed, a fresh look at the
    /// environment when another OneDrive folder was chosen.
    void setConfig(const AppConfig &value);
    /// Why the settings are not saved as they are now; none when they are, or were never changed.
    const std::optional<QString> &whyUnsaved() const { return saveTrouble; }
    /// Connected external drives in the order of a file browser.
    const std::vector<VolumeInfo> &volumes() const { return around.drives; }
    /// False for what lies on a drive or in the OneDrive folder that isn't answering: whoever opens it waits.
    bool isAnswering(const Path &path) const;
    /// The one with this top folder; null when none is connected there.
    const VolumeInfo *driveAt(const Path &top) const;
    /// OneDrive folders found, the preferred one first.
    const std::vector<Locations::OneDriveFolder> &oneDriveFolders() const { return around.oneDriveFolders; }
    /// Their places alone.
    std::vector<Path> oneDriveRoots() const;
    /// A sync has been asked for and has not ended: it runs, or the disks are asked what there is to sync.
    bool busy() const { return token != nullptr; }
    const SyncProgress &progress() const { return currentProgress; }
    /// Finished runs, newest first.
    const std::vector<SyncRun> &history() const { return runs; }
    /// A notice until the user closes it.
    const std::optional<QString> &banner() const { return notice; }
    void setBanner(std::optional<QString> text);
    /// Why the last request for a sync started nothing.
    const std::optional<QString> &message() const { return refusal; }
    MainTab tab() const { return shownTab; }
    void setTab(MainTab value);
    const std::optional<QUuid> &selectedRunID() const { return selectedRun; }
    void setSelectedRunID(std::optional<QUuid> value);
    bool showingAddFolder() const { return addFolderIsShown; }
    void setShowingAddFolder(bool value);
    /// Shows these runs instead of the history; nothing is saved.
    void showSampleHistory(std::vector<SyncRun> sample);

    /// Shows a running sync that isn't there, for pictures; cancelSync() has no effect on it.
    void showSampleProgress(const SyncProgress &sample);

    /// When the last automatic sync of a drive (by its key) was scheduled.
    std::optional<QDateTime> lastAutoSync(const QString &drive) const;
    void setLastAutoSync(const QString &drive, const QDateTime &moment) { autoSyncs[drive] = moment; }

    // Derived values: of the settings, and of the disks as they were at the last look

    /// The OneDrive folder that backups go to, or why there is none.
    const Locations::OneDriveInUse &oneDriveInUse() const { return around.oneDrive; }
    /// That folder: the chosen one where it exists, else the first one found; none while it isn't mounted.
    std::optional<Path> oneDriveRoot() const { return oneDriveInUse().root; }
    std::optional<QString> oneDriveNotice() const { return around.oneDriveNotice(); }
    std::vector<FolderPair> enabledPairs() const;
    /// The enabled pairs whose original folder can be found now and whose disks answer.
    std::vector<FolderPair> readyPairs() const;
    bool hasHomePairs() const;
    std::vector<QString> connectedDriveNames() const;
    /// Whether Sync Now may be pressed.
    bool canSync() const;
    /// Why there is nothing to sync, or none. Doesn't look at busy().
    std::optional<QString> syncBlocker() const;
    std::vector<PairRow> rows() const;
    std::optional<Path> originalURL(const FolderPair &pair) const;
    const SyncRun *lastRun() const { return runs.empty() ? nullptr : &runs.front(); }
    std::optional<std::size_t> pairIndex(const QUuid &id) const;

    // Syncing

    /// The one entry for starting a sync. While one runs, a manual request is ignored and an automatic one is kept (the
    /// latest only) until 2 seconds after its end. Disks that don't answer are waited for, 30 seconds at most. What
    /// can't be synced is a note of the run; when nothing can, message() says why. `begun` is called, unless the
    /// request is ignored or kept, when the run begins or the request is refused or cancelled.
    void sync(const PairIDs &pairIDs, SyncTrigger trigger, Answer begun = {});
    /// Stops the running sync safely; it still ends in the normal way. One that has not begun is forgotten.
    void cancelSync();
    /// The place that a sync which has not begun waits for, once it keeps it waiting.
    std::optional<QString> awaitedPlace() const;

    // The folder list

    void addPair(const Path &original, const Path &backup, Answer done = {});
    void setBackup(const QUuid &id, const Path &backup, Answer done = {});
    void setEnabled(const QUuid &id, bool enabled);
    /// Takes the pair out of the list; nothing on any disk is deleted.
    void remove(const QUuid &id);
    void requestAddFolder() { setShowingAddFolder(true); }

    /// Uses this OneDrive folder from now on; none lets it be detected. What was remembered of an earlier folder's
    /// mount is forgotten.
    void chooseOneDrive(const std::optional<Path> &folder, Answer done = {});
    /// Whether a folder stands there; none when that isn't answered.
    void whetherFolder(const Path &path, std::function<void(std::optional<bool> isFolder)> answer);

    // Drives

    /// Something was mounted or unmounted, a drive or not.
    void mountsChanged();
    void volumeMounted(const Path &url);
    void volumeWillUnmount(const Path &url);
    void volumeUnmounted(const Path &url);
    /// Brings back the pairs stored on this drive if the list has none for it.
    void importProfileIfNeeded(const VolumeInfo &drive) { importProfiles({drive}, {}); }
    /// Brings the profile of every connected drive in line with the list, in the background.
    void writeProfiles();
    /// Waits until all drive profiles are written, for `limit` at most; false when that was not enough.
    static bool flushProfiles(std::chrono::milliseconds limit);
    /// A sync has not ended, or a drive profile is not written.
    bool hasUnfinishedWork() const;
    /// Whether the disks of that work answer within `limit`: if not, waiting for the work is in vain.
    void whetherItsDisksAnswer(std::chrono::milliseconds limit, std::function<void(bool)> answer);
    /// Waits until the history is written, for `limit` at most; false when that was not enough.
    static bool flushHistory(std::chrono::milliseconds limit);

  Q_SIGNALS:
    /// Something but the progress has changed; told once per turn of the event loop.
    void changed();
    /// Only progress() has changed.
    void progressChanged();
    /// Told once after every finished run, when everything about it is saved or, as the history, on its way.
    void runFinished(const SyncRun &run);
    /// A drive is about to be ejected, and the running sync stops for that.
    void stoppedForEject(const std::filesystem::path &drive);

  private:
    struct Request {
        PairIDs ids;
        SyncTrigger trigger = SyncTrigger::manual;
    };

    struct Prepared; // a sync's jobs, or why there are none
    struct Choice;   // a pair that the user chose

    void noteChange();
    void launch();
    bool somethingMayBeReady() const;
    void lookWhenDue();
    void lookIsTold(const Surroundings &now, bool isAnswered, std::uint64_t number);
    void takeOver(const Surroundings &now);
    void keepMountPoint();
    void forgetMovedPairs(const std::vector<FolderPair> &before);
    /// Asks the disks with the patience of somebody who waits; `ended` may use what `question` has kept.
    Lookout::Ticket askPatiently(Lookout::Question question, Lookout::Ended ended);
    const Surroundings::Pair &found(const FolderPair &pair) const { return around.of(pair); }
    /// Does `change` to a copy of the pair and takes the settings over once.
    void changePair(const QUuid &id, const std::function<void(FolderPair &pair)> &change);
    void pointTo(const QUuid &id, const QString &backupRelPath);
    void add(const Choice &choice);
    using Judge = std::function<std::optional<QString>(const Surroundings &now, Disk &disk)>;
    enum class Needs { Nothing, OneDrive };
    void decide(const Judge &judge, Needs needs, const std::vector<Path> &folders, const std::function<void()> &act,
                const Answer &done);

    void begin(const Request &request);
    Answer endPreparation();
    void refuse(const Prepared &result, const Request &request);
    void waitForMount(const Request &request);
    void syncWhatWaitedForTheMount();
    void startRun(std::vector<SyncJob> jobs, SyncTrigger trigger, std::vector<QString> notes);
    void finish(SyncRun run);
    void noteResults(const SyncRun &run);
    std::vector<Path> rootsOfEnabledPairs() const;
    void driveCame(const Path &url);
    void importProfiles(const std::vector<VolumeInfo> &drives, std::function<void()> then);
    void bringBack(const VolumeInfo &drive, const std::optional<Store::DriveProfile> &profile);
    void syncOnConnect(const VolumeInfo &drive);
    void startPending();
    void syncLater(int milliseconds, const PairIDs &ids, SyncTrigger trigger);

    static inline bool readOnly = false;

    AppConfig settings;
    std::optional<QString> saveTrouble;
    Surroundings around;
    SyncProgress currentProgress;
    std::vector<SyncRun> runs;
    std::optional<QString> notice;
    std::optional<QString> refusal;
    MainTab shownTab = MainTab::folders;
    std::optional<QUuid> selectedRun;
    bool addFolderIsShown = false;

    std::uint64_t looksBegun = 0;
    std::uint64_t looksTold = 0; ///< their end, or what was known of it after two seconds
    bool lookIsDue = false;
    Lookout::Ticket currentLook;
    /// What waits for the look with this number.
    std::deque<std::pair<std::uint64_t, std::function<void()>>> afterLook;

    std::shared_ptr<CancelToken> token; // of the running sync; null when idle
    // Of a sync that has not begun.
    Lookout::Ticket preparation;
    std::shared_ptr<Prepared> preparing;
    QTimer longPreparation; // runs as long as waiting isn't worth a word
    Answer tellBegun;
    std::vector<Path> activeRoots; // the folders of the running sync
    std::optional<Request> pendingAuto;
    std::optional<Request> waitsForMount; // what was to be synced on its own while OneDrive wasn't mounted
    bool holdProfileWrites = false;
    /// Top folders of the connected drives whose profiles have been looked at for folder choices to bring back.
    std::set<Path> offeredDrives;
    bool changeIsDue = false;
    bool isStopped = false;
    std::map<QString, QDateTime> autoSyncs;
    Lookout lookout;
};
