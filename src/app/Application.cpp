#include "app/Application.h"

#include "app/Console.h"
#include "app/ModelSession.h"
#include "app/StopSignals.h"
#include "app/TarnwickBasicMain.h"
#include "app/Windows.h"
#include "model/AppModel.h"
#include "ui/MainView.h"

#include <QApplication>
#include <QMainWindow>

namespace {

CancelToken stopRequest;

/// Runs on the signals' thread.
void quitSoon() {
    if (QCoreApplication *application = QCoreApplication::instance())
        QMetaObject::invokeMethod(application, &QCoreApplication::quit, Qt::QueuedConnection);
}

} // namespace

int Application::run() {
    if (!Windows::hasDisplay()) {
        Console::error(
            QStringLiteral("Tarnwick Basic has no display to open its window on. See tarnwick-basic --help for "
                           "what works without one."));
        return TarnwickBasicMain::WrongUsage;
    }
    StopSignals::cancelOnSignal(stopRequest, &quitSoon);
    ModelSession session(Windows::makeApplication());
    if (const std::optional<QString> refusal = session.claimSettings()) {
        Console::error(*refusal);
        return TarnwickBasicMain::WrongUsage;
    }
    AppModel &model = session.model();
    session.followDrives(); // first, so that a drive that comes meanwhile is not missed
    model.start(false);
    int status = TarnwickBasicMain::Clean;
    {
        QMainWindow window;
        window.setWindowTitle(QStringLiteral("Tarnwick Basic"));
        window.setCentralWidget(new MainView(model));
        window.resize(980, 720);
        window.show();
        status = stopRequest.isCancelled() ? TarnwickBasicMain::Clean : QApplication::exec();
    }
    session.end(status);
    return status;
}
