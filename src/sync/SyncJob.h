#pragma once

#include "sync/SyncRules.h"

#include <QString>
#include <QUuid>

#include <filesystem>
#include <optional>

/// The order to sync one pair.
struct SyncJob {
    QUuid pairID;
    QString name; ///< the pair's display name, used in every message about it
    std::filesystem::path original;
    std::filesystem::path backup;
    SyncRules rules = {};
    std::optional<std::filesystem::path> oneDrive = {};   ///< the OneDrive folder that the backup lies in, where known
    std::optional<std::filesystem::path> mountPoint = {}; ///< that must hold the backup; see Locations::OneDriveInUse

    /// The backup folder's path below the OneDrive folder; its name alone when it lies in none.
    QString placeInOneDrive() const;
};
