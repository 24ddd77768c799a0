#include "sync/Publisher.h"

#include "platform/Durability.h"

#include <utility>

void Publisher::publish(CopyInProgress &item) {
    const PlannedCopy &copy = *item.copy;
    StagedCopy &staged = *item.staged();
    try {
        backupWatch.check();
        TempVolume &volume = staged.tempVolume();
        const std::shared_ptr<const TargetFolder> target = folderOf(item, volume);
        const PublishedCopy outcome =
            Copier::publish(staged, target, copy.targetName, item.version, copy.replaces, planned.job->rules);
        if (namesToFlush != target)
            flushNamesOf(std::exchange(namesToFlush, nullptr));
        if (volume.durability == Durability::Method::EachFile)
            namesToFlush = target;
        item.state = outcome;
    } catch (const std::exception &) {
        item.state = CopyInProgress::NotPublished{std::current_exception()};
    }
}

std::shared_ptr<const TargetFolder> Publisher::folderOf(const CopyInProgress &item, TempVolume &volume) {
    const PlanFolder *folder = item.copy->folder;
    return folders.get(folder, [&] {
        auto target = std::make_shared<TargetFolder>();
        target->folder = OpenBelow::folder(planned.backup.descriptor(), PairPlan::backupRel(folder));
        target->volume = &volume;
        return std::shared_ptr<const TargetFolder>(std::move(target));
    });
}

void Publisher::flushNamesOf(const std::shared_ptr<const TargetFolder> &folder) {
    const int error = folder ? Durability::flushFile(folder->folder.get()) : 0;
    failedFlush = failedFlush ? failedFlush : error;
}

int Publisher::flushNames() {
    flushNamesOf(std::exchange(namesToFlush, nullptr));
    return std::exchange(failedFlush, 0);
}
