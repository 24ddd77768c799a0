#pragma once

#include <QDateTime>
#include <QString>
#include <QUuid>

#include <optional>

class JsonReader;
class JsonWriter;

/// One original folder and its backup folder, identified by `id`.
struct FolderPair {
    QUuid id = QUuid::createUuid();
    bool enabled = true;                    ///< Takes part when all ready folders are synced.
    std::optional<QString> volumeUUID = {}; ///< Key of the original's drive; none when the drive reports none.
    QString volumeName = {};                ///< That drive's name as shown to the user.
    QString sourceRelPath = {};             ///< The original, relative to the drive's root; empty for the whole drive.
    QString backupRelPath = {};             ///< The backup folder, relative to the OneDrive folder.
    std::optional<QDateTime> lastSync = {}; ///< UTC.
    std::optional<QString> lastSummary = {};
    std::optional<bool> lastOK = {}; ///< Whether the last sync was free of problems for this pair.

    bool operator==(const FolderPair &) const = default;

    void toJson(JsonWriter &out) const;

    /// A missing key takes the value above; a missing `id` is a new random one on every read. Fails with
    /// JsonError.
    static FolderPair fromJson(const JsonReader &in);
};
