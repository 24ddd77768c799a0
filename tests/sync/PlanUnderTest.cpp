#include "sync/PlanUnderTest.h"

#include "base/Text.h"
#include "support/Restricted.h"
#include "support/TestTree.h"
#include "sync/Planner.h"

#include <algorithm>

#include <sys/mman.h>
#include <sys/wait.h>

namespace PlanUnderTest {

namespace {

std::string below(const fs::path &top, const fs::path &path) {
    return path == top ? "" : path.native().substr(top.native().size() + 1);
}

std::string versionText(const FileVersion &version) {
    return std::to_string(version.size) + '@' + std::to_string(version.mtime.seconds - someTime.seconds);
}

std::string line(const PairPlan &plan, const PlannedCopy &copy) {
    const std::string kind = copy.kind() == ChangeKind::added ? "added " : "updated ";
    return kind + PairPlan::rel(copy) + " > " + below(plan.backup, plan.to(copy)) + ": " + versionText(copy.version()) +
           (copy.replaces ? " over " + versionText(*copy.replaces) : "");
}

} // namespace

PairPlan planOf(const fs::path &original, const fs::path &backup) {
    const FolderAnchor anchor(original);
    const CancelToken token;
    return Planner({}, token, [] {})
        .build(anchor, fs::exists(backup) ? FolderAnchor(backup) : FolderAnchor::missing(backup));
}

Lines told(const PairPlan &plan) {
    Lines lines;
    for (const PlannedFolder &folder : plan.folders)
        lines.push_back("folder " + PairPlan::rel(folder.folder) + " > " + below(plan.backup, plan.url(folder)));
    for (const PlannedCopy &copy : plan.copies)
        lines.push_back(line(plan, copy));
    for (const PlannedSkip &skip : plan.skipped)
        lines.push_back((skip.kind == SkipKind::name ? "skip name " : "skip type ") + PairPlan::rel(skip) + " | " +
                        Text::toBytes(skip.detail));
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

std::optional<std::string> inChild(const std::function<std::string()> &act) {
    const FileDescriptor shared(::memfd_create("result", MFD_CLOEXEC));
    const pid_t child = ::fork();
    if (child == 0) {
        // An exception must not run on into the test program; _exit leaves the parent's objects alone.
        const std::string result = [&]() noexcept { return act(); }();
        ::_exit(::write(shared.get(), result.data(), result.size()) == std::ssize(result) ? 0 : 1);
    }
    int status = 0;
    if (child < 0 || ::waitpid(child, &status, 0) != child || status != 0)
        return std::nullopt;
    std::string result(static_cast<std::size_t>(::lseek(shared.get(), 0, SEEK_END)), '\0');
    if (::pread(shared.get(), result.data(), result.size(), 0) != std::ssize(result))
        return std::nullopt;
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
