#pragma once

#include "records/SyncRun.h"
#include "sync/CancelToken.h"
#include "sync/ProgressReporter.h"
#include "sync/RunRecord.h"
#include "sync/SyncJob.h"

#include <optional>
#include <vector>

class TempArea;
struct PlannedJob;

/// Carries out one sync run: plans every pair, checks the free space, clears what earlier runs left, creates the
/// folders, copies the files and writes everything that happened into one record. Made for one run; perform() is called
/// once, on one thread, which it may keep for long. Shares only the token with other threads.
class SyncRunner {
  public:
    /// `report` is called on the thread of perform(), about eight times a second at most.
    SyncRunner(std::vector<SyncJob> jobs, const CancelToken &token, SyncTrigger trigger,
               ProgressReporter::Report report);
    ~SyncRunner();

    /// Runs the whole run. Never fails: every failure is in the record. `finished` equals `started`; the caller sets
    /// it.
    SyncRun perform();

  private:
    void planAll();
    void plan(const SyncJob &job);
    void turnAway(const SyncJob &job, const QString &line, const std::optional<QString> &note, std::size_t pair = 0);
    void clearLeftovers();
    void startCopying();
    void executeAll();
    void execute(TempArea &temp);
    void executeGuarded(std::size_t index, const std::function<void()> &step);
    static void release(PlannedJob &job);

    std::vector<SyncJob> jobs;
    const CancelToken &token;
    ProgressReporter reporter;
    SyncRun run;
    RunRecord record{run};
    std::vector<PlannedJob> planned;
    std::vector<std::filesystem::path> trees; // nothing temporary is placed inside these
};
