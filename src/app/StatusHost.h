#pragma once

#include "app/OlderTray.h"

#include <QObject>
#include <QTimer>

/// Waits for somebody who shows status items: a StatusNotifier host on the session bus, or the older tray of an X11
/// desktop. Both may come at any time. Qt decides between the two once per process, when it is first asked for a status
/// item; asked too early, at login, it would never use the host that comes a second later. For the main thread.
class StatusHost : public QObject {
    Q_OBJECT
  public:
    enum class Kind { StatusNotifier, Older };
    Q_ENUM(Kind)

    StatusHost();

  Q_SIGNALS:
    /// A status item can be made now; told at most once.
    void found(StatusHost::Kind kind);

  private Q_SLOTS:
    void ask();

  private:
    void tell(Kind kind);

    OlderTray older;
    QTimer patience; // the older tray is second choice, and not looked for before this ends
    bool isTold = false;
};
