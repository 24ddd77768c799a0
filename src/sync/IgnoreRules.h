#pragma once

#include <string_view>

/// Which items take no part in a backup, judged by their names alone.
namespace IgnoreRules {

/// Housekeeping names that are never backed up, in lower case.
inline constexpr std::string_view names[] = {"thumbs.db", "desktop.ini", "$recycle.bin", "system volume information",
                                             "icon\r"};

enum class Verdict {
    Keep,
    Skip,
    StaleTemporary ///< a temporary file of this program: no entry, but remembered
};

/// The first rule that applies decides.
Verdict judge(std::string_view name);

} // namespace IgnoreRules
