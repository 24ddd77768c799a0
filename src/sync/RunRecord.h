#pragma once

#include "records/SyncRun.h"
#include "sync/PairPlan.h"
#include "sync/SyncJob.h"

/// Writing down in a run's record what happened to one pair.
namespace RunRecord {

/// At most this many copies are recorded one by one; the rest are counted.
inline constexpr std::size_t maximumChanges = 2000;

/// Adds the plan's findings: what is up to date, left alone, in conflict or couldn't be read, and the skipped items
/// with their notes.
void addPlan(SyncRun &run, const SyncJob &job, const PairPlan &plan);

/// Adds the note that the backup's file system didn't keep the dates of `count` copies.
void addLostDates(SyncRun &run, const SyncJob &job, std::int64_t count);

/// Adds one copy made.
void addChange(SyncRun &run, const SyncJob &job, const PairPlan &plan, const PlannedCopy &copy, ChangeKind kind);

} // namespace RunRecord
