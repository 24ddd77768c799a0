#include "base/Text.h"

#include <QStringDecoder>

#include <algorithm>
#include <cstdint>
#include <cstring>

namespace Text {

QString fromBytes(std::string_view bytes) {
    // QString takes a leading U+FEFF for a byte-order mark and drops it, but in a name it is a character like
    // any other.
    if (bytes.starts_with("\xEF\xBB\xBF"))
        return QStringDecoder(QStringDecoder::Utf8,
                              QStringDecoder::Flag::Stateless | QStringDecoder::Flag::ConvertInitialBom)(
            QByteArrayView(bytes.data(), static_cast<qsizetype>(bytes.size())));
    return QString::fromUtf8(bytes.data(), static_cast<qsizetype>(bytes.size()));
}

QString fromPath(const std::filesystem::path &path) {
    return fromBytes(path.native());
}

std::string toBytes(const QString &text) {
    return text.toStdString();
}

std::filesystem::path toPath(const QString &text) {
    return std::filesystem::path(toBytes(text));
}

bool isAscii(std::string_view bytes) {
    constexpr std::uint64_t highBits = 0x8080808080808080u;
    std::size_t i = 0;
    for (; i + sizeof(std::uint64_t) <= bytes.size(); i += sizeof(std::uint64_t)) {
        std::uint64_t word;
        std::memcpy(&word, bytes.data() + i, sizeof word);
        if (word & highBits)
            return false;
    }
    return std::all_of(bytes.begin() + static_cast<std::ptrdiff_t>(i), bytes.end(),
                       [](char c) { return static_cast<unsigned char>(c) < 0x80; });
}

bool isUtf8(std::string_view bytes) {
    if (isAscii(bytes))
        return true;
    QStringDecoder decoder(QStringDecoder::Utf8, QStringDecoder::Flag::Stateless);
    const QString decoded = decoder(QByteArrayView(bytes.data(), static_cast<qsizetype>(bytes.size())));
    return !decoded.isNull() && !decoder.hasError();
}

std::string asciiLower(std::string_view bytes) {
    std::string lower(bytes);
    for (char &c : lower)
        c = asciiLower(c);
    return lower;
}

} // namespace Text
