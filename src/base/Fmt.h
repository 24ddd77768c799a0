#pragma once

#include <QDateTime>
#include <QLocale>
#include <QString>

#include <cstdint>

/// The one way values are put into words.
namespace Fmt {

/// A size as a file manager shows it, in multiples of 1000: "Zero KB", "1 byte", "999 bytes", "12 KB", "3.4 MB",
/// "1.25 GB". Whole numbers up to KB, one decimal for MB, two from GB on; trailing zeros are left out.
QString byteCount(std::int64_t bytes);

/// A moment in local time, in English: "Today at 14:02", "Yesterday at 14:02", else "19 Oct 2025 at 13:04". The order
/// of the date and the clock of 12 or 24 hours are those of the region. `now` is what counts as today.
QString when(const QDateTime &moment, const QDateTime &now = QDateTime::currentDateTime(),
             const QLocale &region = QLocale::system());

/// A span of time in at most two units: "1s", "59s", "3m 12s", "1h 2m". Less than a second counts as one.
QString duration(double seconds);

/// A whole number in ASCII digits, with the region's grouping separators where they go with such digits.
QString grouped(std::int64_t number, const QLocale &region = QLocale::system());

/// `count` in decimal, a blank and `noun`, with an "s" unless the count is exactly 1.
QString counted(std::int64_t count, const QString &noun);

/// The system's words for an error number, such as "Permission denied".
QString systemError(int errorNumber);

} // namespace Fmt
