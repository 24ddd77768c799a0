#pragma once

#include <memory>
#include <string_view>

/// Reads the names in an open folder in the order in which the file system delivers them; "." and ".." are left out.
class FolderReader {
  public:
    struct Item {
        std::string_view name; ///< as the disk has it, followed by a NUL byte; valid until the next call
        unsigned char type;    ///< DT_* as readdir tells it; DT_UNKNOWN where the file system does not
    };

    /// `folder` must be open for reading, stay open, and stand at its beginning.
    explicit FolderReader(int folder);

    /// Fills `item` with the next one; false at the end. Fails with std::system_error.
    bool next(Item &item);

  private:
    bool refill();

    int folder;
    std::unique_ptr<char[]> buffer;
    std::size_t position = 0;
    std::size_t end = 0;
};
