#include "base/Paths.h"
#include "base/Text.h"
#include "store/Locations.h"
#include "store/TestRoot.h"

#include <cstdlib>
#include <pwd.h>

#include <unistd.h>

namespace Locations {

namespace {

/// One of the user's own folders, which an environment variable may name outside a test root.
fs::path userFolder(const char *variable, const char *belowHome) {
    const char *named = std::getenv(variable);
    if (!TestRoot::isActive() && named && *named == '/')
        return Paths::standardised(named);
    return homeURL() / belowHome;
}

} // namespace

fs::path homeURL() {
    if (TestRoot::isActive())
        return *TestRoot::url() / "Home";
    const char *home = std::getenv("HOME");
    if (home && *home == '/')
        return Paths::standardised(home);
    const passwd *user = ::getpwuid(::getuid());
    return Paths::standardised(user && user->pw_dir ? user->pw_dir : "/");
}

bool isFolder(const fs::path &path) {
    std::error_code error;
    return fs::is_directory(path, error);
}

fs::path resolved(const fs::path &path) {
    std::error_code error;
    fs::path result = fs::weakly_canonical(path, error);
    return error ? path : Paths::standardised(result);
}

std::optional<fs::path> storedPath(const QString &text) {
    if (text.isEmpty() || text.contains(QChar(0)))
        return std::nullopt;
    if (text == u'~' || text.startsWith(QStringLiteral("~/")))
        return Paths::standardised(homeURL().native() + '/' + Text::toBytes(text.mid(1)));
    return Paths::standardised(homeURL() / Text::toPath(text));
}

fs::path cacheFolder() {
    return userFolder("XDG_CACHE_HOME", ".cache");
}

fs::path configFolder() {
    return userFolder("XDG_CONFIG_HOME", ".config");
}

QString tildePath(const fs::path &url) {
    const QString home = Text::fromPath(homeURL());
    const QString path = Text::fromPath(url);
    return path.startsWith(home) ? QStringLiteral("~") + path.mid(home.size()) : path;
}

} // namespace Locations
