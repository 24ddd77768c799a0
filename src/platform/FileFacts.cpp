#include "platform/FileFacts.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>

namespace {

FileKind kindOf(std::uint16_t mode) {
    switch (mode & S_IFMT) {
    case S_IFREG:
        return FileKind::Regular;
    case S_IFDIR:
        return FileKind::Folder;
    case S_IFLNK:
        return FileKind::Link;
    default:
        return FileKind::Other;
    }
}

std::optional<FileFacts> look(int folder, const char *name, int flags) {
    struct statx facts = {};
    constexpr unsigned wanted = STATX_TYPE | STATX_MODE | STATX_SIZE | STATX_MTIME | STATX_INO | STATX_MNT_ID;
    if (::statx(folder, name, flags | AT_NO_AUTOMOUNT, wanted, &facts) != 0)
        return std::nullopt;
    FileFacts result;
    result.kind = kindOf(facts.stx_mode);
    if (facts.stx_mask & STATX_SIZE && result.kind == FileKind::Regular)
        result.size = static_cast<std::int64_t>(facts.stx_size);
    if (facts.stx_mask & STATX_MTIME)
        result.mtime = FileTime::from(facts.stx_mtime);
    result.mountId = facts.stx_mnt_id;
    result.inode = facts.stx_ino;
    result.mode = facts.stx_mode & 07777;
    result.device = makedev(facts.stx_dev_major, facts.stx_dev_minor);
    return result;
}

} // namespace

std::optional<FileFacts> lookAt(int folder, const char *name, LinkAtEnd link) {
    return look(folder, name, link == LinkAtEnd::IsMeant ? AT_SYMLINK_NOFOLLOW : 0);
}

std::optional<FileFacts> lookAtAnew(int folder, const char *name) {
    return look(folder, name, AT_SYMLINK_NOFOLLOW | AT_STATX_FORCE_SYNC);
}

std::optional<FileFacts> lookAtOpen(int descriptor) {
    return look(descriptor, "", AT_EMPTY_PATH);
}
