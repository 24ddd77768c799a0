#pragma once

#include <QUuid>

#include <string>
#include <vector>

class AppModel;

/// The folder list from the command line: "--list", "--add" and "--remove". Each takes the process's arguments (without
/// the program name) and returns the exit status.
namespace FolderCommands {

int list(const std::vector<std::string> &arguments);
int add(const std::vector<std::string> &arguments);
int remove(const std::vector<std::string> &arguments);

/// The pairs that the user means: the one with this id, else all with this name.
std::vector<QUuid> pairsMeant(const AppModel &model, const std::string &nameOrId);

/// Tells on standard error that the list has no such folder.
void reportUnknown(const std::string &nameOrId);

} // namespace FolderCommands
