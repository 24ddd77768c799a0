#include "app/BusService.h"

#include "app/AppDelegate.h"
#include "store/Store.h"

#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QDBusMessage>
#include <QDBusReply>

namespace {

const auto name = QStringLiteral("org.tarnwick.Basic");
const auto path = QStringLiteral("/org/tarnwick/Basic");
const auto interface = QStringLiteral("org.freedesktop.Application");
const auto tokenKey = QStringLiteral("activation-token");

QString tokenIn(const QVariantMap &platformData) {
    return platformData.value(tokenKey).toString();
}

/// The token that the desktop gave this process with its start.
QVariantMap ownPlatformData() {
    const QString token = qEnvironmentVariable("XDG_ACTIVATION_TOKEN");
    return token.isEmpty() ? QVariantMap() : QVariantMap{{tokenKey, token}};
}

} // namespace

BusService::BusService(AppDelegate &appDelegate, const SettingsLock &lock)
    : QDBusAbstractAdaptor(&appDelegate), delegate(appDelegate) {
    QDBusConnection bus = QDBusConnection::sessionBus();
    if (!bus.isConnected())
        return;
    bus.registerObject(path, &appDelegate);
    if (!Store::isTestMode())
        bus.interface()->registerService(name); // an application with other settings may have it
    lock.announce(bus.baseService());
}

BusService::~BusService() {
    QDBusConnection bus = QDBusConnection::sessionBus();
    if (!bus.isConnected())
        return;
    bus.unregisterObject(path);
    bus.interface()->unregisterService(name);
}

bool BusService::isReachable(const SettingsLock &lock) {
    const std::optional<SettingsLock::Holder> holder = lock.holder();
    const QDBusConnection bus = QDBusConnection::sessionBus();
    return holder && bus.isConnected() && bus.interface()->servicePid(holder->busName) == holder->process;
}

bool BusService::tell(const SettingsLock &lock, const QString &action) {
    if (!isReachable(lock))
        return false;
    QDBusConnection bus = QDBusConnection::sessionBus();
    QDBusMessage call = QDBusMessage::createMethodCall(lock.holder()->busName, path, interface,
                                                       action.isEmpty() ? QStringLiteral("Activate")
                                                                        : QStringLiteral("ActivateAction"));
    if (action.isEmpty())
        call.setArguments({ownPlatformData()});
    else
        call.setArguments({action, QVariantList(), ownPlatformData()});
    return bus.call(call, QDBus::Block, 5000).type() == QDBusMessage::ReplyMessage;
}

void BusService::Activate(const QVariantMap &platformData) {
    delegate.showWindow(tokenIn(platformData));
}

void BusService::Open(const QStringList &, const QVariantMap &platformData) {
    delegate.showWindow(tokenIn(platformData));
}

void BusService::ActivateAction(const QString &action, const QVariantList &, const QVariantMap &platformData) {
    delegate.perform(action, tokenIn(platformData));
}
