#include "app/Application.h"

#include "app/AppDelegate.h"
#include "app/BusService.h"
#include "app/Console.h"
#include "app/LaunchOptions.h"
#include "app/ModelSession.h"
#include "app/StopSignals.h"
#include "app/TarnwickBasicMain.h"
#include "app/Windows.h"
#include "model/AppModel.h"
#include "store/Store.h"

#include <QApplication>
#include <QElapsedTimer>
#include <QMessageBox>
#include <QSessionManager>

#include <ctime>
#include <optional>

#include <unistd.h>

namespace {

using namespace TarnwickBasicMain;

CancelToken stopRequest;

/// Runs on the signals' thread. Whoever sends a signal, as the desktop does when the user logs out, gets no question.
void quitSoon() {
    if (QCoreApplication *application = QCoreApplication::instance())
        QMetaObject::invokeMethod(
            application, [] { QCoreApplication::exit(0); }, Qt::QueuedConnection);
}

/// A person starts it from a menu, which gives a token along, or from a terminal.
bool isStartedByHand() {
    return qEnvironmentVariableIsSet("XDG_ACTIVATION_TOKEN") || qEnvironmentVariableIsSet("DESKTOP_STARTUP_ID") ||
           ::isatty(STDIN_FILENO) == 1 || ::isatty(STDOUT_FILENO) == 1 || ::isatty(STDERR_FILENO) == 1;
}

/// Desktops that start the application without saying that it is at login have not been up for long then.
bool hasJustBooted() {
    timespec up{};
    ::clock_gettime(CLOCK_BOOTTIME, &up);
    return up.tv_sec < 180;
}

/// What becomes of this start.
enum class Turn { Ours, HandedOver, Refused };

/// The other process may just be starting or ending: what fails now is tried for a while. A start in the background
/// only needs the application to be there, and waits as long as a command holds the settings.
Turn takeTurn(ModelSession &session, const QString &action, bool inBackground) {
    QElapsedTimer clock;
    clock.start();
    while (!stopRequest.isCancelled()) {
        if (!session.claimSettings())
            return Turn::Ours;
        const SettingsLock &lock = session.settingsLock();
        if (inBackground ? BusService::isReachable(lock) : BusService::tell(lock, action))
            return Turn::HandedOver;
        if (!inBackground && clock.elapsed() > 5000)
            return Turn::Refused;
        ModelSession::settle(100);
    }
    return Turn::HandedOver;
}

int refuse(const QString &sentence) {
    Console::error(sentence);
    if (!Store::isTestMode())
        QMessageBox(QMessageBox::Information, QStringLiteral("Tarnwick Basic"), sentence).exec();
    return WrongUsage;
}

} // namespace

int Application::run(const std::vector<std::string> &arguments) {
    const LaunchOptions options = LaunchOptions::parse(arguments);
    if (options.refusal) {
        Console::error(*options.refusal);
        return WrongUsage;
    }
    const bool isAtLogin =
        options.login || (hasJustBooted() && !isStartedByHand()); // the toolkit takes the tokens away
    Windows::useToolkitOptions(options.toolkit);
    if (!Windows::hasDisplay()) {
        Console::error(
            QStringLiteral("Tarnwick Basic has no display to open its window on. See tarnwick-basic --help for "
                           "what works without one."));
        return WrongUsage;
    }
    StopSignals::cancelOnSignal(stopRequest, &quitSoon);
    ModelSession session(Windows::makeApplication());
    QApplication::setQuitOnLastWindowClosed(false);
    // Being opened at login is the login item's business, which the user can switch off.
    QObject::connect(qApp, &QGuiApplication::commitDataRequest, qApp,
                     [](QSessionManager &manager) { manager.setRestartHint(QSessionManager::RestartNever); });
    const bool asksToAdd = options.action.isEmpty() && !options.folders.empty();
    const QString action = asksToAdd ? QStringLiteral("add-folder") : options.action;
    switch (takeTurn(session, action, options.login || options.service)) {
    case Turn::HandedOver:
        return Clean;
    case Turn::Refused:
        return refuse(ModelSession::alreadyRunning());
    case Turn::Ours:
        break;
    }
    session.endEvenOnExit();
    {
        AppDelegate delegate(session, {isAtLogin, options.service || !action.isEmpty()});
        auto service = std::make_unique<BusService>(delegate, session.settingsLock());
        delegate.onQuitting = [&service] { service.reset(); };
        delegate.applicationDidFinishLaunching();
        if (!action.isEmpty())
            delegate.perform(action, qEnvironmentVariable("XDG_ACTIVATION_TOKEN"));
        if (!stopRequest.isCancelled())
            QApplication::exec();
    }
    session.end(Clean);
    return Clean;
}
