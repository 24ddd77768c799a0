#include "base/FileDescriptor.h"

#include <cerrno>

void FileDescriptor::reset(int descriptor) {
    if (fd >= 0) {
        const int before = errno;
        ::close(fd);
        errno = before;
    }
    fd = descriptor;
}

int FileDescriptor::close() {
    // After EINTR the descriptor is closed all the same.
    const bool failed = ::close(std::exchange(fd, -1)) != 0 && errno != EINTR;
    return failed ? errno : 0;
}
