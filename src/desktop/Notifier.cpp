#include "desktop/Notifier.h"

#include "store/Log.h"
#include "store/TestRoot.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QDBusServiceWatcher>
#include <QVariantMap>

namespace {

const auto service = QStringLiteral("org.freedesktop.Notifications");
const auto path = QStringLiteral("/org/freedesktop/Notifications");

/// Calls a method of the notification server and hands its answer over; nothing happens when that is an error, unless
/// `failed` is there to be told.
template <typename Answer>
void call(const QString &method, const QVariantList &arguments, QObject *context,
          std::function<void(const Answer &answer)> answered,
          std::function<void(const QDBusError &error)> failed = {}) {
    QDBusMessage message = QDBusMessage::createMethodCall(service, path, service, method);
    message.setArguments(arguments);
    auto *watcher = new QDBusPendingCallWatcher(QDBusConnection::sessionBus().asyncCall(message), context);
    QObject::connect(watcher, &QDBusPendingCallWatcher::finished, context,
                     [watcher, answered = std::move(answered), failed = std::move(failed)] {
                         watcher->deleteLater();
                         const QDBusPendingReply<Answer> reply = *watcher;
                         if (!reply.isError())
                             answered(reply.value());
                         else if (failed)
                             failed(reply.error());
                     });
}

} // namespace

Notifier &Notifier::shared() {
    static auto *notifier = new Notifier; // outlives the connection, whose end it doesn't survive as a static object
    return *notifier;
}

Notifier::Notifier() {
    QDBusConnection bus = QDBusConnection::sessionBus();
    const auto listen = [&](const char *signal, const char *slot) {
        bus.connect(service, path, service, QLatin1String(signal), this, slot);
    };
    listen("ActionInvoked", SLOT(actionInvoked(uint, QString)));
    listen("ActivationToken", SLOT(activationToken(uint, QString)));
    listen("NotificationClosed", SLOT(notificationClosed(uint, uint)));
    // Another server counts from the beginning again.
    auto *servers = new QDBusServiceWatcher(service, bus, QDBusServiceWatcher::WatchForOwnerChange, this);
    connect(servers, &QDBusServiceWatcher::serviceOwnerChanged, this, [this] { posted.clear(); });
}

void Notifier::post(const QString &title, const QString &body) {
    if (TestRoot::isActive())
        return;
    Notifier *notifier = &shared();
    call<QStringList>(QStringLiteral("GetCapabilities"), {}, notifier,
                      [=](const QStringList &capabilities) { notifier->send(title, body, capabilities); });
}

void Notifier::send(const QString &title, const QString &body, const QStringList &capabilities) {
    const bool readsMarkup = capabilities.contains(QStringLiteral("body-markup"));
    QStringList actions;
    // Servers without buttons may turn a notification with actions into a dialog.
    if (capabilities.contains(QStringLiteral("actions")))
        actions = {QStringLiteral("default"), QStringLiteral("Show Activity")};
    const QVariantMap hints = {{QStringLiteral("desktop-entry"), QStringLiteral("org.tarnwick.Basic")},
                               {QStringLiteral("sound-name"), QStringLiteral("complete")}};
    const uint replacesNone = 0;
    const int expiresByItself = -1;
    call<uint>(QStringLiteral("Notify"),
               {QStringLiteral("Tarnwick Basic"), replacesNone, QStringLiteral("org.tarnwick.Basic"), title,
                readsMarkup ? body.toHtmlEscaped() : body, actions, hints, expiresByItself},
               this, [this](uint id) { posted.insert(id); });
}

void Notifier::requestAuthorization() {
    if (TestRoot::isActive())
        return;
    call<QStringList>(
        QStringLiteral("GetCapabilities"), {}, &shared(), [](const QStringList &) {},
        [](const QDBusError &error) {
            Log::shared().write(QStringLiteral("Notification permission error: ") + error.message());
        });
}

void Notifier::whenClicked(std::function<void(const QString &activationToken)> handler) {
    shared().clicked = std::move(handler);
}

void Notifier::activationToken(uint id, const QString &token) {
    if (posted.contains(id))
        lastToken = token;
}

void Notifier::actionInvoked(uint id, const QString &action) {
    const QString token = std::exchange(lastToken, QString());
    if (posted.contains(id) && action == QStringLiteral("default") && clicked)
        clicked(token);
}

void Notifier::notificationClosed(uint id, uint) {
    posted.erase(id);
}
