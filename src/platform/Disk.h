#pragma once

#include "platform/MountTable.h"

#include <filesystem>
#include <string>
#include <vector>

/// What a look at one path tells; links are followed.
struct PathFacts {
    bool isAnswered = true; ///< false: the mount that holds it has not answered, so nothing else here is known
    bool isFolder = false;
    int error = 0; ///< errno with which it can't be looked at; ENOENT when nothing is there
    bool canRead = false;
    bool canWrite = false; ///< for a folder: names in it can be made
    bool canEnter = false;
    std::filesystem::path resolved; ///< standardised, with the links resolved as far as the path exists
    int mountId = 0;                ///< of the mount that holds it, or what of it exists

    bool operator==(const PathFacts &) const = default;
};

/// One name in a folder.
struct FolderItem {
    std::filesystem::path path;
    bool isLink = false;

    bool operator==(const FolderItem &) const = default;
};

/// What the disks are asked. Whoever asks through this works the same on answers given at once, waiting for a slow
/// disk, and on answers that were gathered before.
class Disk {
  public:
    using Path = std::filesystem::path;

    Disk() = default;
    Disk(const Disk &) = delete;
    Disk &operator=(const Disk &) = delete;
    virtual ~Disk() = default;

    virtual const MountTable &mounts() const = 0;
    virtual PathFacts look(const Path &path) = 0;
    /// The items of a folder in the system's order, without hidden ones; none when it can't be listed.
    virtual std::vector<FolderItem> visibleItems(const Path &folder) = 0;
    /// The bytes of a small regular file (1 MiB at most); empty when there is none or it can't be read.
    virtual std::string text(const Path &file) = 0;

    /// The mount that holds `path`, or what of it exists; judged by its text where nothing answers. Null when that
    /// can't be told.
    const MountEntry *holding(const Path &path);
    bool isFolder(const Path &path) { return look(path).isFolder; }
    Path resolved(const Path &path);

    /// How often something could not be told so far because a mount has not answered. What was worked out while this
    /// grew is a guess.
    std::size_t unanswered() const { return unansweredCount; }

  protected:
    static constexpr int mostLinks = 40; ///< followed one after another

    std::size_t unansweredCount = 0;
};

/// Asks the disks on the calling thread, which waits for them.
class DirectDisk : public Disk {
  public:
    DirectDisk() : table(MountTable::read()) {}

    const MountTable &mounts() const override { return table; }
    PathFacts look(const Path &path) override;
    std::vector<FolderItem> visibleItems(const Path &folder) override;
    std::string text(const Path &file) override;

    /// The first part of look(), which waits for no other mount than the one that covers `path`: either the facts, or
    /// through `leadsTo` that a link leads to a path that another mount covers.
    PathFacts lookWithin(const Path &path, Path &leadsTo) const;

  private:
    MountTable table;
};
