#pragma once

#include "app/SettingsLock.h"
#include "desktop/DriveEvents.h"
#include "desktop/SleepInhibitor.h"
#include "model/AppModel.h"

#include <QCoreApplication>
#include <QString>

#include <functional>
#include <memory>
#include <optional>

/// What a mode without a window needs around the model: the event loop, the settings folder to itself, the drive
/// events, and an orderly end.
class ModelSession {
  public:
    explicit ModelSession(std::unique_ptr<QCoreApplication> application = makeApplication());
    ~ModelSession();

    /// The event loop alone, in a locale with UTF-8.
    static std::unique_ptr<QCoreApplication> makeApplication();

    /// Takes the settings folder for this process, which whoever changes anything must do first. Why that can't be:
    /// another process runs on these settings; none when all is well.
    std::optional<QString> claimSettings();
    static QString alreadyRunning();

    /// The lock of the last claimSettings(), held or not.
    const SettingsLock &settingsLock() const { return *lock; }

    /// Made on first use. While it is busy the computer doesn't fall asleep.
    AppModel &model();
    /// Starts the model without a sync and waits until it knows the disks and the drives' folder choices, or until
    /// `isStopped`.
    void startModel(const std::function<bool()> &isStopped = [] { return false; });
    /// Waits until the last look that was asked for is back, two seconds at most for what doesn't answer.
    void waitForDisks();
    /// Waits for what an operation answers.
    std::optional<QString> answerOf(const std::function<void(const AppModel::Answer &done)> &operation);
    /// Tells the model's notice on standard error, each text once.
    void tellNotice();
    /// The exit status of a command whose work was to change the settings. Where they could not be saved, it says so on
    /// standard error.
    int toldWhetherSaved();
    /// From now on drives that come and go are the model's business.
    void followDrives();
    /// Turns the event loop for so long.
    static void settle(int milliseconds);

    /// Stops a running sync safely and writes everything down that waits to be written. A sync that hangs in the kernel
    /// is not waited for: the process ends here then.
    void end(int exitStatus);

    /// Lets the process end like that, but without the event loop, also when it is exited from inside, as Qt does when
    /// the display goes away at the end of a login session.
    void endEvenOnExit();

  private:
    void stayAwakeWhileBusy();
    bool unfinishedDisksAnswer();
    void leave();

    std::optional<SettingsLock> lock;
    std::unique_ptr<QCoreApplication> eventLoop;
    std::unique_ptr<DriveEvents> drives;
    std::unique_ptr<SleepInhibitor> inhibitor;
    std::optional<QString> toldNotice;
};
