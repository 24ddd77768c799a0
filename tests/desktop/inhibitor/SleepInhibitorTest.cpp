#include "desktop/SleepInhibitor.h"

#include "desktop/Service.h"

#include <QCoreApplication>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QDeadlineTimer>
#include <QDebug>

#include <csignal>
#include <gtest/gtest.h>

#include <unistd.h>

namespace {

/// The inhibitors whose descriptors are open somewhere, as logind sees them. Takes in what it has answered before.
std::string held() {
    QString answer;
    QDebug(&answer) << QDBusConnection::systemBus().call(QDBusMessage::createMethodCall(
        QStringLiteral("org.freedesktop.login1"), QStringLiteral("/org/freedesktop/login1"),
        QStringLiteral("org.freedesktop.login1.Manager"), QStringLiteral("ListInhibitors")));
    QCoreApplication::processEvents();
    return answer.section(QStringLiteral("a(ssssuu)"), 2).toStdString();
}

const std::string none = " {}]) ) ";

std::string one(const std::string &reason) {
    return R"( {[Argument: (ssssuu) "idle", "Tarnwick Basic", ")" + reason + R"(", "block", 1000, 123456]}]) ) )";
}

TEST(SleepInhibitorTest, HoldsOneFromBeginToEndAndNeverWaits) {
    const QCoreApplication app(argumentCount, nullptr);
    qputenv("DBUS_SYSTEM_BUS_ADDRESS", "unix:abstract=tarnwick-test-" + QByteArray::number(::getpid()));
    const Service bus("dbus-daemon --session --nofork --address=$DBUS_SYSTEM_BUS_ADDRESS",
                      onBus + "org.freedesktop.DBus");
    const Service logind("/usr/bin/python3 -m dbusmock --template logind", onBus + "org.freedesktop.login1");

    SleepInhibitor sleep;
    for (const char *reason : {"first", "second"}) {
        sleep.begin(QString::fromLatin1(reason));
        EXPECT_TRUE(until([&] { return held() == one(reason); })) << held();
    }
    sleep.end();
    EXPECT_TRUE(until([] { return held() == none; })) << held();

    // An answer that comes too late leaves nothing held.
    ::kill(static_cast<pid_t>(logind.processId()), SIGSTOP);
    const QDeadlineTimer soon(1000);
    sleep.begin(QStringLiteral("late"));
    sleep.end();
    EXPECT_FALSE(soon.hasExpired());
    ::kill(static_cast<pid_t>(logind.processId()), SIGCONT);
    EXPECT_EQ(held(), one("late")); // on its way
    EXPECT_TRUE(until([] { return held() == none; })) << held();
}

} // namespace
