#include "app/LaunchOptions.h"

#include "base/Paths.h"
#include "base/Text.h"
#include "store/Locations.h"

#include <algorithm>
#include <array>
#include <string_view>

namespace {

constexpr std::array<std::string_view, 4> actions = {"sync-now", "add-folder", "show-activity", "show-settings"};

constexpr std::array<std::string_view, 13> toolkitOptionsWithValue = {
    "platform", "platformpluginpath", "platformtheme", "plugin", "session",     "style",       "stylesheet",
    "display",  "geometry",           "title",         "icon",   "qwindowicon", "qwindowtitle"};

enum class Toolkit { No, Alone, WithValue };

/// The toolkit takes its options with one dash or two, and some values after "=".
Toolkit toolkitOption(std::string_view word) {
    if (!word.starts_with('-'))
        return Toolkit::No;
    word.remove_prefix(word.starts_with("--") ? 2 : 1);
    const auto isKnown = [](std::string_view name) {
        return std::find(toolkitOptionsWithValue.begin(), toolkitOptionsWithValue.end(), name) !=
               toolkitOptionsWithValue.end();
    };
    if (isKnown(word))
        return Toolkit::WithValue;
    return word == "reverse" || isKnown(word.substr(0, word.find('='))) ? Toolkit::Alone : Toolkit::No;
}

bool isAction(const std::string &word) {
    return std::find(actions.begin(), actions.end(), word) != actions.end();
}

bool isFolder(const std::string &word) {
    return !word.empty() && Locations::isFolder(Paths::standardised(word));
}

QString unknown(const std::string &word) {
    return QStringLiteral("“") + Text::fromBytes(word) +
           QStringLiteral("” is no option and no folder. See tarnwick-basic --help.");
}

} // namespace

LaunchOptions LaunchOptions::parse(const std::vector<std::string> &arguments) {
    LaunchOptions options;
    auto word = arguments.begin();
    for (; word != arguments.end() && *word != "--"; ++word) {
        const bool isLast = word + 1 == arguments.end();
        const Toolkit toolkit = toolkitOption(*word);
        if (toolkit != Toolkit::No) {
            options.toolkit.push_back(*word);
            if (toolkit == Toolkit::WithValue && !isLast)
                options.toolkit.push_back(*++word);
        } else if (*word == "--login") {
            options.login = true;
        } else if (*word == "--service") {
            options.service = true;
        } else if (*word == "--action" && !isLast && isAction(word[1])) {
            options.action = Text::fromBytes(*++word);
        } else if (*word == "--action") {
            options.refusal = QStringLiteral("--action takes sync-now, add-folder, show-activity or show-settings. "
                                             "See tarnwick-basic --help.");
            return options;
        } else if (isLast && (*word == "--apptest" || *word == "--snapshot")) {
            // Without what belongs behind them they mean nothing.
        } else if (!word->starts_with('-')) {
            options.folders.push_back(*word);
        } else {
            options.refusal = unknown(*word);
            return options;
        }
    }
    if (word != arguments.end())
        options.folders.insert(options.folders.end(), word + 1, arguments.end());
    const auto stray = std::find_if_not(options.folders.begin(), options.folders.end(), &isFolder);
    if (stray != options.folders.end())
        options.refusal = unknown(*stray);
    return options;
}
