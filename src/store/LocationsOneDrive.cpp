#include "base/Collation.h"
#include "base/Paths.h"
#include "base/Text.h"
#include "platform/MountTable.h"
#include "store/Locations.h"
#include "store/OneDriveClients.h"
#include "store/TestRoot.h"

#include <algorithm>

#include <unistd.h>

namespace Locations {

namespace {

bool isNamedOneDrive(const fs::path &entry) {
    return entry.filename().native().starts_with("OneDrive");
}

bool isLink(const fs::path &entry) {
    std::error_code error;
    return fs::is_symlink(entry, error);
}

bool isReadableFolder(const fs::path &entry) {
    return isFolder(entry) && ::access(entry.c_str(), R_OK) == 0;
}

bool isLeftOver(const QString &name) {
    return name.contains(u'(');
}

/// The folders that a OneDrive client makes by itself, the ones of live accounts first.
std::vector<fs::path> namedFolders() {
    std::vector<fs::path> roots;
    for (const fs::path &place : {homeURL() / "Library/CloudStorage", homeURL()}) {
        for (const fs::path &entry : visibleEntries(place)) {
            if (isNamedOneDrive(entry) && !isLink(entry) && isReadableFolder(entry) &&
                std::find(roots.begin(), roots.end(), entry) == roots.end())
                roots.push_back(entry);
        }
    }
    std::stable_sort(roots.begin(), roots.end(), [](const fs::path &a, const fs::path &b) {
        const QString first = Text::fromPath(a.filename());
        const QString second = Text::fromPath(b.filename());
        return isLeftOver(first) != isLeftOver(second) ? isLeftOver(second) : Collation::less(first, second);
    });
    return roots;
}

std::vector<fs::path> linkedFolders() {
    std::vector<fs::path> folders;
    for (const fs::path &entry : visibleEntries(homeURL())) {
        if (isNamedOneDrive(entry) && isLink(entry))
            folders.push_back(resolved(entry));
    }
    std::sort(folders.begin(), folders.end());
    return folders;
}

void addIfNew(std::vector<OneDriveFolder> &folders, const fs::path &url, const QString &what) {
    // A folder that holds the home folder would take everything for OneDrive's.
    if (!isReadableFolder(url) || Paths::isWithin(resolved(homeURL()), resolved(url)))
        return;
    const auto same = std::find_if(folders.begin(), folders.end(), [&](const OneDriveFolder &folder) {
        return folder.url == url || resolved(folder.url) == resolved(url);
    });
    if (same == folders.end())
        folders.push_back({url, what});
    else if (same->what.isEmpty())
        same->what = what;
}

/// Whether nothing is mounted at a mount point at present, or nothing that answers.
bool isBare(const fs::path &mountPoint) {
    return !MountTable::read().reachableAt(mountPoint) || !isFolder(mountPoint);
}

QString shownChoice(const QString &chosen) {
    return QString(chosen).replace(QChar(0), QChar(0xFFFD));
}

} // namespace

std::vector<OneDriveFolder> oneDriveFolders() {
    std::vector<OneDriveFolder> folders;
    for (const fs::path &root : namedFolders())
        folders.push_back({root, OneDriveClients::mountAt(root).value_or(QString())});
    if (TestRoot::isActive())
        return folders;
    for (const fs::path &folder : linkedFolders())
        addIfNew(folders, folder, OneDriveClients::mountAt(folder).value_or(QString()));
    for (const OneDriveClients::ClientFolder &folder : OneDriveClients::folders())
        addIfNew(folders, folder.url, folder.what);
    return folders;
}

std::vector<fs::path> oneDriveRoots() {
    std::vector<fs::path> roots;
    for (const OneDriveFolder &folder : oneDriveFolders())
        roots.push_back(folder.url);
    return roots;
}

OneDriveInUse oneDriveInUse(const std::optional<QString> &chosen, const std::optional<QString> &keptMount,
                            const std::vector<OneDriveFolder> &found) {
    using State = OneDriveInUse::State;
    const std::optional<fs::path> mount = keptMount ? storedPath(*keptMount) : std::nullopt;
    const OneDriveInUse notMounted{.state = State::NotMounted, .mountPoint = mount};
    const auto use = [&](const fs::path &root) {
        return OneDriveInUse{
            .state = State::Ready, .root = root, .mountPoint = mount && isHeldBy(root, *mount) ? mount : std::nullopt};
    };
    OneDriveInUse none;
    if (chosen) {
        const std::optional<fs::path> choice = storedPath(*chosen);
        if (choice && isFolder(*choice)) {
            const OneDriveInUse ready = use(*choice);
            const bool belongsOnMount = mount && Paths::isWithin(resolved(*choice), *mount);
            return belongsOnMount && !ready.mountPoint ? notMounted : ready;
        }
        none.goneChoice = choice.value_or(Text::toPath(shownChoice(*chosen)));
    }
    // Never a reason to take another account's folder.
    if (mount && isBare(*mount))
        return notMounted;
    if (found.empty())
        return none;
    OneDriveInUse detected = use(found.front().url);
    detected.goneChoice = none.goneChoice;
    return detected;
}

std::optional<fs::path> mountPointToKeep(const fs::path &folder) {
    const MountTable table = MountTable::read();
    const MountEntry *mount = table.holding(folder);
    const MountEntry *ofHome = table.holding(homeURL());
    return mount && mount != ofHome ? std::optional(mount->mountPoint) : std::nullopt;
}

bool isHeldBy(const fs::path &folder, const fs::path &top) {
    const MountTable table = MountTable::read();
    const MountEntry *mount = table.holding(folder);
    return mount && Paths::isWithin(mount->mountPoint, top);
}

QString notMounted(const fs::path &mountPoint) {
    return QStringLiteral("OneDrive isn't mounted (") + tildePath(mountPoint) +
           QStringLiteral("). Start your OneDrive client, then sync again.");
}

std::optional<QString> oneDriveRefusal(const fs::path &folder) {
    const auto refuse = [&](const QString &reason) {
        return QStringLiteral("“") + Text::fromBytes(Paths::lastComponent(folder)) +
               QStringLiteral("” can't be the OneDrive folder: ") + reason;
    };
    if (!Text::isUtf8(folder.native()))
        return refuse(QStringLiteral("its path isn't valid text."));
    if (!isFolder(folder))
        return refuse(QStringLiteral("it isn't a folder."));
    if (Paths::isWithin(resolved(homeURL()), resolved(folder)))
        return refuse(QStringLiteral("your home folder is inside it."));
    const MountTable table = MountTable::read();
    const MountEntry *mount = table.holding(folder);
    if (mount && mount->type == "fuse.gvfsd-fuse")
        return refuse(QStringLiteral("the desktop's own cloud accounts name files by identifiers, so a path that was "
                                     "written isn't the path that is read. Set up a OneDrive client instead."));
    return std::nullopt;
}

} // namespace Locations
