#include "sync/RunRecord.h"

#include "base/Fmt.h"
#include "base/Text.h"
#include "sync/PlanText.h"

#include <set>

namespace {

QString nameNote(const QString &pair, std::int64_t count) {
    const bool one = count == 1;
    const QString them = one ? QStringLiteral("it") : QStringLiteral("them");
    return pair + QStringLiteral(": ") + QString::number(count) + QStringLiteral(" item") +
           (one ? QStringLiteral(" was") : QStringLiteral("s were")) +
           QStringLiteral(" skipped because OneDrive can't store ") +
           (one ? QStringLiteral("its name") : QStringLiteral("their names")) +
           QStringLiteral(" (invisible characters, a space at the end, or \" * : < > ? \\ |). Rename ") + them +
           QStringLiteral(" on your drive to back ") + them + QStringLiteral(" up.");
}

QString typeNote(const QString &pair, std::int64_t count, const std::set<QString> &types) {
    const bool one = count == 1;
    QString list;
    for (const QString &type : types)
        list += (list.isEmpty() ? QString() : QStringLiteral(", ")) + type;
    return pair + QStringLiteral(": ") + QString::number(count) + QStringLiteral(" file") +
           (one ? QStringLiteral(" was") : QStringLiteral("s were")) +
           QStringLiteral(" skipped because OneDrive doesn't accept ") +
           (one ? QStringLiteral("that type") : QStringLiteral("those types")) + QStringLiteral(" (") + list +
           QStringLiteral(").");
}

} // namespace

RunRecord::RunRecord(SyncRun &record) : run(record) {
}

void RunRecord::addSkipped(std::size_t pair, const SyncJob &job, const PairPlan &plan) {
    std::int64_t names = 0;
    std::int64_t types = 0;
    std::set<QString> details;
    for (const PlannedSkip &skip : plan.skipped) {
        run.skipped.push_back({.pairID = job.pairID,
                               .pairName = job.name,
                               .relPath = Text::fromBytes(PairPlan::rel(skip)),
                               .path = Text::fromPath(plan.url(skip)),
                               .kind = skip.kind,
                               .detail = skip.detail});
        if (skip.kind == SkipKind::name) {
            ++names;
        } else {
            ++types;
            details.insert(skip.detail);
        }
    }
    if (names > 0)
        addNote(pair, nameNote(job.name, names));
    if (types > 0)
        addNote(pair, typeNote(job.name, types, details));
}

void RunRecord::addPlan(std::size_t pair, const SyncJob &job, const PairPlan &plan) {
    run.upToDate += plan.upToDate;
    for (const QString &line : plan.keptNewer)
        addKeptNewer({pair}, job.name + u'/' + line);
    for (const QString &line : plan.conflicts)
        addConflict({pair}, job.name + u'/' + line);
    for (std::size_t i = 0; i < plan.problems.size(); ++i)
        addError({pair}, job.name + QStringLiteral(": ") + plan.problems[i], Text::fromPath(plan.problemPaths[i]));
    addSkipped(pair, job, plan);
    if (plan.refusedByClients.count > 0)
        addNote(pair, job.name + QStringLiteral(": ") + PlanText::mayNotReachTheCloud(plan));
}

void RunRecord::addError(Place place, const QString &line, const QString &path) {
    const std::size_t index = errors.add({place.pair, place.copy}, line);
    run.errorPaths.resize(run.errors.size() - 1);
    run.errorPaths.insert(run.errorPaths.begin() + static_cast<std::ptrdiff_t>(index), path);
}

void RunRecord::addLostDates(std::size_t pair, const SyncJob &job, std::int64_t count) {
    const bool one = count == 1;
    addNote(pair, job.name + QStringLiteral(": the backup's disk didn't keep the date of ") +
                      Fmt::counted(count, QStringLiteral("copied file")) + QStringLiteral(". ") +
                      (one ? QStringLiteral("It counts as newer there, so later changes to it will be left alone.")
                           : QStringLiteral("They count as newer there, so later changes to them will be left "
                                            "alone.")));
}

void RunRecord::addChange(Place place, const SyncJob &job, const PairPlan &plan, const PlannedCopy &copy,
                          const FileVersion &version, ChangeKind kind) {
    if (changes.size() == maximumChanges && changes.isLast({place.pair, place.copy})) {
        ++run.changesOmitted;
        return;
    }
    changes.add({place.pair, place.copy}, {.pairName = job.name,
                                           .relPath = Text::fromBytes(PairPlan::rel(copy)),
                                           .kind = kind,
                                           .path = Text::fromPath(plan.to(copy)),
                                           .size = version.size,
                                           .fromPath = Text::fromPath(plan.from(copy)),
                                           .pairID = job.pairID});
    if (changes.size() <= maximumChanges)
        return;
    changes.dropLast();
    ++run.changesOmitted;
}
