#pragma once

#include "base/FileTime.h"

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

/// One item of a folder that takes part in a backup.
struct Entry {
    std::string_view name; ///< the bytes as the disk has them, followed by a NUL byte; owned by the Listing
    bool isDir = false;
    std::int64_t size = 0; ///< bytes; 0 for folders
    FileTime mtime;

    bool operator==(const Entry &) const = default;
};

/// The entries of one folder in the order in which the file system delivered them. Kept compact: a folder may hold a
/// million of them.
class Listing {
  public:
    /// An item that is there and that nothing more can be said of.
    struct Unseen {
        std::string name;
        int error = 0; ///< errno of the look at it
    };

    std::size_t size() const { return records.size(); }
    Entry at(std::size_t index) const;
    /// Items that are no entries because looking at them failed.
    std::vector<Unseen> unseen;

    void add(std::string_view name, bool isDir, std::int64_t size, FileTime mtime);

  private:
    struct Record {
        std::int64_t seconds;
        std::int64_t size;
        std::int32_t nanoseconds;
        std::uint32_t nameBegin;
        std::uint16_t nameLength;
        bool isDir;
    };

    std::vector<Record> records;
    std::string names;
};

/// Reads one level of a tree and decides which items take part. Never changes anything on disk; keeps nothing between
/// calls.
namespace Lister {

/// Lists the folder open for reading as `folder`. Adds to `skippedLinks` the symbolic links that it dropped, and to
/// `staleTemps` the names of this program's temporary files. An item that vanishes meanwhile is dropped without trace;
/// one that can't be looked at for another reason is in the listing's `unseen`: a dying disk answers like that. Fails
/// with std::system_error when the folder can't be listed; then neither of the two is touched.
Listing list(int folder, std::int64_t &skippedLinks, std::vector<std::string> &staleTemps);

} // namespace Lister
