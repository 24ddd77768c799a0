#include "sync/TempArea.h"

#include "base/Paths.h"
#include "platform/FileFacts.h"
#include "platform/FolderReader.h"
#include "platform/Lock.h"
#include "platform/MountTable.h"
#include "store/Locations.h"
#include "store/TestRoot.h"

#include <QRandomGenerator>

#include <algorithm>
#include <cerrno>
#include <string_view>
#include <system_error>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

namespace fs = std::filesystem;

constexpr std::string_view folderPrefix = "NSIRD_TarnwickBasic_";
constexpr std::string_view companionPrefix = "._NSIRD_TarnwickBasic_";
constexpr std::string_view asidePrefix = ".tw-old-";
constexpr std::array halfNames = {"0", "1"};
constexpr int folderFlags = O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC;

/// A folder that only this user can have prepared; anything else in its place is refused.
FileDescriptor openOwn(int parent, const char *name) {
    FileDescriptor folder(::openat(parent, name, folderFlags));
    struct stat facts = {};
    if (folder && (::fstat(folder.get(), &facts) != 0 || facts.st_uid != ::geteuid()))
        folder.reset();
    return folder;
}

FileDescriptor makeOwn(int parent, const char *name) {
    if (::mkdirat(parent, name, 0700) != 0 && errno != EEXIST)
        return {};
    return openOwn(parent, name);
}

std::string userFolderName() {
    return "folders." + std::to_string(::getuid());
}

/// Below the top of a drive: a folder for everyone, in it one of this user's own.
FileDescriptor makeDrivePlace(const fs::path &top) {
    const FileDescriptor drive(::open(top.c_str(), O_PATH | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
    if (!drive)
        return {};
    constexpr mode_t forEveryone = 01777;
    const bool isNew = ::mkdirat(drive.get(), ".TemporaryItems", forEveryone) == 0;
    const FileDescriptor shared(::openat(drive.get(), ".TemporaryItems", folderFlags));
    if (!shared)
        return {};
    if (isNew)
        ::fchmod(shared.get(), forEveryone); // the umask took bits away
    const FileDescriptor own = makeOwn(shared.get(), userFolderName().c_str());
    return own ? makeOwn(own.get(), "TemporaryItems") : FileDescriptor();
}

fs::path drivePlace(const fs::path &top) {
    return top / ".TemporaryItems" / userFolderName() / "TemporaryItems";
}

fs::path userPlace() {
    return Locations::cacheFolder() / "TemporaryItems";
}

FileDescriptor makeUserPlace() {
    std::error_code error;
    fs::create_directories(Locations::cacheFolder(), error);
    // The cache folder itself may be a link of the user's, to a larger disk say.
    const FileDescriptor cache(::open(Locations::cacheFolder().c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC));
    return cache ? makeOwn(cache.get(), "TemporaryItems") : FileDescriptor();
}

std::string randomLetters(int count) {
    constexpr std::string_view letters = "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789";
    std::string text;
    for (int i = 0; i < count; ++i)
        text += letters[QRandomGenerator::global()->bounded(static_cast<quint32>(letters.size()))];
    return text;
}

/// Makes and locks a temporary folder; `name` tells how it was called.
FileDescriptor makeLocked(int place, std::string &name) {
    for (int attempt = 0; attempt < 10; ++attempt) {
        name = std::string(folderPrefix) + randomLetters(8);
        if (::mkdirat(place, name.c_str(), 0700) != 0)
            continue;
        FileDescriptor folder = openOwn(place, name.c_str());
        if (!folder)
            return {};
        // Before it was locked another process may have taken the folder for a leftover.
        const bool isTaken = !Lock::tryLock(folder.get()) && errno == EWOULDBLOCK;
        if (!isTaken && ::faccessat(place, name.c_str(), F_OK, AT_SYMLINK_NOFOLLOW) == 0)
            return folder;
    }
    return {};
}

/// Inside a test root nothing real is, not even for cleaning up.
bool mayBeTouched(const fs::path &top) {
    return !TestRoot::isActive() || Paths::isWithin(top, *TestRoot::url());
}

/// Gives the volume a temporary folder in `place`, if that is open and on the same mount.
void makeAreaIn(TempVolume &volume, std::uint64_t mountId, const fs::path &path, const FileDescriptor &place) {
    const std::optional<FileFacts> facts = place ? lookAtOpen(place.get()) : std::nullopt;
    if (!facts || facts->mountId != mountId)
        return;
    std::string name;
    volume.area = makeLocked(place.get(), name);
    volume.path = path / name;
    for (std::size_t i = 0; volume.area && i < halfNames.size(); ++i) {
        volume.halves[i] = makeOwn(volume.area.get(), halfNames[i]);
        if (!volume.halves[i])
            volume.area.reset();
    }
}

/// Removes the files in an open folder of this program; folders are never made in one.
void removeFiles(int folder) {
    std::vector<std::string> names;
    try {
        const FileDescriptor again(::openat(folder, ".", folderFlags));
        FolderReader reader(again.get());
        for (FolderReader::Item item; reader.next(item);)
            names.emplace_back(item.name);
    } catch (const std::system_error &) {
        // What could be read is removed; the rest is for the next purge.
    }
    for (const std::string &name : names)
        ::unlinkat(folder, name.c_str(), 0);
}

void purgeItem(const fs::path &path) {
    const FileDescriptor item(::open(path.c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC));
    const bool isLink = !item && errno == ELOOP;
    if (!isLink && (!item || !Lock::tryLock(item.get())))
        return;
    std::error_code error;
    fs::remove_all(path, error);
}

void purgePlace(const fs::path &path) {
    const FileDescriptor place = openOwn(AT_FDCWD, path.c_str());
    if (!place)
        return;
    std::vector<std::string> stale;
    try {
        FolderReader reader(place.get());
        for (FolderReader::Item item; reader.next(item);) {
            if (item.name.starts_with(folderPrefix) || item.name.starts_with(companionPrefix))
                stale.emplace_back(item.name);
        }
    } catch (const std::system_error &) {
        // Passed over: it may be readable next time.
    }
    for (const std::string &name : stale)
        purgeItem(path / name);
}

/// The first 12 characters of a random UUID's text form. Made by hand: one is needed for every file.
std::string uniquePart() {
    thread_local QRandomGenerator random = QRandomGenerator::securelySeeded();
    constexpr std::string_view digits = "0123456789ABCDEF";
    std::string text = "00000000-000";
    quint64 bits = random.generate64();
    for (char &c : text) {
        if (c == '-')
            continue;
        c = digits[bits & 0xF];
        bits >>= 4;
    }
    return text;
}

/// Eight digits for a name, always the same ones: FNV-1a, since an old version may be looked for years later.
std::string digitsOf(std::string_view name) {
    std::uint32_t hash = 2166136261;
    for (const char c : name)
        hash = (hash ^ static_cast<unsigned char>(c)) * 16777619;
    std::string digits = "00000000";
    for (auto digit = digits.rbegin(); digit != digits.rend(); ++digit, hash >>= 4)
        *digit = "0123456789ABCDEF"[hash & 0xF];
    return digits;
}

} // namespace

TempArea::TempArea(std::vector<Path> oneDriveTrees) : trees(std::move(oneDriveTrees)) {
    std::transform(trees.begin(), trees.end(), trees.begin(), &Locations::resolved);
}

TempArea::~TempArea() {
    cleanup();
}

std::string TempArea::temporaryName() {
    return ".tw-" + uniquePart() + ".twtmp";
}

/// The eight digits tell later which file it was; the others let several old versions of one file stand side by side.
std::string TempArea::asideName(std::string_view target) {
    return std::string(asidePrefix) + digitsOf(target) + uniquePart().substr(8) + ".twtmp";
}

bool TempArea::isAsideName(std::string_view name) {
    return name.starts_with(asidePrefix);
}

bool TempArea::isAsideNameOf(std::string_view aside, std::string_view target) {
    return isAsideName(aside) && aside.substr(asidePrefix.size()).starts_with(digitsOf(target) + '-');
}

TempVolume &TempArea::volumeOf(int targetFolder, const Path &path) {
    const std::optional<FileFacts> facts = lookAtOpen(targetFolder);
    if (!facts)
        throw std::system_error(errno, std::generic_category(), "statx");
    const auto known = volumes.find(facts->mountId);
    if (known != volumes.end())
        return known->second;

    TempVolume &volume = volumes[facts->mountId];
    volume.device = facts->device;
    const MountTable table = MountTable::read();
    const MountEntry *mount = table.withId(static_cast<int>(facts->mountId));
    if (mount && isFuse(mount->type))
        volume.mover = Mover(Mover::On::Fuse);
    makeArea(volume, mount, facts->mountId, path);

    // Not the temporary folder: errors of the flush are told to whoever held the volume open before they happened.
    volume.anywhere.reset(::fcntl(targetFolder, F_DUPFD_CLOEXEC, 0));
    volume.durability = Durability::methodFor(targetFolder);
    return volume;
}

void TempArea::makeArea(TempVolume &volume, const MountEntry *mount, std::uint64_t mountId, const Path &target) const {
    const bool isOnDrive = mount && Locations::volumeInfo(mount->mountPoint);
    const auto tryTop = [&](const Path &top) {
        if (!volume.area && mayBeTouched(top) && isOutsideOneDrive(drivePlace(top)))
            makeAreaIn(volume, mountId, drivePlace(top), makeDrivePlace(top));
    };
    if (isOnDrive)
        tryTop(mount->mountPoint);
    if (!volume.area && isOutsideOneDrive(userPlace()))
        makeAreaIn(volume, mountId, userPlace(), makeUserPlace());
    if (!isOnDrive && mount) {
        for (const Path &top : topsFor(*mount, target))
            tryTop(top);
    }
}

/// Where a mount that is no drive may hold a temporary folder.
std::vector<TempArea::Path> TempArea::topsFor(const MountEntry &mount, const Path &target) const {
    // On a client's mount everything is uploaded, whatever part of it is chosen as OneDrive.
    if (isFuse(mount.type) && mount.type != "fuseblk")
        return {};
    std::vector<Path> tops = {mount.mountPoint};
    if (const std::optional<Path> parent = parentOfTree(target, trees))
        tops.push_back(*parent);
    return tops;
}

std::optional<TempArea::Path> TempArea::parentOfTree(const Path &target, const std::vector<Path> &oneDriveTrees) {
    const Path inside = Locations::resolved(target);
    std::optional<Path> outermost;
    for (const Path &tree : oneDriveTrees) {
        const Path top = Locations::resolved(tree);
        const bool isOuter = !outermost || top.native().size() < outermost->native().size();
        if (isOuter && Paths::isWithin(inside, top))
            outermost = top;
    }
    return outermost ? std::optional(outermost->parent_path()) : std::nullopt;
}

bool TempArea::isOutsideOneDrive(const Path &path) const {
    const Path place = Locations::resolved(path);
    return std::none_of(trees.begin(), trees.end(), [&](const Path &tree) { return Paths::isWithin(place, tree); });
}

void TempArea::cleanup() {
    for (const auto &[id, volume] : volumes) {
        if (!volume.area)
            continue;
        for (std::size_t i = 0; i < halfNames.size(); ++i) {
            removeFiles(volume.halves[i].get());
            ::unlinkat(volume.area.get(), halfNames[i], AT_REMOVEDIR);
        }
        ::rmdir(volume.path.c_str());
    }
    volumes.clear();
}

void TempArea::purgeStale(const std::vector<Path> &volumes) {
    purgePlace(userPlace());
    for (const Path &volume : volumes) {
        if (mayBeTouched(volume))
            purgePlace(drivePlace(volume));
    }
}
