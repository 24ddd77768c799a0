#include "store/Store.h"

#include "base/FileDescriptor.h"
#include "base/Paths.h"
#include "base/Text.h"
#include "platform/AtomicFile.h"
#include "json/Json.h"
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
                      std::string_view(bytes.constData(), static_cast<std::size_t>(bytes.size())));
}

/// Returns the copy's name, whether or not it could be made.
std::string setAside() {
    const std::string name = "config-unreadable-" + std::to_string(std::time(nullptr)) + ".json";
    const fs::path folder = supportDir();
    std::error_code ignored;
    fs::copy_file(folder / configName, folder / name, fs::copy_options::none, ignored);
    return name;
}

} // namespace

fs::path supportDir() {
    const fs::path folder = placeOfSupportDir();
    std::error_code ignored;
    fs::create_directories(folder, ignored);
    return folder;
}

bool isTestMode() {
    return std::getenv(variable) || TestRoot::isActive();
}

AppConfig loadConfig() {
    const std::optional<std::string> bytes = readFile(supportDir() / configName);
    if (!bytes)
        return {};
    try {
        return Json::fromBytes<AppConfig>(asBytes(*bytes));
    } catch (const JsonError &error) {
        const std::string copy = setAside();
        Log::shared().write(QStringLiteral("Config could not be read (") + Text::fromBytes(error.what()) +
                            QStringLiteral("); saved a copy to ") + Text::fromBytes(copy));
        return {};
    }
}

AppConfig peekConfig() {
    const std::optional<std::string> bytes = readFile(placeOfSupportDir() / configName);
    try {
        return bytes ? Json::fromBytes<AppConfig>(asBytes(*bytes)) : AppConfig();
    } catch (const JsonError &) {
        return {};
    }
}

void save(const AppConfig &config) {
    try {
        writeFile(configName, Json::toBytes(config));
    } catch (const std::exception &error) {
        Log::shared().write(QStringLiteral("Could not save settings: ") + Text::fromBytes(error.what()));
    }
}

std::vector<SyncRun> loadHistory() {
    const std::optional<std::string> bytes = readFile(supportDir() / historyName);
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
        writeFile(historyName, Json::toBytes(history));
    } catch (const std::exception &) {
        // The next finished run writes it anew.
    }
}

} // namespace Store
