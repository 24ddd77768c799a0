#include "sync/RunRecord.h"

#include "base/Fmt.h"
#include "base/Text.h"
#include "sync/PlanText.h"

#include <set>

namespace RunRecord {

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

void addSkipped(SyncRun &run, const SyncJob &job, const PairPlan &plan) {
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
        run.notes.push_back(nameNote(job.name, names));
    if (types > 0)
        run.notes.push_back(typeNote(job.name, types, details));
}

} // namespace

void addPlan(SyncRun &run, const SyncJob &job, const PairPlan &plan) {
    run.upToDate += plan.upToDate;
    for (const QString &line : plan.keptNewer)
        run.keptNewer.push_back(job.name + u'/' + line);
    for (const QString &line : plan.conflicts)
        run.conflicts.push_back(job.name + u'/' + line);
    for (std::size_t i = 0; i < plan.problems.size(); ++i)
        run.addError(job.name + QStringLiteral(": ") + plan.problems[i], Text::fromPath(plan.problemPaths[i]));
    addSkipped(run, job, plan);
    if (plan.refusedByClients.count > 0)
        run.notes.push_back(job.name + QStringLiteral(": ") + PlanText::mayNotReachTheCloud(plan));
}

void addLostDates(SyncRun &run, const SyncJob &job, std::int64_t count) {
    const bool one = count == 1;
    run.notes.push_back(job.name + QStringLiteral(": the backup's disk didn't keep the date of ") +
                        Fmt::counted(count, QStringLiteral("copied file")) + QStringLiteral(". ") +
                        (one ? QStringLiteral("It counts as newer there, so later changes to it will be left alone.")
                             : QStringLiteral("They count as newer there, so later changes to them will be left "
                                              "alone.")));
}

void addChange(SyncRun &run, const SyncJob &job, const PairPlan &plan, const PlannedCopy &copy, ChangeKind kind) {
    if (run.changes.size() >= maximumChanges) {
        ++run.changesOmitted;
        return;
    }
    run.changes.push_back({.pairName = job.name,
                           .relPath = Text::fromBytes(PairPlan::rel(copy)),
                           .kind = kind,
                           .path = Text::fromPath(plan.to(copy)),
                           .size = copy.size,
                           .fromPath = Text::fromPath(plan.from(copy)),
                           .pairID = job.pairID});
}

} // namespace RunRecord
