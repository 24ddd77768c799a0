#include "sync/SyncRules.h"

#include <cmath>

Verdict decide(const FileVersion &original, const FileVersion &backup, const SyncRules &rules) {
    constexpr double hour = 3600;
    const double newerBy = secondsBetween(original.mtime, backup.mtime);
    const bool sameTime = std::abs(newerBy) <= rules.tolerance;
    const bool sameButForTheHour = rules.fatTimeQuirk && std::abs(std::abs(newerBy) - hour) <= rules.tolerance;
    if (original.size == backup.size && (sameTime || sameButForTheHour))
        return Verdict::UpToDate;
    return newerBy < -rules.tolerance ? Verdict::KeepNewer : Verdict::Copy;
}
