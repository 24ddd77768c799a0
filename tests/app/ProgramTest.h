#pragma once

#include "app/Program.h"
#include "records/SyncRun.h"
#include "support/TestTree.h"

#include <gtest/gtest.h>
#include <map>
#include <string>
#include <vector>

/// A folder, the place of its backup and a home folder, all in one temporary tree and on one volume.
class ProgramTest : public testing::Test {
  protected:
    using Snapshot = std::map<std::string, std::string>;

    ProgramTest();

    /// `--backup` of "Photos" to "OneDrive/Photos" with further arguments.
    Program backUp(const std::vector<std::string> &options = {}) const;
    /// The program with these arguments alone.
    Program program(const std::vector<std::string> &arguments) const;

    /// What temporary of this program's is left in the backup and in the home folder.
    std::vector<std::string> leftovers() const;

    /// A run record as it was printed, which must be nothing but that.
    static SyncRun recordOf(const std::string &printed);

    TestTree tree;
};

/// What the system knows of every item of a tree, to find out that really nothing was done to it, not even
/// reading it in a way that leaves a mark.
class Untouched {
  public:
    /// Gives all items an old access time, so that reading one changes it.
    explicit Untouched(const fs::path &top);
    void expectUntouched() const;

  private:
    static std::string factsOf(const fs::path &path);

    fs::path top;
    std::map<fs::path, std::string> before;
};
