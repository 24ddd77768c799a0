#include "sync/PlannedJob.h"

#include "base/Paths.h"
#include "platform/MountTable.h"
#include "sync/PlanText.h"
#include "sync/Planner.h"

namespace {

/// Judged by what was opened: between a look at a path and its use a mount may go.
bool isOnMount(const FolderAnchor &anchor, const std::filesystem::path &mountPoint) {
    const MountTable table = MountTable::read();
    if (!anchor.isOpen())
        return table.reachableAt(mountPoint);
    const MountEntry *mount = table.withId(static_cast<int>(anchor.facts().mountId));
    return mount && Paths::isWithin(mount->mountPoint, mountPoint);
}

} // namespace

std::optional<JobRefusal> PlannedJob::open(const SyncJob &order, const CancelToken &token, ProgressReporter &reporter) {
    job = &order;
    if (std::optional<JobRefusal> refusal = openFolders())
        return refusal;
    Planner planner(order.rules, token, [&] {
        ++reporter.progress.scanned;
        reporter.emitThrottled();
    });
    plan = planner.build(original, backup, order.placeInOneDrive());
    return std::nullopt;
}

std::optional<JobRefusal> PlannedJob::openFolders() {
    const SyncJob &order = *job;
    original = FolderAnchor::openIfFolder(order.original);
    if (!original.isOpen())
        return JobRefusal{PlanText::originalMissing(order, original.openError()),
                          QStringLiteral("Folder not found on the drive")};
    backup = FolderAnchor::openIfFolder(order.backup);
    if (!backup.isOpen())
        backupParent = FolderAnchor::openIfFolder(order.backup.parent_path());
    const FolderAnchor &anchor = backup.isOpen() ? backup : backupParent;
    if (order.mountPoint && !isOnMount(anchor, *order.mountPoint))
        return JobRefusal{PlanText::notMounted(order), QStringLiteral("OneDrive isn't mounted")};
    if (!anchor.isOpen())
        return JobRefusal{PlanText::backupUnavailable(order, anchor.openError()),
                          QStringLiteral("Backup folder not available")};
    return std::nullopt;
}
