#pragma once

#include "base/FileDescriptor.h"

#include <QObject>

#include <filesystem>
#include <map>

class QDBusMessage;

/// Tells when drives come and go, without ever waking up in between. Mounts and unmounts come from the kernel's mount
/// table, the warning that an unmount is about to happen from UDisks2; with a test root active, a folder that appears
/// in or leaves its "Volumes" is the event, without a warning. For the main thread.
class DriveEvents : public QObject {
    Q_OBJECT
  public:
    /// Begins to watch; drives that are there already are not told.
    DriveEvents();

  Q_SIGNALS:
    /// A drive is there. `url` is its top folder.
    void mounted(const std::filesystem::path &url);
    /// The drive is about to be unmounted; whatever is open on it will make that fail.
    void willUnmount(const std::filesystem::path &url);
    /// The drive has gone.
    void unmounted(const std::filesystem::path &url);
    /// Anything at all was mounted or unmounted; told after what concerns drives.
    void mountsChanged();

  private Q_SLOTS:
    void jobAppeared(const QDBusMessage &message);

  private:
    void watchMountTable();
    void watchJobs();
    void watchTestRoot();
    void compare();

    FileDescriptor table;
    std::map<std::filesystem::path, int> present; // top folders with their mount ids (0 in a test root)
};
