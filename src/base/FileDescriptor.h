#pragma once

#include <utility>

#include <unistd.h>

/// Owns one open file descriptor and closes it at the end of its life.
class FileDescriptor {
  public:
    FileDescriptor() = default;
    explicit FileDescriptor(int descriptor) : fd(descriptor) {}
    FileDescriptor(FileDescriptor &&other) noexcept : fd(std::exchange(other.fd, -1)) {}
    FileDescriptor &operator=(FileDescriptor &&other) noexcept {
        if (this != &other)
            reset(std::exchange(other.fd, -1));
        return *this;
    }
    FileDescriptor(const FileDescriptor &) = delete;
    FileDescriptor &operator=(const FileDescriptor &) = delete;
    ~FileDescriptor() { reset(); }

    int get() const { return fd; }
    explicit operator bool() const { return fd >= 0; }

    /// Closes what is held, if anything, and holds `descriptor` from now on. errno is left as it was, so that cleaning
    /// up can't hide the first error.
    void reset(int descriptor = -1);

    /// Closes what is held and tells how that went: 0, or the errno with which the file system says only now that what
    /// was written isn't stored.
    int close();

  private:
    int fd = -1;
};
