#include "sync/OneDriveNames.h"

#include "base/Text.h"

#include <QStringList>
#include <QTextBoundaryFinder>

#include <algorithm>
#include <array>

namespace OneDriveNames {

namespace {

constexpr bool isControl(char32_t c) {
    return c < 0x20 || c == 0x7F;
}

constexpr bool isInvalid(char c) {
    return invalid.find(c) != std::string_view::npos;
}

bool isReplaced(QStringView character) {
    return std::any_of(character.begin(), character.end(), [](QChar c) {
        return isControl(c.unicode()) || (c.unicode() < 0x80 && isInvalid(static_cast<char>(c.unicode())));
    });
}

/// The length of the valid UTF-8 sequence at the front; 0 when the first byte is not part of one.
std::size_t validSequence(std::string_view bytes) {
    for (std::size_t length = 1; length <= std::min<std::size_t>(4, bytes.size()); ++length) {
        if (Text::isUtf8(bytes.substr(0, length)))
            return length;
    }
    return 0;
}

/// One entry per byte: may it stand in a name that OneDrive stores?
constexpr std::array<bool, 256> acceptableBytes = [] {
    std::array<bool, 256> table = {};
    for (std::size_t byte = 0; byte < table.size(); ++byte)
        table[byte] = byte >= 0x80 || (!isControl(static_cast<char32_t>(byte)) && !isInvalid(static_cast<char>(byte)));
    return table;
}();

} // namespace

QString safe(const QString &name) {
    QString result;
    QTextBoundaryFinder characters(QTextBoundaryFinder::Grapheme, name);
    qsizetype begin = 0;
    for (qsizetype end; (end = characters.toNextBoundary()) != -1; begin = end) {
        const QStringView character = QStringView(name).mid(begin, end - begin);
        if (isReplaced(character))
            result += u'_';
        else
            result += character;
    }
    while (result.endsWith(u' ') || result.endsWith(u'\t'))
        result.chop(1);
    return result.isEmpty() ? QStringLiteral("_") : result;
}

QString safe(std::string_view name) {
    std::string valid;
    while (!name.empty()) {
        const std::size_t length = validSequence(name);
        if (length == 0)
            valid += '_';
        else
            valid += name.substr(0, length);
        name.remove_prefix(std::max<std::size_t>(length, 1));
    }
    return safe(Text::fromBytes(valid));
}

bool isAcceptable(std::string_view name) {
    // In UTF-8 no byte of a longer sequence looks like an ASCII character, so each byte can be judged alone.
    return !name.empty() && name.back() != ' ' && std::all_of(name.begin(), name.end(), [](char c) {
        return acceptableBytes[static_cast<unsigned char>(c)];
    }) && Text::isUtf8(name);
}

bool isRefusedByClients(std::string_view name) {
    if (name.starts_with(' ') || name.ends_with('.'))
        return true;
    const std::string_view stem = name.substr(0, name.find('.'));
    if (stem.size() == 3 || stem.size() == 4) {
        static constexpr std::array<std::string_view, 4> devices = {"con", "prn", "aux", "nul"};
        static constexpr std::array<std::string_view, 2> ports = {"com", "lpt"};
        const std::string lower = Text::asciiLower(stem);
        const bool isNumbered = stem.size() == 4 && stem[3] >= '0' && stem[3] <= '9';
        const auto begins = [&](std::string_view word) { return lower.starts_with(word); };
        if (isNumbered ? std::any_of(ports.begin(), ports.end(), begins)
                       : std::find(devices.begin(), devices.end(), lower) != devices.end())
            return true;
    }
    return name.find('_') != std::string_view::npos && Text::asciiLower(name).find("_vti_") != std::string::npos;
}

std::optional<QString> folderRefusal(const QString &relPath) {
    for (const QString &name : relPath.split(u'/', Qt::SkipEmptyParts)) {
        if (safe(name) != name)
            return QStringLiteral("OneDrive can't store that folder name (it can't hold \" * : < > ? \\ | or end with "
                                  "a space). Choose another name.");
    }
    return std::nullopt;
}

QString visible(const QString &name) {
    QString result = name;
    for (QChar &c : result) {
        if (c.unicode() < 0x20)
            c = QChar(c.unicode() + 0x2400);
    }
    qsizetype end = result.size();
    while (end > 0 && result.at(end - 1) == u' ')
        --end;
    if (end < result.size())
        result.replace(end, result.size() - end, QChar(0x2423));
    return result;
}

std::optional<QString> refusedType(std::string_view fileName) {
    const std::size_t dot = fileName.rfind('.');
    if (dot == std::string_view::npos)
        return std::nullopt;
    const std::string extension = Text::asciiLower(fileName.substr(dot + 1));
    if (std::find(std::begin(refusedExtensions), std::end(refusedExtensions), extension) == std::end(refusedExtensions))
        return std::nullopt;
    return u'.' + Text::fromBytes(extension);
}

QString folded(const QString &name) {
    return name.normalized(QString::NormalizationForm_C).toLower();
}

std::string_view folded(std::string_view name, std::string &scratch) {
    if (!Text::isAscii(name)) {
        // As text all bad bytes look alike, and like U+FFFD.
        if (!Text::isUtf8(name))
            return name;
        scratch = Text::toBytes(folded(Text::fromBytes(name)));
        return scratch;
    }
    if (std::none_of(name.begin(), name.end(), [](char c) { return c >= 'A' && c <= 'Z'; }))
        return name;
    scratch.assign(name);
    for (char &c : scratch)
        c = Text::asciiLower(c);
    return scratch;
}

bool isSameText(std::string_view a, std::string_view b) {
    if (a == b)
        return true;
    // One side may be ASCII: the Kelvin sign, say, is canonically a K.
    if (Text::isAscii(a) && Text::isAscii(b))
        return false;
    return Text::fromBytes(a).normalized(QString::NormalizationForm_C) ==
           Text::fromBytes(b).normalized(QString::NormalizationForm_C);
}

} // namespace OneDriveNames
