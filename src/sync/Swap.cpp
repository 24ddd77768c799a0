#include "sync/Swap.h"

#include "platform/FileFacts.h"
#include "sync/CopyError.h"
#include "sync/TempArea.h"

#include <cerrno>
#include <optional>
#include <string>
#include <system_error>

#include <unistd.h>

namespace Swap {

namespace {

/// What stands at the target; none when nothing does.
std::optional<FileFacts> look(NameAt target) {
    const std::optional<FileFacts> facts = lookAt(target.folder, target.name);
    if (!facts && errno != ENOENT)
        throw std::system_error(errno, std::generic_category(), "stat");
    return facts;
}

bool cannotRenameOver(int error) {
    return error == EEXIST || error == EINVAL || error == EOPNOTSUPP;
}

/// Never over an older version that was moved aside before. Returns the new name.
std::string moveAside(Mover &mover, NameAt target) {
    for (int attempt = 0; attempt < 10; ++attempt) {
        std::string aside = TempArea::asideName(target.name);
        if (mover.moveIn(target, {target.folder, aside.c_str()}) == Mover::MovedIn::Done)
            return aside;
    }
    throw std::system_error(EEXIST, std::generic_category(), "rename");
}

/// For file systems that can't rename over a file. At every moment the old or the new version stands in the folder, the
/// old one under a name that the next run recognises.
void swapByHand(Mover &mover, NameAt copy, NameAt target) {
    const std::string aside = moveAside(mover, target);
    const NameAt old{target.folder, aside.c_str()};
    try {
        if (mover.moveIn(copy, target) == Mover::MovedIn::TargetExists)
            throw std::system_error(EEXIST, std::generic_category(), "rename");
    } catch (const std::system_error &) {
        try {
            mover.moveIn(old, target);
        } catch (const std::system_error &) {
            // The first failure is the one to report; the old version keeps its recognisable name.
        }
        throw;
    }
    ::unlinkat(target.folder, aside.c_str(), 0);
}

void replace(Mover &mover, NameAt copy, NameAt target) {
    try {
        Mover::replace(copy, target);
    } catch (const std::system_error &error) {
        if (!cannotRenameOver(error.code().value()))
            throw;
        swapByHand(mover, copy, target);
    }
}

} // namespace

Published intoPlace(Mover &mover, NameAt copy, NameAt target, const FileVersion &original, const FileVersion *planned,
                    const SyncRules &rules) {
    const FileVersion *expected = planned;
    // Every turn begins with fresh facts; only a folder that changes faster than it can be looked at needs many.
    for (int turn = 0; turn < 10; ++turn) {
        if (!expected && mover.moveIn(copy, target) == Mover::MovedIn::Done)
            return Published::Added;
        const std::optional<FileFacts> found = look(target);
        if (!found) {
            expected = nullptr;
            continue;
        }
        if (found->kind == FileKind::Folder)
            return Published::FolderInTheWay;
        if (found->kind != FileKind::Regular)
            throw CopyError(QStringLiteral("something that is neither a file nor a folder is in the way in OneDrive"));
        const FileVersion there{found->size, found->mtime};
        if (!expected || *expected != there) {
            const Verdict verdict = decide(original, there, rules);
            if (verdict == Verdict::UpToDate)
                return Published::UpToDate;
            if (verdict == Verdict::KeepNewer)
                return Published::KeptNewer;
        }
        replace(mover, copy, target);
        return Published::Updated;
    }
    throw CopyError(QStringLiteral("The file in OneDrive keeps changing. It will be retried next time."));
}

} // namespace Swap
