#pragma once

#include "base/FileTime.h"

#include <filesystem>
#include <map>
#include <string>

namespace fs = std::filesystem;

/// A moment far enough in the past that no tolerance reaches today.
inline constexpr FileTime someTime{1'600'000'000, 0};

/// `time` moved by whole seconds.
constexpr FileTime later(FileTime time, std::int64_t seconds) {
    return {time.seconds + seconds, time.nanoseconds};
}

/// Makes a folder with a new name.
fs::path freshFolder(const fs::path &below = fs::temp_directory_path());

/// A tree in a fresh temporary folder that goes at the end of its life. All paths are relative to its top;
/// parents are made as needed. Failures throw.
class TestTree {
  public:
    TestTree() : TestTree(freshFolder(), true) {}
    /// Uses an existing folder (a mount point, say), which stays.
    explicit TestTree(const fs::path &existing) : TestTree(existing, false) {}
    TestTree(const TestTree &) = delete;
    TestTree &operator=(const TestTree &) = delete;
    ~TestTree();

    /// A tree in a fresh folder below `place`, which may be on another device.
    static TestTree below(const fs::path &place) { return {freshFolder(place), true}; }

    const fs::path &top() const { return folder; }
    fs::path operator/(const std::string &relative) const { return folder / relative; }

    void file(const std::string &relative, const std::string &content = "content", FileTime mtime = someTime);
    /// A file of `size` bytes without any data on disk.
    void sparseFile(const std::string &relative, std::int64_t size, FileTime mtime = someTime);
    void dir(const std::string &relative);
    void link(const std::string &relative, const std::string &target);
    void setTime(const std::string &relative, FileTime mtime);
    std::string read(const std::string &relative) const;
    FileTime time(const std::string &relative) const;

    /// Every item below `relative` (hidden ones too), by path: "dir", "link to …", "other", or for a file its
    /// date and its content, a long one as its size and a hash. Two equal trees give equal maps.
    std::map<std::string, std::string> snapshot(const std::string &relative = "") const;

  private:
    TestTree(const fs::path &place, bool isFresh) : folder(place), isOwn(isFresh) {}

    fs::path folder;
    bool isOwn;
};
