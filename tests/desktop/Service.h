#pragma once

#include <QProcess>
#include <qtestsupport_core.h>

#include <csignal>
#include <stdexcept>
#include <string>

#include <sys/prctl.h>

inline int argumentCount = 0; // QCoreApplication wants it to stay

/// Turns the event loop until `condition` holds, for half a minute at most; whether it came to hold.
bool until(const auto &condition) {
    return QTest::qWaitFor(condition, 30'000);
}

/// What a line of shell writes; turns the event loop meanwhile.
inline std::string shell(const std::string &line) {
    QProcess process;
    process.start(QStringLiteral("/bin/sh"), {QStringLiteral("-c"), QString::fromStdString(line)});
    until([&] { return process.state() == QProcess::NotRunning; });
    return process.readAllStandardOutput().toStdString();
}

/// The question for what has the name that follows on the system bus.
inline const std::string onBus = "dbus-send --system --print-reply --dest=org.freedesktop.DBus / "
                                 "org.freedesktop.DBus.GetNameOwner string:";

/// A program that runs until the end of its life; where it answers the `question` already, it is left alone.
class Service : public QProcess {
  public:
    Service(const std::string &program, const std::string &question) {
        const auto answers = [&] { return shell(question + " >/dev/null 2>&1 && echo yes") == "yes\n"; };
        if (answers())
            return;
        setChildProcessModifier([] { ::prctl(PR_SET_PDEATHSIG, SIGTERM); }); // should the test be killed
        const std::string line = "exec " + program + " >/dev/null 2>&1";
        start(QStringLiteral("/bin/sh"), {QStringLiteral("-c"), QString::fromStdString(line)});
        if (!until(answers))
            throw std::runtime_error("this doesn't come up: " + program);
    }
    ~Service() override {
        terminate();
        waitForFinished();
    }
};
