#pragma once

#include "app/SettingsLock.h"

#include <QDBusAbstractAdaptor>
#include <QDBusPendingCall>
#include <QString>
#include <QStringList>
#include <QVariantMap>

#include <optional>

class AppDelegate;

/// The running application on the session bus: other programs, the desktop and a second start tell it here what to do.
class BusService : public QDBusAbstractAdaptor {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.Application")
  public:
    /// Puts the application on the bus and says in `lock` where it is. The name org.tarnwick.Basic is taken only by an
    /// application that runs on the user's own settings. Without a bus nothing happens.
    BusService(AppDelegate &appDelegate, const SettingsLock &lock);

    /// The application can't be reached any more.
    ~BusService() override;

    /// Whether what holds `lock` is an application that takes wishes.
    static bool isReachable(const SettingsLock &lock);

    /// Asks the application that holds `lock` to do what a desktop entry's action does, or without one to come to the
    /// front. False when it can't be reached.
    static bool tell(const SettingsLock &lock, const QString &action = {});

    /// Asks the application that holds `lock` to sync the named folders, or all when none is named (SyncService). The
    /// answer comes when the sync has ended, however long that takes; none when it can't be reached.
    static std::optional<QDBusPendingCall> askToSync(const SettingsLock &lock, const QStringList &namesOrIds);

  public Q_SLOTS:
    // The interface's methods; capitals and signatures are its.
    void Activate(const QVariantMap &platformData); // NOLINT(readability-identifier-naming)
    void Open(const QStringList &uris, const QVariantMap &platformData);
    void ActivateAction(const QString &name, const QVariantList &parameter, const QVariantMap &platformData);

  private:
    AppDelegate &delegate;
};
