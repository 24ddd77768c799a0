#pragma once

#include <QString>
#include <QUuid>

#include <optional>
#include <string>
#include <vector>

class AppModel;

/// The folder list from the command line: "--list", "--add" and "--remove". Each takes the process's arguments (without
/// the program name) and returns the exit status.
namespace FolderCommands {

int list(const std::vector<std::string> &arguments);
int add(const std::vector<std::string> &arguments);
int remove(const std::vector<std::string> &arguments);

/// The pairs that were named; none named means all (no ids). Or, where the list has no such folder, the sentence that
/// says so.
struct Chosen {
    std::optional<std::vector<QUuid>> ids = {};
    std::optional<QString> refusal = {};
};
Chosen chosen(const AppModel &model, const std::vector<std::string> &namesOrIds);

} // namespace FolderCommands
