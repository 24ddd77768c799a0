#include "sync/Copier.h"

#include "platform/FileFacts.h"
#include "platform/FolderAnchor.h"
#include "platform/Lock.h"
#include "sync/CopyError.h"
#include "sync/Swap.h"

#include <cerrno>
#include <cmath>
#include <optional>
#include <system_error>
#include <time.h>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

[[noreturn]] void fail(int error, const char *what) {
    throw std::system_error(error, std::generic_category(), what);
}

CopyError incomplete() {
    return CopyError(CopyError::incomplete());
}

struct stat factsOf(int descriptor) {
    struct stat facts = {};
    if (::fstat(descriptor, &facts) != 0)
        fail(errno, "fstat");
    return facts;
}

/// Both are looked at by path: what counts is what stands under the names now. Returns what is known of the copy.
FileFacts checkComplete(NameAt source, const struct stat &sourceBefore, NameAt copy) {
    const std::optional<FileFacts> original = lookAt(source.folder, source.name);
    const std::optional<FileFacts> made = lookAt(copy.folder, copy.name);
    if (!original || !made || original->size != made->size)
        throw incomplete();
    // The same size with another date: it was written to while it was read, and the copy may be a mixture.
    if (FileTime::from(sourceBefore.st_mtim) != original->mtime)
        throw incomplete();
    return *made;
}

FileData::Devices devicesOf(dev_t a, dev_t b) {
    return a == b ? FileData::Devices::Same : FileData::Devices::Different;
}

void close(FileDescriptor &file) {
    if (const int error = file.close())
        fail(error, "close");
}

/// Some file systems tell only in closing that what was written isn't stored, and some of them upload then.
void writeDown(FileDescriptor &file, Durability::Method durability) {
    if (durability == Durability::Method::EachFile) {
        if (const int error = Durability::flushFile(file.get()))
            fail(error, "fsync");
        // A mount by rclone only begins to upload an empty file in a first close, and tells in another how that went.
        if (factsOf(file.get()).st_size == 0) {
            FileDescriptor first(::fcntl(file.get(), F_DUPFD_CLOEXEC, 0));
            if (first)
                close(first);
        }
    }
    close(file);
}

/// Sees to it that a published copy has its date: some file systems forget it in a rename, and a sync client may touch
/// the file at once. False when the file system can't keep it, as far as a comparison by `rules` would notice.
bool keepDate(NameAt file, FileTime date, const SyncRules &rules) {
    std::optional<FileFacts> now = lookAtAnew(file.folder, file.name);
    if (now && std::abs(secondsBetween(now->mtime, date)) > 1) {
        const timespec times[] = {date.toTimespec(), date.toTimespec()}; // one alone is ignored by some
        ::utimensat(file.folder, file.name, times, AT_SYMLINK_NOFOLLOW);
        const FileDescriptor dated(::openat(file.folder, file.name, O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC));
        if (dated)
            Durability::flushFile(dated.get());
        now = lookAtAnew(file.folder, file.name);
    }
    return !now || decide({0, date}, {0, now->mtime}, rules) == Verdict::UpToDate;
}

} // namespace

StagedCopy::StagedCopy(TempVolume &tempVolume, std::string tempName)
    : volume(&tempVolume), folder(tempVolume.folderToFill()), name(std::move(tempName)) {
}

StagedCopy::StagedCopy(std::shared_ptr<const TargetFolder> besideFolder, std::string tempName)
    : beside(std::move(besideFolder)), volume(beside->volume), folder(beside->folder.get()), name(std::move(tempName)) {
}

StagedCopy::StagedCopy(StagedCopy &&other) noexcept
    : beside(std::move(other.beside)), volume(other.volume), folder(other.folder), name(std::exchange(other.name, {})),
      locked(std::move(other.locked)) {
}

StagedCopy &StagedCopy::operator=(StagedCopy &&other) noexcept {
    std::swap(beside, other.beside);
    std::swap(volume, other.volume);
    std::swap(folder, other.folder);
    std::swap(name, other.name);
    std::swap(locked, other.locked);
    return *this;
}

StagedCopy::~StagedCopy() {
    // Closed first: a mount that uploads in closing would bring the removed file back.
    locked.reset();
    if (!name.empty())
        ::unlinkat(folder, name.c_str(), 0);
}

mode_t Copier::rawCopy(int source, const struct stat &original, int destination, FileData::Devices devices,
                       const BytesCallback &onBytes) const {
    const auto copyProgressCallback = [&](std::int64_t copied) {
        if (token.isCancelled())
            return FileData::Continue::No;
        onBytes(copied);
        return FileData::Continue::Yes;
    };
    try {
        FileData::copyData(source, original, destination, devices, copyProgressCallback);
        return FileData::copyAttributes(source, original, destination);
    } catch (const std::system_error &error) {
        if (token.isCancelled() || error.code().value() == ECANCELED)
            throw SyncCancelled();
        throw;
    }
}

OpenedOriginal OpenedOriginal::open(NameAt at) {
    OpenedOriginal original;
    original.at = at;
    original.file = OpenBelow::file(at.folder, at.name);
    original.facts = factsOf(original.file.get());
    if (!S_ISREG(original.facts.st_mode))
        throw CopyError(QStringLiteral("This is no longer a file"));
    timespec now = {};
    ::clock_gettime(CLOCK_REALTIME, &now);
    original.openedAt = FileTime::from(now);
    return original;
}

FileVersion OpenedOriginal::version() const {
    return {facts.st_size, FileTime::from(facts.st_mtim)};
}

StagedCopy Copier::stage(const OpenedOriginal &original, const std::shared_ptr<const TargetFolder> &target,
                         const BytesCallback &onBytes) {
    const Place place = target->volume->isBeside() ? Place::Beside : Place::InArea;
    try {
        return stageAt(place, original, target, onBytes);
    } catch (const std::system_error &error) {
        const int code = error.code().value();
        if (place == Place::Beside || (code != EXDEV && code != EACCES && code != EPERM))
            throw;
    }
    return stageAt(Place::Beside, original, target, onBytes);
}

StagedCopy Copier::stageAt(Place place, const OpenedOriginal &original,
                           const std::shared_ptr<const TargetFolder> &target, const BytesCallback &onBytes) {
    auto [staged, file] = create(place, target, FileData::creationMode(original.facts));
    const FileData::Devices devices = devicesOf(original.facts.st_dev, target->volume->device);
    const mode_t mode = rawCopy(original.file.get(), original.facts, file.get(), devices, onBytes);
    if (checkComplete(original.at, original.facts, staged.at()).mode != mode)
        FileData::setMode(file.get(), mode);
    FileData::setTimes(file.get(), original.facts.st_atim, original.version().mtime);
    writeDown(file, target->volume->durability);
    return std::move(staged);
}

std::pair<StagedCopy, FileDescriptor> Copier::create(Place place, const std::shared_ptr<const TargetFolder> &target,
                                                     mode_t mode) {
    constexpr int flags = O_RDWR | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC;
    const bool beside = place == Place::Beside;
    for (int attempt = 0; attempt < 10; ++attempt) {
        std::string name = TempArea::temporaryName();
        FileDescriptor file(
            ::openat(beside ? target->folder.get() : target->volume->folderToFill(), name.c_str(), flags, mode));
        if (!file)
            fail(errno, "open");
        if (!beside)
            return {StagedCopy(*target->volume, std::move(name)), std::move(file)};
        StagedCopy copy(target, std::move(name));
        // Found by other processes' runs too: the lock says that it is no leftover. A file system without locks
        // protects it all the same, since nobody removes what he can't lock.
        const bool isTaken = !Lock::tryLock(file.get()) && errno == EWOULDBLOCK;
        if (!isTaken && factsOf(file.get()).st_nlink != 0) {
            copy.hold(FileDescriptor(::fcntl(file.get(), F_DUPFD_CLOEXEC, 0)));
            return {std::move(copy), std::move(file)};
        }
        file.reset();
        // Between the two calls another run took it for a leftover: once more under another name.
    }
    fail(EAGAIN, "lock");
}

PublishedCopy Copier::publish(StagedCopy &staged, const std::shared_ptr<const TargetFolder> &target, const char *name,
                              const FileVersion &original, const FileVersion *planned, const SyncRules &rules) {
    const NameAt to{target->folder.get(), name};
    try {
        return moveIntoPlace(staged, to, original, planned, rules);
    } catch (const std::system_error &error) {
        if (error.code().value() != EXDEV || staged.isBeside())
            throw;
    }
    // A bind mount or a subvolume: one device, but no rename across. The staged copy is complete, so it is copied from
    // there and the drive is not needed again.
    StagedCopy again = stageAgainBeside(staged, target, original.mtime);
    staged = std::move(again);
    return moveIntoPlace(staged, to, original, planned, rules);
}

StagedCopy Copier::stageAgainBeside(const StagedCopy &staged, const std::shared_ptr<const TargetFolder> &target,
                                    FileTime mtime) {
    const FileDescriptor source = OpenBelow::file(staged.at().folder, staged.at().name);
    const struct stat facts = factsOf(source.get());
    auto [copy, file] = create(Place::Beside, target, FileData::creationMode(facts));
    // Not through rawCopy: what is staged is published even after a cancel.
    FileData::copyData(source.get(), facts, file.get(), FileData::Devices::Different,
                       [](std::int64_t) { return FileData::Continue::Yes; });
    FileData::setMode(file.get(), FileData::copyAttributes(source.get(), facts, file.get()));
    checkComplete(staged.at(), facts, copy.at());
    FileData::setTimes(file.get(), facts.st_atim, mtime);
    writeDown(file, Durability::Method::EachFile);
    target->volume->refusesRename = true;
    return std::move(copy);
}

PublishedCopy Copier::moveIntoPlace(StagedCopy &staged, NameAt target, const FileVersion &original,
                                    const FileVersion *planned, const SyncRules &rules) {
    const Published outcome = Swap::intoPlace(staged.tempVolume().mover, staged.at(), target, original, planned, rules);
    if (outcome != Published::Added && outcome != Published::Updated)
        return {outcome};
    staged.wasMoved();
    return {outcome, keepDate(target, original.mtime, rules)};
}
