#pragma once

#include "sync/SyncRules.h"

#include <QString>
#include <QUuid>

#include <filesystem>
#include <optional>

class Disk;

/// The order to sync one pair.
struct SyncJob {
    QUuid pairID;
    QString name; ///< the pair's display name, used in every message about it
    std::filesystem::path original;
    std::filesystem::path backup;
    SyncRules rules = {};
    std::optional<std::filesystem::path> oneDrive = {};   ///< the OneDrive folder that the backup lies in, where known
    std::optional<std::filesystem::path> mountPoint = {}; ///< that must hold the backup; see Locations::OneDriveInUse

    /// The one way to an order: takes one without rules, makes its folders standardised, and finds the rules from the
    /// file systems that hold them. None when the two folders overlap.
    static std::optional<SyncJob> between(SyncJob folders, Disk &disk);
    /// The sentence for folders that overlap.
    static QString overlapping();

    /// The backup folder's path below the OneDrive folder; its name alone when it lies in none.
    QString placeInOneDrive() const;
};
