#pragma once

#include "base/FileTime.h"

#include <cstdint>

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

/// What a one-way backup does with a file that stands on both sides.
Verdict decide(const FileVersion &original, const FileVersion &backup, const SyncRules &rules);
