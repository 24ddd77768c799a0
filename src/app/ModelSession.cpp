#include "app/ModelSession.h"

#include "model/AppModel.h"
#include "store/Log.h"

#include <QEventLoop>
#include <QTimer>

#include <clocale>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <langinfo.h>

#include <unistd.h>

namespace {

int argumentCount = 1;
char programName[] = "tarnwick-basic";
char *argumentList[] = {programName, nullptr};

/// Qt complains on standard error about any other encoding.
void useUtf8() {
    std::setlocale(LC_ALL, "");
    if (std::strcmp(nl_langinfo(CODESET), "UTF-8") != 0)
        ::setenv("LC_ALL", "C.UTF-8", 1);
}

std::unique_ptr<QCoreApplication> makeApplication() {
    useUtf8();
    return std::make_unique<QCoreApplication>(argumentCount, argumentList);
}

} // namespace

ModelSession::ModelSession() : application(makeApplication()) {
}

ModelSession::~ModelSession() = default;

std::optional<QString> ModelSession::refusal() const {
    if (lock.isHeld())
        return std::nullopt;
    return QStringLiteral("Tarnwick Basic is already running with these settings.");
}

AppModel &ModelSession::model() {
    return AppModel::shared();
}

void ModelSession::followDrives() {
    drives = std::make_unique<DriveEvents>();
    QObject::connect(drives.get(), &DriveEvents::mounted, &model(), &AppModel::volumeMounted);
    QObject::connect(drives.get(), &DriveEvents::willUnmount, &model(), &AppModel::volumeWillUnmount);
    QObject::connect(drives.get(), &DriveEvents::unmounted, &model(), &AppModel::volumeUnmounted);
}

void ModelSession::settle(int milliseconds) {
    QEventLoop loop;
    QTimer::singleShot(milliseconds, Qt::PreciseTimer, &loop, &QEventLoop::quit);
    loop.exec();
}

void ModelSession::end(int exitStatus) {
    model().stopped = true;
    model().cancelSync();
    for (int waited = 0; model().busy() && waited < 10'000; waited += 50)
        settle(50);
    drives.reset();
    AppModel::flushProfiles(std::chrono::seconds(5));
    Log::shared().flush(std::chrono::seconds(5));
    if (model().busy()) {
        std::fflush(nullptr);
        ::_exit(exitStatus);
    }
}
