#include "sync/Leftovers.h"

#include "platform/FileFacts.h"
#include "platform/FolderReader.h"
#include "platform/Lock.h"
#include "sync/TempArea.h"

#include <system_error>

#include <unistd.h>

namespace Leftovers {

namespace {

std::pair<std::string, std::string> split(const std::string &relative) {
    const std::size_t slash = relative.rfind('/');
    if (slash == std::string::npos)
        return {std::string(), relative};
    return {relative.substr(0, slash), relative.substr(slash + 1)};
}

bool is(FileKind kind, int folder, const char *name) {
    const std::optional<FileFacts> facts = lookAt(folder, name);
    return facts && facts->kind == kind;
}

} // namespace

bool isOldVersion(const PlannedLeftover &leftover) {
    return TempArea::isAsideName(split(leftover.backupRel).second);
}

bool isOnlyVersion(const FolderAnchor &backup, const PlannedLeftover &oldVersion) {
    const auto [folderRel, aside] = split(oldVersion.backupRel);
    try {
        const FileDescriptor folder = OpenBelow::folder(backup.descriptor(), folderRel);
        if (!is(FileKind::Regular, folder.get(), aside.c_str()))
            return false;
        FolderReader reader(folder.get());
        for (FolderReader::Item item; reader.next(item);) {
            if (TempArea::isAsideNameOf(aside, item.name) && is(FileKind::Regular, folder.get(), item.name.data()))
                return false;
        }
    } catch (const std::system_error &) {
        // The next run tries again.
    }
    return true;
}

void remove(const FolderAnchor &backup, const PlannedLeftover &leftover) {
    const auto [folderRel, name] = split(leftover.backupRel);
    try {
        const FileDescriptor folder = OpenBelow::folder(backup.descriptor(), folderRel);
        if (is(FileKind::Link, folder.get(), name.c_str())) { // nothing of ours that is under way is one
            ::unlinkat(folder.get(), name.c_str(), 0);
            return;
        }
        const FileDescriptor file = OpenBelow::file(folder.get(), name.c_str());
        const std::optional<FileFacts> facts = lookAtOpen(file.get());
        if (facts && facts->kind == FileKind::Regular && Lock::tryLock(file.get()))
            ::unlinkat(folder.get(), name.c_str(), 0);
    } catch (const std::system_error &) {
        // It stays recognisable, and the next run tries again.
    }
}

} // namespace Leftovers
