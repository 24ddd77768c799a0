#pragma once

#include <QDBusAbstractAdaptor>
#include <QDBusMessage>
#include <QStringList>

class AppDelegate;

/// Syncs for a command of the same user that found the settings taken by the running application.
class SyncService : public QDBusAbstractAdaptor {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.tarnwick.Basic")
  public:
    static inline const QString interface = QStringLiteral("org.tarnwick.Basic");
    /// The error with which a sync is refused; its message is the sentence for the user.
    static inline const QString refused = QStringLiteral("org.tarnwick.Basic.Error.Refused");

    explicit SyncService(AppDelegate &appDelegate);

  public Q_SLOTS:
    /// Syncs the named folders, or all when none is named, and answers with the record of the run as JSON when it has
    /// ended.
    QByteArray Sync(const QStringList &namesOrIds, const QDBusMessage &call); // NOLINT(readability-identifier-naming)

  private:
    AppDelegate &delegate;
};
