#include "json/JsonDocument.h"

#include "base/Text.h"
#include "json/HexDigit.h"
#include "json/JsonError.h"

#include <array>
#include <limits>
#include <string>

namespace {

using Kind = JsonDocument::Kind;
using Node = JsonDocument::Node;

bool isDigit(char c) {
    return c >= '0' && c <= '9';
}

/// The bytes of a text that stand for themselves and need no further look.
constexpr std::array<bool, 256> plainTable = [] {
    std::array<bool, 256> table{};
    for (std::size_t byte = 0x20; byte < 0x80; ++byte)
        table[byte] = byte != '"' && byte != '\\';
    return table;
}();

/// Checks the whole text once and notes where each value stands.
class Parser {
  public:
    Parser(std::string_view text, std::vector<Node> &list) : in(text), nodes(list) {}

    void parse() {
        if (in.starts_with("\xEF\xBB\xBF"))
            at = 3;
        skipBlanks();
        value();
        while (!open.empty())
            continueInside(open.back());
        skipBlanks();
        if (at != in.size())
            fail("something follows the document");
    }

  private:
    [[noreturn]] void fail(const char *why) const {
        throw JsonError("not JSON at byte " + std::to_string(at) + ": " + why);
    }

    char peek() const { return at < in.size() ? in[at] : '\0'; }

    void skipBlanks() {
        while (at < in.size() && (in[at] == ' ' || in[at] == '\n' || in[at] == '\r' || in[at] == '\t'))
            ++at;
    }

    void expect(char c, const char *why) {
        if (peek() != c)
            fail(why);
        ++at;
        skipBlanks();
    }

    /// The next member or element of the list or object `container`, or its end.
    void continueInside(std::uint32_t container) {
        const bool isObject = nodes[container].kind == Kind::Object;
        skipBlanks();
        if (peek() == (isObject ? '}' : ']')) {
            ++at;
            nodes[container].next = static_cast<std::uint32_t>(nodes.size());
            open.pop_back();
            return;
        }
        if (nodes.size() > container + 1)
            expect(',', "expected a comma or the end of a list or an object");
        if (isObject) {
            if (peek() != '"')
                fail("expected a key");
            text();
            skipBlanks();
            expect(':', "expected a colon");
        }
        value();
    }

    void value() {
        switch (peek()) {
        case '{':
            return begin(Kind::Object);
        case '[':
            return begin(Kind::List);
        case '"':
            return text();
        case 't':
            return literal("true", Kind::True);
        case 'f':
            return literal("false", Kind::False);
        case 'n':
            return literal("null", Kind::Null);
        default:
            return number();
        }
    }

    void begin(Kind kind) {
        open.push_back(static_cast<std::uint32_t>(nodes.size()));
        add(kind, at++, false);
    }

    /// Notes the value from `from` to here.
    void add(Kind kind, std::size_t from, bool isEscaped) {
        nodes.push_back({.begin = static_cast<std::uint32_t>(from),
                         .size = static_cast<std::uint32_t>(at - from),
                         .next = static_cast<std::uint32_t>(nodes.size() + 1),
                         .kind = kind,
                         .isEscaped = isEscaped});
    }

    void literal(std::string_view word, Kind kind) {
        if (!in.substr(at).starts_with(word))
            fail("expected a value");
        const std::size_t from = at;
        at += word.size();
        add(kind, from, false);
    }

    void digits() {
        if (!isDigit(peek()))
            fail("expected a digit");
        while (isDigit(peek()))
            ++at;
    }

    void number() {
        const std::size_t from = at;
        if (peek() == '-')
            ++at;
        else if (!isDigit(peek()))
            fail("expected a value");
        if (peek() == '0')
            ++at;
        else
            digits();
        if (peek() == '.') {
            ++at;
            digits();
        }
        if (peek() == 'e' || peek() == 'E') {
            ++at;
            if (peek() == '+' || peek() == '-')
                ++at;
            digits();
        }
        add(Kind::Number, from, false);
    }

    void text() {
        const std::size_t from = ++at;
        bool isEscaped = false;
        bool isAscii = true;
        for (;;) {
            while (at < in.size() && plainTable[static_cast<unsigned char>(in[at])])
                ++at;
            if (peek() == '"')
                break;
            if (peek() == '\\') {
                isEscaped = true;
                escape();
            } else if (static_cast<unsigned char>(peek()) >= 0x80) {
                isAscii = false;
                ++at;
            } else {
                fail(at == in.size() ? "a text without an end" : "a control character in a text");
            }
        }
        if (!isAscii && !Text::isUtf8(in.substr(from, at - from)))
            fail("a text that is not UTF-8");
        add(Kind::Text, from, isEscaped);
        ++at;
    }

    void escape() {
        ++at;
        if (peek() != 'u') {
            if (std::string_view("\"\\/bfnrt").find(peek()) == std::string_view::npos)
                fail("an unknown escape");
            ++at;
            return;
        }
        const int first = escapedUnit();
        if (QChar::isLowSurrogate(static_cast<char32_t>(first)))
            fail("half a pair of surrogates");
        if (!QChar::isHighSurrogate(static_cast<char32_t>(first)))
            return;
        if (!in.substr(at).starts_with("\\u"))
            fail("half a pair of surrogates");
        ++at;
        if (!QChar::isLowSurrogate(static_cast<char32_t>(escapedUnit())))
            fail("half a pair of surrogates");
    }

    /// Steps over "uXXXX" and gives the number it writes.
    int escapedUnit() {
        int unit = 0;
        ++at;
        for (int i = 0; i < 4; ++i, ++at) {
            const int digit = hexDigit(static_cast<unsigned char>(peek()));
            if (digit < 0)
                fail("expected a hexadecimal digit");
            unit = unit * 16 + digit;
        }
        return unit;
    }

    std::string_view in;
    std::size_t at = 0;
    std::vector<Node> &nodes;
    std::vector<std::uint32_t> open;
};

char16_t unescaped(char16_t letter) {
    switch (letter) {
    case u'b':
        return u'\b';
    case u'f':
        return u'\f';
    case u'n':
        return u'\n';
    case u'r':
        return u'\r';
    case u't':
        return u'\t';
    default:
        return letter;
    }
}

} // namespace

JsonDocument::JsonDocument(const QByteArray &document) : bytes(document) {
    if (bytes.size() > std::numeric_limits<std::uint32_t>::max())
        throw JsonError("not readable: larger than 4 GiB");
    // About what the program's own files need, so that the list needn't grow by copying.
    constexpr qsizetype bytesPerNode = 24;
    nodes.reserve(static_cast<std::size_t>(bytes.size() / bytesPerNode + 1));
    Parser({bytes.constData(), static_cast<std::size_t>(bytes.size())}, nodes).parse();
}

QString JsonDocument::text(const Node &node) const {
    QString text = Text::fromBytes(raw(node));
    if (!node.isEscaped)
        return text;
    // The escapes have been checked when the document was parsed, and none is shorter than what it stands
    // for.
    char16_t *to = reinterpret_cast<char16_t *>(text.data());
    const char16_t *const start = to;
    const char16_t *const end = start + text.size();
    for (const char16_t *from = start; from != end; ++from) {
        if (*from != u'\\') {
            *to++ = *from;
        } else if (*++from != u'u') {
            *to++ = unescaped(*from);
        } else {
            int unit = 0;
            for (int i = 0; i < 4; ++i)
                unit = unit * 16 + hexDigit(*++from);
            *to++ = static_cast<char16_t>(unit);
        }
    }
    text.truncate(to - start);
    return text;
}

bool JsonDocument::reads(const Node &node, std::string_view key) const {
    if (!node.isEscaped)
        return raw(node) == key;
    return text(node) == QLatin1StringView(key.data(), static_cast<qsizetype>(key.size()));
}
