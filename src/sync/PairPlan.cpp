#include "sync/PairPlan.h"

#include <algorithm>

namespace {

std::string joinedNames(const PlanFolder *folder, std::string_view PlanFolder::*name) {
    std::vector<std::string_view> names;
    std::size_t length = 0;
    for (; folder->parent; folder = folder->parent) {
        names.push_back(folder->*name);
        length += names.back().size() + 1;
    }
    std::string path;
    path.reserve(length);
    for (auto part = names.rbegin(); part != names.rend(); ++part)
        path.append(path.empty() ? "" : "/").append(*part);
    return path;
}

std::filesystem::path below(const std::filesystem::path &top, const std::string &relative) {
    return relative.empty() ? top : top / relative;
}

} // namespace

std::string joined(std::string_view relative, std::string_view name) {
    std::string path(relative);
    if (!path.empty() && !name.empty())
        path += '/';
    return path.append(name);
}

PairPlan::PairPlan(Path originalFolder, Path backupFolder)
    : original(std::move(originalFolder)), backup(std::move(backupFolder)) {
}

const PlanFolder *PairPlan::addFolder(const PlanFolder *parent, std::string_view originalName,
                                      std::string_view backupName) {
    const std::string_view name = names.add(originalName);
    return &tree.emplace_back(PlanFolder{parent, name, originalName == backupName ? name : names.add(backupName)});
}

const FileVersion *PairPlan::store(const FileVersion &version) {
    return &versions.emplace_back(version);
}

std::string PairPlan::rel(const PlanFolder *folder) {
    return joinedNames(folder, &PlanFolder::originalName);
}
std::string PairPlan::backupRel(const PlanFolder *folder) {
    return joinedNames(folder, &PlanFolder::backupName);
}
std::string PairPlan::rel(const PlannedCopy &copy) {
    return joined(rel(copy.folder), copy.name);
}
std::string PairPlan::rel(const PlannedSkip &skip) {
    return joined(rel(skip.folder), skip.name);
}

PairPlan::Path PairPlan::url(const PlannedFolder &folder) const {
    return below(backup, backupRel(folder.folder));
}
PairPlan::Path PairPlan::url(const PlannedSkip &skip) const {
    return below(original, rel(skip));
}
PairPlan::Path PairPlan::url(const PlannedLeftover &leftover) const {
    return below(backup, leftover.backupRel);
}
PairPlan::Path PairPlan::from(const PlannedCopy &copy) const {
    return below(original, rel(copy));
}
PairPlan::Path PairPlan::to(const PlannedCopy &copy) const {
    return below(backup, joined(backupRel(copy.folder), copy.targetName));
}
