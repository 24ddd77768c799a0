#pragma once

#include <QMainWindow>
#include <QPointer>

#include <functional>

class AppModel;
class MainView;
class QMessageBox;

/// The one main window: the main view with the menu bar. Closing hides it; its place and size are kept under a name of
/// its own beside the settings, and yield to smaller screens.
class MainWindow : public QMainWindow {
  public:
    /// What the menu bar does.
    struct Commands {
        std::function<void()> addFolder, showActivity, showSettings, quit;
        std::function<bool()> hasStatusItem; ///< Whether a hidden window can be brought back from the status area.
    };

    MainWindow(AppModel &model, Commands menuCommands);

    /// Remembers place and size for the next start.
    void saveFrame() const;

  protected:
    void closeEvent(QCloseEvent *event) override;
    void showEvent(QShowEvent *event) override;
    bool eventFilter(QObject *object, QEvent *event) override;

  private:
    void makeMenuBar();
    void about();
    void hideWindow();
    void tellThatItKeepsRunning();
    void openFirstMenu();
    void restoreFrame();
    void fitScreen();

    Commands commands;
    MainView *view;
    QPointer<QMessageBox> notice; // that the program keeps running, while it is shown
};
