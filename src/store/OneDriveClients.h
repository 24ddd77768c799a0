#pragma once

#include "platform/Disk.h"

#include <QString>

#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

/// Where the OneDrive clients of Linux keep their folders, as their own configurations and the mount table tell.
/// Nothing here fails: what can't be read or understood is no folder.
namespace OneDriveClients {

namespace fs = std::filesystem;

/// The `sync_dir` that a configuration of the general OneDrive client sets, as it is written there; none when it sets
/// none.
std::optional<std::string> syncDir(std::string_view config);

/// Whether rclone's configuration has a remote of this name that is of the type "onedrive" itself.
bool hasOneDriveRemote(std::string_view config, std::string_view remote);

/// What an rclone mount shows, as far as its source in the mount table tells; both empty for a local folder.
struct Remote {
    std::string_view name;    ///< of a remote in rclone's configuration; "od" for "od:" and "od{hash}:Photos"
    std::string_view backend; ///< of a remote made on the fly; "onedrive" for ":onedrive{hash}:"
    bool operator==(const Remote &) const = default;
};
Remote remoteOf(std::string_view source);

struct ClientFolder {
    fs::path url;
    QString what; ///< such as "rclone mount onedrive:"
};

/// The folders of the general client's accounts, then the mounts of onedriver and of rclone, whether or not anything
/// stands there.
std::vector<ClientFolder> folders(Disk &disk);

/// What an rclone mount or an onedriver mount at exactly this place is called; none when there is none.
std::optional<QString> mountAt(const fs::path &place, const MountTable &mounts);

} // namespace OneDriveClients
