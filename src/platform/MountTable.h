#pragma once

#include "base/FileDescriptor.h"

#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

#include <sys/types.h>

/// One line of the kernel's mount table.
struct MountEntry {
    int id = 0;
    int parentId = 0;
    dev_t device = 0;
    std::string root; ///< which folder of the file system is mounted; "/" unless it is a bind mount
    std::filesystem::path mountPoint;
    std::string type;   ///< as the kernel names it, such as "ext4", "vfat", "fuse.fusefat"
    std::string source; ///< as given to mount, such as "/dev/sdb1"

    bool operator==(const MountEntry &) const = default;
};

/// The mounts that this process sees, in the kernel's order (later ones lie over earlier ones). Everything known about
/// the type, source and options of a file system comes from here: asking the file system itself can hang on a dead one.
class MountTable {
  public:
    /// The table as it is now; empty when the kernel does not tell.
    static MountTable read();
    /// From the text form of /proc/self/mountinfo; lines that make no sense are left out.
    static MountTable parse(std::string_view text);

    /// A descriptor on which the kernel signals an exceptional condition (POLLPRI) after each change of the table. Not
    /// open when the kernel does not tell.
    static FileDescriptor openForChanges();

    const std::vector<MountEntry> &entries() const { return mounts; }
    /// The mount with this id, or null.
    const MountEntry *withId(int id) const;
    /// The mount that covers a standardised absolute path, judged by its text; null in an empty table.
    const MountEntry *covering(const std::filesystem::path &path) const;
    /// The mount that the nearest existing ancestor of `path` lies on, links followed; null when that can't be told.
    /// Looks at the path, so it waits for a disk that is slow.
    const MountEntry *holding(const std::filesystem::path &path) const;
    /// The mount at this mount point that paths lead into; null when nothing is mounted there.
    const MountEntry *reachableAt(const std::filesystem::path &mountPoint) const;
    /// Whether paths still lead into the mount: none mounted later covers its mount point.
    bool isReachable(const MountEntry &entry) const;

  private:
    std::vector<MountEntry> mounts;
};

/// The type as the rules for comparing files name it: "msdos" for the FAT drivers, otherwise the kernel's name.
std::string fileSystemTypeName(const MountEntry &entry);

/// Whether the type is that of a file system served by a program (FUSE): such ones answer with any errno to calls that
/// they don't know, and may do with a file what no disk would.
bool isFuse(std::string_view type);

/// Whether the type is that of a file system that stores files on this machine: neither a network file system nor one
/// of the kernel's own (proc, sysfs and the like).
bool isLocalStorage(std::string_view type);
