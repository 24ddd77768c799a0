#pragma once

#include <QObject>
#include <QTimer>

/// Waits for somebody who shows status items: a StatusNotifier host on the session bus, which may come at any time, or
/// the older tray of an X11 desktop. Qt decides between the two once per process, when it is first asked for a status
/// item; asked too early, at login, it would never use the host that comes a second later. For the main thread.
class StatusHost : public QObject {
    Q_OBJECT
  public:
    StatusHost();

  Q_SIGNALS:
    /// A status item can be made now; told at most once.
    void found();

  private Q_SLOTS:
    void ask();

  private:
    void tell();
    QTimer older; // until the older tray is looked for
    bool isTold = false;
};
