#pragma once

#include <QPointer>
#include <QWidget>

#include <filesystem>

class ActivityView;
class AddFolderSheet;
class AppModel;
class FoldersView;
class HeaderBar;
class QAction;
class QStackedWidget;
class SettingsView;
class SyncCard;
class TabSwitch;

/// The content of the main window. Shows the model's state and follows its changes.
class MainView : public QWidget {
  public:
    explicit MainView(AppModel &appModel, QWidget *parent = nullptr);
    ~MainView() override;

    /// The one action behind Sync Now: button, shortcut and menus trigger it.
    QAction *syncNowAction() const { return syncNow; }

    void render();

  protected:
    void changeEvent(QEvent *event) override;
    void resizeEvent(QResizeEvent *event) override;

  private:
    void renderTab();
    QAction *makeSyncNow();
    QWidget *makeTabBar();
    void setCompact(bool isCompact);
    void renderSheet();
    void endWaitingNotice();
    void tellWhatCouldNotBeOpened(const std::filesystem::path &path);

    AppModel &model;
    QAction *syncNow;
    HeaderBar *header;
    SyncCard *card;
    TabSwitch *tabs;
    QWidget *tabBar;
    QStackedWidget *content;
    FoldersView *folders;
    ActivityView *activity;
    SettingsView *settings;
    QPointer<AddFolderSheet> sheet;
};
