#pragma once

#include "base/SerialQueue.h"
#include "desktop/SleepInhibitor.h"
#include "model/PairRow.h"
#include "model/Surroundings.h"
#include "records/AppConfig.h"
#include "records/MainTab.h"
#include "records/SyncProgress.h"
#include "records/SyncRun.h"
#include "records/VolumeInfo.h"
#include "store/Locations.h"
#include "sync/CancelToken.h"
#include "sync/SyncJob.h"

#include <QDateTime>
#include <QObject>

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
/// Lives on the main thread, needs an event loop, and takes the settings folder for its own. Operations that may refuse
/// return the sentence for the user, or none when they did what was asked.
class AppModel : public QObject {
    Q_OBJECT
  public:
    using Path = std::filesystem::path;
    /// The pairs that a sync is asked for; none means every enabled pair.
    using PairIDs = std::optional<std::vector<QUuid>>;

    /// The application's model, made on first use and never destroyed.
    static AppModel &shared();
    /// While true no model starts a sync or reads or writes a drive profile: for showing sample data.
    static inline bool readOnly = false;

    /// Loads the settings and the history and looks at the drives; starts nothing.
    AppModel();
    /// A sync under way goes on, and its result is dropped.
    ~AppModel() override;

    /// Called once after launch: clears what earlier runs left, brings back folder choices from the drives, and, if
    /// asked and something is ready, syncs 20 seconds later.
    void start(bool syncIfConnected);
    /// Looks again which drives and OneDrive folders there are.
    void refreshEnvironment();

    // State

    const AppConfig &config() const { return settings; }
    /// Saves what differs, and does what a change entails: drive profiles when the pairs changed, a fresh look at the
    /// environment when another OneDrive folder was chosen.
    void setConfig(const AppConfig &value);
    /// Connected external drives in the order of a file browser.
    const std::vector<VolumeInfo> &volumes() const { return around.drives; }
    /// OneDrive folders found, the preferred one first.
    const std::vector<Locations::OneDriveFolder> &oneDriveFolders() const { return around.oneDriveFolders; }
    /// Their places alone.
    std::vector<Path> oneDriveRoots() const;
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

    /// Called once after every finished run, when everything about it is saved or, as the history, on its way.
    std::function<void(const SyncRun &run)> onRunFinished;
    /// Called when a drive is about to be ejected and the running sync stops for that.
    std::function<void(const Path &drive)> onStoppedForEject;
    /// Once true, every delayed sync is dropped when its time comes.
    bool stopped = false;
    /// When the last automatic sync of each drive (by its key) was scheduled.
    std::map<QString, QDateTime> lastAutoSync;

    // Derived values: of the settings, and of the disks as they were at the last look

    /// The OneDrive folder that backups go to, or why there is none.
    const Locations::OneDriveInUse &oneDriveInUse() const { return around.oneDrive; }
    /// That folder: the chosen one where it exists, else the first one found; none while it isn't mounted.
    std::optional<Path> oneDriveRoot() const { return oneDriveInUse().root; }
    /// What the user should know of the OneDrive folder: why there is none, or that another than the chosen one is
    /// used.
    std::optional<QString> oneDriveNotice() const;
    std::vector<FolderPair> enabledPairs() const;
    /// The enabled pairs whose original folder can be found now.
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
    /// latest only) until 2 seconds after its end. What can't be synced is a note of the run; when nothing can,
    /// message() says why.
    void sync(const PairIDs &pairIDs, SyncTrigger trigger);
    /// Stops the running sync safely; it still ends in the normal way.
    void cancelSync();

    // The folder list

    std::optional<QString> addPair(const Path &original, const Path &backup);
    std::optional<QString> setBackup(const QUuid &id, const Path &backup);
    void setEnabled(const QUuid &id, bool enabled);
    /// Takes the pair out of the list; nothing on any disk is deleted.
    void remove(const QUuid &id);
    void requestAddFolder() { setShowingAddFolder(true); }

    struct Source {
        VolumeInfo volume;
        QString rel;
    };
    /// Where a chosen original folder lives; none when it can't be backed up from there.
    std::optional<Source> locateSource(const Path &url) const;
    /// The folder relative to the OneDrive folder; none when it isn't below it.
    std::optional<QString> oneDriveRelativePath(const Path &url) const;
    /// As Locations::overlap().
    static bool overlaps(const Path &a, const Path &b);
    static std::optional<QString> backupFolderProblem(const Path &url);

    /// Uses this OneDrive folder from now on; none lets it be detected. What was remembered of an earlier folder's
    /// mount is forgotten.
    std::optional<QString> chooseOneDrive(const std::optional<Path> &folder);

    // Drives

    /// Something was mounted or unmounted, a drive or not.
    void mountsChanged();
    void volumeMounted(const Path &url);
    void volumeWillUnmount(const Path &url);
    void volumeUnmounted(const Path &url);
    /// Brings back the pairs stored on this drive if the list has none for it.
    void importProfileIfNeeded(const VolumeInfo &drive);
    /// Brings the profile of every connected drive in line with the list, in the background.
    void writeProfiles();
    /// Waits until all drive profiles are written, for `limit` at most; false when that was not enough.
    static bool flushProfiles(std::chrono::milliseconds limit);
    /// The same for the history.
    static bool flushHistory(std::chrono::milliseconds limit);

  Q_SIGNALS:
    /// Something but the progress has changed; told once per turn of the event loop.
    void changed();
    /// Only progress() has changed.
    void progressChanged();

  private:
    struct Request {
        PairIDs ids;
        SyncTrigger trigger = SyncTrigger::manual;
    };

    void noteChange();
    void look();
    void keepMountPoint();
    const Surroundings::Pair &found(const FolderPair &pair) const;
    /// Does `change` to a copy of the pair and takes the settings over once.
    void changePair(const QUuid &id, const std::function<void(FolderPair &pair)> &change);
    void pointTo(const QUuid &id, const QString &backupRelPath);

    std::vector<SyncJob> buildJobs(const PairIDs &pairIDs, std::vector<QString> &notes) const;
    /// The job, or the note that says why the pair was skipped.
    std::optional<SyncJob> buildJob(const FolderPair &pair, QString &note) const;
    void waitForMount(const Request &request);
    void startRun(std::vector<SyncJob> jobs, SyncTrigger trigger, std::vector<QString> notes);
    void finish(SyncRun run);
    void noteResults(const SyncRun &run);
    void startPending();
    void syncLater(int milliseconds, const PairIDs &ids, SyncTrigger trigger);

    AppConfig settings;
    Surroundings around;
    SyncProgress currentProgress;
    std::vector<SyncRun> runs;
    std::optional<QString> notice;
    std::optional<QString> refusal;
    MainTab shownTab = MainTab::folders;
    std::optional<QUuid> selectedRun;
    bool addFolderIsShown = false;

    std::shared_ptr<CancelToken> token; // of the running sync; null when idle
    std::vector<Path> activeRoots;      // the folders of the running sync
    std::optional<Request> pendingAuto;
    std::optional<Request> waitsForMount; ///< what was to be synced on its own while OneDrive wasn't mounted
    bool holdProfileWrites = false;
    /// Top folders of the connected drives whose profiles have been looked at for folder choices to bring back.
    std::set<Path> offeredDrives;
    bool changeIsDue = false;
    SleepInhibitor inhibitor;
};
