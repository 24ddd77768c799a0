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
