#pragma once

#include "ui/ScrolledColumn.h"

#include <optional>

class AppModel;
class ElidedLabel;
class QLabel;
class QMenu;
class QVBoxLayout;
class Switch;

/// The tab with the settings, what keeps files safe, and help.
class SettingsView : public ScrolledColumn {
  public:
    explicit SettingsView(AppModel &appModel, QWidget *parent = nullptr);

    void render();

  protected:
    void showEvent(QShowEvent *event) override;

  private:
    QWidget *makeAutomaticSync();
    QWidget *makeOneDrive();
    QWidget *makeNotifications();
    QWidget *makeSafety();
    QWidget *makeHelp();
    void setLogin(bool enabled);
    void refreshLogin();
    void fillChangeMenu(QMenu &menu);
    void chooseOneDriveFolder();
    void useOneDriveFolder(const std::optional<QString> &path);

    AppModel &model;
    Switch *autoSync;
    Switch *login;
    QLabel *loginError;
    ElidedLabel *oneDrive;
    Switch *notifications;
};
