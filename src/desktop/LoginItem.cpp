#include "desktop/LoginItem.h"

#include "base/FileDescriptor.h"
#include "base/Paths.h"
#include "base/Text.h"
#include "platform/AtomicFile.h"
#include "store/Locations.h"
#include "store/Log.h"
#include "store/TestRoot.h"

#include <QCoreApplication>
#include <QMap>
#include <QStandardPaths>
#include <QStringList>

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

/// The entry of the same name that came with the system, which the user's own overrides; the first one counts.
std::optional<fs::path> systemEntry() {
    const char *given = std::getenv("XDG_CONFIG_DIRS");
    const QString folders = given && *given ? Text::fromBytes(given) : QStringLiteral("/etc/xdg");
    for (const QString &folder : folders.split(u':', Qt::SkipEmptyParts)) {
        const fs::path file = fs::path(Text::toBytes(folder)) / "autostart" / entryName;
        std::error_code error;
        if (file.is_absolute() && fs::exists(file, error))
            return file;
    }
    return std::nullopt;
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
    const std::string program = Text::toBytes(QCoreApplication::applicationFilePath());
    // Keeps the desktop from starting a program that has gone. Not every desktop undoes escapes here.
    const std::string tryExec = program.find('\\') == std::string::npos ? "TryExec=" + program + '\n' : "";
    return "[Desktop Entry]\nType=Application\nName=Tarnwick Basic\nComment=Free backup of your folders to OneDrive\n" +
           tryExec + "Exec=" + quoted(program) +
           " --login\nIcon=org.tarnwick.Basic\nTerminal=false\nX-GNOME-Autostart-enabled=true\n";
}

void write(const std::string &text) {
    fs::create_directories(folder());
    const FileDescriptor open(::open(folder().c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC));
    if (!open)
        throw std::system_error(errno, std::generic_category(), folder().native());
    AtomicFile::write({open.get(), entryName}, text, AtomicFile::ReadableBy::Everyone);
}

void removeEntry() {
    // Where the system has an entry, too, only another one can switch it off.
    if (systemEntry())
        return write("[Desktop Entry]\nType=Application\nName=Tarnwick Basic\nHidden=true\n");
    if (::unlink((folder() / entryName).c_str()) != 0 && errno != ENOENT)
        throw std::system_error(errno, std::generic_category(), entryName);
}

/// The keys of the entry that is in force; none when there is none.
std::optional<QMap<QString, QString>> keysInForce() {
    const auto read = [](const fs::path &file) {
        return AtomicFile::read({AT_FDCWD, file.c_str()}, 64 * 1024, LinkAtEnd::IsFollowed);
    };
    std::optional<std::string> text = read(folder() / entryName);
    if (const std::optional<fs::path> other = text ? std::nullopt : systemEntry())
        text = read(*other);
    if (!text)
        return std::nullopt;
    QMap<QString, QString> keys;
    bool isMainGroup = false;
    for (const QString &line : Text::fromBytes(*text).split(u'\n')) {
        if (line.startsWith(u'['))
            isMainGroup = line.trimmed() == QStringLiteral("[Desktop Entry]");
        else if (isMainGroup && line.contains(u'=') && !line.startsWith(u'#'))
            keys.insert(line.section(u'=', 0, 0).trimmed(), line.section(u'=', 1).trimmed());
    }
    return keys;
}

/// Whether TryExec names a program that is there; a bare name is looked for as a shell does.
bool canBeStarted(const QString &program) {
    return program.isEmpty() || !QStandardPaths::findExecutable(program).isEmpty();
}

} // namespace

bool isEnabled() {
    if (TestRoot::isActive())
        return false;
    const std::optional<QMap<QString, QString>> keys = keysInForce();
    // Session managers switch an entry off by the first two keys and leave the file.
    return keys && keys->value(QStringLiteral("Hidden")) != QStringLiteral("true") &&
           keys->value(QStringLiteral("X-GNOME-Autostart-enabled")) != QStringLiteral("false") &&
           canBeStarted(keys->value(QStringLiteral("TryExec")));
}

std::optional<QString> set(bool enabled) {
    if (TestRoot::isActive() || (enabled && isEnabled()))
        return std::nullopt;
    try {
        if (enabled)
            write(entry());
        else
            removeEntry();
    } catch (const std::exception &error) {
        const QString reason = Text::fromBytes(error.what());
        Log::shared().write(QStringLiteral("Login item change failed: ") + reason);
        return QStringLiteral("Couldn't change the login item: ") + reason + u'.';
    }
    return std::nullopt;
}

} // namespace LoginItem
