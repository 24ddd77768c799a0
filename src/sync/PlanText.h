#pragma once

#include "base/Text.h"
#include "store/Locations.h"
#include "sync/SyncJob.h"

#include <QString>

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

inline QString originalMissing(const SyncJob &job) {
    return job.name + QStringLiteral(": the folder is missing on the drive (") + Text::fromPath(job.original) + u')';
}

inline QString backupUnavailable(const SyncJob &job) {
    return job.name + QStringLiteral(": the backup folder isn't available (") + Locations::tildePath(job.backup) + u')';
}

} // namespace PlanText
