#include "app/Application.h"

#include "app/AppDelegate.h"
#include "app/Arguments.h"
#include "app/BusService.h"
#include "app/Console.h"
#include "app/ModelSession.h"
#include "app/StopSignals.h"
#include "app/TarnwickBasicMain.h"
#include "app/Windows.h"
#include "base/Text.h"
#include "model/AppModel.h"
#include "store/Store.h"

#include <QApplication>
#include <QElapsedTimer>
#include <QMessageBox>
#include <QSessionManager>

#include <ctime>
#include <optional>

namespace {

using namespace TarnwickBasicMain;

CancelToken stopRequest;

/// Runs on the signals' thread. Whoever sends a signal, as the desktop does when the user logs out, gets no question.
void quitSoon() {
    if (QCoreApplication *application = QCoreApplication::instance())
        QMetaObject::invokeMethod(
            application, [] { QCoreApplication::exit(0); }, Qt::QueuedConnection);
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
    const QString action = Text::fromBytes(Arguments::valueAfter(arguments, "--action").value_or(""));
    const bool saysLogin = Arguments::contain(arguments, "--login");
    const bool isService = Arguments::contain(arguments, "--service");
    switch (takeTurn(session, action, saysLogin || isService)) {
    case Turn::HandedOver:
        return Clean;
    case Turn::Refused:
        return refuse(ModelSession::alreadyRunning());
    case Turn::Ours:
        break;
    }
    session.endEvenOnExit();
    {
        AppDelegate delegate(session, {saysLogin || hasJustBooted(), isService || !action.isEmpty()});
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
