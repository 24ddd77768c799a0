// The model's side of a sync.

#include "base/Fmt.h"
#include "base/Paths.h"
#include "base/Text.h"
#include "model/AppModel.h"
#include "store/Locations.h"
#include "store/Log.h"
#include "store/Store.h"
#include "sync/SyncRunner.h"

#include <QCoreApplication>
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

bool leadsOut(const fs::path &folder, const fs::path &base) {
    return !Paths::isWithin(Locations::resolved(folder), Locations::resolved(base));
}

/// Stored paths may come from a stranger's drive. In the home folder links are the user's own, and many have their
/// pictures on another disk that way.
bool isContained(const FolderPair &pair, const Locations::ResolvedFolder &original, const fs::path &oneDrive,
                 const fs::path &backup) {
    if (!staysBelow(pair.sourceRelPath) || !staysBelow(pair.backupRelPath) || leadsOut(backup, oneDrive))
        return false;
    return pair.volumeUUID == Locations::homeKey || !leadsOut(original.folder, original.volume.url);
}

bool isFat(const QString &type) {
    return type == QStringLiteral("msdos");
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

void AppModel::sync(const PairIDs &pairIDs, SyncTrigger trigger) {
    if (readOnly)
        return;
    if (busy()) {
        if (trigger != SyncTrigger::manual)
            pendingAuto = Request{pairIDs, trigger};
        return;
    }
    refreshEnvironment();
    std::vector<QString> notes;
    std::vector<SyncJob> jobs = buildJobs(pairIDs, notes);
    const Locations::OneDriveInUse &oneDrive = around.oneDrive;
    if (!jobs.empty() && oneDrive.goneChoice)
        notes.push_back(*oneDriveNotice());
    if (!jobs.empty())
        return startRun(std::move(jobs), trigger, std::move(notes));
    if (oneDrive.state == Locations::OneDriveInUse::State::NotMounted && trigger != SyncTrigger::manual)
        waitForMount({pairIDs, trigger});
    refusal = notes.empty() ? syncBlocker() : notes.front();
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

void AppModel::cancelSync() {
    if (token)
        token->cancel();
}

std::vector<SyncJob> AppModel::buildJobs(const PairIDs &pairIDs, std::vector<QString> &notes) const {
    std::vector<SyncJob> jobs;
    for (const FolderPair &pair : enabledPairs()) {
        if (pairIDs && std::find(pairIDs->begin(), pairIDs->end(), pair.id) == pairIDs->end())
            continue;
        QString note;
        if (std::optional<SyncJob> job = buildJob(pair, note))
            jobs.push_back(std::move(*job));
        else
            notes.push_back(note);
    }
    return jobs;
}

std::optional<SyncJob> AppModel::buildJob(const FolderPair &pair, QString &note) const {
    const auto skip = [&](const QString &reason) {
        note = QStringLiteral("“") + PairRow::nameOf(pair) + QStringLiteral("” was skipped: ") + reason;
        return std::nullopt;
    };
    const std::optional<Locations::ResolvedFolder> &original = found(pair).original;
    if (!original)
        return skip(QStringLiteral("the drive “") + pair.volumeName + QStringLiteral("” isn't connected."));
    const Locations::OneDriveInUse &oneDrive = around.oneDrive;
    if (oneDrive.state == Locations::OneDriveInUse::State::NotMounted)
        return skip(Locations::notMounted(*oneDrive.mountPoint));
    if (!oneDrive.root)
        return skip(QStringLiteral("OneDrive wasn't found. Choose your OneDrive folder in Settings."));
    const Path backup = *found(pair).backup;
    if (!isContained(pair, *original, *oneDrive.root, backup))
        return skip(QStringLiteral("its stored folders lead outside the drive or OneDrive."));
    if (overlaps(original->folder, backup))
        return skip(QStringLiteral("its backup folder is inside the original."));
    SyncJob job;
    job.pairID = pair.id;
    job.name = PairRow::nameOf(pair);
    job.original = Paths::standardised(original->folder);
    job.backup = Paths::standardised(backup);
    job.oneDrive = oneDrive.root;
    job.mountPoint = oneDrive.mountPoint;
    job.rules.fatTimeQuirk = isFat(original->volume.fsType) || isFat(Locations::fileSystemType(backup));
    return job;
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
    inhibitor.begin(QStringLiteral("Tarnwick Basic is syncing your folders"));

    // The thread gets values and the token only. What it has to say is posted to the main thread, where the model, if
    // it still exists, takes it; so nobody ever waits for a thread that may hang in the kernel.
    const auto post = [self = QPointer(this)](const auto &tell) {
        QMetaObject::invokeMethod(
            QCoreApplication::instance(),
            [self, tell] {
                if (self && self->busy())
                    tell(*self);
            },
            Qt::QueuedConnection);
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
    inhibitor.end();
    logResult(run);
    runs.insert(runs.begin(), run);
    if (runs.size() > historyCap)
        runs.resize(historyCap);
    // A long history takes longer to write than a click should wait.
    historyQueue().post([saved = runs] { Store::save(saved); });
    selectedRun = run.id;
    noteChange();
    noteResults(run);
    if (onRunFinished)
        onRunFinished(run);
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
        if (!stopped)
            sync(ids, trigger);
    });
}

bool AppModel::flushHistory(std::chrono::milliseconds limit) {
    return historyQueue().drain(limit);
}
