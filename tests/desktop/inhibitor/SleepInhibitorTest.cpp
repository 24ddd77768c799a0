#include "desktop/SleepInhibitor.h"

#include "desktop/Service.h"

#include <QCoreApplication>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QDeadlineTimer>
#include <QDebug>

#include <csignal>
#include <cstddef>
#include <gtest/gtest.h>

#include <sys/socket.h>
#include <sys/un.h>
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

/// A bus that takes connections and never says a word.
int useWithMuteBus() {
    ::alarm(10);
    sockaddr_un place = {AF_UNIX, ""};
    const std::string name = "tarnwick-mute-" + std::to_string(::getpid());
    name.copy(place.sun_path + 1, name.size());
    const int bus = ::socket(AF_UNIX, SOCK_STREAM, 0);
    const auto length = static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + 1 + name.size());
    if (::bind(bus, reinterpret_cast<const sockaddr *>(&place), length) != 0 || ::listen(bus, 8) != 0)
        return 2;
    qputenv("DBUS_SYSTEM_BUS_ADDRESS", "unix:abstract=" + QByteArray::fromStdString(name));
    const QCoreApplication app(argumentCount, nullptr);
    SleepInhibitor sleep;
    sleep.begin(QStringLiteral("reason"));
    const int connection = ::accept(bus, nullptr, nullptr); // somebody asks there
    QCoreApplication::processEvents();
    sleep.end();
    return connection >= 0 ? 0 : 1;
}

TEST(SleepInhibitorDeathTest, NeverWaitsForAMuteBus) {
    GTEST_FLAG_SET(death_test_style, "threadsafe"); // a process of its own, for it keeps the first bus that it meets
    EXPECT_EXIT(std::exit(useWithMuteBus()), testing::ExitedWithCode(0), "");
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
