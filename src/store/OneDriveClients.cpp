#include "store/OneDriveClients.h"

#include "base/Paths.h"
#include "base/Text.h"
#include "store/Locations.h"

#include <algorithm>
#include <cstdlib>

namespace OneDriveClients {

namespace {

constexpr std::string_view rcloneType = "fuse.rclone";
constexpr std::string_view onedriverType = "fuse.onedriver";
constexpr std::string_view oneDriveBackend = "onedrive";
constexpr std::string_view blanks = " \t\r";

std::string_view trimmed(std::string_view text) {
    text.remove_prefix(std::min(text.find_first_not_of(blanks), text.size()));
    return text.substr(0, text.find_last_not_of(blanks) + 1);
}

/// The next line of `text`, which is taken from it.
std::string_view takeLine(std::string_view &text) {
    const std::size_t end = std::min(text.find('\n'), text.size());
    const std::string_view line = text.substr(0, end);
    text.remove_prefix(std::min(end + 1, text.size()));
    return trimmed(line);
}

/// Some editors put one before the first line.
std::string_view withoutByteOrderMark(std::string_view text) {
    constexpr std::string_view mark = "\xEF\xBB\xBF";
    return text.starts_with(mark) ? text.substr(mark.size()) : text;
}

struct Setting {
    std::string_view key;
    std::string_view value;
};

/// A line "key = value", with one of `signs` between the two; none for any other.
std::optional<Setting> settingOf(std::string_view line, std::string_view signs) {
    const std::size_t sign = line.find_first_of(signs);
    if (sign == std::string_view::npos || line.starts_with('#') || line.starts_with(';'))
        return std::nullopt;
    return Setting{trimmed(line.substr(0, sign)), trimmed(line.substr(sign + 1))};
}

bool isThere(const fs::path &file, Disk &disk) {
    const PathFacts facts = disk.look(file);
    return facts.isAnswered && facts.error == 0;
}

fs::path rcloneConfig(Disk &disk) {
    if (const char *named = std::getenv("RCLONE_CONFIG"); named && *named)
        return Paths::standardised(named);
    const fs::path home = Locations::homeURL();
    for (const fs::path &file :
         {Locations::configFolder() / "rclone/rclone.conf", home / ".config/rclone/rclone.conf"}) {
        if (isThere(file, disk))
            return file;
    }
    return home / ".rclone.conf";
}

/// Whether the general client has been signed in with this configuration.
bool isSignedIn(const fs::path &account, Disk &disk) {
    return isThere(account / "refresh_token", disk) || isThere(account / "items.sqlite3", disk);
}

std::optional<fs::path> placeOf(const std::string &syncDir) {
    // The client takes a relative one from wherever it was started.
    if (!syncDir.starts_with('/') && !syncDir.starts_with("~/"))
        return std::nullopt;
    return Locations::storedPath(Text::fromBytes(syncDir));
}

std::optional<fs::path> folderOfFirstAccount(Disk &disk) {
    const fs::path account = Locations::configFolder() / "onedrive";
    const fs::path own = account / "config";
    const std::optional<std::string> set = syncDir(disk.text(isThere(own, disk) ? own : "/etc/onedrive/config"));
    if (!set && !isSignedIn(account, disk))
        return std::nullopt;
    return placeOf(set.value_or("~/OneDrive"));
}

/// Further accounts have a folder of any name, as other programs have, too: it counts as the client's when its name
/// says so or somebody is signed in there.
std::optional<fs::path> folderOfFurtherAccount(const fs::path &account, Disk &disk) {
    const std::optional<std::string> set = syncDir(disk.text(account / "config"));
    const bool isClients = account.filename().native().starts_with("onedrive") || isSignedIn(account, disk);
    return set && isClients ? placeOf(*set) : std::nullopt;
}

std::vector<fs::path> foldersOfAccounts(Disk &disk) {
    std::vector<fs::path> folders;
    const auto add = [&](const std::optional<fs::path> &folder) {
        if (folder)
            folders.push_back(*folder);
    };
    add(folderOfFirstAccount(disk));
    std::vector<FolderItem> further = disk.visibleItems(Locations::configFolder());
    std::sort(further.begin(), further.end(), [](const FolderItem &a, const FolderItem &b) { return a.path < b.path; });
    for (const FolderItem &account : further) {
        if (account.path.filename() != "onedrive")
            add(folderOfFurtherAccount(account.path, disk));
    }
    return folders;
}

bool showsOneDrive(const MountEntry &mount, Disk &disk) {
    const Remote remote = remoteOf(mount.source);
    return remote.backend == oneDriveBackend ||
           (!remote.name.empty() && hasOneDriveRemote(disk.text(rcloneConfig(disk)), remote.name));
}

std::optional<QString> nameOf(const MountEntry &mount) {
    if (mount.type == rcloneType)
        return QStringLiteral("rclone mount ") + Text::fromBytes(mount.source);
    if (mount.type == onedriverType)
        return QStringLiteral("onedriver mount");
    return std::nullopt;
}

} // namespace

std::optional<std::string> syncDir(std::string_view config) {
    std::optional<std::string> found;
    while (!config.empty()) {
        const std::optional<Setting> setting = settingOf(takeLine(config), "=");
        const bool isQuoted =
            setting && setting->value.size() > 2 && setting->value.starts_with('"') && setting->value.ends_with('"');
        if (isQuoted && setting->key == "sync_dir")
            found = setting->value.substr(1, setting->value.size() - 2);
    }
    return found;
}

bool hasOneDriveRemote(std::string_view config, std::string_view remote) {
    config = withoutByteOrderMark(config);
    bool isInRemote = false;
    bool isOneDrive = false;
    while (!config.empty()) {
        const std::string_view line = takeLine(config);
        if (line.starts_with('[') && line.ends_with(']'))
            isInRemote = trimmed(line.substr(1, line.size() - 2)) == remote;
        else if (const auto setting = settingOf(line, "=:"); isInRemote && setting && setting->key == "type")
            isOneDrive = setting->value == oneDriveBackend;
    }
    return isOneDrive;
}

Remote remoteOf(std::string_view source) {
    const bool isOnTheFly = source.starts_with(':');
    if (isOnTheFly)
        source.remove_prefix(1);
    const std::size_t end = source.find_first_of("/:");
    if (end == std::string_view::npos || source[end] != ':')
        return {};
    std::string_view name = source.substr(0, end);
    // Where options were given for this mount alone, their hash follows in braces.
    if (name.ends_with('}'))
        name = name.substr(0, name.rfind('{'));
    return isOnTheFly ? Remote{{}, name} : Remote{name, {}};
}

std::vector<ClientFolder> folders(Disk &disk) {
    std::vector<ClientFolder> result;
    for (const fs::path &folder : foldersOfAccounts(disk))
        result.push_back({folder, QStringLiteral("folder of the OneDrive client")});
    const MountTable &table = disk.mounts();
    for (const std::string_view type : {onedriverType, rcloneType}) {
        for (const MountEntry &mount : table.entries()) {
            if (mount.type == type && table.isReachable(mount) && (type != rcloneType || showsOneDrive(mount, disk)))
                result.push_back({mount.mountPoint, *nameOf(mount)});
        }
    }
    return result;
}

std::optional<QString> mountAt(const fs::path &place, const MountTable &mounts) {
    const MountEntry *mount = mounts.reachableAt(Paths::standardised(place));
    return mount ? nameOf(*mount) : std::nullopt;
}

} // namespace OneDriveClients
