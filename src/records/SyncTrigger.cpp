#include "records/SyncTrigger.h"

QString label(SyncTrigger trigger) {
    switch (trigger) {
    case SyncTrigger::manual:
        return QStringLiteral("Sync Now");
    case SyncTrigger::driveConnected:
        return QStringLiteral("Drive connected");
    case SyncTrigger::launch:
        return QStringLiteral("At startup");
    }
    Q_UNREACHABLE();
}
