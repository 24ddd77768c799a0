#pragma once

#include "base/FileTime.h"

#include <cstdint>
#include <functional>

#include <sys/stat.h>

/// Copying what a file consists of, between two open files. All functions fail with std::system_error carrying the
/// errno of the failing call, and block.
namespace FileData {

/// What the progress callback answers.
enum class Continue { Yes, No };

/// Told on the calling thread how many bytes of the file have been copied so far, at least every 16 MiB.
using Progress = std::function<Continue(std::int64_t copied)>;

/// Whether two open files are on one file system, as far as the caller knows.
enum class Devices { Same, Different };

/// Copies the data of `source`, whose facts are `original`, from its beginning to its end as it is now, to the empty
/// file `destination`. Shares the blocks where the file system can, lets the kernel copy otherwise, and keeps holes.
/// When `progress` answers No it fails with ECANCELED and leaves `destination` incomplete.
void copyData(int source, const struct stat &original, int destination, Devices devices, const Progress &progress);

/// The mode to create a copy with. Mostly it is the final one, which saves setting it later.
mode_t creationMode(const struct stat &original);

/// Gives `destination` the ownership of `original` where that is allowed and the user's extended attributes of `source`
/// as far as its file system takes them. Returns the mode that it is to get afterwards with setMode(); setuid and
/// setgid only together with the ownership. Access-control lists and file flags are not passed on.
mode_t copyAttributes(int source, const struct stat &original, int destination);

/// Sets both dates of an open file: always as a pair, because some file systems ignore one alone. Whether a file system
/// keeps them shows only when the file is looked at again.
void setTimes(int file, const struct timespec &accessed, FileTime modified);

/// Sets the mode as far as the file system knows modes.
void setMode(int file, mode_t mode);

} // namespace FileData
