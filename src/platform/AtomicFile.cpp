#include "platform/AtomicFile.h"

#include "base/FileDescriptor.h"

#include <cerrno>
#include <system_error>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace AtomicFile {

namespace {

[[noreturn]] void fail(const char *call) {
    throw std::system_error(errno, std::generic_category(), call);
}

void writeAll(int file, std::string_view bytes) {
    while (!bytes.empty()) {
        const ssize_t written = ::write(file, bytes.data(), bytes.size());
        if (written < 0 && errno == EINTR)
            continue;
        if (written == 0)
            errno = EIO; // nothing is stored, and trying for ever would be no answer
        if (written <= 0)
            fail("write");
        bytes.remove_prefix(static_cast<std::size_t>(written));
    }
}

/// The permissions of the file that is to be replaced; none when there is none.
std::optional<mode_t> permissionsOf(NameAt at) {
    struct stat facts = {};
    const bool isFile = ::fstatat(at.folder, at.name, &facts, AT_SYMLINK_NOFOLLOW) == 0 && S_ISREG(facts.st_mode);
    return isFile ? std::optional(facts.st_mode & 0777) : std::nullopt;
}

void writeNew(NameAt at, std::string_view bytes, mode_t fresh, std::optional<mode_t> kept) {
    constexpr int flags = O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC;
    const FileDescriptor file(::openat(at.folder, at.name, flags, kept.value_or(fresh)));
    if (!file)
        fail("open");
    if (kept) // the umask took bits away; where a file system knows no permissions, none are lost
        ::fchmod(file.get(), *kept);
    writeAll(file.get(), bytes);
    if (::fsync(file.get()) != 0)
        fail("fsync");
}

std::nullopt_t unreadable(int error) {
    errno = error;
    return std::nullopt;
}

} // namespace

void write(NameAt at, std::string_view bytes, ReadableBy readers) {
    const std::string beside = '.' + std::string(at.name) + ".tmp";
    ::unlinkat(at.folder, beside.c_str(), 0); // left by a process that was killed
    try {
        writeNew({at.folder, beside.c_str()}, bytes, readers == ReadableBy::TheUser ? 0600 : 0644, permissionsOf(at));
        if (::renameat(at.folder, beside.c_str(), at.folder, at.name) != 0)
            fail("rename");
    } catch (...) {
        ::unlinkat(at.folder, beside.c_str(), 0);
        throw;
    }
    // The file is whole either way; this only makes the new one the one that a power cut leaves.
    const FileDescriptor folder(::openat(at.folder, ".", O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (folder)
        ::fsync(folder.get());
}

void makePrivateFolder(const std::filesystem::path &folder) {
    std::filesystem::path made;
    for (const std::filesystem::path &part : folder) {
        made /= part;
        ::mkdir(made.c_str(), 0700);
    }
}

std::optional<std::string> read(NameAt at, std::size_t limit, LinkAtEnd link) {
    const int follow = link == LinkAtEnd::IsFollowed ? 0 : O_NOFOLLOW;
    const FileDescriptor file(::openat(at.folder, at.name, O_RDONLY | O_NONBLOCK | O_CLOEXEC | follow));
    struct stat facts = {};
    if (!file || ::fstat(file.get(), &facts) != 0)
        return std::nullopt;
    if (!S_ISREG(facts.st_mode))
        return unreadable(S_ISDIR(facts.st_mode) ? EISDIR : EINVAL);
    if (static_cast<std::size_t>(facts.st_size) > limit)
        return unreadable(EFBIG);
    std::string bytes(static_cast<std::size_t>(facts.st_size) + 1, '\0');
    std::size_t got = 0;
    for (;;) {
        const ssize_t count = ::read(file.get(), bytes.data() + got, bytes.size() - got);
        if (count < 0 && errno == EINTR)
            continue;
        if (count < 0)
            return std::nullopt;
        if (count == 0)
            break;
        got += static_cast<std::size_t>(count);
        if (got > limit)
            return unreadable(EFBIG);
        if (got == bytes.size())
            bytes.resize(bytes.size() * 2); // it grew meanwhile
    }
    bytes.resize(got);
    return bytes;
}

} // namespace AtomicFile
