#include "desktop/ColorScheme.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QDBusVariant>

#include <utility>

namespace {

const QString service = QStringLiteral("org.freedesktop.portal.Desktop");
const QString path = QStringLiteral("/org/freedesktop/portal/desktop");
const QString interface = QStringLiteral("org.freedesktop.portal.Settings");
const QString appearance = QStringLiteral("org.freedesktop.appearance");
const QString colorScheme = QStringLiteral("color-scheme");

} // namespace

ColorScheme::ColorScheme() {
    // From any sender: Qt would wait for the bus to say who owns the portal's name.
    QDBusConnection::sessionBus().connect(QString(), path, interface, QStringLiteral("SettingChanged"), this,
                                          SLOT(settingChanged(QDBusMessage)));
    ask(); // after the watch, so that no change falls in between
}

void ColorScheme::ask() {
    QDBusMessage call = QDBusMessage::createMethodCall(service, path, interface, QStringLiteral("Read"));
    call.setArguments({appearance, colorScheme});
    auto *watcher = new QDBusPendingCallWatcher(QDBusConnection::sessionBus().asyncCall(call), this);
    connect(watcher, &QDBusPendingCallWatcher::finished, this, [this, watcher] {
        const QDBusPendingReply<QDBusVariant> reply = *watcher;
        if (!reply.isError())
            tell(reply.value().variant());
        watcher->deleteLater();
    });
}

void ColorScheme::settingChanged(const QDBusMessage &message) {
    const QVariantList setting = message.arguments();
    if (setting.size() == 3 && setting.at(0) == appearance && setting.at(1) == colorScheme)
        tell(setting.at(2));
}

void ColorScheme::tell(QVariant value) {
    // The answer to Read is wrapped once more than the signal's value.
    while (value.userType() == qMetaTypeId<QDBusVariant>())
        value = value.value<QDBusVariant>().variant();
    const int given = value.toInt();
    const int now = given == 1 || given == 2 ? given : 0; // what later portals may add counts as none
    if (std::exchange(last, now) != now)
        Q_EMIT told(static_cast<Preference>(now));
}
