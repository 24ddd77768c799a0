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
    switch (method) {
    case Method::ExclusiveRename:
        return byExclusiveRename(from, to);
    case Method::Link:
        return byLink(from, to);
    case Method::LookAndRename:
        break;
    }
    return byLook(from, to);
}

Mover::MovedIn Mover::byExclusiveRename(NameAt from, NameAt to) {
    if (::renameat2(from.folder, from.name, to.folder, to.name, RENAME_NOREPLACE) == 0)
        return MovedIn::Done;
    if (errno == EEXIST)
        return MovedIn::TargetExists;
    if (errno != EINVAL && errno != ENOSYS && errno != EOPNOTSUPP)
        fail("rename");
    method = Method::Link;
    return byLink(from, to);
}

Mover::MovedIn Mover::byLink(NameAt from, NameAt to) {
    if (::linkat(from.folder, from.name, to.folder, to.name, 0) == 0) {
        ::unlinkat(from.folder, from.name, 0);
        return MovedIn::Done;
    }
    if (errno == EEXIST)
        return MovedIn::TargetExists;
    if (errno != EPERM && errno != ENOSYS && errno != EOPNOTSUPP && errno != EINVAL)
        fail("link");
    method = Method::LookAndRename;
    return byLook(from, to);
}

Mover::MovedIn Mover::byLook(NameAt from, NameAt to) {
    if (lookAt(to.folder, to.name))
        return MovedIn::TargetExists;
    if (errno != ENOENT)
        fail("stat");
    replace(from, to);
    return MovedIn::Done;
}

void Mover::replace(NameAt from, NameAt to) {
    if (::renameat(from.folder, from.name, to.folder, to.name) != 0)
        fail("rename");
}
