#include "sync/RunUnderTest.h"

#include "base/Text.h"

#include <algorithm>
#include <cstdlib>

namespace RunUnderTest {

namespace {

std::string bytes(const QString &text) {
    return Text::toBytes(text);
}

void addAll(Lines &lines, const std::string &kind, const std::vector<QString> &sentences) {
    for (const QString &sentence : sentences)
        lines.push_back(kind + ": " + bytes(sentence));
}

std::string counts(const SyncRun &run) {
    std::string line = "copied " + std::to_string(run.filesCopied) + ", " + std::to_string(run.bytesCopied);
    if (run.foldersCreated != 0)
        line += ", folders " + std::to_string(run.foldersCreated);
    if (run.upToDate != 0)
        line += ", up to date " + std::to_string(run.upToDate);
    if (run.changesOmitted != 0)
        line += ", omitted " + std::to_string(run.changesOmitted);
    return line + (run.cancelled ? ", cancelled" : "");
}

} // namespace

Sandbox::Sandbox(const fs::path &cacheFolder) {
    ::setenv("HOME", top().c_str(), 1);
    ::setenv("XDG_CACHE_HOME", (cacheFolder.empty() ? top() / "cache" : cacheFolder).c_str(), 1);
    dir("OneDrive");
}

SyncJob Sandbox::job(const std::string &name, const fs::path &backup) const {
    return {.pairID = QUuid::createUuid(),
            .name = Text::fromBytes(name),
            .original = top() / name,
            .backup = backup.empty() ? top() / "OneDrive" / name : backup,
            .rules = {}};
}

Lines Sandbox::leftoversIn(const fs::path &folder) {
    Lines found;
    for (const fs::directory_entry &entry : fs::recursive_directory_iterator(folder)) {
        const std::string name = entry.path().filename();
        if (name.starts_with(".tw-") || name.find("NSIRD_") != std::string::npos)
            found.push_back(entry.path().lexically_relative(folder));
    }
    return sorted(found);
}

SyncRun run(const std::vector<SyncJob> &jobs, const CancelToken &token, const ProgressReporter::Report &report) {
    return SyncRunner(jobs, token, SyncTrigger::manual, report).perform();
}

Lines told(const SyncRun &run) {
    Lines lines = {counts(run)};
    addAll(lines, "error", run.errors);
    addAll(lines, "conflict", run.conflicts);
    addAll(lines, "newer", run.keptNewer);
    addAll(lines, "note", run.notes);
    for (const SkippedItem &item : run.skipped)
        lines.push_back((item.kind == SkipKind::name ? "skip name " : "skip type ") + bytes(item.relPath) + ": " +
                        bytes(item.detail));
    for (const ChangeRecord &change : run.changes)
        lines.push_back((change.kind == ChangeKind::added ? "added " : "updated ") + bytes(change.relPath) + ' ' +
                        std::to_string(change.size));
    for (const PairResult &pair : run.pairResults)
        lines.push_back("pair " + bytes(pair.name) + ": " + std::to_string(pair.copied) + ", " +
                        std::to_string(pair.bytes) + ", " + std::to_string(pair.errors) +
                        (pair.note ? ' ' + bytes(*pair.note) : ""));
    if (run.fatal)
        lines.push_back("fatal: " + bytes(*run.fatal));
    return lines;
}

Lines sorted(Lines lines) {
    std::sort(lines.begin(), lines.end());
    return lines;
}

void makeFiles(TestTree &tree, const std::string &folder, int count, const std::string &content, FileTime mtime,
               std::size_t size) {
    for (int i = 0; i < count; ++i) {
        std::string all = content + std::to_string(i);
        all.resize(std::max(all.size(), size), '.');
        tree.file(folder + '/' + (i < 10 ? "0" : "") + std::to_string(i), all, mtime);
    }
}

} // namespace RunUnderTest
