// The model's side of a sync.

#include "base/Fmt.h"
#include "base/MainThread.h"
#include "base/Paths.h"
#include "base/Text.h"
#include "model/AppModel.h"
#include "store/Locations.h"
#include "store/Log.h"
#include "store/Store.h"
#include "sync/SyncRunner.h"

#include <QPointer>
#include <QStringList>
#include <QTimer>

#include <algorithm>
#include <system_error>
#include <thread>

namespace {

namespace fs = std::filesystem;

constexpr int pendingDelay = 2000;
constexpr std::size_t historyCap = 60;
constexpr std::size_t loggedLines = 50;

/// Never destroyed: it may still be writing when the process ends.
SerialQueue &historyQueue() {
    static auto *const queue = new SerialQueue;
    return *queue;
}

/// Whether a stored relative path, read as text, stays below its base.
bool staysBelow(const QString &rel) {
    const QStringList parts = rel.split(u'/');
    return !rel.startsWith(u'/') && !rel.contains(QChar(0)) && !parts.contains(QStringLiteral(".."));
}

bool leadsOut(const fs::path &folder, const fs::path &base, Disk &disk) {
    return !Paths::isWithin(disk.resolved(folder), disk.resolved(base));
}

/// Stored paths may come from a stranger's drive. In the home folder links are the user's own, and many have their
/// pictures on another disk that way.
bool isContained(const FolderPair &pair, const Locations::ResolvedFolder &original, const fs::path &oneDrive,
                 const fs::path &backup, Disk &disk) {
    if (!staysBelow(pair.sourceRelPath) || !staysBelow(pair.backupRelPath) || leadsOut(backup, oneDrive, disk))
        return false;
    return pair.volumeUUID == Locations::homeKey || !leadsOut(original.folder, original.volume.url, disk);
}

QString skipped(const FolderPair &pair, const QString &reason) {
    return QStringLiteral("“") + PairRow::nameOf(pair) + QStringLiteral("” was skipped: ") + reason;
}

/// The job, or in `note` why the pair is skipped.
std::optional<SyncJob> buildJob(const FolderPair &pair, const Surroundings &around, QString &note, Disk &disk) {
    const auto skip = [&](const QString &reason) {
        note = skipped(pair, reason);
        return std::nullopt;
    };
    const Surroundings::Pair &found = around.of(pair);
    if (!found.original)
        return skip(QStringLiteral("the drive “") + pair.volumeName + QStringLiteral("” isn't connected."));
    const Locations::OneDriveInUse &oneDrive = around.oneDrive;
    if (oneDrive.state == Locations::OneDriveInUse::State::NotMounted)
        return skip(Locations::notMounted(*oneDrive.mountPoint));
    if (found.silentPlace)
        return skip(Surroundings::isNotAnswering(*found.silentPlace));
    if (!oneDrive.root)
        return skip(QStringLiteral("OneDrive wasn't found. Choose your OneDrive folder in Settings."));
    const fs::path &backup = *found.backup;
    if (!isContained(pair, *found.original, *oneDrive.root, backup, disk))
        return skip(QStringLiteral("its stored folders lead outside the drive or OneDrive."));
    std::optional<SyncJob> job = SyncJob::between({.pairID = pair.id,
                                                   .name = PairRow::nameOf(pair),
                                                   .original = found.original->folder,
                                                   .backup = backup,
                                                   .oneDrive = oneDrive.root,
                                                   .mountPoint = oneDrive.mountPoint},
                                                  disk);
    return job ? job : skip(QStringLiteral("its backup folder is inside the original."));
}

QString summaryOf(const PairResult &result) {
    if (result.note)
        return *result.note;
    return result.copied > 0 ? Fmt::counted(result.copied, QStringLiteral("file")) + QStringLiteral(" copied")
                             : QStringLiteral("Up to date");
}

void logResult(const SyncRun &run) {
    Log &log = Log::shared();
    log.write(QStringLiteral("Sync finished: ") + run.headline());
    for (std::size_t i = 0; i < std::min(run.errors.size(), loggedLines); ++i)
        log.write(QStringLiteral("  problem: ") + run.errors[i]);
    for (std::size_t i = 0; i < std::min(run.skipped.size(), loggedLines); ++i) {
        const SkippedItem &item = run.skipped[i];
        log.write(QStringLiteral("  skipped (") + rawText(item.kind) + QStringLiteral("): ") + item.pairName + u'/' +
                  item.relPath);
    }
}

} // namespace

/// What the disks tell for a sync.
struct AppModel::Prepared {
    Surroundings around = {};
    std::vector<SyncJob> jobs = {};
    std::vector<QString> notes = {};
    std::optional<QString> awaited = {}; ///< the first place that hasn't answered and that a pair needs
    bool isComplete = false;             ///< nothing at all is a guess

    static Prepared from(const AppConfig &config, const Surroundings &before, const PairIDs &pairIDs, Disk &disk);
    void add(const FolderPair &pair, Disk &disk);
};

AppModel::Prepared AppModel::Prepared::from(const AppConfig &config, const Surroundings &before, const PairIDs &pairIDs,
                                            Disk &disk) {
    Prepared result{.around = Surroundings::look(config, before, disk)};
    // A mount seen for the first time binds this sync already.
    if (const AppConfig next = result.around.withMountPoint(config); !(next == config))
        result.around = Surroundings::look(next, before, disk);
    for (const FolderPair &pair : config.pairs) {
        const bool isMeant = !pairIDs || std::find(pairIDs->begin(), pairIDs->end(), pair.id) != pairIDs->end();
        if (pair.enabled && isMeant)
            result.add(pair, disk);
    }
    result.isComplete = disk.unanswered() == 0;
    return result;
}

void AppModel::Prepared::add(const FolderPair &pair, Disk &disk) {
    const std::size_t unanswered = disk.unanswered();
    QString note;
    const std::optional<SyncJob> job = buildJob(pair, around, note, disk);
    std::optional<QString> silent = around.of(pair).silentPlace;
    if (!silent && disk.unanswered() != unanswered) // a link on the way leads to what doesn't answer
        silent = around.of(pair).original->volume.name;
    if (silent && !awaited)
        awaited = silent;
    if (job && !silent)
        jobs.push_back(*job);
    else
        notes.push_back(job ? skipped(pair, Surroundings::isNotAnswering(*silent)) : note);
}

void AppModel::sync(const PairIDs &pairIDs, SyncTrigger trigger, Answer begun) {
    if (readOnly)
        return;
    if (busy()) {
        if (trigger != SyncTrigger::manual)
            pendingAuto = Request{pairIDs, trigger};
        return;
    }
    token = std::make_shared<CancelToken>();
    currentProgress = {};
    noteChange();
    preparing = std::make_shared<Prepared>();
    tellBegun = std::move(begun);
    const auto request = std::make_shared<const Request>(Request{pairIDs, trigger});
    const auto question = [this, request](Disk &disk) {
        *preparing = Prepared::from(settings, around, request->ids, disk);
        return !preparing->awaited;
    };
    preparation = askPatiently(question, [this, request](bool) { begin(*request); });
    longPreparation.start(Lookout::hanging);
}

/// The disks have told what there is to sync.
void AppModel::begin(const Request &request) {
    Prepared result = std::move(*preparing);
    const Answer tell = endPreparation();
    if (result.isComplete)
        takeOver(result.around);
    else
        refreshEnvironment();
    if (result.around.oneDrive.root)
        setConfig(result.around.withMountPoint(settings));
    const bool isRefused = result.jobs.empty();
    if (isRefused) {
        refuse(result, request);
    } else {
        if (result.around.oneDrive.goneChoice)
            result.notes.push_back(*result.around.oneDriveNotice());
        startRun(std::move(result.jobs), request.trigger, std::move(result.notes));
    }
    if (tell)
        tell(isRefused ? refusal : std::nullopt);
}

/// Returns who is to be told what became of it.
AppModel::Answer AppModel::endPreparation() {
    longPreparation.stop();
    lookout.drop(std::exchange(preparation, nullptr));
    preparing.reset();
    token.reset();
    noteChange();
    return std::exchange(tellBegun, {});
}

std::optional<QString> AppModel::awaitedPlace() const {
    return preparing && !longPreparation.isActive() ? preparing->awaited : std::nullopt;
}

void AppModel::refuse(const Prepared &result, const Request &request) {
    if (result.around.oneDrive.state == Locations::OneDriveInUse::State::NotMounted &&
        request.trigger != SyncTrigger::manual)
        waitForMount(request);
    refusal = result.notes.empty() ? syncBlocker() : result.notes.front();
    if (!refusal)
        refusal = QStringLiteral("There is nothing to sync right now.");
    noteChange();
}

/// A sync of all folders is not replaced by one of some.
void AppModel::waitForMount(const Request &request) {
    if (!waitsForMount || waitsForMount->ids)
        waitsForMount = request;
    Log::shared().write(QStringLiteral("Sync waits until OneDrive is mounted (") + rawText(request.trigger) + u')');
}

void AppModel::syncWhatWaitedForTheMount() {
    if (isStopped || !waitsForMount || !oneDriveRoot())
        return;
    const Request request = *std::exchange(waitsForMount, std::nullopt);
    sync(request.ids, request.trigger);
}

void AppModel::cancelSync() {
    if (token)
        token->cancel();
    if (!preparation)
        return;
    if (const Answer tell = endPreparation())
        tell(QStringLiteral("The sync was stopped before it began."));
    startPending();
}

void AppModel::startRun(std::vector<SyncJob> jobs, SyncTrigger trigger, std::vector<QString> notes) {
    token = std::make_shared<CancelToken>();
    activeRoots.clear();
    QStringList names;
    for (const SyncJob &job : jobs) {
        activeRoots.insert(activeRoots.end(), {job.original, job.backup});
        names.append(job.name);
    }
    currentProgress = {};
    refusal.reset();
    noteChange();
    Log::shared().write(QStringLiteral("Sync started (") + rawText(trigger) + QStringLiteral("): ") +
                        names.join(QStringLiteral(", ")));

    // The thread gets values and the token only. What it has to say is posted to the main thread, where the model, if
    // it still exists, takes it; so nobody ever waits for a thread that may hang in the kernel.
    const auto post = [self = QPointer(this)](const auto &tell) {
        MainThread::post([self, tell] {
            if (self && self->busy())
                tell(*self);
        });
    };
    const auto showProgressCallback = [post](const SyncProgress &progress) {
        post([progress](AppModel &model) {
            model.currentProgress = progress;
            Q_EMIT model.progressChanged();
        });
    };
    const auto work = [jobs = std::move(jobs), shared = token, trigger, notes = std::move(notes), post,
                       showProgressCallback] {
        // The runner goes before the end is told: afterwards nothing is open on any drive.
        const auto run = std::make_shared<SyncRun>(SyncRunner(jobs, *shared, trigger, showProgressCallback).perform());
        run->finished = QDateTime::currentDateTimeUtc();
        run->notes.insert(run->notes.end(), notes.begin(), notes.end());
        post([run](AppModel &model) { model.finish(std::move(*run)); });
    };
    try {
        std::thread(work).detach();
    } catch (const std::system_error &error) {
        SyncRun run;
        run.started = run.finished = QDateTime::currentDateTimeUtc();
        run.trigger = trigger;
        run.pairNames.assign(names.begin(), names.end());
        run.fatal = Fmt::systemError(error.code().value());
        finish(std::move(run));
    }
}

void AppModel::finish(SyncRun run) {
    token.reset();
    activeRoots.clear();
    logResult(run);
    runs.insert(runs.begin(), run);
    if (runs.size() > historyCap)
        runs.resize(historyCap);
    // A long history takes longer to write than a click should wait.
    historyQueue().post([saved = runs] { Store::save(saved); });
    selectedRun = run.id;
    noteChange();
    noteResults(run);
    Q_EMIT runFinished(run);
    startPending();
}

void AppModel::noteResults(const SyncRun &run) {
    AppConfig next = settings;
    for (const PairResult &result : run.pairResults) {
        const std::optional<std::size_t> index = pairIndex(result.pairID);
        if (!index)
            continue;
        FolderPair &pair = next.pairs[*index];
        pair.lastSync = run.finished;
        pair.lastOK = result.errors == 0 && !result.note;
        pair.lastSummary = summaryOf(result);
    }
    setConfig(next);
}

void AppModel::startPending() {
    if (const std::optional<Request> request = std::exchange(pendingAuto, std::nullopt))
        syncLater(pendingDelay, request->ids, request->trigger);
}

void AppModel::syncLater(int milliseconds, const PairIDs &ids, SyncTrigger trigger) {
    QTimer::singleShot(milliseconds, Qt::PreciseTimer, this, [this, ids, trigger] {
        if (!isStopped)
            sync(ids, trigger);
    });
}

bool AppModel::flushHistory(std::chrono::milliseconds limit) {
    return historyQueue().drain(limit);
}
