#pragma once

#include <QDateTime>
#include <QString>

#include <cstdint>

/// The one way values are put into words.
namespace Fmt {

/// A size as a file manager shows it, in multiples of 1000: "Zero KB", "1 byte", "999 bytes", "12 KB", "3.4 MB",
/// "1.25 GB". Whole numbers up to KB, one decimal for MB, two from GB on; trailing zeros are left out.
QString byteCount(std::int64_t bytes);

/// A moment in local time: "Today at 14:02", "Yesterday at 14:02", else the date and the time, as the user's locale
/// writes them. `now` is what counts as today.
QString when(const QDateTime &moment, const QDateTime &now = QDateTime::currentDateTime());

/// A span of time in at most two units: "1s", "59s", "3m 12s", "1h 2m". Less than a second counts as one.
QString duration(double seconds);

/// A whole number with the grouping separators of the user's locale.
QString grouped(std::int64_t number);

/// `count` in decimal, a blank and `noun`, with an "s" unless the count is exactly 1.
QString counted(std::int64_t count, const QString &noun);

/// The system's words for an error number, such as "Permission denied".
QString systemError(int errorNumber);

} // namespace Fmt
