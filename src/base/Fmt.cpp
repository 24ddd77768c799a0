#include "base/Fmt.h"

#include "base/Text.h"

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

QString counted(std::int64_t count, const QString &noun) {
    return QString::number(count) + u' ' + noun + (count == 1 ? QString() : QStringLiteral("s"));
}

QString systemError(int errorNumber) {
    return Text::fromBytes(std::error_code(errorNumber, std::generic_category()).message());
}

} // namespace Fmt
