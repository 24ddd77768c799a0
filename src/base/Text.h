#pragma once

#include <QString>

#include <filesystem>
#include <string>
#include <string_view>

/// Names and paths are bytes on the disk and QString where they are shown or matched. These functions are the only
/// bridge between the two.
namespace Text {

/// The bytes as text. A byte that is not part of valid UTF-8 is shown as U+FFFD, so such a name can be shown but not
/// turned back.
QString fromBytes(std::string_view bytes);

/// The path as text, as fromBytes() does.
QString fromPath(const std::filesystem::path &path);

/// The text as UTF-8 bytes.
std::string toBytes(const QString &text);

/// The text as a path of UTF-8 bytes.
std::filesystem::path toPath(const QString &text);

/// Whether every byte is below 0x80.
bool isAscii(std::string_view bytes);

/// Whether the bytes are well-formed UTF-8.
bool isUtf8(std::string_view bytes);

/// Upper-case ASCII letters made lower; every other byte as it is.
std::string asciiLower(std::string_view bytes);
inline char asciiLower(char c) {
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c + ('a' - 'A')) : c;
}

} // namespace Text
