#pragma once

#include "records/FolderPair.h"

#include <QString>

#include <cstdint>
#include <optional>
#include <vector>

/// The settings. A fresh one has the values below.
struct AppConfig {
    std::vector<FolderPair> pairs = {}; ///< The folders to back up, in the user's order.
    bool autoSyncOnConnect = true;
    bool notifications = true;
    std::optional<QString> oneDriveRootPath = {}; ///< The OneDrive folder chosen by hand; none to detect it.
    /// The mount point that held the OneDrive folder when it was last in use; none when the home folder's mount did.
    std::optional<QString> oneDriveMountPoint = {};
    bool hasCompletedFirstRun = false;
    std::int64_t schema = 1;

    bool operator==(const AppConfig &) const = default;

    void toJson(JsonWriter &out) const;

    /// A missing key takes the value above. `pairs` that can't be read are dropped and cost nothing else; any
    /// other key of a wrong type fails the read with JsonError.
    static AppConfig fromJson(const JsonReader &in);
};
