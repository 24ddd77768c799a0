#pragma once

#include "base/FileTime.h"

#include <cstdint>
#include <optional>

/// How two versions of a file are compared.
struct SyncRules {
    bool fatTimeQuirk = false; ///< a difference of exactly one hour counts as equal (FAT keeps local time)
    double tolerance = 2.0;    ///< seconds; the largest difference that counts as equal

    bool operator==(const SyncRules &) const = default;
};

/// What the comparison knows of one version of a file.
struct FileVersion {
    std::int64_t size = 0; ///< bytes
    FileTime mtime;

    bool operator==(const FileVersion &) const = default;
};

enum class Verdict {
    UpToDate,
    KeepNewer, ///< the backup is newer and stays, whatever the sizes
    Copy
};

/// An original that was changed moments ago and may go on being changed.
struct HotOriginal {
    /// A change that comes later than this shows in the date.
    FileTime coolAt;
    /// Its file system may give the next change the very same date, so that an unchanged date means nothing yet.
    bool mayHideAChange = false;
};

/// Whether an original with the date `mtime` could be changed right after `now` (the moment when reading it begins) so
/// that a later comparison by `rules` would not notice; none when every change would show. A date in the future doesn't
/// count: when that file was changed is not known.
std::optional<HotOriginal> hotness(FileTime mtime, FileTime now, const SyncRules &rules);

/// What a one-way backup does with a file that stands on both sides.
Verdict decide(const FileVersion &original, const FileVersion &backup, const SyncRules &rules);
