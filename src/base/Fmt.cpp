#include "base/Fmt.h"

#include "base/Text.h"

#include <QRegularExpression>
#include <QStringList>

#include <algorithm>
#include <array>
#include <cmath>
#include <system_error>

namespace Fmt {

namespace {

struct Unit {
    const char *name;
    int decimals;
};

constexpr std::array units = {Unit{"KB", 0}, Unit{"MB", 1}, Unit{"GB", 2}, Unit{"TB", 2}, Unit{"PB", 2}, Unit{"EB", 2}};

double roundedTo(double value, int decimals) {
    const double scale = std::pow(10.0, decimals);
    return std::round(value * scale) / scale;
}

/// A date or time format without the words in it.
QString fieldsOf(QString format) {
    static const QRegularExpression quoted(QStringLiteral("'[^']*'"));
    return format.remove(quoted);
}

/// How the date is written in English for people of this region.
QString dateFormat(const QLocale &region) {
    const QString fields = fieldsOf(region.dateFormat(QLocale::ShortFormat));
    const qsizetype day = fields.indexOf(u'd'), month = fields.indexOf(u'M'), year = fields.indexOf(u'y');
    if (year < month)
        return QStringLiteral("yyyy-MM-dd"); // a name in it would be no form that anybody uses
    return month < day ? QStringLiteral("MMM d, yyyy") : QStringLiteral("d MMM yyyy");
}

QString timeFormat(const QLocale &region) {
    const bool hasHalfDays = fieldsOf(region.timeFormat(QLocale::ShortFormat)).contains(u'a', Qt::CaseInsensitive);
    return hasHalfDays ? QStringLiteral("h:mm AP") : QStringLiteral("HH:mm");
}

} // namespace

QString byteCount(std::int64_t bytes) {
    if (bytes == 0)
        return QStringLiteral("Zero KB");
    if (bytes > -1000 && bytes < 1000)
        return bytes == 1 ? QStringLiteral("1 byte") : QString::number(bytes) + QStringLiteral(" bytes");

    double value = static_cast<double>(bytes) / 1000;
    std::size_t unit = 0;
    // Rounding comes before the choice of the unit, so that 999,999 bytes read "1 MB" and never "1000 KB".
    while (unit + 1 < units.size() && std::abs(roundedTo(value, units[unit].decimals)) >= 1000) {
        value /= 1000;
        ++unit;
    }
    QString number = QString::number(value, 'f', units[unit].decimals);
    while (number.contains(u'.') && (number.endsWith(u'0') || number.endsWith(u'.')))
        number.chop(1);
    return number + u' ' + QLatin1String(units[unit].name);
}

QString when(const QDateTime &moment, const QDateTime &now, const QLocale &region) {
    const QDateTime local = moment.toLocalTime();
    const QString time = QLocale::c().toString(local.time(), timeFormat(region));
    const qint64 daysAgo = local.date().daysTo(now.toLocalTime().date());
    if (daysAgo == 0)
        return QStringLiteral("Today at ") + time;
    if (daysAgo == 1)
        return QStringLiteral("Yesterday at ") + time;
    return QLocale::c().toString(local.date(), dateFormat(region)) + QStringLiteral(" at ") + time;
}

QString duration(double seconds) {
    const double whole = std::max(1.0, std::floor(seconds));
    if (!(whole < 1e15))
        return QString::number(seconds, 'f', 0) + u's';
    const auto total = static_cast<std::int64_t>(whole);
    const auto part = [](std::int64_t count, char unit) {
        return count > 0 ? QString::number(count) + QLatin1Char(unit) : QString();
    };
    QStringList parts = total >= 3600 ? QStringList{part(total / 3600, 'h'), part(total / 60 % 60, 'm')}
                                      : QStringList{part(total / 60, 'm'), part(total % 60, 's')};
    parts.removeAll(QString());
    return parts.join(u' ');
}

QString grouped(std::int64_t number, const QLocale &region) {
    const bool hasOwnWay = region.language() != QLocale::C && region.zeroDigit() == QStringLiteral("0");
    return (hasOwnWay ? region : QLocale(QLocale::English)).toString(static_cast<qlonglong>(number));
}

QString counted(std::int64_t count, const QString &noun) {
    return QString::number(count) + u' ' + noun + (count == 1 ? QString() : QStringLiteral("s"));
}

QString systemError(int errorNumber) {
    return Text::fromBytes(std::error_code(errorNumber, std::generic_category()).message());
}

} // namespace Fmt
