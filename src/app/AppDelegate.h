#pragma once

#include "app/StatusItem.h"

#include <QObject>
#include <QPointer>
#include <QString>

#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

class AppModel;
class MainWindow;
class ModelSession;
class QMessageBox;
struct SyncRun;

/// The application around the model: launch, status item, window, notifications, and the question before quitting. For
/// the main thread.
class AppDelegate : public QObject {
  public:
    /// How the application was started.
    struct Launch {
        bool atLogin = false;
        bool inBackground = false; ///< Somebody asks for something in a moment; the window isn't wanted by itself.
    };

    AppDelegate(ModelSession &modelSession, Launch how);
    /// Remembers the window's place.
    ~AppDelegate() override;

    /// Called once the application is going to quit: from then on it takes no more wishes from outside.
    std::function<void()> onQuitting;

    /// Everything that happens once, in its order. The event loop runs afterwards.
    void applicationDidFinishLaunching();

    /// Makes the window if need be and brings it to the front. Under Wayland that takes an activation token, if one is
    /// there.
    void showWindow(const QString &activationToken = {});
    void showSettings();
    void showActivity(const QString &activationToken = {});
    void addFolder(const QString &activationToken = {});
    void syncNow();
    /// Syncs the named folders, or all when none is named, for somebody who waits: `ended` gets the run, or `refused`
    /// the reason why nothing is synced.
    void syncFor(const std::vector<std::string> &namesOrIds, std::function<void(const SyncRun &run)> ended,
                 const std::function<void(const QString &reason)> &refused);
    void cancelSync();
    void toggleAuto();

    /// Quits, after a question when a sync runs.
    void applicationShouldTerminate();

    /// What a desktop entry's action does: "sync-now", "add-folder", "show-activity" or "show-settings"; anything else
    /// shows the window.
    void perform(const QString &action, const QString &activationToken);

  private:
    void makeStatusItem();
    void completeFirstRun();
    void followModel();
    void runFinished(const SyncRun &run);
    void notify(const SyncRun &run);
    void openForTest();
    bool userSeesTheWindow() const;
    void askBeforeQuitting();
    void stopAndQuit();
    void quit();

    ModelSession &session;
    AppModel &model;
    Launch launch;
    std::unique_ptr<StatusItem> statusItem;
    std::unique_ptr<MainWindow> window;
    std::optional<std::filesystem::path> ejected;      // what the user waits for, while a sync is stopped for it
    QPointer<QMessageBox> question;                    // before quitting, while it is asked
    std::function<void(const SyncRun &run)> whenEnded; // for whoever waits for the running sync
};
