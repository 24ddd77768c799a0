#include "base/MainThread.h"

#include <QCoreApplication>

void MainThread::post(std::function<void()> task) {
    if (QCoreApplication *application = QCoreApplication::instance())
        QMetaObject::invokeMethod(application, std::move(task), Qt::QueuedConnection);
}
