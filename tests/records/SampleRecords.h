#pragma once

#include "records/AppConfig.h"
#include "records/SyncRun.h"

/// Records in which every field, the optional ones too, has a value of its own that is not the default.
namespace Sample {

AppConfig appConfig();
SyncRun syncRun();

} // namespace Sample
