#pragma once

#include <QString>

#include <optional>
#include <string>
#include <vector>

/// What the arguments ask of the application: of a start without a command.
struct LaunchOptions {
    bool login = false;                    ///< the desktop starts it at login
    bool service = false;                  ///< it was started to be told something
    QString action = {};                   ///< what it is to do at once; empty when nothing is
    std::vector<std::string> folders = {}; ///< folders that were named; they ask for Add Folder
    std::vector<std::string> toolkit = {}; ///< the toolkit's own options with their values
    /// Why the application isn't started, in one line; none when all arguments are understood.
    std::optional<QString> refusal = {};

    /// Looks at the disk for words that may be folders.
    static LaunchOptions parse(const std::vector<std::string> &arguments);
};
