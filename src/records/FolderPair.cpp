#include "records/FolderPair.h"

#include "json/JsonReader.h"
#include "json/JsonWriter.h"

void FolderPair::toJson(JsonWriter &out) const {
    out.beginObject();
    out.member("backupRelPath", backupRelPath);
    out.member("enabled", enabled);
    out.member("id", id);
    out.member("lastOK", lastOK);
    out.member("lastSummary", lastSummary);
    out.member("lastSync", lastSync);
    out.member("sourceRelPath", sourceRelPath);
    out.member("volumeName", volumeName);
    out.member("volumeUUID", volumeUUID);
    out.endObject();
}

FolderPair FolderPair::fromJson(const JsonReader &in) {
    FolderPair pair;
    pair.id = in.valueOr("id", pair.id);
    pair.enabled = in.valueOr("enabled", pair.enabled);
    pair.volumeUUID = in.optional<QString>("volumeUUID");
    pair.volumeName = in.valueOr("volumeName", pair.volumeName);
    pair.sourceRelPath = in.valueOr("sourceRelPath", pair.sourceRelPath);
    pair.backupRelPath = in.valueOr("backupRelPath", pair.backupRelPath);
    pair.lastSync = in.optional<QDateTime>("lastSync");
    pair.lastSummary = in.optional<QString>("lastSummary");
    pair.lastOK = in.optional<bool>("lastOK");
    return pair;
}
