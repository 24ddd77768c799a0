#pragma once

#include "sync/SyncRules.h"

#include <QString>
#include <QUuid>

#include <filesystem>

/// The order to sync one pair.
struct SyncJob {
    QUuid pairID;
    QString name; ///< the pair's display name, used in every message about it
    std::filesystem::path original;
    std::filesystem::path backup;
    SyncRules rules;
};
