#include "app/ModelSession.h"

#include "app/Console.h"
#include "app/Locale.h"
#include "app/TarnwickBasicMain.h"
#include "store/Log.h"

#include <QDBusConnection>
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

/// Somebody wants to quit: disks that don't answer now are not waited for.
constexpr std::chrono::milliseconds endOfPatience(600);
/// A run that has been stopped ends within this time, if its disks answer.
constexpr std::chrono::seconds endOfRun(10);

/// Waits for the history, the log and, if the drives answer, their profiles.
void writeEverythingDown(bool drivesAnswer) {
    AppModel::flushHistory(std::chrono::seconds(30));
    AppModel::flushProfiles(std::chrono::seconds(drivesAnswer ? 5 : 0));
    Log::shared().flush(std::chrono::seconds(5));
}

constexpr std::chrono::milliseconds slice(50);

bool endsOnExit = false;

/// What the run still has to say is delivered without the event loop, which would find the display gone once more.
void endOnExit() {
    if (!endsOnExit)
        return;
    AppModel &model = AppModel::shared();
    model.stop();
    model.cancelSync();
    const auto begin = std::chrono::steady_clock::now();
    const auto deliverWhile = [&](const auto &condition, std::chrono::milliseconds limit) {
        while (condition() && std::chrono::steady_clock::now() - begin < limit) {
            std::this_thread::sleep_for(std::chrono::milliseconds(20));
            QCoreApplication::sendPostedEvents();
        }
    };
    std::optional<bool> answer;
    model.whetherItsDisksAnswer(endOfPatience, [&](bool isAnswered) { answer = isAnswered; });
    deliverWhile([&] { return !answer; }, endOfPatience);
    deliverWhile([&] { return answer == true && model.busy(); }, endOfRun);
    writeEverythingDown(answer == true);
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
    if (!inhibitor)
        stayAwakeWhileBusy();
    return AppModel::shared();
}

void ModelSession::stayAwakeWhileBusy() {
    inhibitor = std::make_unique<SleepInhibitor>();
    const AppModel &model = AppModel::shared();
    QObject::connect(&model, &AppModel::changed, inhibitor.get(), [this, &model, isAwake = false]() mutable {
        if (std::exchange(isAwake, model.busy()) == isAwake)
            return;
        if (isAwake)
            inhibitor->begin(QStringLiteral("Tarnwick Basic is syncing your folders"));
        else
            inhibitor->end();
    });
}

void ModelSession::startModel(const std::function<bool()> &isStopped) {
    bool isStarted = false;
    model().start(false, [&] { isStarted = true; });
    while (!isStarted && !isStopped())
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
}

void ModelSession::waitForDisks() {
    while (model().isLooking())
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
}

std::optional<QString> ModelSession::answerOf(const std::function<void(const AppModel::Answer &)> &operation) {
    std::optional<QString> answer;
    bool isAnswered = false;
    operation([&](const std::optional<QString> &refusal) {
        answer = refusal;
        isAnswered = true;
    });
    while (!isAnswered)
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
    return answer;
}

void ModelSession::tellNotice() {
    const std::optional<QString> notice = model().banner();
    if (notice && std::exchange(toldNotice, notice) != notice)
        Console::error(*notice);
}

int ModelSession::toldWhetherSaved() {
    waitForDisks(); // what they tell may be saved, too
    const std::optional<QString> &reason = model().whyUnsaved();
    if (!reason)
        return TarnwickBasicMain::Clean;
    Console::error(QStringLiteral("The settings could not be saved (") + *reason + QStringLiteral(")."));
    return TarnwickBasicMain::Trouble;
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
    AppModel &app = model();
    app.stop();
    app.cancelSync();
    const bool areAnswering = unfinishedDisksAnswer();
    for (std::chrono::milliseconds waited{}; areAnswering && app.busy() && waited < endOfRun; waited += slice)
        settle(static_cast<int>(slice.count()));
    if (!AppModel::isReadOnly())
        writeEverythingDown(areAnswering);
    endsOnExit = false;
    leave();
    if (app.busy()) {
        std::fflush(nullptr);
        ::_exit(Console::finish(exitStatus));
    }
}

bool ModelSession::unfinishedDisksAnswer() {
    if (!model().hasUnfinishedWork())
        return true;
    bool isAnswered = false;
    QEventLoop loop;
    model().whetherItsDisksAnswer(endOfPatience, [&](bool answer) {
        isAnswered = answer;
        loop.quit();
    });
    loop.exec();
    return isAnswered;
}

/// A thread that hangs in the kernel keeps the process from going away. Whatever others may wait for is given up here.
void ModelSession::leave() {
    drives.reset();
    inhibitor.reset();
    QDBusConnection::disconnectFromBus(QStringLiteral("qt_default_session_bus"));
    QDBusConnection::disconnectFromBus(QStringLiteral("qt_default_system_bus"));
    lock.reset();
}
