#pragma once

#include <compare>
#include <cstdint>
#include <limits>

#include <sys/stat.h>

/// A moment as a file system keeps it: seconds since 1970-01-01 UTC (negative before) and nanoseconds (0 to
/// 999,999,999) after that second. Covers every time that a file system can hold.
struct FileTime {
    std::int64_t seconds = 0;
    std::int32_t nanoseconds = 0;

    /// Stands for "unknown": earlier than any time a file can have.
    static constexpr FileTime distantPast() { return {std::numeric_limits<std::int64_t>::min(), 0}; }

    constexpr auto operator<=>(const FileTime &) const = default;

    static FileTime from(const statx_timestamp &stamp) {
        return {stamp.tv_sec, static_cast<std::int32_t>(stamp.tv_nsec)};
    }
    static FileTime from(const timespec &stamp) { return {stamp.tv_sec, static_cast<std::int32_t>(stamp.tv_nsec)}; }
    timespec toTimespec() const { return {static_cast<time_t>(seconds), nanoseconds}; }
};

/// `later` minus `earlier` in seconds; negative when `later` is in fact the earlier one. The whole seconds are exact up
/// to 2^53; no difference overflows.
inline double secondsBetween(FileTime later, FileTime earlier) {
    const bool near = (later.seconds < 0) == (earlier.seconds < 0);
    const double whole = near ? static_cast<double>(later.seconds - earlier.seconds)
                              : static_cast<double>(later.seconds) - static_cast<double>(earlier.seconds);
    return whole + (later.nanoseconds - earlier.nanoseconds) * 1e-9;
}
