#pragma once

#include <QString>

#include <optional>
#include <string>
#include <string_view>

/// What OneDrive can store under which name. Pure functions. Names as text, or as the bytes that the disk
/// has; bytes that are not UTF-8 can't be stored.
namespace OneDriveNames {

/// The characters that OneDrive does not accept in a name.
inline constexpr std::string_view invalid = "\"*:<>?\\|";

/// The file extensions that OneDrive refuses, in lower case and without the dot.
inline constexpr std::string_view refusedExtensions[] = {"bat", "jar", "pid"};

/// The name as OneDrive could store it: "_" for every user-perceived character that holds an invalid or a
/// control character, nothing blank at the end, never empty. A name is acceptable exactly when this is the
/// name itself.
QString safe(const QString &name);

/// The same for the bytes of a name, with "_" for each byte that is not part of valid UTF-8.
QString safe(std::string_view name);

/// Whether safe() would leave the name as it is.
bool isAcceptable(std::string_view name);

/// Whether OneDrive clients are known to refuse the name although safe() leaves it as it is: a blank in front, a dot at
/// the end, the device names of another system, "_vti_".
bool isRefusedByClients(std::string_view name);

/// Paths below the OneDrive folder that are longer (in UTF-16 units) are refused by clients.
inline constexpr qsizetype longestPath = 400;

/// Why a folder can't be made for a backup: a name on its path (below the OneDrive folder) can't be stored. None when
/// all can.
std::optional<QString> folderRefusal(const QString &relPath);

/// The name with control characters and trailing blanks made visible.
QString visible(const QString &name);

/// A dot and the extension in lower case when a file of this name is of a refused type; none otherwise.
std::optional<QString> refusedType(std::string_view fileName);

/// The one form in which names are matched: NFC, then full lower case without locale.
QString folded(const QString &name);

/// The same for bytes; a name that is not UTF-8 matches itself alone. The result stands in `name` itself or
/// in `scratch`, and lasts as long as either is left alone.
std::string_view folded(std::string_view name, std::string &scratch);

/// Whether two names are the same text, however their accents are composed.
bool isSameText(std::string_view a, std::string_view b);

} // namespace OneDriveNames
