#pragma once

#include "records/FolderPair.h"
#include "store/Locations.h"

#include <QString>

#include <filesystem>
#include <optional>

/// One folder pair as a list shows it.
struct PairRow {
    FolderPair pair = {};
    int number = 0;         ///< Position in the list, counted from 1.
    bool connected = false; ///< The original folder's drive is there, or it lies in the home folder.
    /// Whether there is a OneDrive folder at present.
    Locations::OneDriveInUse::State oneDrive = Locations::OneDriveInUse::State::NotFound;
    std::optional<std::filesystem::path> backupURL = {}; ///< None when there is no OneDrive folder.
    bool backupExists = false;                           ///< A folder stands at `backupURL`.
    std::optional<QString> silentPlace = {};             ///< The drive or OneDrive folder that isn't answering.
    bool isLookedAt = false;                             ///< Before, nothing above is known of the disks.

    /// The folder's name; the drive's when the whole drive is backed up.
    QString name() const { return nameOf(pair); }
    /// Where the original folder lies: the drive and the folders above, joined with " › ".
    QString originalSubtitle() const;

    static QString nameOf(const FolderPair &pair);
};
