#include "app/BusService.h"

#include "app/AppDelegate.h"
#include "app/SyncService.h"
#include "store/Store.h"

#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QDBusMessage>
#include <QDBusReply>

#include <limits>

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

/// The address of the session bus that this process is on: what the environment says, else the standard place.
QString ownBusAddress() {
    const QString named = qEnvironmentVariable("DBUS_SESSION_BUS_ADDRESS");
    if (!named.isEmpty())
        return named;
    const QByteArray place = qgetenv("XDG_RUNTIME_DIR") + "/bus";
    return QStringLiteral("unix:path=") + QString::fromLatin1(place.toPercentEncoding("/", "~"));
}

/// A connection to the bus that the lock's holder is on, which need not be this process's own: one that is started by
/// cron or over ssh has none. Stays open to the end of the process.
QDBusConnection busOf(const SettingsLock::Holder &holder) {
    const QString connection = QStringLiteral("bus of ") + QString::number(holder.process) + u' ' + holder.busName;
    QDBusConnection bus = QDBusConnection::connectToBus(holder.busAddress, connection);
    if (!bus.isConnected())
        QDBusConnection::disconnectFromBus(connection); // the next try begins anew
    return bus;
}

bool isOn(const QDBusConnection &bus, const SettingsLock::Holder &holder) {
    return bus.isConnected() && bus.interface()->servicePid(holder.busName) == holder.process;
}

} // namespace

BusService::BusService(AppDelegate &appDelegate, const SettingsLock &lock)
    : QDBusAbstractAdaptor(&appDelegate), delegate(appDelegate) {
    QDBusConnection bus = QDBusConnection::sessionBus();
    if (!bus.isConnected())
        return;
    new SyncService(appDelegate); // the delegate's, so that it can still answer when this has gone
    bus.registerObject(path, &appDelegate);
    if (!Store::isTestMode())
        bus.interface()->registerService(name); // an application with other settings may have it
    lock.announce(bus.baseService(), ownBusAddress());
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
    return holder && isOn(busOf(*holder), *holder);
}

bool BusService::tell(const SettingsLock &lock, const QString &action) {
    const std::optional<SettingsLock::Holder> holder = lock.holder();
    if (!holder || !isOn(busOf(*holder), *holder))
        return false;
    QDBusMessage call = QDBusMessage::createMethodCall(holder->busName, path, interface,
                                                       action.isEmpty() ? QStringLiteral("Activate")
                                                                        : QStringLiteral("ActivateAction"));
    if (action.isEmpty())
        call.setArguments({ownPlatformData()});
    else
        call.setArguments({action, QVariantList(), ownPlatformData()});
    return busOf(*holder).call(call, QDBus::Block, 5000).type() == QDBusMessage::ReplyMessage;
}

std::optional<QDBusPendingCall> BusService::askToSync(const SettingsLock &lock, const QStringList &namesOrIds) {
    const std::optional<SettingsLock::Holder> holder = lock.holder();
    if (!holder || !isOn(busOf(*holder), *holder))
        return std::nullopt;
    QDBusMessage call =
        QDBusMessage::createMethodCall(holder->busName, path, SyncService::interface, QStringLiteral("Sync"));
    call.setArguments({namesOrIds});
    return busOf(*holder).asyncCall(call, std::numeric_limits<int>::max());
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
