#pragma once

#include "ui/ScrolledColumn.h"

#include <QString>

#include <filesystem>
#include <optional>

class AppModel;
class ElidedLabel;
class QLabel;
class QMenu;
class QPushButton;
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
    void useOneDriveFolder(const std::optional<std::filesystem::path> &folder);
    void showClients();

    AppModel &model;
    Switch *autoSync;
    Switch *login;
    QLabel *loginError;
    ElidedLabel *oneDrive;
    QLabel *oneDriveNotice;
    QPushButton *clients;
    std::optional<QString> choiceRefusal; ///< why the folder last chosen isn't used
    Switch *notifications;
};
