#include "store/DriveProfile.h"

#include "base/FileDescriptor.h"
#include "base/Paths.h"
#include "base/Text.h"
#include "json/Json.h"
#include "platform/AtomicFile.h"
#include "platform/Disk.h"
#include "platform/FileFacts.h"
#include "platform/HostIdentity.h"
#include "platform/MountTable.h"
#include "store/Log.h"
#include "store/Store.h"
#include "store/TestRoot.h"

#include <QCryptographicHash>

#include <cerrno>
#include <system_error>

#include <fcntl.h>
#include <sys/stat.h>

namespace Store {

namespace {

namespace fs = std::filesystem;

constexpr const char *folderName = ".Tarnwick";
constexpr const char *fileName = "profile-basic.json";
/// A profile is input from a stranger.
constexpr std::size_t largestProfile = 1024 * 1024;

/// The drive's top folder; not open when it has gone. An empty mount point that stayed behind is no drive.
FileDescriptor openTop(const fs::path &volume) {
    FileDescriptor top(::open(volume.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC));
    if (!top || TestRoot::isActive())
        return top;
    const std::optional<FileFacts> facts = lookAtOpen(top.get());
    const MountTable table = MountTable::read();
    const MountEntry *mount = facts ? table.withId(static_cast<int>(facts->mountId)) : nullptr;
    return mount && mount->mountPoint == Paths::standardised(volume) ? std::move(top) : FileDescriptor();
}

/// The profile's folder; not open when it is missing, or a link or a file.
FileDescriptor openFolder(int top) {
    return FileDescriptor(::openat(top, folderName, O_PATH | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
}

std::optional<DriveProfile> parsed(const std::string &bytes) {
    try {
        return Json::fromBytes<DriveProfile>(QByteArray::fromStdString(bytes));
    } catch (const JsonError &) {
        return std::nullopt;
    }
}

std::optional<DriveProfile> readIn(int folder) {
    const std::optional<std::string> bytes = AtomicFile::read({folder, fileName}, largestProfile, LinkAtEnd::IsMeant);
    return bytes ? parsed(*bytes) : std::nullopt;
}

DriveProfile newProfile(const std::vector<ProfilePair> &pairs) {
    DriveProfile profile;
    profile.machine = machineID();
    profile.savedBy = Text::fromBytes(HostIdentity::displayName());
    if (profile.savedBy.isEmpty())
        profile.savedBy = QStringLiteral("Mac");
    profile.savedAt = QDateTime::currentDateTimeUtc();
    profile.pairs = pairs;
    return profile;
}

FileDescriptor makeFolder(int top) {
    if (::mkdirat(top, folderName, 0755) != 0 && errno != EEXIST)
        throw std::system_error(errno, std::generic_category(), folderName);
    FileDescriptor folder = openFolder(top);
    if (!folder)
        throw std::system_error(errno, std::generic_category(), folderName);
    return folder;
}

} // namespace

void ProfilePair::toJson(JsonWriter &out) const {
    out.beginObject();
    out.member("backupRelPath", backupRelPath);
    out.member("enabled", enabled);
    out.member("sourceRelPath", sourceRelPath);
    out.endObject();
}

ProfilePair ProfilePair::fromJson(const JsonReader &in) {
    return {.sourceRelPath = in.required<QString>("sourceRelPath"),
            .backupRelPath = in.required<QString>("backupRelPath"),
            .enabled = in.required<bool>("enabled")};
}

void DriveProfile::toJson(JsonWriter &out) const {
    out.beginObject();
    out.member("app", app);
    out.member("machine", machine);
    out.member("pairs", pairs);
    out.member("savedAt", savedAt);
    out.member("savedBy", savedBy);
    out.member("version", version);
    out.endObject();
}

DriveProfile DriveProfile::fromJson(const JsonReader &in) {
    return {.version = in.required<std::int64_t>("version"),
            .app = in.required<QString>("app"),
            .machine = in.required<QString>("machine"),
            .savedBy = in.required<QString>("savedBy"),
            .savedAt = in.required<QDateTime>("savedAt"),
            .pairs = in.required<std::vector<ProfilePair>>("pairs")};
}

QString machineID() {
    const std::optional<std::string> id = HostIdentity::machineId();
    if (!id)
        return QStringLiteral("unknown-mac-id");
    const QByteArray text = "Brisk Lantern|" + QByteArray::fromStdString(*id);
    return QString::fromLatin1(QCryptographicHash::hash(text, QCryptographicHash::Sha256).left(8).toHex());
}

bool profileAccessAllowed(const fs::path &volume) {
    if (TestRoot::isActive())
        return Paths::isWithin(Paths::standardised(volume), *TestRoot::url() / "Volumes");
    return !isTestMode();
}

bool hasProfile(const fs::path &volume) {
    std::error_code error;
    return fs::symlink_status(volume / folderName / fileName, error).type() != fs::file_type::not_found && !error;
}

std::optional<DriveProfile> readProfile(const fs::path &volume, Disk &disk) {
    const fs::path top = disk.resolved(volume);
    const MountEntry *mount = disk.holding(top);
    if (!TestRoot::isActive() && (!mount || mount->mountPoint != top))
        return std::nullopt;
    const fs::path file = top / folderName / fileName;
    return disk.resolved(file) == file ? parsed(disk.text(file)) : std::nullopt;
}

std::optional<DriveProfile> readProfile(const fs::path &volume) {
    DirectDisk disk;
    return readProfile(volume, disk);
}

void writeProfile(const std::vector<ProfilePair> &pairs, const fs::path &volume) {
    const FileDescriptor top = openTop(volume);
    if (!top)
        return;
    try {
        const FileDescriptor folder = makeFolder(top.get());
        const std::optional<DriveProfile> old = readIn(folder.get());
        if (old && old->pairs == pairs)
            return;
        const QByteArray bytes = Json::toBytes(newProfile(pairs));
        AtomicFile::write({folder.get(), fileName},
                          std::string_view(bytes.constData(), static_cast<std::size_t>(bytes.size())),
                          AtomicFile::ReadableBy::Everyone);
    } catch (const std::exception &error) {
        Log::shared().write(QStringLiteral("Could not save folder choices on the drive: ") +
                            Text::fromBytes(error.what()));
    }
}

} // namespace Store
