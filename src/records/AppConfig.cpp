#include "records/AppConfig.h"

#include "json/JsonError.h"
#include "json/JsonReader.h"
#include "json/JsonWriter.h"

namespace {

/// A broken list of folders must not cost the user the other settings.
std::vector<FolderPair> readPairs(const JsonReader &in) {
    try {
        return in.valueOr("pairs", std::vector<FolderPair>());
    } catch (const JsonError &) {
        return {};
    }
}

} // namespace

void AppConfig::toJson(JsonWriter &out) const {
    out.beginObject();
    out.member("autoSyncOnConnect", autoSyncOnConnect);
    out.member("hasCompletedFirstRun", hasCompletedFirstRun);
    out.member("notifications", notifications);
    out.member("oneDriveMountPoint", oneDriveMountPoint);
    out.member("oneDriveRootPath", oneDriveRootPath);
    out.member("pairs", pairs);
    out.member("schema", schema);
    out.endObject();
}

AppConfig AppConfig::fromJson(const JsonReader &in) {
    AppConfig config;
    config.autoSyncOnConnect = in.valueOr("autoSyncOnConnect", config.autoSyncOnConnect);
    config.notifications = in.valueOr("notifications", config.notifications);
    config.oneDriveRootPath = in.optional<QString>("oneDriveRootPath");
    config.oneDriveMountPoint = in.optional<QString>("oneDriveMountPoint");
    config.hasCompletedFirstRun = in.valueOr("hasCompletedFirstRun", config.hasCompletedFirstRun);
    config.schema = in.valueOr("schema", config.schema);
    config.pairs = readPairs(in);
    return config;
}
