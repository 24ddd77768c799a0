#include "json/JsonReader.h"

#include "json/HexDigit.h"
#include "json/JsonError.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <chrono>

namespace {

bool isDigit(QChar c) {
    return c >= u'0' && c <= u'9';
}

/// The number that the `count` characters from `from` on write in decimal; none when one of them is no digit.
std::optional<int> digits(QStringView text, qsizetype from, qsizetype count) {
    int number = 0;
    for (const QChar c : text.sliced(from, count)) {
        if (!isDigit(c))
            return std::nullopt;
        number = number * 10 + (c.unicode() - u'0');
    }
    return number;
}

/// Whether `text` has the form of `pattern`, in which "0" stands for any digit and everything else for
/// itself.
bool hasForm(QStringView text, QLatin1StringView pattern) {
    return text.size() == pattern.size() &&
           std::equal(text.begin(), text.end(), pattern.begin(),
                      [](QChar c, char form) { return form == '0' ? isDigit(c) : c == QLatin1Char(form); });
}

/// The offset from UTC in seconds that "Z", "+hh:mm" or "-hh:mm" writes.
std::optional<int> utcOffset(QStringView zone) {
    if (zone == u"Z")
        return 0;
    if (!hasForm(zone, QLatin1StringView("+00:00")) && !hasForm(zone, QLatin1StringView("-00:00")))
        return std::nullopt;
    const int hours = *digits(zone, 1, 2);
    const int minutes = *digits(zone, 4, 2);
    if (hours > 23 || minutes > 59)
        return std::nullopt;
    const int seconds = (hours * 60 + minutes) * 60;
    return zone.front() == u'-' ? -seconds : seconds;
}

bool isWritable(std::chrono::sys_seconds moment) {
    using namespace std::chrono;
    return moment >= sys_days(January / 1 / year(1)) && moment < sys_days(January / 1 / year(10000));
}

std::optional<QDateTime> parseMoment(QStringView text) {
    using namespace std::chrono;
    constexpr qsizetype zoneAt = 19;
    if (text.size() <= zoneAt || !hasForm(text.first(zoneAt), QLatin1StringView("0000-00-00T00:00:00")))
        return std::nullopt;
    const std::optional<int> offset = utcOffset(text.sliced(zoneAt));
    const year_month_day date(year(*digits(text, 0, 4)), month(static_cast<unsigned>(*digits(text, 5, 2))),
                              day(static_cast<unsigned>(*digits(text, 8, 2))));
    const int hour = *digits(text, 11, 2);
    const int minute = *digits(text, 14, 2);
    const int second = *digits(text, 17, 2);
    if (!offset || !date.ok() || hour > 23 || minute > 59 || second > 59)
        return std::nullopt;
    const sys_seconds moment = sys_days(date) + hours(hour) + minutes(minute) + seconds(second - *offset);
    if (!isWritable(moment))
        return std::nullopt;
    return QDateTime::fromSecsSinceEpoch(moment.time_since_epoch().count(), Qt::UTC);
}

/// QUuid's own reader also takes braces and reports a failure as the null identifier, which is a valid text
/// of its own.
std::optional<QUuid> parseUuid(QStringView text) {
    if (text.size() != 36)
        return std::nullopt;
    std::array<char, 16> bytes{};
    std::size_t nibble = 0;
    for (qsizetype i = 0; i < text.size(); ++i) {
        if (i == 8 || i == 13 || i == 18 || i == 23) {
            if (text[i] != u'-')
                return std::nullopt;
            continue;
        }
        const int digit = hexDigit(text[i].unicode());
        if (digit < 0)
            return std::nullopt;
        char &byte = bytes[nibble / 2];
        byte = static_cast<char>((static_cast<unsigned char>(byte) << 4) | digit);
        ++nibble;
    }
    return QUuid::fromRfc4122(QByteArrayView(bytes.data(), static_cast<qsizetype>(bytes.size())));
}

std::optional<std::int64_t> parsePlainInteger(std::string_view text) {
    std::int64_t number = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    if (error != std::errc() || end != text.data() + text.size())
        return std::nullopt;
    return number;
}

/// A number with a fraction or an exponent, when it is whole and in range after all. Exact: nothing is
/// rounded.
std::optional<std::int64_t> parseScaledInteger(std::string_view text) {
    const std::size_t exponentAt = std::min(text.find_first_of("eE"), text.size());
    const std::string_view mantissa = text.substr(0, exponentAt);
    const std::size_t pointAt = std::min(mantissa.find('.'), mantissa.size());
    const std::string_view fraction = mantissa.substr(std::min(pointAt + 1, mantissa.size()));
    std::string digits = std::string(mantissa.substr(0, pointAt)).append(fraction);
    const std::size_t lastDigit = digits.find_last_not_of("-0");
    if (lastDigit == std::string::npos)
        return 0;
    int power = 0;
    if (exponentAt < text.size()) {
        std::string_view exponent = text.substr(exponentAt + 1);
        exponent.remove_prefix(exponent.starts_with('+') ? 1 : 0);
        // A power that doesn't fit can't lead to a whole number in the range.
        if (std::from_chars(exponent.data(), exponent.data() + exponent.size(), power).ec != std::errc())
            return std::nullopt;
    }
    const auto zerosCut = static_cast<std::int64_t>(digits.size() - lastDigit - 1);
    const std::int64_t scale = power - static_cast<std::int64_t>(fraction.size()) + zerosCut;
    constexpr std::int64_t mostDigits = 19;
    if (scale < 0 || scale > mostDigits)
        return std::nullopt;
    digits.resize(lastDigit + 1);
    return parsePlainInteger(digits.append(static_cast<std::size_t>(scale), '0'));
}

} // namespace

std::uint32_t JsonReader::find(std::string_view memberKey) const {
    if (!is(index, JsonDocument::Kind::Object))
        failExpecting("an object");
    std::uint32_t found = missing;
    const std::uint32_t end = document->node(index).next;
    for (std::uint32_t keyAt = index + 1; keyAt < end; keyAt = document->node(keyAt + 1).next) {
        if (document->reads(document->node(keyAt), memberKey))
            found = keyAt + 1;
    }
    return found;
}

const JsonDocument::Node &JsonReader::expectList() const {
    if (!is(index, JsonDocument::Kind::List))
        failExpecting("a list");
    return document->node(index);
}

bool JsonReader::boolean() const {
    if (!is(index, JsonDocument::Kind::True) && !is(index, JsonDocument::Kind::False))
        failExpecting("true or false");
    return is(index, JsonDocument::Kind::True);
}

std::int64_t JsonReader::integer() const {
    std::optional<std::int64_t> number;
    if (is(index, JsonDocument::Kind::Number)) {
        const std::string_view digits = document->raw(document->node(index));
        const bool isPlain = digits.find_first_of(".eE") == std::string_view::npos;
        number = isPlain ? parsePlainInteger(digits) : parseScaledInteger(digits);
    }
    if (!number)
        failExpecting("a whole number in the signed 64-bit range");
    return *number;
}

QString JsonReader::text() const {
    if (!is(index, JsonDocument::Kind::Text))
        failExpecting("a text");
    return document->text(document->node(index));
}

QUuid JsonReader::uuid() const {
    const std::optional<QUuid> parsed = is(index, JsonDocument::Kind::Text) ? parseUuid(text()) : std::nullopt;
    if (!parsed)
        failExpecting("a UUID");
    return *parsed;
}

QDateTime JsonReader::moment() const {
    const std::optional<QDateTime> parsed = is(index, JsonDocument::Kind::Text) ? parseMoment(text()) : std::nullopt;
    if (!parsed)
        failExpecting("a date such as \"2026-09-01T10:00:00Z\"");
    return *parsed;
}

std::size_t JsonReader::caseAmong(std::span<const QLatin1StringView> texts) const {
    if (is(index, JsonDocument::Kind::Text)) {
        const auto found = std::find(texts.begin(), texts.end(), text());
        if (found != texts.end())
            return static_cast<std::size_t>(found - texts.begin());
    }
    std::string choice;
    for (const QLatin1StringView name : texts)
        choice +=
            (choice.empty() ? "\"" : ", \"") + std::string(name.data(), static_cast<std::size_t>(name.size())) + '"';
    failExpecting("one of " + choice);
}

std::string JsonReader::place() const {
    if (!around)
        return {};
    const std::string before = around->place();
    if (key.empty())
        return before + '[' + std::to_string(position) + ']';
    return (before.empty() ? before : before + '.') + std::string(key);
}

void JsonReader::failExpecting(std::string_view what) const {
    const std::string where = place();
    const std::string_view prefix = index == missing ? "missing, expected " : "expected ";
    throw JsonError((where.empty() ? "the document" : where) + ": " + std::string(prefix) + std::string(what));
}
