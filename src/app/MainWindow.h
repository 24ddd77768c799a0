#pragma once

#include <QMainWindow>

#include <functional>

class AppModel;
class MainView;

/// The one main window: the main view with the menu bar. Closing hides it; its place and size are kept under a name of
/// its own beside the settings.
class MainWindow : public QMainWindow {
  public:
    /// What the menu bar does.
    struct Commands {
        std::function<void()> addFolder, showActivity, showSettings, quit;
    };

    MainWindow(AppModel &model, Commands menuCommands);

    /// Remembers place and size for the next start.
    void saveFrame() const;

  protected:
    void closeEvent(QCloseEvent *event) override;

  private:
    void makeMenuBar();
    void about();
    void restoreFrame();

    Commands commands;
    MainView *view;
};
