#pragma once

#include "app/StatusHost.h"

#include <QMenu>
#include <QObject>
#include <QString>
#include <QSystemTrayIcon>

#include <functional>
#include <memory>
#include <optional>

class AppModel;

/// The item in the status area with its menu. It appears as soon as the desktop can show one, and follows the model.
class StatusItem : public QObject {
  public:
    /// What the menu does.
    struct Commands {
        std::function<void()> showWindow, showActivity, syncNow, cancelSync, toggleAuto, quit;
    };

    StatusItem(AppModel &appModel, Commands menuCommands);

    /// Shows the model's state; touches only what differs.
    void update();

    /// Whether there is a status area that shows it now.
    bool isShown() const { return item && QSystemTrayIcon::isSystemTrayAvailable(); }

  private:
    void makeMenu();
    void appear(StatusHost::Kind found);
    void updateMenu();
    void updateIcon();

    AppModel &model;
    Commands commands;
    StatusHost host;
    StatusHost::Kind kind = StatusHost::Kind::StatusNotifier; // of the host that was found
    // The menu's entries stay: hosts take a copy of the menu and don't wait for a new one.
    QMenu menu;
    QAction *statusLine;
    QAction *lastSync;
    QAction *syncOrStop;
    QAction *automatic;
    std::unique_ptr<QSystemTrayIcon> item; // none before there is a host
    std::optional<QString> shownIcon;      // what the icon shows, in words
    QString shownToolTip;
};
