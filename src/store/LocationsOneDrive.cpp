#include "base/Collation.h"
#include "base/Paths.h"
#include "base/Text.h"
#include "platform/MountTable.h"
#include "store/Locations.h"
#include "store/OneDriveClients.h"
#include "store/TestRoot.h"

#include <algorithm>

namespace Locations {

namespace {

bool isNamedOneDrive(const fs::path &entry) {
    return entry.filename().native().starts_with("OneDrive");
}

bool isReadableFolder(const PathFacts &facts) {
    return !facts.isAnswered || (facts.isFolder && facts.canRead);
}

bool isLeftOver(const QString &name) {
    return name.contains(u'(');
}

/// The folders that a OneDrive client makes by itself, the ones of live accounts first.
std::vector<fs::path> namedFolders(Disk &disk) {
    std::vector<fs::path> roots;
    for (const fs::path &place : {homeURL() / "Library/CloudStorage", homeURL()}) {
        for (const FolderItem &item : disk.visibleItems(place)) {
            if (isNamedOneDrive(item.path) && !item.isLink && isReadableFolder(disk.look(item.path)) &&
                std::find(roots.begin(), roots.end(), item.path) == roots.end())
                roots.push_back(item.path);
        }
    }
    std::stable_sort(roots.begin(), roots.end(), [](const fs::path &a, const fs::path &b) {
        const QString first = Text::fromPath(a.filename());
        const QString second = Text::fromPath(b.filename());
        return isLeftOver(first) != isLeftOver(second) ? isLeftOver(second) : Collation::less(first, second);
    });
    return roots;
}

std::vector<fs::path> linkedFolders(Disk &disk) {
    std::vector<fs::path> folders;
    for (const FolderItem &item : disk.visibleItems(homeURL())) {
        if (isNamedOneDrive(item.path) && item.isLink)
            folders.push_back(disk.resolved(item.path));
    }
    std::sort(folders.begin(), folders.end());
    return folders;
}

void addIfNew(std::vector<OneDriveFolder> &folders, const OneDriveFolder &found, Disk &disk) {
    const fs::path place = disk.resolved(found.url);
    // A folder that holds the home folder would take everything for OneDrive's.
    if (!isReadableFolder(disk.look(found.url)) || Paths::isWithin(disk.resolved(homeURL()), place))
        return;
    const auto same = std::find_if(folders.begin(), folders.end(),
                                   [&](const OneDriveFolder &folder) { return disk.resolved(folder.url) == place; });
    if (same == folders.end())
        folders.push_back(found);
    else if (same->what.isEmpty())
        same->what = found.what;
}

/// Whether nothing is mounted at a mount point at present, or nothing that lives.
bool isBare(const fs::path &mountPoint, Disk &disk) {
    const PathFacts facts = disk.look(mountPoint);
    return !disk.mounts().reachableAt(mountPoint) || (facts.isAnswered && !facts.isFolder);
}

QString shownChoice(const QString &chosen) {
    return QString(chosen).replace(QChar(0), QChar(0xFFFD));
}

} // namespace

std::vector<OneDriveFolder> oneDriveFolders(Disk &disk) {
    const auto described = [&](const fs::path &url) {
        return OneDriveFolder{url, OneDriveClients::mountAt(url, disk.mounts()).value_or(QString())};
    };
    std::vector<OneDriveFolder> folders;
    for (const fs::path &root : namedFolders(disk))
        folders.push_back(described(root));
    if (TestRoot::isActive())
        return folders;
    for (const fs::path &folder : linkedFolders(disk))
        addIfNew(folders, described(folder), disk);
    for (const OneDriveClients::ClientFolder &folder : OneDriveClients::folders(disk))
        addIfNew(folders, {folder.url, folder.what}, disk);
    return folders;
}

std::vector<fs::path> oneDriveRoots() {
    std::vector<fs::path> roots;
    for (const OneDriveFolder &folder : oneDriveFolders())
        roots.push_back(folder.url);
    return roots;
}

OneDriveInUse oneDriveInUse(const std::optional<QString> &chosen, const std::optional<QString> &keptMount,
                            const std::vector<OneDriveFolder> &found, Disk &disk) {
    using State = OneDriveInUse::State;
    const std::optional<fs::path> mount = keptMount ? storedPath(*keptMount) : std::nullopt;
    const OneDriveInUse notMounted{.state = State::NotMounted, .mountPoint = mount};
    const auto use = [&](const fs::path &root) {
        return OneDriveInUse{.state = State::Ready,
                             .root = root,
                             .mountPoint = mount && isHeldBy(root, *mount, disk) ? mount : std::nullopt};
    };
    OneDriveInUse none;
    if (chosen) {
        const std::optional<fs::path> choice = storedPath(*chosen);
        const PathFacts facts = choice ? disk.look(*choice) : PathFacts();
        if (facts.isFolder || !facts.isAnswered) {
            const OneDriveInUse ready = use(*choice);
            const bool belongsOnMount = mount && Paths::isWithin(disk.resolved(*choice), *mount);
            return belongsOnMount && !ready.mountPoint ? notMounted : ready;
        }
        none.goneChoice = choice.value_or(Text::toPath(shownChoice(*chosen)));
    }
    // Never a reason to take another account's folder.
    if (mount && isBare(*mount, disk))
        return notMounted;
    if (found.empty())
        return none;
    OneDriveInUse detected = use(found.front().url);
    detected.goneChoice = none.goneChoice;
    return detected;
}

std::optional<fs::path> mountPointToKeep(const fs::path &folder, Disk &disk) {
    const MountEntry *mount = disk.holding(folder);
    const MountEntry *ofHome = disk.holding(homeURL());
    return mount && mount != ofHome ? std::optional(mount->mountPoint) : std::nullopt;
}

bool isHeldBy(const fs::path &folder, const fs::path &top, Disk &disk) {
    const MountEntry *mount = disk.holding(folder);
    return mount && Paths::isWithin(mount->mountPoint, top);
}

QString notMounted(const fs::path &mountPoint) {
    return QStringLiteral("OneDrive isn't mounted (") + tildePath(mountPoint) +
           QStringLiteral("). Start your OneDrive client, then sync again.");
}

std::optional<QString> oneDriveRefusal(const fs::path &folder, Disk &disk) {
    const auto refuse = [&](const QString &reason) {
        return QStringLiteral("“") + Text::fromBytes(Paths::lastComponent(folder)) +
               QStringLiteral("” can't be the OneDrive folder: ") + reason;
    };
    if (!Text::isUtf8(folder.native()))
        return refuse(QStringLiteral("its path isn't valid text."));
    const PathFacts facts = disk.look(folder);
    if (facts.isAnswered && !facts.isFolder)
        return refuse(QStringLiteral("it isn't a folder."));
    if (Paths::isWithin(disk.resolved(homeURL()), disk.resolved(folder)))
        return refuse(QStringLiteral("your home folder is inside it."));
    const MountEntry *mount = disk.holding(folder);
    if (mount && mount->type == "fuse.gvfsd-fuse")
        return refuse(QStringLiteral("the desktop's own cloud accounts name files by identifiers, so a path that was "
                                     "written isn't the path that is read. Set up a OneDrive client instead."));
    return std::nullopt;
}

} // namespace Locations
