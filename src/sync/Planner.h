#pragma once

#include "platform/FolderAnchor.h"
#include "sync/CancelToken.h"
#include "sync/Lister.h"
#include "sync/PairPlan.h"

#include <deque>
#include <functional>
#include <optional>

/// Compares one original folder with its backup folder and decides, item by item, what a one-way backup has
/// to do. Reads both trees and changes nothing. Made for one pair; build() is called once. Runs on the
/// calling thread and shares only the token with others.
class Planner {
  public:
    /// `onFile` is called once for every file that is compared or planned as new.
    Planner(const SyncRules &rules, const CancelToken &token, std::function<void()> onFile);
    ~Planner();

    /// The plan for the pair. `backup` is not open when the backup folder doesn't exist; the plan then
    /// creates it. Never fails: what can't be read becomes one of the plan's problems and is left out with
    /// everything below it. After a cancel the plan is partial and must not be carried out.
    /// `placeInOneDrive` is the backup folder's path below the OneDrive folder, as far as it is known.
    PairPlan build(const FolderAnchor &original, const FolderAnchor &backup, const QString &placeInOneDrive = {});

  private:
    struct Level;
    enum class Side { Original, Backup };

    void walk();
    bool enter(std::size_t originalLength, std::size_t backupLength, bool backupExists);
    void leave();
    void decideEntry(Level &level, std::uint32_t number);
    static std::optional<Entry> bestMatch(const Level &level, const Entry &entry, std::uint32_t firstCandidate);
    bool skip(const Entry &entry);
    void noteIfRefused(std::string_view name);
    bool isTooLong(std::string_view name) const;
    void compare(const Entry &entry, const Entry &match);
    void addNew(const Entry &entry);
    void addCopy(const Entry &entry, std::string_view targetName, const FileVersion *replaces);
    bool descend(const Entry &entry, std::string_view backupName, bool backupExists);
    std::optional<Listing> list(Side side);
    bool isBackupFolder(int descriptor) const;
    void addProblem(Side side, const QString &what);
    void addUnreadable(Side side, int error);
    void addUnseen(const Listing &listing);
    QString levelName(Side side) const;
    const PlanFolder *record();
    QString pathOf(const Entry &entry) const;

    SyncRules rules;
    const CancelToken &token;
    std::function<void()> onFile;
    PairPlan plan;

    QString place; // of the backup folder below the OneDrive folder
    const FolderAnchor *originalTop = nullptr;
    const FolderAnchor *backupTop = nullptr;
    // The walk keeps its own stack, so that memory alone limits the depth, and opens every folder from the
    // top, so that no descriptor stays open on the way down. The two paths belong to the level under way.
    std::deque<Level> levels;
    std::string originalRel;
    std::string backupRel;
    std::string scratch;
};
