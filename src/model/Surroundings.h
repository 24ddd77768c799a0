#pragma once

#include "records/AppConfig.h"
#include "records/VolumeInfo.h"
#include "store/Locations.h"

#include <QString>
#include <QUuid>

#include <filesystem>
#include <map>
#include <optional>
#include <set>
#include <vector>

/// What the disks hold of what matters to the settings, as it was at one look. A value: everything that is shown and
/// decided comes from the last one, so that showing it asks no disk.
struct Surroundings {
    /// What was found of one pair.
    struct Pair {
        std::optional<Locations::ResolvedFolder> original = {}; ///< none when its drive is not connected
        std::optional<std::filesystem::path> backup = {};       ///< none when there is no OneDrive folder
        bool backupExists = false;                              ///< a folder stands there
        std::optional<QString> silentPlace = {}; ///< the drive or OneDrive folder that isn't answering; then it is
                                                 ///< not known whether the pair can be synced
        bool operator==(const Pair &) const = default;
    };

    std::vector<VolumeInfo> drives = {};                         ///< in the order of a file browser
    std::set<std::filesystem::path> silentDrives = {};           ///< the top folders of those that aren't answering
    std::vector<Locations::OneDriveFolder> oneDriveFolders = {}; ///< the preferred one first
    Locations::OneDriveInUse oneDrive = {.state = Locations::OneDriveInUse::State::Unknown}; ///< where backups go to
    bool oneDriveIsSure = false;                                ///< what has not answered can't make it another one
    std::optional<std::filesystem::path> mountPointToKeep = {}; ///< of that folder
    std::map<QUuid, Pair> pairs = {}; ///< by the ids of the settings' pairs; one that has not been looked at is missing

    bool operator==(const Surroundings &) const = default;

    /// Looks at everything. Where the disks can't tell which OneDrive folder is in use, it is the one of `before`.
    static Surroundings look(const AppConfig &settings, const Surroundings &before, Disk &disk);

    /// What was found of a pair; nothing of one that has not been looked at.
    const Pair &of(const FolderPair &pair) const;

    /// What the user should know of the OneDrive folder: why there is none, or that another than the chosen one is
    /// used.
    std::optional<QString> oneDriveNotice() const;
    /// That a place isn't answering, as part of a line.
    static QString silence(const QString &place);
    /// The same as a sentence.
    static QString isNotAnswering(const QString &place) { return silence(place) + u'.'; }

    /// The settings with the mount of the OneDrive folder in use remembered, so that a later look can tell it from the
    /// bare mount point.
    AppConfig withMountPoint(AppConfig settings) const;
};
