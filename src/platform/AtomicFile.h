#pragma once

#include "platform/FileFacts.h"
#include "platform/NameAt.h"

#include <cstddef>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>

/// The program's own files, replaced as a whole. Everything blocks.
namespace AtomicFile {

/// Who may read a file that is new.
enum class ReadableBy { TheUser, Everyone };

/// Replaces the file `at` by one that holds `bytes`: written beside it as ".NAME.tmp", brought onto the disk, then
/// renamed over it, so that at every moment, also in a power cut, either the old or the new file stands there whole.
/// A file that is replaced leaves its permissions to the new one. Never writes through a link. Fails with
/// std::system_error; then the old file is untouched and nothing is left beside it. Only one writer at a time.
void write(NameAt at, std::string_view bytes, ReadableBy readers);

/// Makes a folder for files that are the user's alone, with any missing parents; what is there stays as it is. A
/// failure is for whoever uses the folder to meet.
void makePrivateFolder(const std::filesystem::path &folder);

/// The bytes of a regular file, without ever waiting for what is none. None, with errno, when there is no such file
/// (ENOENT), it can't be read, or it is larger than `limit` bytes.
std::optional<std::string> read(NameAt at, std::size_t limit, LinkAtEnd link);

} // namespace AtomicFile
