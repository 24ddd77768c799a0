#pragma once

#include <QString>

#include <cstdint>

/// The one way values are put into words.
namespace Fmt {

/// A size as a file manager shows it, in multiples of 1000: "Zero KB", "1 byte", "999 bytes", "12 KB", "3.4 MB",
/// "1.25 GB". Whole numbers up to KB, one decimal for MB, two from GB on; trailing zeros are left out.
QString byteCount(std::int64_t bytes);

/// `count` in decimal, a blank and `noun`, with an "s" unless the count is exactly 1.
QString counted(std::int64_t count, const QString &noun);

/// The system's words for an error number, such as "Permission denied".
QString systemError(int errorNumber);

} // namespace Fmt
