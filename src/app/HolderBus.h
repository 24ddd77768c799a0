#pragma once

#include "app/SettingsLock.h"

#include <QDBusConnection>
#include <QDBusPendingCall>
#include <QVariantList>

#include <optional>

/// A connection to the bus on which the holder of a settings lock says it is. That need not be this process's own bus:
/// one that is started by cron or over ssh has none.
class HolderBus {
  public:
    explicit HolderBus(const SettingsLock &lock);
    HolderBus(const HolderBus &) = delete;
    HolderBus &operator=(const HolderBus &) = delete;
    ~HolderBus();

    /// Whether the holder is there: an application that takes wishes.
    bool isReached() const;

    /// Calls a method of its object; only when it is reached. The answer may take as long as `timeout` (milliseconds),
    /// and this object has to live until it has come.
    QDBusPendingCall call(const QString &interface, const QString &method, const QVariantList &arguments,
                          int timeout) const;

    /// Where the application's object is.
    static inline const QString path = QStringLiteral("/org/tarnwick/Basic");

  private:
    std::optional<SettingsLock::Holder> holder;
    QString name;
    QDBusConnection bus;
};
