#include "sync/PairExecution.h"

#include "base/Fmt.h"
#include "base/Text.h"
#include "platform/VolumeIdentity.h"
#include "sync/CopyError.h"
#include "sync/Leftovers.h"
#include "sync/PlanText.h"
#include "sync/RunRecord.h"

#include <cerrno>
#include <new>
#include <system_error>

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
    : planned(plannedJob), job(*plannedJob.job), plan(plannedJob.plan), context(run), copier(run.token),
      originalWatch(plannedJob.original), backupWatch(plannedJob.backup),
      pipeline([this](CopyInProgress &item) { publish(item); },
               [this](CopyInProgress &item, int flushError) { return settle(item, flushError); }) {
    result.pairID = job.pairID;
    result.name = job.name;
    result.errors = static_cast<std::int64_t>(plan.problems.size());
}

void PairExecution::carryOut() {
    RunRecord::addPlan(context.run, job, plan);
    context.reporter.progress.pairName = job.name;
    makeFolders();
    if (!hasNoPlace)
        copyFiles();
    finish();
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
                ++context.run.foldersCreated;
        } catch (const std::exception &) {
            ++result.errors;
            context.run.addError(job.name + u'/' + Text::fromBytes(PairPlan::rel(folder.folder)) +
                                     QStringLiteral(": couldn't create folder (") +
                                     describe(std::current_exception()).text + u')',
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
        ++context.run.foldersCreated;
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

void PairExecution::copyFiles() {
    Next next = Next::GoOn;
    for (const PlannedCopy &copy : plan.copies) {
        if (next == Next::Stop || context.token.isCancelled())
            break;
        next = copyFile(copy);
    }
    if (context.token.isCancelled() || context.run.fatal) {
        sources.clear();
        context.releaseOriginals();
    }
    if (next == Next::GoOn)
        pipeline.drain();
}

PairExecution::Next PairExecution::copyFile(const PlannedCopy &copy) {
    ++context.reporter.progress.filesBegun;
    tellCurrentFile(copy);
    const std::int64_t bytesBefore = context.reporter.progress.bytesDone;
    CopyInProgress item;
    item.copy = &copy;
    try {
        item.staged = stage(copy, bytesBefore);
    } catch (const SyncCancelled &) {
        context.reporter.progress.bytesDone = bytesBefore;
        return Next::GoOn; // the loop sees the token, and what is staged is still published
    } catch (const std::exception &) {
        const Failure failure = describe(std::current_exception());
        if (const std::optional<Ending> ending = endingFor(copy, failure)) {
            // What was staged before is complete and comes first, unless it meets its own end.
            return pipeline.drain() == Next::Stop ? Next::Stop : end(*ending);
        }
        item.stageFailure = failure.text;
    }
    context.reporter.progress.bytesDone = bytesBefore + copy.size;
    return pipeline.add(std::move(item));
}

StagedCopy PairExecution::stage(const PlannedCopy &copy, std::int64_t bytesBefore) {
    originalWatch.check();
    const std::shared_ptr<const FileDescriptor> source = sourceFolder(copy.folder);
    const std::shared_ptr<const TargetFolder> target = targetFolder(copy.folder);
    return copier.stage({source->get(), copy.name}, target, copy.mtime, [&](std::int64_t copied) {
        originalWatch.check();
        context.reporter.progress.bytesDone = bytesBefore + copied;
        tellCurrentFile(copy);
    });
}

void PairExecution::tellCurrentFile(const PlannedCopy &copy) {
    if (!context.reporter.isDue())
        return;
    context.reporter.progress.currentFile = Text::fromBytes(PairPlan::rel(copy));
    context.reporter.emitNow();
}

// Copies: publishing

PairExecution::Next PairExecution::settle(CopyInProgress &item, int flushError) {
    Next next = Next::GoOn;
    if (!item.staged) {
        addError(*item.copy, item.stageFailure); // judged when it failed
    } else if (flushError != 0 && flushError == judgedFlushError) {
        addError(*item.copy, Fmt::systemError(flushError));
    } else if (flushError != 0) {
        next = settleFailure(*item.copy, {Fmt::systemError(flushError), flushError});
        judgedFlushError = flushError;
    } else if (item.publishFailure) {
        next = settleFailure(*item.copy, describe(item.publishFailure));
    } else {
        recordPublished(*item.copy, *item.outcome);
    }
    if (next == Next::GoOn)
        ++context.reporter.progress.filesDone;
    return next;
}

void PairExecution::publish(CopyInProgress &item) {
    const PlannedCopy &copy = *item.copy;
    try {
        backupWatch.check();
        const std::shared_ptr<const TargetFolder> target = publishFolder(item);
        item.outcome = Copier::publish(*item.staged, target, copy.targetName, copy.version(), copy.replaces, job.rules);
        syncTargetNames(target);
    } catch (const std::exception &) {
        item.publishFailure = std::current_exception();
    }
}

std::shared_ptr<const TargetFolder> PairExecution::publishFolder(const CopyInProgress &item) {
    const PlanFolder *folder = item.copy->folder;
    return publishFolders.get(folder, [&] {
        auto target = std::make_shared<TargetFolder>();
        target->folder = OpenBelow::folder(planned.backup.descriptor(), PairPlan::backupRel(folder));
        target->volume = &item.staged->tempVolume();
        return std::shared_ptr<const TargetFolder>(std::move(target));
    });
}

void PairExecution::recordPublished(const PlannedCopy &copy, const PublishedCopy &published) {
    SyncRun &run = context.run;
    datesLost += published.hasItsDate ? 0 : 1;
    switch (published.outcome) {
    case Published::UpToDate:
        ++run.upToDate;
        return;
    case Published::KeptNewer:
        run.keptNewer.push_back(PlanText::keptNewer(shownPath(copy)));
        return;
    case Published::FolderInTheWay:
        run.conflicts.push_back(PlanText::folderInTheWay(shownPath(copy)));
        return;
    case Published::Added:
    case Published::Updated:
        break;
    }
    ++result.copied;
    result.bytes += copy.size;
    ++run.filesCopied;
    run.bytesCopied += copy.size;
    RunRecord::addChange(run, job, plan, copy,
                         published.outcome == Published::Added ? ChangeKind::added : ChangeKind::updated);
}

/// Where one flush of the volume does nothing, the new names are flushed folder by folder.
void PairExecution::syncTargetNames(const std::shared_ptr<const TargetFolder> &target) {
    if (namesToSync && namesToSync != target)
        Durability::flushFile(namesToSync->folder.get());
    namesToSync = target->volume->durability == Durability::Method::EachFile ? target : nullptr;
}

// Failures

PairExecution::Failure PairExecution::describe(const std::exception_ptr &error) {
    try {
        std::rethrow_exception(error);
    } catch (const CopyError &own) {
        return {own.text(), 0};
    } catch (const std::system_error &system) {
        return {Fmt::systemError(system.code().value()), system.code().value()};
    } catch (const std::bad_alloc &) {
        return {Fmt::systemError(ENOMEM), ENOMEM};
    } catch (const std::exception &other) {
        return {Text::fromBytes(other.what()), 0};
    }
}

PairExecution::Next PairExecution::settleFailure(const PlannedCopy &copy, const Failure &failure) {
    if (const std::optional<Ending> ending = endingFor(copy, failure))
        return end(*ending);
    addError(copy, failure.text);
    return Next::GoOn;
}

void PairExecution::addError(const PlannedCopy &copy, const QString &text) {
    ++result.errors;
    context.run.addError(shownPath(copy) + QStringLiteral(": ") + text, Text::fromPath(plan.from(copy)));
}

PairExecution::Next PairExecution::end(const Ending &ending) {
    ++result.errors;
    context.run.fatal = ending.fatal;
    result.note = ending.note;
    return Next::Stop;
}

std::optional<PairExecution::Ending> PairExecution::endingFor(const PlannedCopy &copy, const Failure &failure) {
    if (failure.error == ENOSPC || failure.error == EDQUOT)
        return Ending{QStringLiteral("The disk ran out of space while copying “") +
                          Text::fromBytes(PairPlan::rel(copy)) +
                          QStringLiteral("”. Free up some space and sync again."),
                      QStringLiteral("Out of space")};
    if (isOriginalGone(copy, failure.error))
        return Ending{QStringLiteral("The drive was disconnected while syncing “") + job.name +
                          QStringLiteral("”. Nothing was damaged; reconnect it to finish."),
                      QStringLiteral("Drive disconnected")};
    if (isBackupGone(failure.error))
        return Ending{QStringLiteral("The backup folder for “") + job.name +
                          QStringLiteral("” disappeared during the sync."),
                      QStringLiteral("Backup folder disappeared")};
    return std::nullopt;
}

bool PairExecution::isOriginalGone(const PlannedCopy &copy, int error) const {
    const FolderAnchor &original = planned.original;
    if (!original.isInPlace())
        return true;
    // After a cancel the drive is already free; what fails then has to do with the backup.
    if (!original.isOpen() || !DriveProbe::isDriveError(error))
        return false;
    return !VolumeIdentity::deviceExists(original.facts().device) || !DriveProbe::canReadAnother(original, plan, copy);
}

bool PairExecution::isBackupGone(int error) const {
    const FolderAnchor &backup = planned.backup;
    if (!backup.isOpen() || !backup.isInPlace())
        return true;
    if (!DriveProbe::isDriveError(error))
        return false;
    if (!VolumeIdentity::deviceExists(backup.facts().device))
        return true;
    try {
        const FileDescriptor folder = OpenBelow::folder(backup.descriptor(), {});
        const TempVolume &volume = context.temp.volumeOf(folder.get(), backup.path());
        return !DriveProbe::canWrite(volume.isBeside() ? folder.get() : volume.folderToFill());
    } catch (const std::system_error &) {
        return true;
    }
}

// The end

void PairExecution::finish() {
    if (namesToSync)
        Durability::flushFile(namesToSync->folder.get());
    const int flushError = pipeline.flushPublished();
    if (flushError != 0 && !context.run.fatal) {
        ++result.errors;
        context.run.addError(job.name + QStringLiteral(": the copies couldn't be written down for good (") +
                                 Fmt::systemError(flushError) + u')',
                             Text::fromPath(job.backup));
    }
    const bool cancelled = context.token.isCancelled();
    if (result.errors == 0 && !context.run.fatal && !cancelled) {
        for (const PlannedLeftover &leftover : plan.staleTemps) {
            if (Leftovers::isOldVersion(leftover))
                Leftovers::remove(planned.backup, leftover);
        }
    }
    if (datesLost > 0)
        RunRecord::addLostDates(context.run, job, datesLost);
    if (cancelled)
        result.note = QStringLiteral("Cancelled");
    context.run.pairResults.push_back(result);
}

QString PairExecution::shownPath(const PlannedCopy &copy) const {
    return job.name + u'/' + Text::fromBytes(PairPlan::rel(copy));
}
