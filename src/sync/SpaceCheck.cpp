#include "sync/SpaceCheck.h"

#include "base/Fmt.h"
#include "store/Locations.h"

#include <algorithm>
#include <map>

#include <sys/statvfs.h>

namespace SpaceCheck {

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
    std::map<std::filesystem::path, std::int64_t> totals;
    for (const PairPlan *plan : plans) {
        if (plan->copies.empty())
            continue;
        if (const auto volume = Locations::containingVolume(plan->backup))
            totals[*volume] += need(*plan);
    }
    for (const auto &[volume, total] : totals) {
        const std::optional<std::int64_t> free = freeSpace(volume);
        if (free && *free < total + margin)
            return QStringLiteral("Not enough free space on “") + Locations::volumeName(volume) +
                   QStringLiteral("”: this sync needs about ") + Fmt::byteCount(total) + QStringLiteral(" but only ") +
                   Fmt::byteCount(*free) + QStringLiteral(" is free.");
    }
    return std::nullopt;
}

} // namespace SpaceCheck
