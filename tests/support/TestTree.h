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

/// A tree in a fresh temporary folder that goes at the end of its life. All paths are relative to its top;
/// parents are made as needed. Failures throw.
class TestTree {
  public:
    TestTree();
    /// Uses an existing folder (a mount point, say), which stays.
    explicit TestTree(const fs::path &existing);
    TestTree(const TestTree &) = delete;
    TestTree &operator=(const TestTree &) = delete;
    ~TestTree();

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
    /// date and its content. Two equal trees give equal maps.
    std::map<std::string, std::string> snapshot(const std::string &relative = "") const;

  private:
    fs::path folder;
    bool isOwn = true;
};
