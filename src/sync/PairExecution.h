#pragma once

#include "records/SyncRun.h"
#include "sync/CopyPipeline.h"
#include "sync/DriveProbe.h"
#include "sync/FolderCache.h"
#include "sync/PlannedJob.h"
#include "sync/ProgressReporter.h"

#include <exception>

/// What all pairs of a run share.
struct RunContext {
    SyncRun &run;
    ProgressReporter &reporter;
    const CancelToken &token;
    TempArea &temp;
    std::function<void()> releaseOriginals; ///< closes everything that the run holds open on the originals' side
};

/// Carries out the plan of one pair and adds what happened to the run's record. Never fails. Used once, on the thread
/// of the run.
class PairExecution {
  public:
    PairExecution(PlannedJob &planned, const RunContext &run);

    void carryOut();

  private:
    using Next = CopyPipeline::Next;

    /// A failed step, in words and as the errno behind it (0 for failures of the program's own).
    struct Failure {
        QString text;
        int error = 0;
    };

    /// What stops a run early.
    struct Ending {
        QString fatal;
        QString note;
    };

    void makeFolders();
    void makeFolder(const PlanFolder *folder);
    bool makeBackupFolder();
    void copyFiles();
    Next copyFile(const PlannedCopy &copy);
    StagedCopy stage(const PlannedCopy &copy, std::int64_t bytesBefore);
    void tellCurrentFile(const PlannedCopy &copy);
    std::shared_ptr<const FileDescriptor> sourceFolder(const PlanFolder *folder);
    std::shared_ptr<const TargetFolder> targetFolder(const PlanFolder *folder);
    Next settle(CopyInProgress &item, int flushError);
    void publish(CopyInProgress &item);
    void recordPublished(const PlannedCopy &copy, const PublishedCopy &published);
    Next settleFailure(const PlannedCopy &copy, const Failure &failure);
    void addError(const PlannedCopy &copy, const QString &text);
    std::optional<Ending> endingFor(const PlannedCopy &copy, const Failure &failure);
    Next end(const Ending &ending);
    bool isOriginalGone(const PlannedCopy &copy, int error) const;
    bool isBackupGone(int error) const;
    std::shared_ptr<const TargetFolder> publishFolder(const CopyInProgress &item);
    void syncTargetNames(const std::shared_ptr<const TargetFolder> &target);
    void finish();
    QString shownPath(const PlannedCopy &copy) const;
    static Failure describe(const std::exception_ptr &error);

    PlannedJob &planned;
    const SyncJob &job;
    const PairPlan &plan;
    RunContext context;
    PairResult result;
    bool hasNoPlace = false;    ///< the backup folder couldn't be made, though the folder for it is there
    std::int64_t datesLost = 0; ///< copies whose dates the backup's file system didn't keep
    Copier copier;
    FolderWatch originalWatch;
    FolderCache<FileDescriptor> sources;
    FolderCache<TargetFolder> targets;
    // For publishing alone, which mostly happens on the pipeline's thread.
    FolderWatch backupWatch;
    FolderCache<TargetFolder> publishFolders;
    std::shared_ptr<const TargetFolder> namesToSync;
    CopyPipeline pipeline;    // last, so that its thread ends before what it uses
    int judgedFlushError = 0; ///< a flush that failed on a healthy drive: the rest of its batch needs no new judgement
};
