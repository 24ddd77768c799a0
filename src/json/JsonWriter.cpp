#include "json/JsonWriter.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <chrono>
#include <cmath>
#include <stdexcept>

namespace {

constexpr char lowerHex[] = "0123456789abcdef";
constexpr char upperHex[] = "0123456789ABCDEF";
constexpr qsizetype longestUnit = 6; // "\u001f"

/// The letter that follows the backslash in the short escape of `unit`, or 0 when it has none.
constexpr char shortEscape(char16_t unit) {
    switch (unit) {
    case u'"':
    case u'\\':
    case u'/':
        return static_cast<char>(unit);
    case u'\b':
        return 'b';
    case u'\f':
        return 'f';
    case u'\n':
        return 'n';
    case u'\r':
        return 'r';
    case u'\t':
        return 't';
    default:
        return 0;
    }
}

constexpr bool isPlain(char16_t unit) {
    return unit >= 0x20 && unit < 0x7f && shortEscape(unit) == 0;
}

constexpr std::array<bool, 128> plainTable = [] {
    std::array<bool, 128> table{};
    for (char16_t unit = 0; unit < table.size(); ++unit)
        table[unit] = isPlain(unit);
    return table;
}();

char *escaped(char *to, char16_t unit) {
    *to++ = '\\';
    if (const char letter = shortEscape(unit)) {
        *to++ = letter;
        return to;
    }
    *to++ = 'u';
    for (int shift = 12; shift >= 0; shift -= 4)
        *to++ = lowerHex[(unit >> shift) & 0xf];
    return to;
}

char *utf8(char *to, char32_t point) {
    const auto tail = [point](int shift) { return static_cast<char>(0x80 | ((point >> shift) & 0x3f)); };
    if (point < 0x800) {
        *to++ = static_cast<char>(0xc0 | (point >> 6));
    } else if (point < 0x10000) {
        *to++ = static_cast<char>(0xe0 | (point >> 12));
        *to++ = tail(6);
    } else {
        *to++ = static_cast<char>(0xf0 | (point >> 18));
        *to++ = tail(12);
        *to++ = tail(6);
    }
    *to++ = tail(0);
    return to;
}

/// Writes one character that is not ASCII and steps over it. Half a surrogate pair becomes U+FFFD.
char *nonAscii(char *to, QStringView text, qsizetype &at) {
    const QChar unit = text[at++];
    if (!unit.isSurrogate())
        return utf8(to, unit.unicode());
    if (unit.isLowSurrogate() || at == text.size() || !text[at].isLowSurrogate())
        return utf8(to, QChar::ReplacementCharacter);
    return utf8(to, QChar::surrogateToUcs4(unit, text[at++]));
}

char *quoted(char *to, QStringView text) {
    *to++ = '"';
    qsizetype at = 0;
    // A reader may take a leading U+FEFF for a byte-order mark and drop it, unless it is escaped.
    if (text.startsWith(QChar(QChar::ByteOrderMark))) {
        to = escaped(to, QChar::ByteOrderMark);
        ++at;
    }
    while (at < text.size()) {
        const char16_t unit = text[at].unicode();
        if (unit >= plainTable.size()) {
            to = nonAscii(to, text, at);
            continue;
        }
        if (plainTable[unit])
            *to++ = static_cast<char>(unit);
        else
            to = escaped(to, unit);
        ++at;
    }
    *to++ = '"';
    return to;
}

char *decimal(char *to, unsigned number, int width) {
    for (int i = width - 1; i >= 0; --i, number /= 10)
        to[i] = static_cast<char>('0' + number % 10);
    return to + width;
}

std::chrono::sys_seconds wholeSecond(const QDateTime &moment) {
    using namespace std::chrono;
    constexpr sys_seconds first = sys_days(January / 1 / year(1));
    constexpr sys_seconds last = sys_days(January / 1 / year(10000)) - seconds(1);
    const sys_time<milliseconds> exact(milliseconds(moment.isValid() ? moment.toMSecsSinceEpoch() : 0));
    return std::clamp(floor<seconds>(exact), first, last);
}

} // namespace

void JsonWriter::key(std::string_view memberKey) {
    if (levels.empty() || !levels.back().isObject || levels.back().keyIsWritten)
        throw std::logic_error("JsonWriter: the key " + std::string(memberKey) + " has no object to be in");
    Level &object = levels.back();
    if (!object.isEmpty && memberKey <= object.lastKey)
        throw std::logic_error("JsonWriter: the key " + std::string(memberKey) + " does not come after " +
                               std::string(object.lastKey));
    if (!object.isEmpty)
        append(",");
    newLine();
    append("\"");
    append(memberKey);
    append("\" : ");
    object.lastKey = memberKey;
    object.isEmpty = false;
    object.keyIsWritten = true;
}

void JsonWriter::value(double number) {
    if (!std::isfinite(number))
        return raw("null");
    std::array<char, 32> digits;
    const auto end = std::to_chars(digits.data(), digits.data() + digits.size(), number).ptr;
    raw({digits.data(), static_cast<std::size_t>(end - digits.data())});
}

void JsonWriter::value(const QString &text) {
    beforeValue();
    const qsizetype before = out.size();
    out.resize(before + text.size() * longestUnit + 2);
    char *const start = out.data();
    out.resize(quoted(start + before, text) - start);
}

void JsonWriter::value(const QUuid &identity) {
    std::array<char, 38> bytes;
    char *to = bytes.data();
    const auto hex = [&to](quint64 number, int digits) {
        for (int shift = (digits - 1) * 4; shift >= 0; shift -= 4)
            *to++ = upperHex[(number >> shift) & 0xf];
    };
    *to++ = '"';
    hex(identity.data1, 8);
    *to++ = '-';
    hex(identity.data2, 4);
    *to++ = '-';
    hex(identity.data3, 4);
    *to++ = '-';
    for (int i = 0; i < 8; ++i) {
        hex(identity.data4[i], 2);
        if (i == 1)
            *to++ = '-';
    }
    *to++ = '"';
    raw({bytes.data(), bytes.size()});
}

void JsonWriter::value(const QDateTime &moment) {
    using namespace std::chrono;
    const sys_seconds second = wholeSecond(moment);
    const sys_days day = floor<days>(second);
    const year_month_day date(day);
    const hh_mm_ss time(second - day);
    std::array<char, 22> bytes;
    char *to = bytes.data();
    *to++ = '"';
    to = decimal(to, static_cast<unsigned>(static_cast<int>(date.year())), 4);
    *to++ = '-';
    to = decimal(to, static_cast<unsigned>(date.month()), 2);
    *to++ = '-';
    to = decimal(to, static_cast<unsigned>(date.day()), 2);
    *to++ = 'T';
    to = decimal(to, static_cast<unsigned>(time.hours().count()), 2);
    *to++ = ':';
    to = decimal(to, static_cast<unsigned>(time.minutes().count()), 2);
    *to++ = ':';
    to = decimal(to, static_cast<unsigned>(time.seconds().count()), 2);
    *to++ = 'Z';
    *to++ = '"';
    raw({bytes.data(), bytes.size()});
}

void JsonWriter::begin(char bracket) {
    beforeValue();
    append({&bracket, 1});
    levels.push_back({.isObject = bracket == '{'});
}

void JsonWriter::end(char bracket) {
    if (levels.empty() || levels.back().isObject != (bracket == '}') || levels.back().keyIsWritten)
        throw std::logic_error("JsonWriter: nothing that could end here");
    const bool wasEmpty = levels.back().isEmpty;
    levels.pop_back();
    if (!wasEmpty)
        newLine();
    append({&bracket, 1});
}

/// What comes between the value before and the one that begins here.
void JsonWriter::beforeValue() {
    if (levels.empty()) {
        if (!out.isEmpty())
            throw std::logic_error("JsonWriter: a document has one value");
        return;
    }
    Level &level = levels.back();
    if (level.isObject) {
        if (!level.keyIsWritten)
            throw std::logic_error("JsonWriter: a value in an object needs a key");
        level.keyIsWritten = false;
        return;
    }
    if (!level.isEmpty)
        append(",");
    newLine();
    level.isEmpty = false;
}

void JsonWriter::newLine() {
    out.append('\n');
    out.append(static_cast<qsizetype>(levels.size() * 2), ' ');
}

void JsonWriter::raw(std::string_view bytes) {
    beforeValue();
    append(bytes);
}

void JsonWriter::integer(std::int64_t number) {
    std::array<char, 20> digits;
    const auto end = std::to_chars(digits.data(), digits.data() + digits.size(), number).ptr;
    raw({digits.data(), static_cast<std::size_t>(end - digits.data())});
}
