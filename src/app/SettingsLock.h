#pragma once

#include "base/FileDescriptor.h"

/// Keeps the settings folder to one process, so that two never overwrite each other's settings. The lock goes with the
/// process, however it ends; its file stays.
class SettingsLock {
  public:
    SettingsLock();

    /// Whether this process has the folder to itself. Where the folder can't be written to, nobody can change anything
    /// and everybody may go on.
    bool isHeld() const { return held; }

  private:
    FileDescriptor file;
    bool held = true;
};
