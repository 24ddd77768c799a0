#pragma once

#include "base/FileTime.h"

#include <cstdint>
#include <optional>

#include <sys/types.h>

enum class FileKind { Regular, Folder, Link, Other };

/// What a look at one item tells. The item itself is meant, never what a link leads to.
struct FileFacts {
    FileKind kind = FileKind::Other;
    std::int64_t size = 0; ///< bytes; 0 when the system gives none
    FileTime mtime = FileTime::distantPast();
    std::uint64_t mountId = 0; ///< id of the mount that holds the item, as in the mount table
    std::uint64_t inode = 0;
    std::uint32_t mode = 0; ///< permission bits with setuid, setgid and sticky
    dev_t device = 0;

    bool operator==(const FileFacts &) const = default;
};

enum class LinkAtEnd { IsMeant, IsFollowed };

/// Looks at `name` in the open folder `folder` (or at AT_FDCWD). None on failure, with errno set; ENOENT when nothing
/// is there.
std::optional<FileFacts> lookAt(int folder, const char *name, LinkAtEnd link = LinkAtEnd::IsMeant);

/// Looks at `name` itself and has the file system answer, not what the kernel remembers: a FUSE file system may change
/// a file in a rename without telling.
std::optional<FileFacts> lookAtAnew(int folder, const char *name);

/// Looks at an open file or folder. None on failure, with errno set.
std::optional<FileFacts> lookAtOpen(int descriptor);
