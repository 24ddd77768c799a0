#pragma once

#include "base/FileDescriptor.h"

#include <QString>

#include <optional>

/// Keeps the settings folder to one process, so that two never overwrite each other's settings. The lock goes with the
/// process, however it ends; its file stays, and tells where its holder can be reached.
class SettingsLock {
  public:
    SettingsLock();

    /// Whether this process has the folder to itself. Where there is no folder at all, everybody may go on.
    bool isHeld() const { return held; }

    /// Where a process can be reached: its unique name on the bus with this address.
    struct Holder {
        qint64 process = 0;
        QString busName;
        QString busAddress;
    };
    /// Tells others where this process is; only for the holder.
    void announce(const QString &busName, const QString &busAddress) const;
    /// Where the holder says it is; none when it doesn't. A holder that died leaves its words behind: ask the bus
    /// whether the name is that process's.
    std::optional<Holder> holder() const;

  private:
    FileDescriptor file;
    bool held = true;
};
