#include "platform/FolderAnchor.h"

#include "platform/MountTable.h"

#include <algorithm>
#include <cerrno>
#include <climits>
#include <string>
#include <system_error>

#include <fcntl.h>
#include <linux/openat2.h>
#include <sys/stat.h>
#include <sys/syscall.h>

namespace {

[[noreturn]] void fail(int error, std::string_view what) {
    throw std::system_error(error, std::generic_category(), std::string(what));
}

constexpr int folderFlags = O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC;

/// openat2() follows no link in any component; without it (seccomp, old kernels) the caller goes one name at a time.
bool hasOpenat2() {
    static const bool available = [] {
        open_how how = {};
        how.flags = O_PATH | O_CLOEXEC;
        how.resolve = RESOLVE_NO_SYMLINKS;
        const FileDescriptor probe(static_cast<int>(::syscall(SYS_openat2, AT_FDCWD, ".", &how, sizeof how)));
        return probe || (errno != ENOSYS && errno != EPERM && errno != EINVAL);
    }();
    return available;
}

int openWithoutLinks(int start, const char *path, int flags) {
    if (!hasOpenat2())
        return ::openat(start, path, flags);
    open_how how = {};
    how.flags = static_cast<std::uint64_t>(flags);
    how.resolve = RESOLVE_NO_SYMLINKS;
    int descriptor;
    do {
        // EAGAIN: something was renamed on the way meanwhile.
        descriptor = static_cast<int>(::syscall(SYS_openat2, start, path, &how, sizeof how));
    } while (descriptor < 0 && (errno == EAGAIN || errno == EINTR));
    return descriptor;
}

/// Reading a folder or file of the user's should leave no mark on it, but only its owner may ask for that.
int openForReading(int start, const char *path, int flags) {
    const int descriptor = openWithoutLinks(start, path, flags | O_NOATIME);
    return descriptor >= 0 || errno != EPERM ? descriptor : openWithoutLinks(start, path, flags);
}

/// How much of `relative` one call can take: whole names, less than PATH_MAX bytes.
std::size_t piece(std::string_view relative) {
    if (!hasOpenat2())
        return std::min(relative.find('/'), relative.size());
    if (relative.size() < PATH_MAX)
        return relative.size();
    const std::size_t cut = relative.rfind('/', PATH_MAX - 1);
    return cut == std::string_view::npos ? std::min(relative.find('/'), relative.size()) : cut;
}

/// Goes down all pieces of `relative` but the last; gives back where that leads and what is left.
FileDescriptor descend(int start, std::string_view &relative) {
    FileDescriptor current;
    for (std::size_t length = piece(relative); length < relative.size(); length = piece(relative)) {
        const std::string part(relative.substr(0, length));
        FileDescriptor next(openWithoutLinks(current ? current.get() : start, part.c_str(), O_PATH | folderFlags));
        if (!next)
            fail(errno, part);
        current = std::move(next);
        relative.remove_prefix(length + 1);
    }
    return current;
}

} // namespace

FileDescriptor OpenBelow::folder(int start, std::string_view relative) {
    const FileDescriptor parent = descend(start, relative);
    const std::string last = relative.empty() ? "." : std::string(relative);
    FileDescriptor opened(openForReading(parent ? parent.get() : start, last.c_str(), O_RDONLY | folderFlags));
    if (!opened)
        fail(errno, last);
    return opened;
}

FileDescriptor OpenBelow::file(int folder, const char *name) {
    constexpr int flags = O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY | O_CLOEXEC;
    FileDescriptor opened(::openat(folder, name, flags | O_NOATIME));
    if (!opened && errno == EPERM)
        opened.reset(::openat(folder, name, flags));
    if (!opened)
        fail(errno, name);
    return opened;
}

FileDescriptor OpenBelow::makeFolders(int start, std::string_view relative) {
    FileDescriptor current;
    while (!relative.empty()) {
        const std::size_t length = std::min(relative.find('/'), relative.size());
        const std::string name(relative.substr(0, length));
        const int parent = current ? current.get() : start;
        if (::mkdirat(parent, name.c_str(), 0777) != 0 && errno != EEXIST)
            fail(errno, name);
        FileDescriptor next(::openat(parent, name.c_str(), O_PATH | folderFlags));
        if (!next)
            fail(errno, name);
        current = std::move(next);
        relative.remove_prefix(std::min(length + 1, relative.size()));
    }
    return OpenBelow::folder(current ? current.get() : start, {});
}

FolderAnchor::FolderAnchor(const std::filesystem::path &path)
    // O_PATH: a folder that can't be read is still there, and the lister is the one to say that it can't be read.
    : FolderAnchor(path, FileDescriptor(::open(path.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC))) {
}

FolderAnchor::FolderAnchor(const std::filesystem::path &path, FileDescriptor open)
    : place(path), folder(std::move(open)) {
    if (!folder)
        fail(errno, path.native());
    const std::optional<FileFacts> facts = lookAtOpen(folder.get());
    if (!facts)
        fail(errno, path.native());
    atStart = *facts;
}

FolderAnchor FolderAnchor::missing(const std::filesystem::path &path) {
    FolderAnchor anchor;
    anchor.place = path;
    return anchor;
}

FolderAnchor FolderAnchor::openIfFolder(const std::filesystem::path &path) {
    try {
        return FolderAnchor(path);
    } catch (const std::system_error &error) {
        FolderAnchor anchor = missing(path);
        anchor.failure = error.code().value();
        return anchor;
    }
}

bool FolderAnchor::isInPlace() const {
    const std::optional<FileFacts> now = lookAt(AT_FDCWD, place.c_str(), LinkAtEnd::IsFollowed);
    if (!now || now->kind != FileKind::Folder || now->mountId != atStart.mountId || now->device != atStart.device)
        return false;
    return !folder || isStill(*now);
}

/// Whether the folder at the path is the open one, and not another that took its place.
bool FolderAnchor::isStill(const FileFacts &now) const {
    const std::optional<FileFacts> opened = lookAtOpen(folder.get());
    if (opened && opened->inode == now.inode)
        return true;
    // FUSE gives a folder another number whenever it likes.
    const MountTable table = MountTable::read();
    const MountEntry *mount = table.withId(static_cast<int>(now.mountId));
    return mount && isFuse(mount->type);
}
