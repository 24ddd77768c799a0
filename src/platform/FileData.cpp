#include "platform/FileData.h"

#include <algorithm>
#include <cerrno>
#include <memory>
#include <string>
#include <string_view>
#include <system_error>
#include <vector>

#include <fcntl.h>
#include <linux/fs.h>
#include <sys/ioctl.h>
#include <sys/xattr.h>
#include <unistd.h>

namespace FileData {

namespace {

constexpr std::int64_t kernelChunk = 8 * 1024 * 1024;
/// Measured: larger buffers take no less time to fill, and what was written with them takes longer to reach the disk.
constexpr std::size_t bufferSize = 128 * 1024;
/// Below this, a try to share blocks costs more than copying them.
constexpr std::int64_t worthTrying = 128 * 1024;

[[noreturn]] void fail(const char *call) {
    throw std::system_error(errno, std::generic_category(), call);
}

void writeAll(int destination, const char *data, std::size_t length, std::int64_t offset) {
    while (length > 0) {
        const ssize_t written = ::pwrite(destination, data, length, offset);
        if (written < 0 && errno == EINTR)
            continue;
        if (written == 0)
            errno = EIO; // nothing is stored, and trying for ever would be no answer
        if (written <= 0)
            fail("write");
        data += written;
        length -= static_cast<std::size_t>(written);
        offset += written;
    }
}

enum class Method { InKernel, ByHand };

class DataCopy {
  public:
    DataCopy(int from, int to, Method first, const Progress &tell)
        : source(from), destination(to), progress(tell), method(first) {}

    /// Copies the bytes from `begin` to `end`, or less where the source ends earlier.
    void range(std::int64_t begin, std::int64_t end) {
        while (begin < end) {
            const std::int64_t copied =
                method == Method::InKernel ? copyInKernel(begin, end - begin) : copyByHand(begin, end - begin);
            if (copied == 0)
                return;
            begin += copied;
            startWriting(begin);
            report(begin);
        }
    }

    void withHoles(std::int64_t size) {
        std::int64_t position = 0;
        while (position < size) {
            const off_t data = ::lseek(source, position, SEEK_DATA);
            if (data < 0 && errno == ENXIO)
                break;
            const off_t hole = data < 0 ? -1 : ::lseek(source, data, SEEK_HOLE);
            if (hole < 0)
                return range(position, size);
            range(data, hole);
            position = hole;
        }
        if (::ftruncate(destination, size) != 0)
            fail("ftruncate");
        report(size);
    }

  private:
    /// Has the disk write while the next part is being read, instead of all at once in the flush.
    void startWriting(std::int64_t end) {
        if (end - started < kernelChunk)
            return;
        ::sync_file_range(destination, started, end - started, SYNC_FILE_RANGE_WRITE);
        started = end;
    }

    void report(std::int64_t copied) {
        if (progress(copied) == Continue::No)
            throw std::system_error(ECANCELED, std::generic_category(), "copy");
    }

    /// 0 at the end of the source. Falls back to copying by hand, for good, where the kernel can't do it.
    std::int64_t copyInKernel(std::int64_t position, std::int64_t length) {
        off_t from = position;
        off_t to = position;
        ssize_t copied;
        do {
            copied = ::copy_file_range(source, &from, destination, &to,
                                       static_cast<std::size_t>(std::min(length, kernelChunk)), 0);
        } while (copied < 0 && errno == EINTR);
        // Some file systems say "nothing copied" where they mean that they can't: only a read tells the end.
        if (copied > 0)
            return copied;
        if (copied < 0 && errno != EXDEV && errno != EINVAL && errno != ENOSYS && errno != EOPNOTSUPP &&
            errno != EPERM && errno != EBADF)
            fail("copy_file_range");
        method = Method::ByHand;
        return copyByHand(position, length);
    }

    std::int64_t copyByHand(std::int64_t position, std::int64_t length) {
        if (!buffer)
            buffer = std::make_unique_for_overwrite<char[]>(bufferSize);
        ssize_t got;
        do {
            got = ::pread(source, buffer.get(), std::min(bufferSize, static_cast<std::size_t>(length)), position);
        } while (got < 0 && errno == EINTR);
        if (got < 0)
            fail("read");
        writeAll(destination, buffer.get(), static_cast<std::size_t>(got), position);
        return got;
    }

    int source;
    int destination;
    const Progress &progress;
    Method method;
    std::unique_ptr<char[]> buffer;
    std::int64_t started = 0; // up to here the disk has been told to write
};

} // namespace

void copyData(int source, const struct stat &original, int destination, Devices devices, const Progress &progress) {
    if (original.st_size == 0)
        return;
    const bool isSmall = original.st_size < worthTrying;
    if (!isSmall && ::ioctl(destination, FICLONE, source) == 0) {
        if (progress(original.st_size) == Continue::No)
            throw std::system_error(ECANCELED, std::generic_category(), "copy");
        return;
    }
    // Different devices may still be one file system (subvolumes): a large file is worth the try.
    const Method method = isSmall && devices == Devices::Different ? Method::ByHand : Method::InKernel;
    DataCopy copy(source, destination, method, progress);
    constexpr std::int64_t blockUnit = 512;
    if (original.st_blocks * blockUnit < original.st_size)
        copy.withHoles(original.st_size);
    else
        copy.range(0, original.st_size);
}

namespace {

/// A file system may hold fewer or shorter attributes than the original's, or none: the data matters more.
void copyUserAttributes(int source, int destination) {
    const ssize_t length = ::flistxattr(source, nullptr, 0);
    if (length <= 0)
        return;
    std::string names(static_cast<std::size_t>(length), '\0');
    const ssize_t listed = ::flistxattr(source, names.data(), names.size());
    names.resize(static_cast<std::size_t>(std::max<ssize_t>(listed, 0)));
    for (std::size_t at = 0; at < names.size(); at = names.find('\0', at) + 1) {
        const char *name = names.data() + at;
        if (!std::string_view(name).starts_with("user."))
            continue;
        const ssize_t size = ::fgetxattr(source, name, nullptr, 0);
        if (size < 0)
            continue;
        std::vector<char> value(static_cast<std::size_t>(size));
        const ssize_t got = ::fgetxattr(source, name, value.data(), value.size());
        if (got >= 0)
            ::fsetxattr(destination, name, value.data(), static_cast<std::size_t>(got), 0);
    }
}

} // namespace

mode_t creationMode(const struct stat &original) {
    // Extended attributes can only be set while the owner may write.
    const mode_t mode = original.st_mode & 0777;
    return mode & S_IWUSR ? mode : S_IRUSR | S_IWUSR;
}

mode_t copyAttributes(int source, const struct stat &original, int destination) {
    mode_t mode = original.st_mode & 07777;
    // What the copy was made with is looked at, not who we are: a folder may hand down a group of its own.
    struct stat made = {};
    const bool isRight =
        ::fstat(destination, &made) == 0 && made.st_uid == original.st_uid && made.st_gid == original.st_gid;
    if (!isRight && ::fchown(destination, original.st_uid, original.st_gid) != 0)
        mode &= ~static_cast<mode_t>(S_ISUID | S_ISGID);
    copyUserAttributes(source, destination);
    return mode;
}

void setTimes(int file, const timespec &accessed, FileTime modified) {
    const timespec times[] = {accessed, modified.toTimespec()};
    ::futimens(file, times);
}

void setMode(int file, mode_t mode) {
    // A file system without modes refuses some of them (FAT) or the call itself (many a FUSE file system); the copy is
    // as good as it can be there.
    if (::fchmod(file, mode) != 0 && errno != EPERM && errno != EOPNOTSUPP && errno != ENOSYS && errno != EINVAL)
        fail("fchmod");
}

} // namespace FileData
