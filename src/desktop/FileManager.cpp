#include "desktop/FileManager.h"

#include "base/Text.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QProcess>

#include <csignal>

#include <unistd.h>

namespace FileManager {

namespace {

std::function<void(const std::filesystem::path &path)> failed;

void tellFailure(const std::filesystem::path &path) {
    if (failed)
        failed(path);
}

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
    // Never ended from here: on some desktops it is the file manager itself, and outlives this program.
    auto *process = new QProcess;
    process->setProgram(QStringLiteral("xdg-open"));
    process->setArguments({uriOf(path)});
    process->setStandardOutputFile(QProcess::nullDevice());
    process->setStandardErrorFile(QProcess::nullDevice());
    // This process waits for signals on a thread and blocks them elsewhere; what it starts must hear them, but not
    // those that are meant for this one's terminal.
    process->setChildProcessModifier([] {
        sigset_t none;
        sigemptyset(&none);
        sigprocmask(SIG_SETMASK, &none, nullptr);
        ::setsid();
    });
    QObject::connect(process, &QProcess::errorOccurred, process, [process, path](QProcess::ProcessError error) {
        if (error != QProcess::FailedToStart)
            return;
        tellFailure(path);
        process->deleteLater();
    });
    QObject::connect(process, &QProcess::finished, process, [process, path](int exitCode) {
        if (exitCode != 0)
            tellFailure(path);
        process->deleteLater();
    });
    process->start();
}

void whenFailed(std::function<void(const std::filesystem::path &path)> handler) {
    failed = std::move(handler);
}

} // namespace FileManager
