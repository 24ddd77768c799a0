#pragma once

#include <QDateTime>
#include <QString>

#include <cstdint>
#include <filesystem>
#include <optional>
#include <vector>

class Disk;
class JsonReader;
class JsonWriter;

/// The file ".Tarnwick/profile-basic.json" at the top of a drive, which lists the folders chosen there, so that they
/// come back when the settings are lost. Stateless.
namespace Store {

/// One folder pair as the drive remembers it.
struct ProfilePair {
    QString sourceRelPath = {}; ///< Relative to the drive's top; empty for the top itself.
    QString backupRelPath = {}; ///< Relative to the OneDrive folder.
    bool enabled = true;

    bool operator==(const ProfilePair &) const = default;

    void toJson(JsonWriter &out) const;
    /// All keys are required. Fails with JsonError.
    static ProfilePair fromJson(const JsonReader &in);
};

/// The whole file.
struct DriveProfile {
    std::int64_t version = 1;
    QString app = QStringLiteral("Tarnwick Basic");
    QString machine = {}; ///< machineID() of the computer that wrote it.
    QString savedBy = {}; ///< That computer's name.
    QDateTime savedAt = {};
    std::vector<ProfilePair> pairs = {}; ///< In the order of the list.

    void toJson(JsonWriter &out) const;
    /// All keys are required. Fails with JsonError.
    static DriveProfile fromJson(const JsonReader &in);
};

/// 16 lower-case hexadecimal digits that tell this computer from others without giving its identifier away;
/// "unknown-mac-id" when it has none.
QString machineID();

/// Whether the drive with this top folder may carry a profile now: with a test root active only its fake drives, with
/// TARNWICK_SUPPORT_DIR alone none, otherwise every one.
bool profileAccessAllowed(const std::filesystem::path &volume);

/// Whether anything stands in the profile's place on the drive.
bool hasProfile(const std::filesystem::path &volume);

/// The drive's profile; none when it is missing, behind a link, larger than 1 MiB or can't be understood.
std::optional<DriveProfile> readProfile(const std::filesystem::path &volume, Disk &disk);
/// The same, asking at once and waiting.
std::optional<DriveProfile> readProfile(const std::filesystem::path &volume);

/// Replaces the drive's profile in one step, unless it lists exactly `pairs` already. Nothing is written through a
/// link. A drive that has gone is passed over; other failures are logged, and the old profile stays. Blocks.
void writeProfile(const std::vector<ProfilePair> &pairs, const std::filesystem::path &volume);

} // namespace Store
