#include "sync/SyncJob.h"

#include "base/Paths.h"
#include "base/Text.h"
#include "store/Locations.h"

QString SyncJob::placeInOneDrive() const {
    const std::optional<QString> inside = oneDrive ? Locations::relativePath(backup, *oneDrive) : std::nullopt;
    return inside.value_or(Text::fromBytes(Paths::lastComponent(backup)));
}
