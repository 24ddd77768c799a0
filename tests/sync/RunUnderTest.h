#pragma once

#include "support/TestTree.h"
#include "sync/SyncRunner.h"

#include <string>
#include <vector>

/// Real runs on real trees, with records told as lines of text so that whole records can be compared.
namespace RunUnderTest {

using Lines = std::vector<std::string>;

/// A tree that is the home folder of this process from now on and holds the cache folder. Folders are relative to its
/// top.
class Sandbox : public TestTree {
  public:
    /// The cache folder, and with it the temporary area, is `cacheFolder`; by default "cache" in the tree.
    explicit Sandbox(const fs::path &cacheFolder = {});

    /// A job from "NAME" to "OneDrive/NAME", or to `backup`.
    SyncJob job(const std::string &name, const fs::path &backup = {}) const;

    /// The temporary items of the program anywhere in the tree.
    Lines leftovers() const { return leftoversIn(top()); }
    static Lines leftoversIn(const fs::path &folder);
};

SyncRun run(
    const std::vector<SyncJob> &jobs, const CancelToken &token = CancelToken(),
    const ProgressReporter::Report &report = [](const SyncProgress &) {});

/// Everything that a record holds but its dates and ids: "copied FILES, BYTES" with what else is not 0, the
/// sentences with "error: ", "conflict: ", "newer: ", "note: " and "fatal: ", "pair NAME: COPIED, BYTES,
/// ERRORS NOTE", "added REL SIZE" and "skip name REL: DETAIL".
Lines told(const SyncRun &run);
Lines sorted(Lines lines);

/// `count` files of `size` bytes, "FOLDER/00", "FOLDER/01" and so on, their contents beginning with
/// `content`.
void makeFiles(TestTree &tree, const std::string &folder, int count, const std::string &content, FileTime mtime,
               std::size_t size = 40);

} // namespace RunUnderTest
