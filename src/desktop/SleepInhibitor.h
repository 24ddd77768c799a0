#pragma once

#include <QObject>
#include <QString>

#include <memory>

class QDBusUnixFileDescriptor;

/// Keeps the computer from falling asleep for lack of use, through logind. Where there is no logind it does nothing.
/// Never waits; for the main thread.
class SleepInhibitor : public QObject {
    Q_OBJECT
  public:
    SleepInhibitor();
    ~SleepInhibitor() override;

    /// From now on, as soon as logind agrees; `reason` is for the user.
    void begin(const QString &reason);
    /// The computer may sleep again.
    void end();

  private:
    void ask(const QString &reason);

    int turn = 0; // tells the answer to the last begin() from late answers to earlier ones
    std::unique_ptr<QDBusUnixFileDescriptor> lock; // logind's: inhibits as long as it is open
};
