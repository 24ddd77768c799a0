#pragma once

#include "base/FileDescriptor.h"
#include "platform/FileFacts.h"

#include <filesystem>
#include <string_view>

/// Names inside a folder are opened with these; nothing is ever opened through a symbolic link.
namespace OpenBelow {

/// Opens the folder `relative` (names joined with "/"; empty for the start itself) below the open folder `start` for
/// reading. Works for any depth and length: no path handed to the kernel is longer than it takes. Fails with
/// std::system_error; ELOOP or ENOTDIR when a link or a file stands in the way.
FileDescriptor folder(int start, std::string_view relative);

/// Opens a file for reading without waiting for whatever it may be, and without touching its access time where that is
/// allowed. Fails with std::system_error.
FileDescriptor file(int folder, const char *name);

/// Makes the folder `relative` with any missing parents and opens it. An existing folder is fine. Fails with
/// std::system_error.
FileDescriptor makeFolders(int start, std::string_view relative);

} // namespace OpenBelow

/// One of the two top folders of a pair, held open for a run. All work goes through the descriptor, so that nothing is
/// ever read from or written to what takes the folder's place when its drive goes.
class FolderAnchor {
  public:
    FolderAnchor() = default;
    /// Opens an existing folder; a link at its end is followed. Fails with std::system_error.
    explicit FolderAnchor(const std::filesystem::path &path);
    /// Takes over a folder that was just made at `path`.
    FolderAnchor(const std::filesystem::path &path, FileDescriptor open);

    /// Stands for a folder that doesn't exist; only its path can be asked for.
    static FolderAnchor missing(const std::filesystem::path &path);

    /// Opens the folder if there is one; otherwise missing(path), which knows why it can't be opened.
    static FolderAnchor openIfFolder(const std::filesystem::path &path);

    /// The errno for which openIfFolder() couldn't open the folder; 0 when nothing failed.
    int openError() const { return failure; }

    bool isOpen() const { return static_cast<bool>(folder); }
    int descriptor() const { return folder.get(); }
    const std::filesystem::path &path() const { return place; }
    const FileFacts &facts() const { return atStart; }

    /// Whether the path still leads to a folder on the same mount as at the start, and while it is open to this very
    /// folder (not on FUSE, where that can't be told).
    bool isInPlace() const;

    /// Frees the drive; the anchor can only be asked for its path afterwards.
    void close() { folder.reset(); }

  private:
    bool isStill(const FileFacts &now) const;

    std::filesystem::path place;
    FileDescriptor folder;
    FileFacts atStart;
    int failure = 0;
};
