#pragma once

#include "json/Json.h"
#include "records/AppConfig.h"
#include "records/SyncRun.h"

/// Records in which every field, the optional ones too, has a value of its own that is not the default.
namespace Sample {

/// As QJsonDocument writes it without layout.
extern const QByteArray config, run;

inline AppConfig appConfig() {
    return Json::fromBytes<AppConfig>(config);
}
inline SyncRun syncRun() {
    return Json::fromBytes<SyncRun>(run);
}

} // namespace Sample
