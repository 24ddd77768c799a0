#pragma once

#include "records/AppConfig.h"
#include "records/VolumeInfo.h"
#include "store/Locations.h"

#include <QUuid>

#include <filesystem>
#include <map>
#include <optional>
#include <vector>

/// What the disks hold of what matters to the settings, as it was at one look. A value: everything that is shown and
/// decided comes from the last one, so that showing it asks no disk.
struct Surroundings {
    /// What was found of one pair.
    struct Pair {
        std::optional<Locations::ResolvedFolder> original = {}; ///< none when its drive is not connected
        std::optional<std::filesystem::path> backup = {};       ///< none when there is no OneDrive folder
        bool backupExists = false;                              ///< a folder stands there
        bool operator==(const Pair &) const = default;
    };

    std::vector<VolumeInfo> drives = {};                         ///< in the order of a file browser
    std::vector<Locations::OneDriveFolder> oneDriveFolders = {}; ///< the preferred one first
    Locations::OneDriveInUse oneDrive = {};                      ///< the folder that backups go to
    std::optional<std::filesystem::path> mountPointToKeep = {};  ///< of that folder
    std::map<QUuid, Pair> pairs = {};                            ///< by the ids of the settings' pairs

    bool operator==(const Surroundings &) const = default;

    /// Looks at everything. Waits for what `disk` waits for.
    static Surroundings look(const AppConfig &settings, Disk &disk);
};
