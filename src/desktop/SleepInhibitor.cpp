#include "desktop/SleepInhibitor.h"

#include "desktop/SystemBus.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QDBusUnixFileDescriptor>

SleepInhibitor::SleepInhibitor() = default;
SleepInhibitor::~SleepInhibitor() = default;

void SleepInhibitor::begin(const QString &reason) {
    end();
    SystemBus::whenItAnswers(this, [this, reason, asked = turn] {
        if (asked == turn)
            ask(reason);
    });
}

void SleepInhibitor::ask(const QString &reason) {
    const QDBusConnection bus = QDBusConnection::systemBus();
    if (!bus.isConnected())
        return;
    QDBusMessage call = QDBusMessage::createMethodCall(
        QStringLiteral("org.freedesktop.login1"), QStringLiteral("/org/freedesktop/login1"),
        QStringLiteral("org.freedesktop.login1.Manager"), QStringLiteral("Inhibit"));
    call.setArguments({QStringLiteral("idle"), QStringLiteral("Tarnwick Basic"), reason, QStringLiteral("block")});
    call.setAutoStartService(false);
    auto *watcher = new QDBusPendingCallWatcher(bus.asyncCall(call), this);
    connect(watcher, &QDBusPendingCallWatcher::finished, this, [this, asked = turn, watcher] {
        const QDBusPendingReply<QDBusUnixFileDescriptor> reply = *watcher;
        if (reply.isValid() && asked == turn)
            lock = std::make_unique<QDBusUnixFileDescriptor>(reply.value());
        watcher->deleteLater();
    });
}

void SleepInhibitor::end() {
    ++turn;
    lock.reset();
}
