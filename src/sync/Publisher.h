#pragma once

#include "sync/CopyPipeline.h"
#include "sync/DriveProbe.h"
#include "sync/FolderCache.h"
#include "sync/PlannedJob.h"

/// Moves the staged copies of one pair to their final names. Everything in it belongs to the thread that publishes; one
/// thread at a time.
class Publisher {
  public:
    explicit Publisher(const PlannedJob &plannedJob) : planned(plannedJob), backupWatch(plannedJob.backup) {}

    /// Publishes one staged copy, or notes in its state why it could not be. Never fails.
    void publish(CopyInProgress &item);

    /// Where one flush of the volume does nothing, the new names are flushed folder by folder, the last one here.
    /// Returns the errno of the first of these flushes that failed, else 0.
    int flushNames();

  private:
    std::shared_ptr<const TargetFolder> folderOf(const CopyInProgress &item, TempVolume &volume);
    void flushNamesOf(const std::shared_ptr<const TargetFolder> &folder);

    const PlannedJob &planned;
    FolderWatch backupWatch;
    FolderCache<TargetFolder> folders;
    std::shared_ptr<const TargetFolder> namesToFlush;
    int failedFlush = 0;
};
