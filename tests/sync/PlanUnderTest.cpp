#include "sync/PlanUnderTest.h"

#include "base/Text.h"
#include "support/Restricted.h"
#include "support/TestTree.h"
#include "sync/Planner.h"

#include <algorithm>

#include <dirent.h>
#include <sys/wait.h>

namespace PlanUnderTest {

namespace {

FolderAnchor anchorAt(const fs::path &path) {
    return fs::is_directory(path) ? FolderAnchor(path) : FolderAnchor::missing(path);
}

std::string below(const fs::path &top, const fs::path &path) {
    if (path == top)
        return "";
    const std::string start = top.native() + '/';
    return path.native().starts_with(start) ? path.native().substr(start.size()) : "?" + path.native();
}

std::string versionText(const FileVersion &version) {
    std::string text =
        std::to_string(version.size) + '@' + std::to_string(version.mtime.seconds - someTime.seconds);
    if (version.mtime.nanoseconds != 0)
        text += '.' + std::to_string(version.mtime.nanoseconds);
    return text;
}

std::string line(const PairPlan &plan, const PlannedCopy &copy) {
    const std::string rel = PairPlan::rel(copy);
    std::string line = copy.kind() == ChangeKind::added ? "added " : "updated ";
    line += rel + " > " + below(plan.backup, plan.to(copy)) + ": " + versionText(copy.version());
    if (copy.replaces)
        line += " over " + versionText(*copy.replaces);
    if (below(plan.original, plan.from(copy)) != rel)
        line += " from " + plan.from(copy).native();
    return line;
}

std::string line(const PairPlan &plan, const PlannedSkip &skip) {
    const std::string rel = PairPlan::rel(skip);
    std::string line = skip.kind == SkipKind::name ? "skip name " : "skip type ";
    line += rel + " | " + Text::toBytes(skip.detail);
    if (below(plan.original, plan.url(skip)) != rel)
        line += " at " + plan.url(skip).native();
    return line;
}

} // namespace

PairPlan planOf(const fs::path &original, const fs::path &backup, const std::function<void()> &onFile,
                const CancelToken &token, const SyncRules &rules) {
    const FolderAnchor originalAnchor = anchorAt(original);
    const FolderAnchor backupAnchor = anchorAt(backup);
    return Planner(rules, token, onFile).build(originalAnchor, backupAnchor);
}

Lines told(const PairPlan &plan) {
    Lines lines;
    for (const PlannedFolder &folder : plan.folders)
        lines.push_back("folder " + PairPlan::rel(folder.folder) + " > " +
                        below(plan.backup, plan.url(folder)));
    for (const PlannedCopy &copy : plan.copies)
        lines.push_back(line(plan, copy));
    for (const PlannedSkip &skip : plan.skipped)
        lines.push_back(line(plan, skip));
    for (const auto &sentences : {plan.keptNewer, plan.conflicts, plan.problems}) {
        for (const QString &sentence : sentences)
            lines.push_back(Text::toBytes(sentence));
    }
    for (const PlannedLeftover &leftover : plan.staleTemps)
        lines.push_back("temp " + below(plan.backup, plan.url(leftover)));
    if (plan.upToDate != 0)
        lines.push_back("up to date: " + std::to_string(plan.upToDate));
    if (plan.skippedLinks != 0)
        lines.push_back("links: " + std::to_string(plan.skippedLinks));
    return lines;
}

Lines sorted(Lines lines) {
    std::sort(lines.begin(), lines.end());
    return lines;
}

Lines deliveryOrder(const fs::path &folder) {
    Lines names;
    DIR *stream = ::opendir(folder.c_str());
    while (const dirent *item = stream ? ::readdir(stream) : nullptr) {
        const std::string name = item->d_name;
        if (name != "." && name != "..")
            names.push_back(name);
    }
    if (stream)
        ::closedir(stream);
    return names;
}

std::optional<std::string> inChild(const std::function<std::string()> &act) {
    int ends[2];
    if (::pipe(ends) != 0)
        return std::nullopt;
    FileDescriptor reading(ends[0]);
    FileDescriptor writing(ends[1]);
    const pid_t child = ::fork();
    if (child == 0) {
        // "." tells a finished child from one that was killed; _exit leaves the parent's objects alone.
        const std::string result = act() + '.';
        const bool whole = ::write(writing.get(), result.data(), result.size()) == std::ssize(result);
        ::_exit(whole ? 0 : 1);
    }
    writing.reset();
    std::string result;
    char buffer[4096];
    for (ssize_t got; (got = ::read(reading.get(), buffer, sizeof buffer)) > 0;)
        result.append(buffer, static_cast<std::size_t>(got));
    int status = 0;
    if (child < 0 || ::waitpid(child, &status, 0) != child || status != 0 || !result.ends_with('.'))
        return std::nullopt;
    result.pop_back();
    return result;
}

std::optional<std::string> asOrdinaryUser(const std::function<std::string()> &act) {
    return inChild([&] {
        Restricted::becomeOrdinaryUser();
        return act();
    });
}

std::string text(const Lines &lines) {
    std::string text;
    for (const std::string &line : lines)
        text += line + '\n';
    return text;
}

} // namespace PlanUnderTest
