#include "sync/DriveProbe.h"

#include "platform/Durability.h"
#include "platform/FolderReader.h"
#include "sync/TempArea.h"

#include <algorithm>
#include <cerrno>
#include <system_error>

#include <dirent.h>
#include <fcntl.h>
#include <unistd.h>

namespace DriveProbe {

namespace {

constexpr std::size_t tries = 8;

/// Opens and reads: a dead drive still answers a look, and reads from the cache.
bool canRead(int folder, const char *name) {
    try {
        const FileDescriptor file = OpenBelow::file(folder, name);
        ::posix_fadvise(file.get(), 0, 0, POSIX_FADV_DONTNEED);
        char byte;
        return ::read(file.get(), &byte, 1) >= 0;
    } catch (const std::system_error &) {
        return false;
    }
}

bool canReadPlanned(const FolderAnchor &original, const PairPlan &plan, const PlannedCopy &failed) {
    const std::size_t step = std::max<std::size_t>(1, plan.copies.size() / tries);
    for (std::size_t i = 0; i < plan.copies.size(); i += step) {
        const PlannedCopy &copy = plan.copies[i];
        if (&copy == &failed)
            continue;
        try {
            const FileDescriptor folder = OpenBelow::folder(original.descriptor(), PairPlan::rel(copy.folder));
            if (canRead(folder.get(), copy.name))
                return true;
        } catch (const std::system_error &) {
            // The next one may tell.
        }
    }
    return false;
}

/// With nothing else to try, the beginning of the failed file has to tell.
bool canReadBeside(const FolderAnchor &original, const PlannedCopy &failed) {
    try {
        const FileDescriptor folder = OpenBelow::folder(original.descriptor(), PairPlan::rel(failed.folder));
        FolderReader reader(folder.get());
        std::size_t tried = 0;
        for (FolderReader::Item item; tried < tries && reader.next(item);) {
            if (item.type != DT_REG || item.name == failed.name)
                continue;
            ++tried;
            if (canRead(folder.get(), item.name.data()))
                return true;
        }
        return tried == 0 && canRead(folder.get(), failed.name);
    } catch (const std::system_error &) {
        return false; // not even the folder
    }
}

} // namespace

bool isDriveError(int error) {
    return error == EIO || error == ENODEV || error == ENXIO || error == ESTALE || error == ENOTCONN;
}

bool canReadAnother(const FolderAnchor &original, const PairPlan &plan, const PlannedCopy &failed) {
    return canReadPlanned(original, plan, failed) || canReadBeside(original, failed);
}

bool canWrite(int folder) {
    const std::string name = TempArea::temporaryName();
    FileDescriptor file(::openat(folder, name.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600));
    if (!file)
        return !isDriveError(errno);
    const bool isFlushed = ::write(file.get(), "", 1) == 1 && Durability::flushFile(file.get()) == 0;
    const bool isStored = file.close() == 0; // before it is removed: some mounts upload in closing
    ::unlinkat(folder, name.c_str(), 0);
    return isFlushed && isStored;
}

} // namespace DriveProbe

void FolderWatch::check() {
    const Clock::time_point now = Clock::now();
    if (now - last < std::chrono::milliseconds(100))
        return;
    last = now;
    if (!anchor.isInPlace())
        throw std::system_error(ENODEV, std::generic_category(), "folder");
}
