#include "sync/SyncRules.h"

#include <cmath>

namespace {

/// The kernel takes dates from a clock that ticks every ten milliseconds at the slowest.
constexpr double tick = 0.02;

/// How far apart two dates of one file system are at least when they differ, judged by one of them.
double granularity(FileTime date, const SyncRules &rules) {
    if (rules.fatTimeQuirk)
        return 2;
    return date.nanoseconds == 0 ? 1 : tick;
}

FileTime laterBy(double seconds, FileTime time) {
    constexpr std::int64_t second = 1'000'000'000;
    const std::int64_t nanoseconds = time.nanoseconds + static_cast<std::int64_t>(seconds * second);
    return {time.seconds + nanoseconds / second, static_cast<std::int32_t>(nanoseconds % second)};
}

} // namespace

std::optional<HotOriginal> hotness(FileTime mtime, FileTime now, const SyncRules &rules) {
    const double age = secondsBetween(now, mtime);
    const double window = rules.tolerance + granularity(mtime, rules);
    if (age < 0 || age >= window)
        return std::nullopt;
    return HotOriginal{laterBy(window, mtime), age < granularity(mtime, rules)};
}

Verdict decide(const FileVersion &original, const FileVersion &backup, const SyncRules &rules) {
    constexpr double hour = 3600;
    const double newerBy = secondsBetween(original.mtime, backup.mtime);
    const bool sameTime = std::abs(newerBy) <= rules.tolerance;
    const bool sameButForTheHour = rules.fatTimeQuirk && std::abs(std::abs(newerBy) - hour) <= rules.tolerance;
    if (original.size == backup.size && (sameTime || sameButForTheHour))
        return Verdict::UpToDate;
    return newerBy < -rules.tolerance ? Verdict::KeepNewer : Verdict::Copy;
}
