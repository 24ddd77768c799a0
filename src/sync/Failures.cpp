#include "sync/Failures.h"

#include "base/Fmt.h"
#include "base/Text.h"
#include "platform/VolumeIdentity.h"
#include "sync/CopyError.h"
#include "sync/DriveProbe.h"

#include <cerrno>
#include <new>
#include <system_error>

Failure Failure::of(const std::exception_ptr &error) {
    try {
        std::rethrow_exception(error);
    } catch (const CopyError &own) {
        return {own.text(), 0};
    } catch (const std::system_error &system) {
        return {Fmt::systemError(system.code().value()), system.code().value()};
    } catch (const std::bad_alloc &) {
        return {Fmt::systemError(ENOMEM), ENOMEM};
    } catch (const std::exception &other) {
        return {Text::fromBytes(other.what()), 0};
    }
}

std::optional<Ending> FailureJudge::endingFor(const PlannedCopy &copy, const Failure &failure) const {
    if (failure.error == ENOSPC || failure.error == EDQUOT)
        return Ending{QStringLiteral("The disk ran out of space while copying “") +
                          Text::fromBytes(PairPlan::rel(copy)) +
                          QStringLiteral("”. Free up some space and sync again."),
                      QStringLiteral("Out of space")};
    if (isOriginalGone(copy, failure.error))
        return disconnected();
    if (isBackupGone(failure.error))
        return disappeared();
    return std::nullopt;
}

std::optional<Ending> FailureJudge::endingIfMoved() const {
    if (planned.original.isOpen() && !planned.original.isInPlace())
        return disconnected();
    if (planned.backup.isOpen() && !planned.backup.isInPlace())
        return disappeared();
    return std::nullopt;
}

Ending FailureJudge::disconnected() const {
    return {QStringLiteral("The drive was disconnected while syncing “") + planned.job->name +
                QStringLiteral("”. Nothing was damaged; reconnect it to finish."),
            QStringLiteral("Drive disconnected")};
}

Ending FailureJudge::disappeared() const {
    return {QStringLiteral("The backup folder for “") + planned.job->name +
                QStringLiteral("” disappeared during the sync."),
            QStringLiteral("Backup folder disappeared")};
}

bool FailureJudge::isOriginalGone(const PlannedCopy &copy, int error) const {
    const FolderAnchor &original = planned.original;
    if (!original.isInPlace())
        return true;
    // After a cancel the drive is already free; what fails then has to do with the backup.
    if (!original.isOpen() || !DriveProbe::isDriveError(error))
        return false;
    return !VolumeIdentity::deviceExists(original.facts().device) ||
           !DriveProbe::canReadAnother(original, planned.plan, copy);
}

bool FailureJudge::isBackupGone(int error) const {
    const FolderAnchor &backup = planned.backup;
    if (!backup.isOpen() || !backup.isInPlace())
        return true;
    if (!DriveProbe::isDriveError(error))
        return false;
    if (!VolumeIdentity::deviceExists(backup.facts().device))
        return true;
    try {
        const FileDescriptor folder = OpenBelow::folder(backup.descriptor(), {});
        const TempVolume &volume = temp.volumeOf(folder.get(), backup.path());
        return !DriveProbe::canWrite(volume.isBeside() ? folder.get() : volume.folderToFill());
    } catch (const std::system_error &) {
        return true;
    }
}
