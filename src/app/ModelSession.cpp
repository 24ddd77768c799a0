#include "app/ModelSession.h"

#include "app/Console.h"
#include "app/Locale.h"
#include "model/AppModel.h"
#include "store/Log.h"

#include <QEventLoop>
#include <QTimer>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <thread>
#include <utility>

#include <unistd.h>

namespace {

int argumentCount = 1;
char programName[] = "tarnwick-basic";
char *argumentList[] = {programName, nullptr};

/// Waits for the history, the drive profiles and the log.
void writeEverythingDown() {
    AppModel::flushHistory(std::chrono::seconds(30));
    AppModel::flushProfiles(std::chrono::seconds(5));
    Log::shared().flush(std::chrono::seconds(5));
}

bool endsOnExit = false;

/// What the run still has to say is delivered without the event loop, which would find the display gone once more.
void endOnExit() {
    if (!endsOnExit)
        return;
    AppModel &model = AppModel::shared();
    model.stopped = true;
    model.cancelSync();
    for (int waited = 0; model.busy() && waited < 10'000; waited += 20) {
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
        QCoreApplication::sendPostedEvents();
    }
    writeEverythingDown();
    ::_exit(EXIT_FAILURE); // other threads still use what static destructors would take away
}

} // namespace

std::unique_ptr<QCoreApplication> ModelSession::makeApplication() {
    Locale::useUtf8();
    return std::make_unique<QCoreApplication>(argumentCount, argumentList);
}

ModelSession::ModelSession(std::unique_ptr<QCoreApplication> application) : eventLoop(std::move(application)) {
}

ModelSession::~ModelSession() = default;

std::optional<QString> ModelSession::claimSettings() {
    if (lock.emplace().isHeld())
        return std::nullopt;
    return alreadyRunning();
}

QString ModelSession::alreadyRunning() {
    return QStringLiteral("Tarnwick Basic is already running with these settings.");
}

AppModel &ModelSession::model() {
    return AppModel::shared();
}

void ModelSession::startModel() {
    model().start(false);
    tellNotice();
}

void ModelSession::tellNotice() {
    const std::optional<QString> notice = model().banner();
    if (notice && std::exchange(toldNotice, notice) != notice)
        Console::error(*notice);
}

void ModelSession::followDrives() {
    // A working directory on a drive would keep it from being ejected; all paths are absolute by now.
    [[maybe_unused]] const int ignored = ::chdir("/");
    drives = std::make_unique<DriveEvents>();
    QObject::connect(drives.get(), &DriveEvents::mounted, &model(), &AppModel::volumeMounted);
    QObject::connect(drives.get(), &DriveEvents::willUnmount, &model(), &AppModel::volumeWillUnmount);
    QObject::connect(drives.get(), &DriveEvents::unmounted, &model(), &AppModel::volumeUnmounted);
    QObject::connect(drives.get(), &DriveEvents::mountsChanged, &model(), &AppModel::mountsChanged);
}

void ModelSession::settle(int milliseconds) {
    QEventLoop loop;
    QTimer::singleShot(milliseconds, Qt::PreciseTimer, &loop, &QEventLoop::quit);
    loop.exec();
}

void ModelSession::endEvenOnExit() {
    endsOnExit = true;
    std::atexit(&endOnExit);
}

void ModelSession::end(int exitStatus) {
    model().stopped = true;
    model().cancelSync();
    for (int waited = 0; model().busy() && waited < 10'000; waited += 50)
        settle(50);
    drives.reset();
    if (AppModel::readOnly)
        return; // nothing can wait to be written
    writeEverythingDown();
    endsOnExit = false;
    if (model().busy()) {
        std::fflush(nullptr);
        ::_exit(Console::finish(exitStatus));
    }
}
