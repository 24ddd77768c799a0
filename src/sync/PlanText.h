#pragma once

#include <QString>

/// The sentences of a plan that are also needed when a copy is decided anew. `path` is relative to the pair's folders.
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

} // namespace PlanText
