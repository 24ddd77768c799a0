#include "sync/SyncRunner.h"

#include "base/Text.h"
#include "store/Locations.h"
#include "sync/Leftovers.h"
#include "sync/PairExecution.h"
#include "sync/PlannedJob.h"
#include "sync/SpaceCheck.h"

#include <algorithm>

namespace {

namespace fs = std::filesystem;

std::vector<fs::path> volumesOf(const std::vector<SyncJob> &jobs) {
    std::vector<fs::path> volumes;
    for (const SyncJob &job : jobs) {
        for (const fs::path &folder : {job.original, job.backup}) {
            const std::optional<fs::path> volume = Locations::containingVolume(folder);
            if (volume && std::find(volumes.begin(), volumes.end(), *volume) == volumes.end())
                volumes.push_back(*volume);
        }
    }
    return volumes;
}

std::vector<fs::path> oneDriveTrees(const std::vector<SyncJob> &jobs) {
    std::vector<fs::path> trees = Locations::oneDriveRoots();
    for (const SyncJob &job : jobs) {
        trees.push_back(job.backup);
        if (job.oneDrive)
            trees.push_back(*job.oneDrive);
    }
    return trees;
}

} // namespace

SyncRunner::SyncRunner(std::vector<SyncJob> jobList, const CancelToken &cancelToken, SyncTrigger trigger,
                       ProgressReporter::Report report)
    : jobs(std::move(jobList)), token(cancelToken), reporter(std::move(report)) {
    run.trigger = trigger;
}

SyncRunner::~SyncRunner() = default;

SyncRun SyncRunner::perform() {
    run.started = run.finished = QDateTime::currentDateTimeUtc();
    for (const SyncJob &job : jobs)
        run.pairNames.push_back(job.name);

    planAll();
    if (token.isCancelled()) {
        run.cancelled = true;
        return std::move(run);
    }
    std::vector<const PairPlan *> plans;
    for (const PlannedJob &job : planned)
        plans.push_back(&job.plan);
    run.fatal = SpaceCheck::spaceProblem(plans);
    if (run.fatal)
        return std::move(run);

    trees = oneDriveTrees(jobs);
    clearLeftovers();
    startCopying();
    executeAll();
    run.cancelled = token.isCancelled();
    reporter.progress.currentFile.clear();
    reporter.emitNow();
    return std::move(run);
}

void SyncRunner::planAll() {
    for (const SyncJob &job : jobs) {
        if (token.isCancelled())
            return;
        reporter.progress.pairName = job.name;
        reporter.emitNow();
        try {
            plan(job);
        } catch (const std::exception &error) {
            // Nothing that can be foreseen comes here but a lack of memory; the other pairs may be smaller.
            turnAway(job, job.name + QStringLiteral(": ") + Text::fromBytes(error.what()), std::nullopt);
        }
    }
}

void SyncRunner::plan(const SyncJob &job) {
    PlannedJob entry;
    if (const std::optional<JobRefusal> refusal = entry.open(job, token, reporter))
        return turnAway(job, refusal->line, refusal->note);
    planned.push_back(std::move(entry));
}

void SyncRunner::turnAway(const SyncJob &job, const QString &line, const std::optional<QString> &note,
                          std::size_t pair) {
    record.addError({pair}, line, Text::fromPath(job.original));
    record.addResult(pair, {.pairID = job.pairID, .name = job.name, .errors = 1, .note = note});
}

void SyncRunner::clearLeftovers() {
    std::vector<fs::path> tops = volumesOf(jobs);
    for (const SyncJob &job : jobs) {
        if (const std::optional<fs::path> parent = TempArea::parentOfTree(job.backup, trees))
            tops.push_back(*parent);
    }
    TempArea::purgeStale(tops);
    for (const PlannedJob &job : planned) {
        for (const PlannedLeftover &leftover : job.plan.staleTemps) {
            if (!Leftovers::isOldVersion(leftover))
                Leftovers::remove(job.backup, leftover);
        }
    }
}

void SyncRunner::startCopying() {
    SyncProgress &progress = reporter.progress;
    progress.stage = SyncProgress::Stage::copying;
    for (const PlannedJob &job : planned) {
        progress.filesTotal += static_cast<std::int64_t>(job.plan.copies.size());
        for (const PlannedCopy &copy : job.plan.copies)
            progress.bytesTotal += copy.size;
    }
    reporter.emitNow();
}

void SyncRunner::executeAll() {
    TempArea temp(trees);
    execute(temp);
    temp.cleanup();
}

void SyncRunner::execute(TempArea &temp) {
    const auto releaseOriginals = [this] {
        for (PlannedJob &job : planned)
            job.original.close();
    };
    // One with originals that were changed moments ago waits for them while the others go on.
    std::vector<std::unique_ptr<PairExecution>> waiting(planned.size());
    for (std::size_t i = 0; i < planned.size() && !token.isCancelled() && !run.fatal; ++i) {
        executeGuarded(i, [&] {
            auto pair = std::make_unique<PairExecution>(
                planned[i], RunContext{i + 1, record, reporter, token, temp, releaseOriginals});
            pair->carryOut();
            if (pair->waitsForHotOriginals())
                waiting[i] = std::move(pair);
            else
                pair->finish();
        });
        if (!waiting[i])
            release(planned[i]);
    }
    for (std::size_t i = 0; i < planned.size(); ++i) {
        if (!waiting[i])
            continue;
        executeGuarded(i, [&] {
            waiting[i]->waitForHotOriginals();
            waiting[i]->finish();
        });
        waiting[i].reset();
        release(planned[i]);
    }
}

/// Nothing that can be foreseen fails here but a lack of memory; the other pairs may be smaller.
void SyncRunner::executeGuarded(std::size_t index, const std::function<void()> &step) {
    const SyncJob &job = *planned[index].job;
    try {
        step();
    } catch (const std::exception &error) {
        turnAway(job, job.name + QStringLiteral(": ") + Text::fromBytes(error.what()), std::nullopt, index + 1);
    }
}

void SyncRunner::release(PlannedJob &job) {
    job.original.close();
    job.backup.close();
}
