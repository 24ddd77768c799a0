#include "app/BackupCommand.h"

#include "app/Arguments.h"
#include "app/Console.h"
#include "app/ResultText.h"
#include "app/StopSignals.h"
#include "app/TarnwickBasicMain.h"
#include "base/Paths.h"
#include "base/Text.h"
#include "store/Locations.h"
#include "store/Store.h"
#include "sync/OneDriveNames.h"
#include "sync/PairPlanJson.h"
#include "sync/PlannedJob.h"
#include "sync/SyncRunner.h"

#include <algorithm>
#include <array>
#include <filesystem>
#include <optional>
#include <system_error>

namespace BackupCommand {

namespace {

namespace fs = std::filesystem;
using namespace TarnwickBasicMain;

struct Options {
    std::vector<fs::path> folders;
    bool dryRun = false;
    bool json = false;
};

/// None when the arguments make no sense.
std::optional<Options> parse(const std::vector<std::string> &arguments) {
    static constexpr std::array known = {"--backup", "--dry-run", "--json"};
    const std::optional<Arguments> given = Arguments::parse(arguments, known);
    if (!given || given->words.size() != 2)
        return std::nullopt;
    Options options;
    options.folders.assign(given->words.begin(), given->words.end());
    options.dryRun = given->has("--dry-run");
    options.json = given->has("--json");
    const bool hasEmpty = std::any_of(options.folders.begin(), options.folders.end(),
                                      [](const fs::path &folder) { return folder.empty(); });
    return hasEmpty ? std::nullopt : std::optional(options);
}

/// The OneDrive folder that holds `backup`, the outermost first; none when it lies in no known one.
std::optional<fs::path> oneDriveAround(const fs::path &backup, const AppConfig &settings) {
    std::vector<fs::path> roots = Locations::oneDriveRoots();
    const auto chosen = settings.oneDriveRootPath ? Locations::storedPath(*settings.oneDriveRootPath) : std::nullopt;
    if (chosen)
        roots.push_back(*chosen);
    std::erase_if(roots, [&](const fs::path &root) {
        return !Paths::isWithin(Locations::resolved(backup), Locations::resolved(root));
    });
    const auto outermost = std::min_element(roots.begin(), roots.end(), [](const fs::path &a, const fs::path &b) {
        return a.native().size() < b.native().size();
    });
    return outermost == roots.end() ? std::nullopt : std::optional(*outermost);
}

/// The mount point that the settings remember, if the backup belongs below it.
std::optional<fs::path> mountPointAround(const fs::path &backup, const AppConfig &settings) {
    const auto kept = settings.oneDriveMountPoint ? Locations::storedPath(*settings.oneDriveMountPoint) : std::nullopt;
    return kept && Paths::isWithin(Locations::resolved(backup), *kept) ? kept : std::nullopt;
}

/// None when the two folders overlap.
std::optional<SyncJob> jobFor(const fs::path &original, const fs::path &backup) {
    const AppConfig settings = Store::peekConfig();
    DirectDisk disk;
    return SyncJob::between({.pairID = QUuid::createUuid(),
                             .name = Text::fromBytes(Paths::lastComponent(original)),
                             .original = original,
                             .backup = backup,
                             .oneDrive = oneDriveAround(backup, settings),
                             .mountPoint = mountPointAround(backup, settings)},
                            disk);
}

PairPlan planOf(const SyncJob &job, const CancelToken &token, Console::ProgressLine &line) {
    ProgressReporter reporter([&](const SyncProgress &progress) { line.show(progress); });
    reporter.progress.pairName = job.name;
    PlannedJob entry;
    if (const std::optional<JobRefusal> refusal = entry.open(job, token, reporter)) {
        PairPlan none(job.original, job.backup);
        none.problems.push_back(refusal->line);
        return none;
    }
    return std::move(entry.plan);
}

int dryRun(const SyncJob &job, const CancelToken &token, bool json) {
    Console::ProgressLine line;
    const PairPlan plan = planOf(job, token, line);
    line.clear();
    if (token.isCancelled())
        return Stopped;
    if (json)
        Console::outDocument(toJson(plan));
    else
        ResultText::print(plan, &Console::out);
    return plan.problems.empty() ? Clean : Trouble;
}

int backUp(const SyncJob &job, const CancelToken &token, bool json) {
    Console::ProgressLine line;
    SyncRunner runner({job}, token, SyncTrigger::manual, [&](const SyncProgress &progress) { line.show(progress); });
    SyncRun run = runner.perform();
    run.finished = QDateTime::currentDateTimeUtc();
    line.clear();
    return ResultText::report(run, json ? ResultText::Form::Json : ResultText::Form::Lines);
}

} // namespace

int run(const std::vector<std::string> &arguments) {
    const std::optional<Options> options = parse(arguments);
    if (!options) {
        Console::error(QStringLiteral("usage: tarnwick-basic --backup ORIGINAL BACKUP [--dry-run] [--json]"));
        return WrongUsage;
    }
    const fs::path original = Paths::standardised(options->folders[0]);
    const fs::path backup = Paths::standardised(options->folders[1]);
    const std::optional<SyncJob> job = jobFor(original, backup);
    std::optional<QString> refusal;
    if (!job)
        refusal = SyncJob::overlapping();
    else if (job->oneDrive)
        refusal = OneDriveNames::folderRefusal(job->placeInOneDrive());
    if (refusal) {
        Console::error(*refusal);
        return WrongUsage;
    }
    static CancelToken token;
    StopSignals::cancelOnSignal(token, &Console::tellStopping);
    return options->dryRun ? dryRun(*job, token, options->json) : backUp(*job, token, options->json);
}

} // namespace BackupCommand
