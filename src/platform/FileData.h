#pragma once

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

/// Copies the data of `source`, from its beginning to its end as it is now, to the empty file `destination`. Shares the
/// blocks where the file system can, lets the kernel copy otherwise, and keeps holes. When `progress` answers No it
/// fails with ECANCELED and leaves `destination` incomplete.
void copyData(int source, int destination, const Progress &progress);

/// Gives `destination` the ownership of `original` where that is allowed, the user's extended attributes of `source`
/// as far as its file system takes them, and then the mode; setuid and setgid only together with the ownership.
/// Access-control lists and file flags are not passed on.
void copyAttributes(int source, const struct stat &original, int destination);

} // namespace FileData
