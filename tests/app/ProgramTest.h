#pragma once

#include "records/AppConfig.h"
#include "records/SyncRun.h"
#include "support/TestTree.h"

#include <gtest/gtest.h>
#include <map>
#include <string>
#include <vector>

/// A command that is run through the shell in an environment of its own.
struct Program {
    struct Outcome {
        int status = 0;  ///< the exit status; 128 and the signal's number after a deadly one
        std::string out; ///< what came on standard output
        std::string err; ///< what came on standard error
    };

    Outcome run() const;

    std::vector<std::string> words;                 ///< the program and its arguments
    std::map<std::string, std::string> environment; ///< besides PATH
};

/// A folder, the place of its backup and a home folder, all in one temporary tree and on one volume.
class ProgramTest : public testing::Test {
  protected:
    using Snapshot = std::map<std::string, std::string>;
    using Lines = std::vector<std::string>;

    ProgramTest();

    /// `--backup` of "Photos" to "OneDrive/Photos" with further arguments.
    Program backUp(const Lines &options = {}) const;

    /// `text` with the tree's path in place of each "@".
    std::string inTree(std::string text) const;
    /// What temporary of this program's is left in the backup and in the home folder.
    Lines leftovers() const;
    /// The backup without leftovers.
    Snapshot backup() const;
    /// The backup equals the original and nothing is left over.
    void expectComplete() const;

    /// A run record as it was printed, which must be nothing but that.
    static SyncRun recordOf(const std::string &printed);
    /// The error lines and the notes in the order of their text, and what stopped the run early.
    static Lines toldBy(const SyncRun &run);

    TestTree tree;
};

/// A test root with "Photos" on the drive "Stick" and "Notes" in the home folder in its list of folders.
class ModelTest : public ProgramTest {
  protected:
    ModelTest();

    /// The program with the words of `arguments` in the test root, as a user who may not write everywhere.
    Program program(const std::string &arguments) const;
    void save(const AppConfig &settings);
    AppConfig settings() const;
    std::vector<SyncRun> history() const;
    /// The log without the times.
    std::string log() const;
};

/// What the system knows of every item of a tree, to find out that really nothing was done to it, not even reading it
/// in a way that leaves a mark.
class Untouched {
  public:
    /// Gives all items an old access time, so that reading one changes it.
    explicit Untouched(const fs::path &top);
    void expectUntouched() const;

  private:
    std::string names() const;
    std::string facts() const;

    fs::path top;
    TestTree notes;
};
