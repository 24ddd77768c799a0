#include "sync/SpaceCheck.h"

#include "base/Fmt.h"
#include "store/Locations.h"

#include <algorithm>
#include <map>

#include <sys/stat.h>
#include <sys/statvfs.h>

namespace SpaceCheck {

namespace {

namespace fs = std::filesystem;

fs::path nearestFolder(fs::path folder) {
    while (!Locations::isFolder(folder) && folder.has_relative_path())
        folder = folder.parent_path();
    return folder;
}

/// Folders of volumes that the mount table doesn't tell, as in a root that is no mount point (after chroot): the first
/// one that is met stands for its volume.
using UnlistedVolumes = std::map<dev_t, fs::path>;

fs::path volumeOf(const fs::path &folder, UnlistedVolumes &unlisted) {
    if (const std::optional<fs::path> volume = Locations::containingVolume(folder))
        return *volume;
    const fs::path nearest = nearestFolder(folder);
    struct stat facts = {};
    ::stat(nearest.c_str(), &facts);
    return unlisted.try_emplace(facts.st_dev, nearest).first->second;
}

std::map<fs::path, std::int64_t> totalsOf(const std::vector<const PairPlan *> &plans) {
    UnlistedVolumes unlisted;
    std::map<fs::path, std::int64_t> totals;
    for (const PairPlan *plan : plans) {
        if (!plan->copies.empty())
            totals[volumeOf(plan->backup, unlisted)] += need(*plan);
    }
    return totals;
}

} // namespace

std::int64_t need(const PairPlan &plan) {
    std::int64_t added = 0;
    std::int64_t largest = 0;
    for (const PlannedCopy &copy : plan.copies) {
        if (copy.kind() == ChangeKind::added)
            added += copy.size;
        largest = std::max(largest, copy.size);
    }
    return added + largest;
}

std::optional<std::int64_t> freeSpace(const std::filesystem::path &volume) {
    struct statvfs facts = {};
    if (::statvfs(volume.c_str(), &facts) != 0)
        return std::nullopt;
    const auto free = static_cast<std::int64_t>(facts.f_bavail) * static_cast<std::int64_t>(facts.f_frsize);
    return free > 0 ? std::optional(free) : std::nullopt;
}

std::optional<QString> spaceProblem(const std::vector<const PairPlan *> &plans) {
    for (const auto &[volume, total] : totalsOf(plans)) {
        const std::optional<std::int64_t> free = freeSpace(volume);
        if (free && *free < total + margin)
            return QStringLiteral("Not enough free space on “") + Locations::volumeName(volume) +
                   QStringLiteral("”: this sync needs about ") + Fmt::byteCount(total) + QStringLiteral(" but only ") +
                   Fmt::byteCount(*free) + QStringLiteral(" is free.");
    }
    return std::nullopt;
}

} // namespace SpaceCheck
