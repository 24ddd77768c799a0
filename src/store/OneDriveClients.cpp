#include "store/OneDriveClients.h"

#include "base/Paths.h"
#include "base/Text.h"
#include "platform/AtomicFile.h"
#include "platform/MountTable.h"
#include "store/Locations.h"

#include <algorithm>
#include <cstdlib>

#include <fcntl.h>

namespace OneDriveClients {

namespace {

constexpr std::size_t largestConfig = 1024 * 1024;
constexpr std::string_view rcloneType = "fuse.rclone";
constexpr std::string_view onedriverType = "fuse.onedriver";
constexpr std::string_view oneDriveBackend = "onedrive";
constexpr std::string_view blanks = " \t\r";

std::string readConfig(const fs::path &file) {
    return AtomicFile::read({AT_FDCWD, file.c_str()}, largestConfig, LinkAtEnd::IsFollowed).value_or(std::string());
}

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

fs::path rcloneConfig() {
    if (const char *named = std::getenv("RCLONE_CONFIG"); named && *named)
        return named;
    const fs::path home = Locations::homeURL();
    std::error_code error;
    for (const fs::path &file :
         {Locations::configFolder() / "rclone/rclone.conf", home / ".config/rclone/rclone.conf"}) {
        if (fs::exists(file, error))
            return file;
    }
    return home / ".rclone.conf";
}

/// Whether the general client has been signed in with this configuration.
bool isSignedIn(const fs::path &account) {
    std::error_code error;
    return fs::exists(account / "refresh_token", error) || fs::exists(account / "items.sqlite3", error);
}

std::optional<fs::path> placeOf(const std::string &syncDir) {
    // The client takes a relative one from wherever it was started.
    if (!syncDir.starts_with('/') && !syncDir.starts_with("~/"))
        return std::nullopt;
    return Locations::storedPath(Text::fromBytes(syncDir));
}

std::optional<fs::path> folderOfFirstAccount() {
    const fs::path account = Locations::configFolder() / "onedrive";
    std::error_code error;
    const fs::path own = account / "config";
    const std::optional<std::string> set = syncDir(readConfig(fs::exists(own, error) ? own : "/etc/onedrive/config"));
    if (!set && !isSignedIn(account))
        return std::nullopt;
    return placeOf(set.value_or("~/OneDrive"));
}

/// Further accounts have a folder of any name, as other programs have, too: it counts as the client's when its name
/// says so or somebody is signed in there.
std::optional<fs::path> folderOfFurtherAccount(const fs::path &account) {
    const std::optional<std::string> set = syncDir(readConfig(account / "config"));
    const bool isClients = account.filename().native().starts_with("onedrive") || isSignedIn(account);
    return set && isClients ? placeOf(*set) : std::nullopt;
}

std::vector<fs::path> foldersOfAccounts() {
    std::vector<fs::path> folders;
    const auto add = [&](const std::optional<fs::path> &folder) {
        if (folder)
            folders.push_back(*folder);
    };
    add(folderOfFirstAccount());
    std::vector<fs::path> further = Locations::visibleEntries(Locations::configFolder());
    std::sort(further.begin(), further.end());
    for (const fs::path &account : further) {
        if (account.filename() != "onedrive")
            add(folderOfFurtherAccount(account));
    }
    return folders;
}

bool showsOneDrive(const MountEntry &mount) {
    const Remote remote = remoteOf(mount.source);
    return remote.backend == oneDriveBackend ||
           (!remote.name.empty() && hasOneDriveRemote(readConfig(rcloneConfig()), remote.name));
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

std::vector<ClientFolder> folders() {
    std::vector<ClientFolder> result;
    for (const fs::path &folder : foldersOfAccounts())
        result.push_back({folder, QStringLiteral("folder of the OneDrive client")});
    const MountTable table = MountTable::read();
    for (const std::string_view type : {onedriverType, rcloneType}) {
        for (const MountEntry &mount : table.entries()) {
            if (mount.type == type && table.isReachable(mount) && (type != rcloneType || showsOneDrive(mount)))
                result.push_back({mount.mountPoint, *nameOf(mount)});
        }
    }
    return result;
}

std::optional<QString> mountAt(const fs::path &place) {
    const MountTable table = MountTable::read();
    const MountEntry *mount = table.reachableAt(Paths::standardised(place));
    return mount ? nameOf(*mount) : std::nullopt;
}

} // namespace OneDriveClients
