#include "sync/SyncJob.h"

#include "base/Paths.h"
#include "base/Text.h"
#include "store/Locations.h"

namespace {

/// The only type of file system whose dates come with the hour of the time zone.
bool isFat(const std::filesystem::path &folder, Disk &disk) {
    return Locations::fileSystemType(folder, disk) == QStringLiteral("msdos");
}

} // namespace

std::optional<SyncJob> SyncJob::between(SyncJob folders, Disk &disk) {
    SyncJob &job = folders;
    job.original = Paths::standardised(job.original);
    job.backup = Paths::standardised(job.backup);
    if (Locations::overlap(job.original, job.backup, disk))
        return std::nullopt;
    job.rules.fatTimeQuirk = isFat(job.original, disk) || isFat(job.backup, disk);
    return folders;
}

QString SyncJob::overlapping() {
    return QStringLiteral("The backup folder can't be inside the original folder (or the other way round).");
}

QString SyncJob::placeInOneDrive() const {
    const std::optional<QString> inside = oneDrive ? Locations::relativePath(backup, *oneDrive) : std::nullopt;
    return inside.value_or(Text::fromBytes(Paths::lastComponent(backup)));
}
