#include "platform/Disk.h"

#include "base/Paths.h"
#include "platform/AtomicFile.h"
#include "platform/FileFacts.h"
#include "platform/FolderAnchor.h"
#include "platform/FolderReader.h"

#include <array>
#include <cerrno>
#include <climits>
#include <optional>
#include <system_error>

#include <dirent.h>
#include <fcntl.h>
#include <unistd.h>

namespace {

namespace fs = std::filesystem;

constexpr std::size_t largestText = 1024 * 1024;

/// What a link holds; none for anything else.
std::optional<fs::path> targetOf(const fs::path &path) {
    std::array<char, PATH_MAX> target;
    const ssize_t length = ::readlink(path.c_str(), target.data(), target.size());
    return length > 0 ? std::optional(fs::path(std::string(target.data(), static_cast<std::size_t>(length))))
                      : std::nullopt;
}

bool may(const fs::path &path, int mode) {
    return ::access(path.c_str(), mode) == 0;
}

PathFacts factsOf(const fs::path &path, const FileFacts &facts) {
    PathFacts result;
    result.isFolder = facts.kind == FileKind::Folder;
    result.canRead = may(path, R_OK);
    result.canEnter = result.isFolder && may(path, X_OK);
    result.canWrite = may(path, result.isFolder ? W_OK | X_OK : W_OK);
    result.resolved = path;
    result.mountId = static_cast<int>(facts.mountId);
    return result;
}

/// Something on the way to `path`, which has no links, can't be looked at.
PathFacts absent(const fs::path &path, int error) {
    PathFacts result;
    result.error = error;
    result.resolved = path;
    for (fs::path above = path; above != above.root_path();) {
        above = above.parent_path();
        if (const std::optional<FileFacts> facts = lookAt(AT_FDCWD, above.c_str())) {
            result.mountId = static_cast<int>(facts->mountId);
            break;
        }
    }
    return result;
}

} // namespace

const MountEntry *Disk::holding(const Path &path) {
    const PathFacts facts = look(path);
    if (!facts.isAnswered)
        return mounts().covering(Paths::standardised(path));
    const MountEntry *mount = mounts().withId(facts.mountId);
    return mount ? mount : mounts().covering(facts.resolved);
}

Disk::Path Disk::resolved(const Path &path) {
    const PathFacts facts = look(path);
    return facts.isAnswered ? facts.resolved : Paths::standardised(path);
}

PathFacts DirectDisk::lookWithin(const Path &path, Path &leadsTo) const {
    fs::path wanted = Paths::standardised(path);
    const MountEntry *mount = table.covering(wanted);
    int links = 0;
    // Where the mount itself is reached through links is the mount table's business: mount points have none.
    fs::path reached = mount ? mount->mountPoint : fs::path("/");
    fs::path rest = wanted.lexically_relative(reached);
    while (!rest.empty() && rest != ".") {
        const fs::path next = reached / *rest.begin();
        fs::path after;
        for (auto part = std::next(rest.begin()); part != rest.end(); ++part)
            after /= *part;
        if (const std::optional<fs::path> target = targetOf(next)) {
            if (++links > mostLinks)
                return absent(wanted, ELOOP);
            wanted = Paths::standardised(reached / *target / after);
            if (table.covering(wanted) != mount) {
                leadsTo = wanted;
                return {};
            }
            reached = mount ? mount->mountPoint : fs::path("/");
            rest = wanted.lexically_relative(reached);
            continue;
        }
        reached = next;
        rest = after;
    }
    const std::optional<FileFacts> facts = lookAt(AT_FDCWD, wanted.c_str());
    return facts ? factsOf(wanted, *facts) : absent(wanted, errno);
}

PathFacts DirectDisk::look(const Path &path) {
    Path current = path;
    for (int hops = 0; hops < mostLinks; ++hops) {
        Path leadsTo;
        PathFacts facts = lookWithin(current, leadsTo);
        if (leadsTo.empty())
            return facts;
        current = leadsTo;
    }
    return absent(Paths::standardised(path), ELOOP);
}

std::vector<FolderItem> DirectDisk::visibleItems(const Path &folder) {
    std::vector<FolderItem> items;
    try {
        // Opened like an original: looking around leaves no mark on the user's folders.
        const FolderAnchor anchor(folder);
        const FileDescriptor open = OpenBelow::folder(anchor.descriptor(), {});
        FolderReader reader(open.get());
        for (FolderReader::Item item; reader.next(item);) {
            if (item.name.starts_with('.'))
                continue;
            const fs::path path = folder / item.name;
            const bool isLink = item.type == DT_UNKNOWN ? targetOf(path).has_value() : item.type == DT_LNK;
            items.push_back({path, isLink});
        }
    } catch (const std::system_error &) {
        // What could be read is there.
    }
    return items;
}

std::string DirectDisk::text(const Path &file) {
    return AtomicFile::read({AT_FDCWD, file.c_str()}, largestText, LinkAtEnd::IsFollowed).value_or(std::string());
}
