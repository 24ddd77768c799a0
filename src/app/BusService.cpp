#include "app/BusService.h"

#include "app/AppDelegate.h"
#include "app/HolderBus.h"
#include "app/SyncService.h"
#include "store/Store.h"

#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QDBusPendingCall>

namespace {

const auto name = QStringLiteral("org.tarnwick.Basic");
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

/// The address of the session bus that this process is on: what the environment says, else the standard place.
QString ownBusAddress() {
    const QString named = qEnvironmentVariable("DBUS_SESSION_BUS_ADDRESS");
    if (!named.isEmpty())
        return named;
    const QByteArray place = qgetenv("XDG_RUNTIME_DIR") + "/bus";
    return QStringLiteral("unix:path=") + QString::fromLatin1(place.toPercentEncoding("/", "~"));
}

} // namespace

BusService::BusService(AppDelegate &appDelegate, const SettingsLock &lock)
    : QDBusAbstractAdaptor(&appDelegate), delegate(appDelegate) {
    QDBusConnection bus = QDBusConnection::sessionBus();
    if (!bus.isConnected())
        return;
    new SyncService(appDelegate); // the delegate's, so that it can still answer when this has gone
    bus.registerObject(HolderBus::path, &appDelegate);
    if (!Store::isTestMode())
        bus.interface()->registerService(name); // an application with other settings may have it
    lock.announce(bus.baseService(), ownBusAddress());
}

BusService::~BusService() {
    QDBusConnection bus = QDBusConnection::sessionBus();
    if (!bus.isConnected())
        return;
    bus.unregisterObject(HolderBus::path);
    bus.interface()->unregisterService(name);
}

bool BusService::isReachable(const SettingsLock &lock) {
    return HolderBus(lock).isReached();
}

bool BusService::tell(const SettingsLock &lock, const QString &action) {
    const HolderBus bus(lock);
    if (!bus.isReached())
        return false;
    QDBusPendingCall call =
        action.isEmpty()
            ? bus.call(interface, QStringLiteral("Activate"), {ownPlatformData()}, 5000)
            : bus.call(interface, QStringLiteral("ActivateAction"), {action, QVariantList(), ownPlatformData()}, 5000);
    call.waitForFinished();
    return !call.isError();
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
