#pragma once

#include "base/Paths.h"
#include "model/AppModel.h"
#include "sync/SyncRunner.h"

/// The fake world in the test root: a drive "Passport", documents, and the OneDrive folder "OneDrive-TestCorp". The
/// items of a folder are told as one text, in the order of their paths: "Empty/ | Sub/ | Sub/a.txt=content@3.5", with
/// the date in seconds after one fixed moment where it is another. Failures throw.
class Fixture {
  public:
    using Path = std::filesystem::path;

    explicit Fixture(Path testRoot) : root(std::move(testRoot)) {}

    Path operator/(const std::string &relative) const { return Paths::standardised(root / relative); }
    Path drive(const std::string &relative = "") const { return *this / ("Volumes/Passport/" + relative); }
    Path documents(const std::string &relative) const { return *this / ("Home/Documents/" + relative); }
    Path oneDrive(const std::string &relative = "") const {
        return *this / ("Home/Library/CloudStorage/OneDrive-TestCorp/" + relative);
    }

    /// Empties the world, the log and the settings folder: no drive, no document, nothing in OneDrive.
    void reset() const;
    /// One run of the engine without a model, from "Photos" on the drive to "Photos" in OneDrive.
    SyncRun backUp(
        const SyncRules &rules = {}, const ProgressReporter::Report &report = [](const SyncProgress &) {}) const;
    /// Whether the log has an entry `message`.
    static bool logged(const std::string &message);

    /// Writes items into a folder, which is made.
    static void put(const Path &folder, const std::string &items);
    static std::string tree(const Path &folder);
    /// The headline of a run and all its lines.
    static std::string told(const SyncRun &run);

  private:
    Path root;
};

/// One sync of "Photos", told as in Fixture.
struct Scenario {
    const char *situation;
    const char *original;
    const char *backup;
    const char *backupAfterwards;
    const char *record;
    bool onFat = false;
};

/// Checks the backup and the record of each; that the original is untouched, that no temporary file is left, and that a
/// second sync has nothing to do.
void carryOut(const std::vector<Scenario> &scenarios, const Fixture &world);
