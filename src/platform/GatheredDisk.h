#pragma once

#include "platform/Disk.h"

#include <compare>
#include <map>
#include <set>

/// One thing that a disk can be asked.
struct DiskQuestion {
    enum class Kind { Look, Items, Text };

    Kind kind = Kind::Look;
    std::filesystem::path path = {}; ///< standardised; of items and text with its links resolved

    std::strong_ordering operator<=>(const DiskQuestion &) const = default;
};

/// What was answered; of the last two only the one that was asked for.
struct DiskAnswer {
    PathFacts facts = {};
    std::filesystem::path leadsTo = {}; ///< where the path leads to on another mount; then `facts` tell nothing
    std::vector<FolderItem> items = {};
    std::string text = {};
};

using DiskAnswers = std::map<DiskQuestion, DiskAnswer>;

/// Asks the disks, waiting for the one mount that covers the question's path and for no other.
DiskAnswer answerOf(const DiskQuestion &question);

/// Answers from what was gathered before, asks nobody, and notes what would have to be asked.
class GatheredDisk : public Disk {
  public:
    /// Both must live as long as this.
    GatheredDisk(const MountTable &mountTable, const DiskAnswers &gathered) : table(mountTable), answers(gathered) {}

    const MountTable &mounts() const override { return table; }
    PathFacts look(const Path &path) override;
    std::vector<FolderItem> visibleItems(const Path &folder) override;
    std::string text(const Path &file) override;

    const std::set<DiskQuestion> &missing() const { return notGathered; }

  private:
    const DiskAnswer *answerTo(DiskQuestion question);
    const DiskAnswer *answerInside(DiskQuestion::Kind kind, const Path &path);

    const MountTable &table;
    const DiskAnswers &answers;
    std::set<DiskQuestion> notGathered;
};
