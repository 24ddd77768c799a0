#pragma once

#include "base/FileDescriptor.h"
#include "platform/Durability.h"
#include "platform/Mover.h"

#include <array>
#include <atomic>
#include <cstdint>
#include <filesystem>
#include <map>
#include <optional>
#include <string>
#include <vector>

struct MountEntry;

/// Where the temporary copies of one volume are written, and what is known of the volume.
struct TempVolume {
    FileDescriptor area;        ///< the locked temporary folder; not open where none could be made
    std::filesystem::path path; ///< of the temporary folder
    /// Two folders in it, used in turn: one is being filled while the copies in the other are moved out, and the two
    /// never wait for each other in the kernel.
    std::array<FileDescriptor, 2> halves;
    std::size_t filling = 0;
    FileDescriptor anywhere; ///< some open folder of the volume, for flushing it
    dev_t device = 0;
    Durability::Method durability = Durability::Method::EachFile;
    Mover mover; ///< for whoever publishes; one thread at a time

    int folderToFill() const { return halves[filling].get(); }
    void turn() { filling = 1 - filling; }

    /// Whether copies go beside their targets.
    bool isBeside() const { return !area || refusesRename; }

    /// Set once a rename out of the temporary folder was refused.
    std::atomic<bool> refusesRename = false;
};

/// The temporary folders of one run, one per volume, each on the volume of its targets and outside every OneDrive
/// folder. They exist, locked against other processes, until cleanup() or the end of its life. All operations on one
/// thread; the volumes themselves may be used on another.
class TempArea {
  public:
    using Path = std::filesystem::path;

    /// No temporary folder is placed inside one of `oneDriveTrees`.
    explicit TempArea(std::vector<Path> oneDriveTrees);
    TempArea(const TempArea &) = delete;
    TempArea &operator=(const TempArea &) = delete;
    ~TempArea();

    /// The volume that holds the open folder `targetFolder`, whose place is `path`, with its temporary folder. Where
    /// none can be made, copies go beside their targets. Stays valid until cleanup(). Fails with std::system_error only
    /// when the open folder can't be looked at.
    TempVolume &volumeOf(int targetFolder, const Path &path);

    /// Removes the temporary folders with whatever is in them; failures are ignored.
    void cleanup();

    /// Removes what earlier runs left in the temporary places of this user and of `volumes` (top folders, of drives or
    /// as parentOfTree() gives them): only names of this program, and nothing that another process has locked. Failures
    /// are ignored.
    static void purgeStale(const std::vector<Path> &volumes);

    /// The folder that holds the outermost of the OneDrive folders around `target`; none when there is no such one.
    static std::optional<Path> parentOfTree(const Path &target, const std::vector<Path> &oneDriveTrees);

    /// A new name for a temporary copy, and one for the file `target` while it is moved aside; the lister knows both.
    static std::string temporaryName();
    static std::string asideName(std::string_view target);
    static bool isAsideName(std::string_view name);
    /// Whether `aside` is such a name made for `target`; two targets of one folder hardly ever have the same.
    static bool isAsideNameOf(std::string_view aside, std::string_view target);

  private:
    std::vector<Path> topsFor(const MountEntry &mount, const Path &target) const;
    void makeArea(TempVolume &volume, const MountEntry *mount, std::uint64_t mountId, const Path &target) const;
    bool isOutsideOneDrive(const Path &path) const;

    std::vector<Path> trees;                     // links resolved
    std::map<std::uint64_t, TempVolume> volumes; // by mount id
};
