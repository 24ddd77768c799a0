#include "platform/Mover.h"

#include "platform/FileFacts.h"

#include <cerrno>
#include <cstdio>
#include <system_error>

#include <fcntl.h>
#include <unistd.h>

namespace {

[[noreturn]] void fail(const char *call) {
    throw std::system_error(errno, std::generic_category(), call);
}

} // namespace

Mover::MovedIn Mover::moveIn(NameAt from, NameAt to) {
    for (const Method way : {Method::ExclusiveRename, Method::Link}) {
        if (way < method)
            continue;
        const std::optional<MovedIn> result = attempt(way, from, to);
        if (result == MovedIn::Done)
            method = way;
        if (result)
            return *result;
    }
    if (lookAt(to.folder, to.name))
        return MovedIn::TargetExists;
    if (errno != ENOENT)
        fail("stat");
    replace(from, to);
    // Only now it is sure that the calls before didn't fail for a reason that this one would share.
    method = Method::LookAndRename;
    return MovedIn::Done;
}

/// None when the file system doesn't know the call.
std::optional<Mover::MovedIn> Mover::attempt(Method way, NameAt from, NameAt to) const {
    const bool isRename = way == Method::ExclusiveRename;
    const int result = isRename ? ::renameat2(from.folder, from.name, to.folder, to.name, RENAME_NOREPLACE)
                                : ::linkat(from.folder, from.name, to.folder, to.name, 0);
    if (result == 0) {
        if (!isRename)
            ::unlinkat(from.folder, from.name, 0);
        return MovedIn::Done;
    }
    if (errno == EEXIST)
        return MovedIn::TargetExists;
    if (!isUnknown(way, errno))
        fail(isRename ? "rename" : "link");
    return std::nullopt;
}

bool Mover::isUnknown(Method way, int error) const {
    // A FUSE file system answers with whatever its author thought of, EIO for one; if the disk behind it really fails,
    // the plain rename after this tells.
    if (on == On::Fuse)
        return true;
    return error == EINVAL || error == ENOSYS || error == EOPNOTSUPP || (way == Method::Link && error == EPERM);
}

void Mover::replace(NameAt from, NameAt to) {
    if (::renameat(from.folder, from.name, to.folder, to.name) != 0)
        fail("rename");
}
