#pragma once

#include "records/ChangeKind.h"
#include "records/SkipKind.h"
#include "sync/NameStore.h"
#include "sync/SyncRules.h"

#include <QString>

#include <cstdint>
#include <deque>
#include <filesystem>
#include <string>
#include <vector>

/// One folder of the walked trees, shared by everything planned in it. The two sides can spell its name differently.
struct PlanFolder {
    const PlanFolder *parent = nullptr; ///< null for the pair's own folders
    std::string_view originalName;
    std::string_view backupName;
};

struct PlannedFolder {
    const PlanFolder *folder = nullptr; ///< the folder to create; the pair's backup folder itself when it has no parent
};

/// A file to copy. A plan may hold a million of these, so each knows its folder and name alone; PairPlan puts the
/// paths together.
struct PlannedCopy {
    const PlanFolder *folder = nullptr;
    const char *name = nullptr;            ///< in the original folder
    const char *targetName = nullptr;      ///< in the backup folder
    const FileVersion *replaces = nullptr; ///< what stood at the target when it was planned; null when nothing did
    std::int64_t size = 0;                 ///< bytes of the original at planning time
    FileTime mtime;                        ///< of the original at planning time

    ChangeKind kind() const { return replaces ? ChangeKind::updated : ChangeKind::added; }
    FileVersion version() const { return {size, mtime}; }
};

struct PlannedSkip {
    const PlanFolder *folder = nullptr;
    std::string_view name;
    SkipKind kind = SkipKind::name;
    QString detail; ///< the safe form of the name, or a dot and the lower-case extension
};

/// A leftover temporary file of this program on the backup side.
struct PlannedLeftover {
    std::string backupRel; ///< relative to the pair's backup folder
};

/// What a one-way backup of one pair has to do, in the order of the walk. Everything it points to belongs to it and
/// stays in place when the plan is moved.
class PairPlan {
  public:
    using Path = std::filesystem::path;

    PairPlan() = default;
    PairPlan(Path originalFolder, Path backupFolder);
    PairPlan(PairPlan &&) = default;
    PairPlan &operator=(PairPlan &&) = default;

    Path original;
    Path backup;
    std::vector<PlannedFolder> folders;
    std::deque<PlannedCopy> copies;
    std::vector<PlannedSkip> skipped;
    std::vector<QString> keptNewer;
    std::vector<QString> conflicts;
    std::vector<QString> problems;
    std::vector<Path> problemPaths; ///< the folder or file that the problem at the same place is about
    std::int64_t upToDate = 0;
    std::int64_t skippedLinks = 0;
    std::vector<PlannedLeftover> staleTemps;
    /// Items of the whole tree whose names or paths clients are known to refuse, and the first few of them.
    struct {
        std::int64_t count = 0;
        std::vector<QString> first;
    } refusedByClients;

    const PlanFolder *top() const { return &tree.front(); }
    const PlanFolder *addFolder(const PlanFolder *parent, std::string_view originalName, std::string_view backupName);
    std::string_view store(std::string_view name) { return names.add(name); }
    const FileVersion *store(const FileVersion &version);

    /// Paths relative to the pair's folders: names joined with "/", empty for the folders themselves. `rel` has the
    /// original's names, `backupRel` the backup's.
    static std::string rel(const PlanFolder *folder);
    static std::string backupRel(const PlanFolder *folder);
    static std::string rel(const PlannedCopy &copy);
    static std::string rel(const PlannedSkip &skip);

    Path url(const PlannedFolder &folder) const;
    Path url(const PlannedSkip &skip) const;
    Path url(const PlannedLeftover &leftover) const;
    Path from(const PlannedCopy &copy) const;
    Path to(const PlannedCopy &copy) const;

  private:
    std::deque<PlanFolder> tree = std::deque<PlanFolder>(1);
    std::deque<FileVersion> versions;
    NameStore names;
};

/// Joins a relative path and a name; either may be empty.
std::string joined(std::string_view relative, std::string_view name);
