#pragma once

#include "platform/FileData.h"
#include "sync/CancelToken.h"
#include "sync/Published.h"
#include "sync/SyncRules.h"
#include "sync/TempArea.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <utility>

/// Told on the calling thread how many bytes of the current file have been copied so far.
using BytesCallback = std::function<void(std::int64_t copied)>;

/// A file of the original side, open for copying. Its facts are those of the open file, whatever happens to its name.
struct OpenedOriginal {
    NameAt at = {};
    FileDescriptor file;
    struct stat facts = {};
    FileTime openedAt; ///< by this system's clock

    /// Fails with std::system_error, or CopyError when it is no longer a file.
    static OpenedOriginal open(NameAt at);

    FileVersion version() const;
};

/// An open folder of the backup side, together with the volume that it is on.
struct TargetFolder {
    FileDescriptor folder;
    TempVolume *volume = nullptr;
};

/// A complete, dated copy that waits under a temporary name on the volume of its target. Removes itself at the end of
/// its life unless it was published.
class StagedCopy {
  public:
    /// A copy in the volume's temporary folder.
    StagedCopy(TempVolume &tempVolume, std::string tempName);
    /// A copy beside its target.
    StagedCopy(std::shared_ptr<const TargetFolder> besideFolder, std::string tempName);
    StagedCopy(StagedCopy &&other) noexcept;
    StagedCopy &operator=(StagedCopy &&other) noexcept;
    ~StagedCopy();

    NameAt at() const { return {folder, name.c_str()}; }
    bool isBeside() const { return beside != nullptr; }
    TempVolume &tempVolume() const { return *volume; }
    /// Keeps the lock on a copy beside its target.
    void hold(FileDescriptor lock) { locked = std::move(lock); }
    /// The copy is where it belongs now: nothing is left to remove, or to protect.
    void wasMoved() {
        name.clear();
        locked.reset();
    }

  private:
    std::shared_ptr<const TargetFolder> beside; // null when the copy is in the volume's temporary folder
    TempVolume *volume = nullptr;
    int folder = -1; // stays open for the life of the TempArea, or of `beside`
    std::string name;
    FileDescriptor locked;
};

/// Copies single files safely: a copy is staged (written under a temporary name, tested for completeness, dated), the
/// caller has the volume flushed, and only then the copy is published (moved to its final name in one step). Whatever
/// fails, the file at the target stays as it was. Failures are std::system_error, CopyError or SyncCancelled. Blocks.
class Copier {
  public:
    explicit Copier(const CancelToken &cancelToken) : token(cancelToken) {}

    /// Makes a complete copy of `original` on the volume of `target`, with its date. On a volume that needs each file
    /// flushed by itself, it is.
    StagedCopy stage(const OpenedOriginal &original, const std::shared_ptr<const TargetFolder> &target,
                     const BytesCallback &onBytes);

    /// Moves a staged and flushed copy to `name` in `target`. `original` is what was copied and `planned` what stood at
    /// the target when that was decided (null: nothing). If something else stands there now, it is decided anew.
    /// May run on another thread than stage(), for one copy at a time.
    static PublishedCopy publish(StagedCopy &staged, const std::shared_ptr<const TargetFolder> &target,
                                 const char *name, const FileVersion &original, const FileVersion *planned,
                                 const SyncRules &rules);

    /// The plain copy of the open file `source`, whose facts are `original`, to the new, empty file `destination`:
    /// data, ownership, extended attributes. Returns the mode that the copy is to get. Fails with SyncCancelled soon
    /// after a cancel, and leaves `destination` incomplete then.
    mode_t rawCopy(int source, const struct stat &original, int destination, FileData::Devices devices,
                   const BytesCallback &onBytes) const;

  private:
    enum class Place { InArea, Beside };

    StagedCopy stageAt(Place place, const OpenedOriginal &original, const std::shared_ptr<const TargetFolder> &target,
                       const BytesCallback &onBytes);
    static std::pair<StagedCopy, FileDescriptor> create(Place place, const std::shared_ptr<const TargetFolder> &target,
                                                        mode_t mode);
    static PublishedCopy moveIntoPlace(StagedCopy &staged, NameAt target, const FileVersion &original,
                                       const FileVersion *planned, const SyncRules &rules);
    static StagedCopy stageAgainBeside(const StagedCopy &staged, const std::shared_ptr<const TargetFolder> &target,
                                       FileTime mtime);

    const CancelToken &token;
};
