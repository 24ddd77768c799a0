#include "desktop/LoginItem.h"

#include "base/FileDescriptor.h"
#include "base/Paths.h"
#include "base/Text.h"
#include "platform/AtomicFile.h"
#include "store/Locations.h"
#include "store/Log.h"
#include "store/TestRoot.h"

#include <QCoreApplication>

#include <cerrno>
#include <cstdlib>
#include <system_error>

#include <fcntl.h>
#include <unistd.h>

namespace LoginItem {

namespace {

namespace fs = std::filesystem;

constexpr const char *entryName = "org.tarnwick.Basic.desktop";

fs::path folder() {
    const char *config = std::getenv("XDG_CONFIG_HOME");
    return (config && *config == '/' ? Paths::standardised(config) : Locations::homeURL() / ".config") / "autostart";
}

/// A program's path as the Exec key takes it: in double quotes, with their special characters escaped.
std::string quoted(const std::string &path) {
    std::string result = "\"";
    for (const char c : path) {
        if (c == '"' || c == '`' || c == '$' || c == '\\')
            result += c == '\\' ? "\\\\\\" : "\\\\";
        result += c;
        if (c == '%')
            result += '%';
    }
    return result + '"';
}

std::string entry() {
    return "[Desktop Entry]\nType=Application\nName=Tarnwick Basic\nComment=Free backup of your folders to OneDrive\n"
           "Exec=" +
           quoted(Text::toBytes(QCoreApplication::applicationFilePath())) +
           " --login\nIcon=org.tarnwick.Basic\nTerminal=false\nX-GNOME-Autostart-enabled=true\n";
}

void writeEntry() {
    fs::create_directories(folder());
    const FileDescriptor open(::open(folder().c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC));
    if (!open)
        throw std::system_error(errno, std::generic_category(), folder().native());
    AtomicFile::write({open.get(), entryName}, entry());
}

void removeEntry() {
    if (::unlink((folder() / entryName).c_str()) != 0 && errno != ENOENT)
        throw std::system_error(errno, std::generic_category(), entryName);
}

} // namespace

bool isEnabled() {
    if (TestRoot::isActive())
        return false;
    const fs::path file = folder() / entryName;
    const std::optional<std::string> text =
        AtomicFile::read({AT_FDCWD, file.c_str()}, 64 * 1024, LinkAtEnd::IsFollowed);
    // Session managers switch an entry off by these two keys and leave the file.
    return text && text->find("Hidden=true") == std::string::npos &&
           text->find("X-GNOME-Autostart-enabled=false") == std::string::npos;
}

std::optional<QString> set(bool enabled) {
    if (TestRoot::isActive() || (enabled && isEnabled()))
        return std::nullopt;
    try {
        if (enabled)
            writeEntry();
        else
            removeEntry();
    } catch (const std::exception &error) {
        const QString reason = Text::fromBytes(error.what());
        Log::shared().write(QStringLiteral("Login item change failed: ") + reason);
        return QStringLiteral("Couldn't change the login item: ") + reason +
               QStringLiteral(". Make sure Tarnwick Basic is in your Applications folder.");
    }
    return std::nullopt;
}

} // namespace LoginItem
