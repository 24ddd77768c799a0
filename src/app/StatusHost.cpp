#include "app/StatusHost.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QDBusServiceWatcher>
#include <QDBusVariant>
#include <QGuiApplication>

#include <cstdlib>
#include <memory>
#include <xcb/xcb.h>

namespace {

const auto watcherName = QStringLiteral("org.kde.StatusNotifierWatcher");
const auto watcherPath = QStringLiteral("/StatusNotifierWatcher");

template <typename Answer>
using Owned = std::unique_ptr<Answer, decltype(&std::free)>;

/// Whether the X11 display has a tray of the older kind.
bool hasOlderTray() {
    const auto *x11 = qGuiApp->nativeInterface<QNativeInterface::QX11Application>();
    if (!x11)
        return false;
    xcb_connection_t *connection = x11->connection();
    const QByteArray name = "_NET_SYSTEM_TRAY_S0";
    const Owned<xcb_intern_atom_reply_t> atom(
        xcb_intern_atom_reply(
            connection, xcb_intern_atom(connection, true, static_cast<std::uint16_t>(name.size()), name.constData()),
            nullptr),
        &std::free);
    if (!atom || atom->atom == XCB_ATOM_NONE)
        return false;
    const Owned<xcb_get_selection_owner_reply_t> owner(
        xcb_get_selection_owner_reply(connection, xcb_get_selection_owner(connection, atom->atom), nullptr),
        &std::free);
    return owner && owner->owner != XCB_WINDOW_NONE;
}

} // namespace

StatusHost::StatusHost() {
    QDBusConnection bus = QDBusConnection::sessionBus();
    auto *watcher = new QDBusServiceWatcher(watcherName, bus, QDBusServiceWatcher::WatchForRegistration, this);
    connect(watcher, &QDBusServiceWatcher::serviceRegistered, this, &StatusHost::ask);
    bus.connect(watcherName, watcherPath, watcherName, QStringLiteral("StatusNotifierHostRegistered"), this,
                SLOT(ask()));
    ask();
    older.setSingleShot(true);
    connect(&older, &QTimer::timeout, this, [this] {
        if (hasOlderTray())
            tell();
    });
    older.start(10'000);
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
            tell();
        call->deleteLater();
    });
}

void StatusHost::tell() {
    if (std::exchange(isTold, true))
        return;
    older.stop();
    Q_EMIT found();
}
