#include "sync/IgnoreRules.h"

#include "base/Text.h"

#include <algorithm>
#include <string>

namespace IgnoreRules {

namespace {

std::string lowerCase(std::string_view name) {
    return Text::isAscii(name) ? Text::asciiLower(name) : Text::toBytes(Text::fromBytes(name).toLower());
}

/// The last letters of all ignored names, in both cases: most names are kept after a look at one byte.
bool mayBeIgnored(std::string_view name) {
    const auto last = static_cast<unsigned char>(name.back());
    return last >= 0x80 || std::string_view("bBiInNpP\r").find(name.back()) != std::string_view::npos;
}

} // namespace

Verdict judge(std::string_view name) {
    if (name.starts_with(".tw-") && name.ends_with(".twtmp"))
        return Verdict::StaleTemporary;
    if (name.starts_with('.') || name.starts_with("~$"))
        return Verdict::Skip;
    if (name.empty() || !mayBeIgnored(name))
        return Verdict::Keep;
    const std::string lower = lowerCase(name);
    if (lower.starts_with('~') && lower.ends_with(".tmp"))
        return Verdict::Skip;
    if (std::find(std::begin(names), std::end(names), lower) != std::end(names))
        return Verdict::Skip;
    return lower.ends_with(".twtmp") ? Verdict::Skip : Verdict::Keep;
}

} // namespace IgnoreRules
