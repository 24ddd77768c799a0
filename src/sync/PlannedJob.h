#pragma once

#include "platform/FolderAnchor.h"
#include "sync/CancelToken.h"
#include "sync/PairPlan.h"
#include "sync/ProgressReporter.h"
#include "sync/SyncJob.h"

/// Why a pair can't be planned, for the record and for the pair's result.
struct JobRefusal {
    QString line;
    QString note;
};

/// One pair of a run with its plan and with the folders that the run holds open.
struct PlannedJob {
    const SyncJob *job = nullptr;
    FolderAnchor original;
    FolderAnchor backup;       ///< not open while the backup folder doesn't exist
    FolderAnchor backupParent; ///< open when the backup folder is to be created in it
    PairPlan plan;

    /// Opens the folders of `order`, which must outlive this, and plans what there is to do, unless a refusal comes
    /// back. Tells `reporter` of the files it has compared.
    std::optional<JobRefusal> open(const SyncJob &order, const CancelToken &token, ProgressReporter &reporter);

  private:
    std::optional<JobRefusal> openFolders();
};
