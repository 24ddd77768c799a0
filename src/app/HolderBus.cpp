#include "app/HolderBus.h"

#include <QDBusConnectionInterface>
#include <QDBusMessage>
#include <QDBusReply>

HolderBus::HolderBus(const SettingsLock &lock)
    : holder(lock.holder()), name(QStringLiteral("bus of the settings' holder")),
      bus(QDBusConnection::connectToBus(holder ? holder->busAddress : QString(), name)) {
}

HolderBus::~HolderBus() {
    // The bus's thread still has a word to say about a call that failed after its answer has come, and says it on
    // standard error if the process is ending by then. Once a later call is answered, it has been said.
    if (bus.isConnected())
        bus.interface()->servicePid(bus.baseService());
    QDBusConnection::disconnectFromBus(name);
}

bool HolderBus::isReached() const {
    return holder && bus.isConnected() && bus.interface()->servicePid(holder->busName) == holder->process;
}

QDBusPendingCall HolderBus::call(const QString &interface, const QString &method, const QVariantList &arguments,
                                 int timeout) const {
    QDBusMessage message = QDBusMessage::createMethodCall(holder->busName, path, interface, method);
    message.setArguments(arguments);
    return bus.asyncCall(message, timeout);
}
