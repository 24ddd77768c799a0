#pragma once

#include "sync/CopyPipeline.h"
#include "sync/DriveProbe.h"
#include "sync/Failures.h"
#include "sync/FolderCache.h"
#include "sync/PlannedJob.h"
#include "sync/ProgressReporter.h"
#include "sync/Publisher.h"
#include "sync/RunRecord.h"

#include <map>

/// What all pairs of a run share.
struct RunContext {
    std::size_t pair; ///< which one of the run it is, from 1
    RunRecord &record;
    ProgressReporter &reporter;
    const CancelToken &token;
    TempArea &temp;
    std::function<void()> releaseOriginals; ///< closes everything that the run holds open on the originals' side
};

/// Carries out the plan of one pair and adds what happened to the run's record. Never fails. carryOut() is called once,
/// then waitForHotOriginals() if something waits, then finish(), all on the thread of the run.
class PairExecution {
  public:
    PairExecution(PlannedJob &planned, const RunContext &run);

    /// Makes the folders and copies the files, but those whose originals were changed moments ago: their copies are
    /// kept back, because such a file may go on being changed so that neither its size nor its date will tell.
    void carryOut();

    bool waitsForHotOriginals() const { return !hotCopies.empty(); }
    /// Copies what was kept back; takes some seconds.
    void waitForHotOriginals();

    /// Writes down the result of the pair.
    void finish();

  private:
    using Next = CopyPipeline::Next;

    /// A copy that is kept back, staged or not, until every change of its original shows.
    struct HotCopy {
        CopyInProgress item;
        int attempts = 0; ///< begun so far
    };

    void makeFolders();
    void makeFolder(const PlanFolder *folder);
    bool makeBackupFolder();
    std::shared_ptr<const FileDescriptor> sourceFolder(const PlanFolder *folder);
    std::shared_ptr<const TargetFolder> targetFolder(const PlanFolder *folder);

    Next copyFile(const PlannedCopy &copy, std::size_t number);
    Next attempt(HotCopy hot, const BytesCallback &onBytes);
    std::optional<HotOriginal> stage(HotCopy &hot, const BytesCallback &onBytes);
    std::optional<Published> decideAnew(const PlannedCopy &copy, const FileVersion &original) const;
    void closeCopying(Next next);
    void tellCurrentFile(const PlannedCopy &copy);

    Next settleWhatCooledDown();
    Next settleCooled(HotCopy hot);
    bool showsItsChanges(const CopyInProgress &item);
    void tellOfHotOriginals();

    Next settle(CopyInProgress &item, int flushError);
    void recordPublished(const CopyInProgress &item, const PublishedCopy &published);
    Next settleFailure(const CopyInProgress &item, const Failure &failure);
    void addError(const CopyInProgress &item, const QString &text);
    Next end(const Ending &ending);
    void noteFlush(int error);
    void clearOldVersions();
    bool isStopped() const;
    RunRecord::Place placeOf(const CopyInProgress &item) const;
    QString shownPath(const PlannedCopy &copy) const;

    PlannedJob &planned;
    const SyncJob &job;
    const PairPlan &plan;
    RunContext context;
    PairResult result;
    FailureJudge judge;
    bool hasNoPlace = false;    ///< the backup folder couldn't be made, though the folder for it is there
    std::int64_t datesLost = 0; ///< copies whose dates the backup's file system didn't keep
    int failedFlush = 0;        ///< errno of the first flush of what was published already that failed
    Copier copier;
    FolderWatch originalWatch;
    FolderCache<FileDescriptor> sources;
    FolderCache<TargetFolder> targets;
    std::multimap<FileTime, HotCopy> hotCopies; // by the moment when they have cooled down
    Publisher publisher;
    CopyPipeline pipeline;    // last, so that its thread ends before what it uses
    int judgedFlushError = 0; ///< a flush that failed on a healthy drive: the rest of its batch needs no new judgement
};
