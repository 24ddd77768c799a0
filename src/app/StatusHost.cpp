#include "app/StatusHost.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QDBusServiceWatcher>
#include <QDBusVariant>

#include <utility>

namespace {

const auto watcherName = QStringLiteral("org.kde.StatusNotifierWatcher");
const auto watcherPath = QStringLiteral("/StatusNotifierWatcher");

} // namespace

StatusHost::StatusHost() {
    QDBusConnection bus = QDBusConnection::sessionBus();
    auto *watcher = new QDBusServiceWatcher(watcherName, bus, QDBusServiceWatcher::WatchForRegistration, this);
    connect(watcher, &QDBusServiceWatcher::serviceRegistered, this, &StatusHost::ask);
    bus.connect(watcherName, watcherPath, watcherName, QStringLiteral("StatusNotifierHostRegistered"), this,
                SLOT(ask()));
    ask();
    connect(&older, &OlderTray::appeared, this, [this] { tell(Kind::Older); });
    connect(&patience, &QTimer::timeout, &older, &OlderTray::watch);
    patience.setSingleShot(true);
    patience.start(10'000);
}

void StatusHost::ask() {
    QDBusMessage message = QDBusMessage::createMethodCall(
        watcherName, watcherPath, QStringLiteral("org.freedesktop.DBus.Properties"), QStringLiteral("Get"));
    message.setAutoStartService(false);
    message.setArguments({watcherName, QStringLiteral("IsStatusNotifierHostRegistered")});
    auto *call = new QDBusPendingCallWatcher(QDBusConnection::sessionBus().asyncCall(message), this);
    connect(call, &QDBusPendingCallWatcher::finished, this, [this, call] {
        const QDBusPendingReply<QDBusVariant> reply = *call;
        if (!reply.isError() && reply.value().variant().toBool())
            tell(Kind::StatusNotifier);
        call->deleteLater();
    });
}

void StatusHost::tell(Kind kind) {
    if (std::exchange(isTold, true))
        return;
    patience.stop();
    Q_EMIT found(kind);
}
