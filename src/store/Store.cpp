#include "store/Store.h"

#include "base/FileDescriptor.h"
#include "base/Fmt.h"
#include "base/Paths.h"
#include "base/Text.h"
#include "json/Json.h"
#include "platform/AtomicFile.h"
#include "store/Locations.h"
#include "store/Log.h"
#include "store/TestRoot.h"

#include <cstdlib>
#include <ctime>
#include <limits>
#include <system_error>

#include <fcntl.h>

namespace Store {

namespace {

namespace fs = std::filesystem;

constexpr const char *variable = "TARNWICK_SUPPORT_DIR";
constexpr const char *configName = "config.json";
constexpr const char *historyName = "history.json";

fs::path dataFolder() {
    const char *data = std::getenv("XDG_DATA_HOME");
    return data && *data == '/' ? Paths::standardised(data) : Locations::homeURL() / ".local/share";
}

fs::path placeOfSupportDir() {
    if (const char *chosen = std::getenv(variable))
        return Paths::standardised(chosen);
    return TestRoot::isActive() ? *TestRoot::url() / "Support" : dataFolder() / "Tarnwick Basic";
}

std::optional<std::string> readFile(const fs::path &file) {
    return AtomicFile::read({AT_FDCWD, file.c_str()}, std::numeric_limits<std::size_t>::max(), LinkAtEnd::IsFollowed);
}

/// Without a copy: a full history is some 90 MB.
QByteArray asBytes(const std::string &bytes) {
    return QByteArray::fromRawData(bytes.data(), static_cast<qsizetype>(bytes.size()));
}

void writeFile(const char *name, const QByteArray &bytes) {
    // Where the user keeps the file elsewhere behind a link, it is replaced there and the link stays.
    // A link that leads nowhere is replaced.
    const fs::path file = fs::weakly_canonical(supportDir() / name);
    const FileDescriptor folder(::open(file.parent_path().c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC));
    if (!folder)
        throw std::system_error(errno, std::generic_category(), file.parent_path().native());
    AtomicFile::write({folder.get(), file.filename().c_str()},
                      std::string_view(bytes.constData(), static_cast<std::size_t>(bytes.size())),
                      AtomicFile::ReadableBy::TheUser);
}

/// The list of folders alone: where it is malformed, the settings are read without it and don't say so.
struct FolderList {
    static FolderList fromJson(const JsonReader &in) {
        in.valueOr("pairs", std::vector<FolderPair>());
        return {};
    }
};

/// What the settings file holds, and why that isn't all of it.
struct StoredConfig {
    AppConfig config = {};
    std::optional<std::string> bytes = {};
    std::optional<QString> trouble = {};
};

StoredConfig readConfig() {
    StoredConfig stored;
    stored.bytes = readFile(placeOfSupportDir() / configName);
    if (!stored.bytes && errno != ENOENT)
        stored.trouble = Fmt::systemError(errno);
    if (!stored.bytes)
        return stored;
    try {
        stored.config = Json::fromBytes<AppConfig>(asBytes(*stored.bytes));
        if (stored.config.pairs.empty())
            Json::fromBytes<FolderList>(asBytes(*stored.bytes));
    } catch (const JsonError &error) {
        stored.trouble = Text::fromBytes(error.what());
    }
    return stored;
}

/// Why the file must be moved away before anything is saved in its place: it could not be read, and what it holds is
/// nowhere else.
std::optional<QString> unreadConfig;
std::optional<QString> unreadHistory;

/// Of "config.json": "config-unreadable-SECOND.json".
std::string nameForCopy(std::string_view file, std::time_t second) {
    return std::string(file.substr(0, file.find('.'))) + "-unreadable-" + std::to_string(second) + ".json";
}

void logCopy(const char *file, const QString &trouble, const std::string &name) {
    const QString what = file == configName ? QStringLiteral("Config") : QStringLiteral("History");
    Log::shared().write(what + QStringLiteral(" could not be read (") + trouble +
                        QStringLiteral("); saved a copy to ") + Text::fromBytes(name));
}

bool isTaken(const std::string &name) {
    std::error_code ignored;
    return fs::exists(fs::symlink_status(supportDir() / name, ignored));
}

/// Returns whether that could be done.
bool copyAside(const StoredConfig &stored) {
    const std::string name = nameForCopy(configName, std::time(nullptr));
    const bool isFree = !isTaken(name); // else it is of this very second
    try {
        if (isFree)
            writeFile(name.c_str(), asBytes(*stored.bytes));
    } catch (const std::exception &) {
        return false;
    }
    logCopy(configName, *stored.trouble, name);
    return isFree;
}

/// Fails with std::system_error.
void moveAsideIfUnread(const char *file, std::optional<QString> &unread) {
    if (!unread)
        return;
    std::time_t second = std::time(nullptr);
    while (isTaken(nameForCopy(file, second)))
        ++second;
    std::error_code error;
    fs::rename(supportDir() / file, supportDir() / nameForCopy(file, second), error);
    if (error && error != std::errc::no_such_file_or_directory)
        throw std::system_error(error, file);
    if (!error)
        logCopy(file, *unread, nameForCopy(file, second));
    unread.reset();
}

} // namespace

fs::path supportDir() {
    const fs::path folder = placeOfSupportDir();
    AtomicFile::makePrivateFolder(folder);
    return folder;
}

bool isTestMode() {
    return std::getenv(variable) || TestRoot::isActive();
}

AppConfig loadConfig() {
    const StoredConfig stored = readConfig();
    const bool isKept = !stored.trouble || (stored.bytes && copyAside(stored));
    unreadConfig = isKept ? std::nullopt : stored.trouble;
    return stored.config;
}

AppConfig peekConfig() {
    return readConfig().config;
}

std::optional<QString> save(const AppConfig &config) {
    try {
        moveAsideIfUnread(configName, unreadConfig);
        writeFile(configName, Json::toBytes(config));
        return std::nullopt;
    } catch (const std::exception &error) {
        const QString reason = Text::fromBytes(error.what());
        Log::shared().write(QStringLiteral("Could not save settings: ") + reason);
        return reason;
    }
}

std::vector<SyncRun> loadHistory() {
    const std::optional<std::string> bytes = readFile(placeOfSupportDir() / historyName);
    unreadHistory = bytes || errno == ENOENT ? std::nullopt : std::optional(Fmt::systemError(errno));
    if (!bytes)
        return {};
    try {
        return Json::fromBytes<std::vector<SyncRun>>(asBytes(*bytes));
    } catch (const JsonError &) {
        return {};
    }
}

void save(const std::vector<SyncRun> &history) {
    try {
        moveAsideIfUnread(historyName, unreadHistory);
        writeFile(historyName, Json::toBytes(history));
    } catch (const std::exception &) {
        // The next finished run writes it anew.
    }
}

} // namespace Store
