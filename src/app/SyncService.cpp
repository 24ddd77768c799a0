#include "app/SyncService.h"

#include "app/AppDelegate.h"
#include "base/Text.h"
#include "json/Json.h"
#include "records/SyncRun.h"

#include <QDBusConnection>

SyncService::SyncService(AppDelegate &appDelegate) : QDBusAbstractAdaptor(&appDelegate), delegate(appDelegate) {
}

QByteArray SyncService::Sync(const QStringList &namesOrIds, const QDBusMessage &call) {
    call.setDelayedReply(true);
    std::vector<std::string> names;
    for (const QString &name : namesOrIds)
        names.push_back(Text::toBytes(name));
    const auto answer = [call](const SyncRun &run) {
        QDBusConnection::sessionBus().send(call.createReply(QVariant(Json::toBytes(run))));
    };
    const auto refuse = [call](const QString &reason) {
        QDBusConnection::sessionBus().send(call.createErrorReply(refused, reason));
    };
    delegate.syncFor(names, answer, refuse);
    return {};
}
