#pragma once

#include <QObject>
#include <QString>
#include <QStringList>

#include <functional>
#include <set>

/// Notifications of the desktop, through org.freedesktop.Notifications. Nothing here waits or fails visibly: where
/// nobody shows notifications, there are none. With a test root active nothing is done. For the main thread.
class Notifier : public QObject {
    Q_OBJECT
  public:
    /// Shows a notification with a sound.
    static void post(const QString &title, const QString &body);

    /// Finds out whether notifications can be shown; if not, the log tells why. Desktops let every application show
    /// them until the user says otherwise, so nobody is asked.
    static void requestAuthorization();

    /// From now on `handler` is called when the user clicks a notification. What it gets lets a window come to the
    /// front under Wayland; empty where the desktop has nothing like it.
    static void whenClicked(std::function<void(const QString &activationToken)> handler);

  private Q_SLOTS:
    void actionInvoked(uint id, const QString &action);
    void activationToken(uint id, const QString &token);
    void notificationClosed(uint id, uint reason);

  private:
    Notifier();
    static Notifier &shared();
    void send(const QString &title, const QString &body, const QStringList &capabilities);

    std::set<uint> posted; // the server's ids; its signals tell of everybody's notifications
    QString lastToken;
    std::function<void(const QString &activationToken)> clicked;
};
