#pragma once

#include "base/Fmt.h"
#include "base/Text.h"
#include "store/Locations.h"
#include "sync/PairPlan.h"
#include "sync/SyncJob.h"

#include <QString>

#include <cerrno>

/// The sentences of a plan that are also needed when a copy is decided anew, and those about a pair for which none can
/// be made. `path` is relative to the pair's folders.
namespace PlanText {

inline QString keptNewer(const QString &path) {
    return path + QStringLiteral(" — the copy in OneDrive is newer, so it was left alone");
}

inline QString folderInTheWay(const QString &path) {
    return path + QStringLiteral(" — a folder with the same name is already in the backup");
}

inline QString fileInTheWay(const QString &path) {
    return path + QStringLiteral(" — a file with the same name is already in the backup");
}

inline QString sameNameHere(const QString &path) {
    return path + QStringLiteral(" — another item here has the same name once capital letters are ignored; rename one "
                                 "of them");
}

/// About the items of a plan that clients are known to refuse; there must be some.
inline QString mayNotReachTheCloud(const PairPlan &plan) {
    const std::int64_t count = plan.refusedByClients.count;
    const bool one = count == 1;
    const auto &first = plan.refusedByClients.first;
    const auto more = count - static_cast<std::int64_t>(first.size());
    QString list;
    for (const QString &path : first)
        list += (list.isEmpty() ? QStringLiteral("“") : QStringLiteral(", “")) + path + u'”';
    if (more > 0)
        list += QStringLiteral(" and ") + QString::number(more) + QStringLiteral(" more");
    return QString::number(count) + (one ? QStringLiteral(" item has") : QStringLiteral(" items have")) +
           QStringLiteral(" a name or a path that OneDrive clients refuse (") + list + QStringLiteral("). ") +
           (one ? QStringLiteral("Its") : QStringLiteral("Their")) + QStringLiteral(" backup may not reach the cloud.");
}

/// About a file that was moved aside in a swap and whose place is empty.
inline QString orphanedOldVersion(const SyncJob &job, const std::filesystem::path &file) {
    return job.name + QStringLiteral(": “") + Text::fromPath(file) +
           QStringLiteral("” is what is left of a file whose replacement was interrupted. Rename it to keep it.");
}

/// `error` is the errno of opening it; one that says more than that nothing is there is told.
inline QString originalMissing(const SyncJob &job, int error) {
    const bool isToldAlready = error == 0 || error == ENOENT;
    return job.name + QStringLiteral(": the folder is missing on the drive (") + Text::fromPath(job.original) +
           (isToldAlready ? QString() : QStringLiteral(": ") + Fmt::systemError(error)) + u')';
}

/// `error` is the errno of opening the folder that it is to be created in.
inline QString backupUnavailable(const SyncJob &job, int error) {
    return job.name + QStringLiteral(": the backup folder isn't available (") + Locations::tildePath(job.backup) +
           QStringLiteral("): ") + Locations::tildePath(job.backup.parent_path()) +
           QStringLiteral(" can't be opened (") + Fmt::systemError(error) + u')';
}

inline QString notMounted(const SyncJob &job) {
    return job.name + QStringLiteral(": ") + Locations::notMounted(*job.mountPoint);
}

} // namespace PlanText
