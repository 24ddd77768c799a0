#include "desktop/FileManager.h"

#include "base/Text.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QProcess>

#include <csignal>

namespace FileManager {

namespace {

/// Percent-encoded by hand of the bytes: a name need not be UTF-8.
QString uriOf(const std::filesystem::path &path) {
    return QStringLiteral("file://") +
           QString::fromLatin1(QByteArray::fromStdString(path.native()).toPercentEncoding("/"));
}

} // namespace

void show(const std::filesystem::path &path) {
    QDBusMessage call = QDBusMessage::createMethodCall(
        QStringLiteral("org.freedesktop.FileManager1"), QStringLiteral("/org/freedesktop/FileManager1"),
        QStringLiteral("org.freedesktop.FileManager1"), QStringLiteral("ShowItems"));
    call.setArguments({QStringList{uriOf(path)}, QString()});
    const QDBusConnection bus = QDBusConnection::sessionBus();
    if (!bus.isConnected())
        return open(path.parent_path());
    auto *watcher = new QDBusPendingCallWatcher(bus.asyncCall(call));
    QObject::connect(watcher, &QDBusPendingCallWatcher::finished, watcher, [watcher, folder = path.parent_path()] {
        if (watcher->isError())
            open(folder);
        watcher->deleteLater();
    });
}

void open(const std::filesystem::path &path) {
    QProcess process;
    process.setProgram(QStringLiteral("xdg-open"));
    process.setArguments({uriOf(path)});
    // This process waits for signals on a thread and blocks them elsewhere; what it starts must hear them.
    process.setChildProcessModifier([] {
        sigset_t none;
        sigemptyset(&none);
        sigprocmask(SIG_SETMASK, &none, nullptr);
    });
    process.startDetached();
}

} // namespace FileManager
