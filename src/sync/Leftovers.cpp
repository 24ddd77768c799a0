#include "sync/Leftovers.h"

#include "platform/FileFacts.h"
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

/// Nothing of ours that is under way is ever a link.
bool isLink(int folder, const char *name) {
    const std::optional<FileFacts> facts = lookAt(folder, name);
    return facts && facts->kind == FileKind::Link;
}

} // namespace

bool isOldVersion(const PlannedLeftover &leftover) {
    return TempArea::isAsideName(split(leftover.backupRel).second);
}

void remove(const FolderAnchor &backup, const PlannedLeftover &leftover) {
    const auto [folderRel, name] = split(leftover.backupRel);
    try {
        const FileDescriptor folder = OpenBelow::folder(backup.descriptor(), folderRel);
        if (isLink(folder.get(), name.c_str())) {
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
