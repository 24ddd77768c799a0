#pragma once

#include "platform/FolderAnchor.h"
#include "sync/PairPlan.h"
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

    /// Opens the folders of `order`, which must outlive this. Afterwards it can be planned, unless a refusal comes
    /// back.
    std::optional<JobRefusal> open(const SyncJob &order);
};
