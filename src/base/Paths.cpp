#include "base/Paths.h"

#include "base/Text.h"

namespace Paths {

namespace {

std::string withSeparator(std::string path) {
    if (path.empty() || path.back() != '/')
        path += '/';
    return path;
}

} // namespace

fs::path standardised(const fs::path &path) {
    // Joined by hand, because the standard library calls an empty path an error instead of the working
    // directory.
    fs::path normal = (path.is_absolute() ? path : fs::current_path() / path).lexically_normal();
    // A path of slashes only is left as it is by the standard library.
    if (!normal.has_relative_path())
        return "/";
    return normal.has_filename() ? normal : normal.parent_path();
}

std::string lastComponent(const fs::path &path) {
    return path.has_filename() ? path.filename().native() : std::string("/");
}

bool overlap(const fs::path &a, const fs::path &b) {
    const QString first = Text::fromPath(withSeparator(standardised(a).native())).toLower();
    const QString second = Text::fromPath(withSeparator(standardised(b).native())).toLower();
    return first.startsWith(second) || second.startsWith(first);
}

bool isWithin(const fs::path &path, const fs::path &base) {
    return withSeparator(path.native()).starts_with(withSeparator(base.native()));
}

} // namespace Paths
