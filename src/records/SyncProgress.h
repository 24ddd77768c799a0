#pragma once

#include <QString>

#include <cstdint>

/// The live state of a running sync. Not stored in any file.
struct SyncProgress {
    /// `scanning` compares the trees; `copying` carries the plan out.
    enum class Stage { scanning, copying };

    Stage stage = Stage::scanning;
    QString pairName = {};       ///< The pair being scanned or copied.
    std::int64_t scanned = 0;    ///< Files examined so far in this run.
    std::int64_t filesDone = 0;  ///< Planned copies finished so far, successful or not.
    std::int64_t filesBegun = 0; ///< Planned copies begun so far; they are finished many at a time.
    std::int64_t filesTotal = 0; ///< Planned copies of the whole run; known when copying starts.
    std::int64_t bytesDone = 0;
    std::int64_t bytesTotal = 0; ///< Planned bytes of the whole run; known when copying starts.
    QString currentFile = {};    ///< Relative path of the file being copied; empty when none.

    bool operator==(const SyncProgress &) const = default;
};
