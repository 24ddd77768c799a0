#include "sync/PairExecution.h"

#include "base/Fmt.h"
#include "base/Text.h"
#include "sync/CopyError.h"
#include "sync/Leftovers.h"
#include "sync/PlanText.h"

#include <cerrno>
#include <system_error>
#include <thread>
#include <time.h>

#include <fcntl.h>
#include <sys/stat.h>

namespace {

constexpr const char *inTheWay = "something that is neither a file nor a folder is in the way in OneDrive";

bool isFolder(int parent, const char *name) {
    const std::optional<FileFacts> facts = lookAt(parent, name);
    return facts && facts->kind == FileKind::Folder;
}

/// Whether it is a regular file that stands where the folder or one above it belongs.
bool isFileInTheWay(int backup, const PlanFolder *folder) {
    for (; folder->parent; folder = folder->parent) {
        try {
            const FileDescriptor parent = OpenBelow::folder(backup, PairPlan::backupRel(folder->parent));
            const std::optional<FileFacts> facts = lookAt(parent.get(), folder->backupName.data());
            return facts && facts->kind == FileKind::Regular;
        } catch (const std::system_error &) {
            // It stands further up.
        }
    }
    return false;
}

} // namespace

PairExecution::PairExecution(PlannedJob &plannedJob, const RunContext &run)
    : planned(plannedJob), job(*plannedJob.job), plan(plannedJob.plan), context(run), judge(plannedJob, run.temp),
      copier(run.token), originalWatch(plannedJob.original), publisher(plannedJob),
      pipeline([this](CopyInProgress &item) { publisher.publish(item); },
               [this](CopyInProgress &item, int flushError) { return settle(item, flushError); }) {
    result.pairID = job.pairID;
    result.name = job.name;
    result.errors = static_cast<std::int64_t>(plan.problems.size());
}

void PairExecution::carryOut() {
    context.record.addPlan(context.pair, job, plan);
    context.reporter.progress.pairName = job.name;
    makeFolders();
    if (hasNoPlace)
        return;
    Next next = Next::GoOn;
    for (std::size_t i = 0; i < plan.copies.size() && next == Next::GoOn && !isStopped(); ++i) {
        next = copyFile(plan.copies[i], i + 1);
        if (next == Next::GoOn)
            next = settleWhatCooledDown();
    }
    closeCopying(next);
}

/// Nothing more comes from the original for now: what is staged is published.
void PairExecution::closeCopying(Next next) {
    // Another pair may keep this one waiting: its drive isn't needed meanwhile.
    sources.clear();
    if (isStopped())
        context.releaseOriginals();
    if (next == Next::GoOn)
        next = pipeline.drain();
    const std::optional<Ending> moved =
        next == Next::GoOn && !isStopped() && !plan.copies.empty() ? judge.endingIfMoved() : std::nullopt;
    if (moved)
        end(*moved);
}

// Folders

void PairExecution::makeFolders() {
    for (const PlannedFolder &folder : plan.folders) {
        if (context.token.isCancelled())
            return;
        try {
            if (folder.folder->parent)
                makeFolder(folder.folder);
            else if (makeBackupFolder())
                ++context.record.run.foldersCreated;
        } catch (const std::exception &) {
            ++result.errors;
            context.record.addError({context.pair},
                                    job.name + u'/' + Text::fromBytes(PairPlan::rel(folder.folder)) +
                                        QStringLiteral(": couldn't create folder (") +
                                        Failure::of(std::current_exception()).text + u')',
                                    Text::fromPath(job.original / PairPlan::rel(folder.folder)));
            // Without a backup folder nothing else can be made, and only where the drive has gone is there more to say.
            hasNoPlace = !planned.backup.isOpen() && planned.backupParent.isInPlace();
            if (hasNoPlace) {
                result.note = QStringLiteral("Backup folder not available");
                return;
            }
        }
    }
}

bool PairExecution::makeBackupFolder() {
    const std::string name = job.backup.filename().native();
    const int parent = planned.backupParent.descriptor();
    // Below a mount point whose drive has gone nothing is ever made.
    if (!planned.backupParent.isInPlace())
        throw std::system_error(ENOENT, std::generic_category());
    const int failure = ::mkdirat(parent, name.c_str(), 0777) == 0 ? 0 : errno;
    if (failure != 0 && (failure != EEXIST || !isFolder(parent, name.c_str())))
        throw std::system_error(failure, std::generic_category());
    constexpr int flags = O_PATH | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC;
    planned.backup = FolderAnchor(job.backup, FileDescriptor(::openat(parent, name.c_str(), flags)));
    return failure == 0;
}

void PairExecution::makeFolder(const PlanFolder *folder) {
    const std::shared_ptr<const TargetFolder> parent = targetFolder(folder->parent);
    const int descriptor = parent->folder.get();
    const char *name = folder->backupName.data();
    if (::mkdirat(descriptor, name, 0777) == 0) {
        ++context.record.run.foldersCreated;
        if (parent->volume->durability == Durability::Method::EachFile)
            noteFlush(Durability::flushFile(descriptor));
        return;
    }
    if (errno != EEXIST)
        throw std::system_error(errno, std::generic_category());
    const std::optional<FileFacts> facts = lookAt(descriptor, name);
    if (facts && facts->kind == FileKind::Folder)
        return;
    if (facts && facts->kind != FileKind::Regular)
        throw CopyError(QLatin1String(inTheWay));
    throw std::system_error(EEXIST, std::generic_category());
}

std::shared_ptr<const FileDescriptor> PairExecution::sourceFolder(const PlanFolder *folder) {
    return sources.get(folder, [&] {
        return std::make_shared<const FileDescriptor>(
            OpenBelow::folder(planned.original.descriptor(), PairPlan::rel(folder)));
    });
}

std::shared_ptr<const TargetFolder> PairExecution::targetFolder(const PlanFolder *folder) {
    return targets.get(folder, [&] {
        auto target = std::make_shared<TargetFolder>();
        const std::string relative = PairPlan::backupRel(folder);
        if (!planned.backup.isOpen())
            throw std::system_error(ENOENT, std::generic_category());
        try {
            target->folder = OpenBelow::folder(planned.backup.descriptor(), relative);
        } catch (const std::system_error &error) {
            const bool isStopped = error.code().value() == ELOOP || error.code().value() == ENOTDIR;
            if (isStopped && !isFileInTheWay(planned.backup.descriptor(), folder))
                throw CopyError(QLatin1String(inTheWay));
            if (error.code().value() != ENOENT)
                throw;
            target->folder = OpenBelow::makeFolders(planned.backup.descriptor(), relative);
        }
        target->volume = &context.temp.volumeOf(target->folder.get(), planned.backup.path() / relative);
        return std::shared_ptr<const TargetFolder>(std::move(target));
    });
}

// Copies: staging

PairExecution::Next PairExecution::copyFile(const PlannedCopy &copy, std::size_t number) {
    ++context.reporter.progress.filesBegun;
    tellCurrentFile(copy);
    const std::int64_t bytesBefore = context.reporter.progress.bytesDone;
    const Next next = attempt({.item = {.copy = &copy, .number = number}}, [&](std::int64_t copied) {
        context.reporter.progress.bytesDone = bytesBefore + copied;
        tellCurrentFile(copy);
    });
    context.reporter.progress.bytesDone = bytesBefore + (context.token.isCancelled() ? 0 : copy.size);
    return next;
}

/// Stages the copy and hands it on, or keeps it back while its original is hot.
PairExecution::Next PairExecution::attempt(HotCopy hot, const BytesCallback &onBytes) {
    CopyInProgress &item = hot.item;
    try {
        if (const std::optional<HotOriginal> heat = stage(hot, onBytes)) {
            hotCopies.emplace(heat->coolAt, std::move(hot));
            return Next::GoOn;
        }
    } catch (const SyncCancelled &) {
        return Next::GoOn; // the caller sees the token, and what is staged is still published
    } catch (const std::exception &) {
        const Failure failure = Failure::of(std::current_exception());
        if (const std::optional<Ending> ending = judge.endingFor(*item.copy, failure)) {
            // What was staged before is complete and comes first, unless it meets its own end.
            return pipeline.drain() == Next::Stop ? Next::Stop : end(*ending);
        }
        item.state = CopyInProgress::NotStaged{failure.text};
    }
    return pipeline.add(std::move(item));
}

/// Copies what the original is now, decided anew if that isn't what was planned. Returns until when the copy is to be
/// kept back; it may not even be staged then.
std::optional<HotOriginal> PairExecution::stage(HotCopy &hot, const BytesCallback &onBytes) {
    const PlannedCopy &copy = *hot.item.copy;
    originalWatch.check();
    const std::shared_ptr<const FileDescriptor> source = sourceFolder(copy.folder);
    const OpenedOriginal original = OpenedOriginal::open({source->get(), copy.name});
    hot.item.version = original.version();
    if (const std::optional<Published> settled = decideAnew(copy, original.version())) {
        hot.item.state = PublishedCopy{*settled};
        return std::nullopt;
    }
    const std::shared_ptr<const TargetFolder> target = targetFolder(copy.folder);
    const std::optional<HotOriginal> heat = hotness(original.version().mtime, original.openedAt, job.rules);
    // A client's mount would begin to upload it under its temporary name.
    if (heat && hot.attempts == 0 && (heat->mayHideAChange || target->volume->isBeside())) {
        ++hot.attempts;
        return heat;
    }
    hot.item.state = copier.stage(original, target, [&](std::int64_t copied) {
        originalWatch.check();
        onBytes(copied);
    });
    ++hot.attempts;
    return heat;
}

/// What becomes of a copy whose original isn't what it was in planning, when that is no copy any more.
std::optional<Published> PairExecution::decideAnew(const PlannedCopy &copy, const FileVersion &original) const {
    if (original == copy.version() || !copy.replaces)
        return std::nullopt;
    switch (decide(original, *copy.replaces, job.rules)) {
    case Verdict::UpToDate:
        return Published::UpToDate;
    case Verdict::KeepNewer:
        return Published::KeptNewer;
    case Verdict::Copy:
        break;
    }
    return std::nullopt;
}

void PairExecution::tellCurrentFile(const PlannedCopy &copy) {
    if (!context.reporter.isDue())
        return;
    context.reporter.progress.currentFile = Text::fromBytes(PairPlan::rel(copy));
    context.reporter.emitNow();
}

// Copies: hot originals

void PairExecution::waitForHotOriginals() {
    Next next = Next::GoOn;
    while (next == Next::GoOn && !hotCopies.empty() && !isStopped()) {
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
        tellCurrentFile(*hotCopies.begin()->second.item.copy);
        next = settleWhatCooledDown();
    }
    closeCopying(next);
}

PairExecution::Next PairExecution::settleWhatCooledDown() {
    if (hotCopies.empty())
        return Next::GoOn;
    timespec now = {};
    ::clock_gettime(CLOCK_REALTIME, &now);
    Next next = Next::GoOn;
    // A clock that was set back must not make the run wait for hours: what is due later than any could be is due now.
    while (next == Next::GoOn && !hotCopies.empty() && !isStopped()) {
        const double wait = secondsBetween(hotCopies.begin()->first, FileTime::from(now));
        if (wait > 0 && wait < 60)
            break;
        next = settleCooled(std::move(hotCopies.extract(hotCopies.begin()).mapped()));
    }
    return next;
}

/// The copy is good if the original is what it was, or is so different that the next run will see it.
PairExecution::Next PairExecution::settleCooled(HotCopy hot) {
    constexpr int mostAttempts = 3;
    CopyInProgress &item = hot.item;
    if (item.staged()) {
        if (showsItsChanges(item))
            return pipeline.add(std::move(item));
        if (hot.attempts >= mostAttempts) {
            item.state = CopyInProgress::NotStaged{CopyError::incomplete()};
            return pipeline.add(std::move(item));
        }
        item.state = {};
    }
    return attempt(std::move(hot), [](std::int64_t) {});
}

bool PairExecution::showsItsChanges(const CopyInProgress &item) {
    try {
        const std::shared_ptr<const FileDescriptor> source = sourceFolder(item.copy->folder);
        const std::optional<FileFacts> now = lookAt(source->get(), item.copy->name);
        if (!now && errno != ENOENT)
            return false;
        if (!now || now->kind != FileKind::Regular)
            return true;
        const FileVersion version{now->size, now->mtime};
        return version == item.version || decide(version, item.version, job.rules) != Verdict::UpToDate;
    } catch (const std::system_error &) {
        return false; // the next attempt tells why
    }
}

/// What never cooled down before the run was stopped by another pair.
void PairExecution::tellOfHotOriginals() {
    for (const auto &[coolAt, hot] : hotCopies)
        addError(hot.item, CopyError::incomplete());
}

// Copies: what became of them

PairExecution::Next PairExecution::settle(CopyInProgress &item, int flushError) {
    Next next = Next::GoOn;
    if (const auto *notStaged = std::get_if<CopyInProgress::NotStaged>(&item.state)) {
        addError(item, notStaged->text); // judged when it failed
    } else if (const auto *published = std::get_if<PublishedCopy>(&item.state)) {
        recordPublished(item, *published);
    } else if (const auto *notPublished = std::get_if<CopyInProgress::NotPublished>(&item.state)) {
        next = settleFailure(item, Failure::of(notPublished->error));
    } else if (flushError == judgedFlushError) {
        addError(item, Fmt::systemError(flushError));
    } else {
        next = settleFailure(item, {Fmt::systemError(flushError), flushError});
        judgedFlushError = flushError;
    }
    if (next == Next::GoOn)
        ++context.reporter.progress.filesDone;
    return next;
}

void PairExecution::recordPublished(const CopyInProgress &item, const PublishedCopy &published) {
    RunRecord &record = context.record;
    const PlannedCopy &copy = *item.copy;
    datesLost += published.hasItsDate ? 0 : 1;
    switch (published.outcome) {
    case Published::UpToDate:
        ++record.run.upToDate;
        return;
    case Published::KeptNewer:
        record.addKeptNewer(placeOf(item), PlanText::keptNewer(shownPath(copy)));
        return;
    case Published::FolderInTheWay:
        record.addConflict(placeOf(item), PlanText::folderInTheWay(shownPath(copy)));
        return;
    case Published::Added:
    case Published::Updated:
        break;
    }
    ++result.copied;
    result.bytes += item.version.size;
    ++record.run.filesCopied;
    record.run.bytesCopied += item.version.size;
    record.addChange(placeOf(item), job, plan, copy, item.version,
                     published.outcome == Published::Added ? ChangeKind::added : ChangeKind::updated);
}

PairExecution::Next PairExecution::settleFailure(const CopyInProgress &item, const Failure &failure) {
    if (const std::optional<Ending> ending = judge.endingFor(*item.copy, failure))
        return end(*ending);
    addError(item, failure.text);
    return Next::GoOn;
}

void PairExecution::addError(const CopyInProgress &item, const QString &text) {
    ++result.errors;
    context.record.addError(placeOf(item), shownPath(*item.copy) + QStringLiteral(": ") + text,
                            Text::fromPath(plan.from(*item.copy)));
}

PairExecution::Next PairExecution::end(const Ending &ending) {
    ++result.errors;
    context.record.run.fatal = ending.fatal;
    result.note = ending.note;
    return Next::Stop;
}

// The end

void PairExecution::finish() {
    const SyncRun &run = context.record.run;
    const bool cancelled = context.token.isCancelled();
    if (run.fatal && !result.note && !cancelled)
        tellOfHotOriginals();
    hotCopies.clear();
    noteFlush(publisher.flushNames());
    noteFlush(pipeline.flushPublished());
    if (failedFlush != 0 && !run.fatal) {
        ++result.errors;
        context.record.addError({context.pair, plan.copies.size() + 1},
                                job.name + QStringLiteral(": the copies couldn't be written down for good (") +
                                    Fmt::systemError(failedFlush) + u')',
                                Text::fromPath(job.backup));
    }
    if (result.errors == 0 && !run.fatal && !cancelled)
        clearOldVersions();
    if (datesLost > 0)
        context.record.addLostDates(context.pair, job, datesLost);
    if (cancelled)
        result.note = QStringLiteral("Cancelled");
    context.record.addResult(context.pair, result);
}

/// Old versions that were moved aside in a swap which an earlier run didn't finish.
void PairExecution::clearOldVersions() {
    for (const PlannedLeftover &leftover : plan.staleTemps) {
        if (!Leftovers::isOldVersion(leftover))
            continue;
        if (Leftovers::isOnlyVersion(planned.backup, leftover))
            context.record.addNote(context.pair, PlanText::orphanedOldVersion(job, plan.url(leftover)));
        else
            Leftovers::remove(planned.backup, leftover);
    }
}

void PairExecution::noteFlush(int error) {
    failedFlush = failedFlush ? failedFlush : error;
}

bool PairExecution::isStopped() const {
    return context.token.isCancelled() || context.record.run.fatal;
}

RunRecord::Place PairExecution::placeOf(const CopyInProgress &item) const {
    return {context.pair, item.number};
}

QString PairExecution::shownPath(const PlannedCopy &copy) const {
    return job.name + u'/' + Text::fromBytes(PairPlan::rel(copy));
}
