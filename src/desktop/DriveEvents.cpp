#include "desktop/DriveEvents.h"

#include "base/Text.h"
#include "desktop/SystemBus.h"
#include "platform/GatheredDisk.h"
#include "platform/MountTable.h"
#include "platform/VolumeIdentity.h"
#include "store/Locations.h"
#include "store/TestRoot.h"

#include <QDBusArgument>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusObjectPath>
#include <QFileSystemWatcher>
#include <QSocketNotifier>
#include <QVariantMap>

namespace {

namespace fs = std::filesystem;

using InterfacesAdded = QMap<QString, QVariantMap>;

/// No drive is asked: whoever is told of one looks at it, and may find that it is none of this user's.
std::map<fs::path, int> drivesNow() {
    std::map<fs::path, int> drives;
    if (TestRoot::isActive()) {
        for (const FolderItem &item : DirectDisk().visibleItems(*TestRoot::url() / "Volumes"))
            drives[item.path] = 0;
        return drives;
    }
    const MountTable table = MountTable::read();
    const DiskAnswers nothing;
    GatheredDisk untouched(table, nothing);
    for (const VolumeInfo &drive : Locations::externalVolumes(untouched))
        drives[drive.url] = table.covering(drive.url)->id;
    return drives;
}

} // namespace

DriveEvents::DriveEvents() : present(drivesNow()) {
    watchMountTable();
    if (TestRoot::isActive())
        watchTestRoot();
    else
        watchJobs();
    compare(); // what came between the first look and the watch
}

void DriveEvents::watchMountTable() {
    table = MountTable::openForChanges();
    if (!table)
        return;
    const auto *notifier = new QSocketNotifier(table.get(), QSocketNotifier::Exception, this);
    connect(notifier, &QSocketNotifier::activated, this, [this] {
        compare();
        Q_EMIT mountsChanged();
    });
}

void DriveEvents::watchTestRoot() {
    const QString volumes = Text::fromPath(*TestRoot::url() / "Volumes");
    auto *watcher = new QFileSystemWatcher({volumes}, this);
    connect(watcher, &QFileSystemWatcher::directoryChanged, this, &DriveEvents::compare);
}

void DriveEvents::watchJobs() {
    SystemBus::whenItAnswers(this, [this] {
        QDBusConnection::systemBus().connect(QStringLiteral("org.freedesktop.UDisks2"),
                                             QStringLiteral("/org/freedesktop/UDisks2"),
                                             QStringLiteral("org.freedesktop.DBus.ObjectManager"),
                                             QStringLiteral("InterfacesAdded"), this, SLOT(jobAppeared(QDBusMessage)));
    });
}

void DriveEvents::compare() {
    const std::map<fs::path, int> before = std::exchange(present, drivesNow());
    const std::map<fs::path, int> now = present; // who is told may turn the event loop
    const auto has = [](const std::map<fs::path, int> &drives, const auto &drive) {
        const auto found = drives.find(drive.first);
        return found != drives.end() && found->second == drive.second;
    };
    for (const auto &drive : before) {
        if (!has(now, drive))
            Q_EMIT unmounted(drive.first);
    }
    for (const auto &drive : now) {
        if (!has(before, drive))
            Q_EMIT mounted(drive.first);
    }
}

void DriveEvents::jobAppeared(const QDBusMessage &message) {
    if (message.arguments().size() != 2)
        return;
    const auto interfaces = qdbus_cast<InterfacesAdded>(message.arguments().at(1));
    const QVariantMap job = interfaces.value(QStringLiteral("org.freedesktop.UDisks2.Job"));
    if (job.value(QStringLiteral("Operation")).toString() != QStringLiteral("filesystem-unmount"))
        return;
    const auto objects = qdbus_cast<QList<QDBusObjectPath>>(job.value(QStringLiteral("Objects")));
    for (const QDBusObjectPath &object : objects) {
        for (const fs::path &mountPoint : VolumeIdentity::mountPointsOf(Text::toBytes(object.path())))
            Q_EMIT willUnmount(mountPoint);
    }
}
