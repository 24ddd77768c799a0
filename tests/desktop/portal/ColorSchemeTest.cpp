#include "desktop/ColorScheme.h"

#include "desktop/Service.h"

#include <QCoreApplication>

#include <gtest/gtest.h>

#include <unistd.h>

TEST(ColorSchemeTest, TellsWhatThePortalSaysAndEveryChange) {
    const QCoreApplication app(argumentCount, nullptr);
    qputenv("DBUS_SESSION_BUS_ADDRESS", "unix:abstract=tarnwick-test-" + QByteArray::number(::getpid()));
    const std::string send = "dbus-send --session --print-reply --dest=org.freedesktop.";
    const Service bus("dbus-daemon --session --nofork --address=$DBUS_SESSION_BUS_ADDRESS",
                      send + "DBus / org.freedesktop.DBus.GetId");
    const std::string portal = send + "portal.Desktop /org/freedesktop/portal/desktop org.freedesktop.";
    const Service mock("/usr/bin/python3 -m dbusmock --session org.freedesktop.portal.Desktop "
                       "/org/freedesktop/portal/desktop org.freedesktop.portal.Settings",
                       portal + "DBus.Peer.Ping");
    const auto change = [&](const std::string &group, int value) {
        shell("gdbus call --session -d org.freedesktop.portal.Desktop -o /org/freedesktop/portal/desktop "
              "-m org.freedesktop.DBus.Mock.EmitSignal org.freedesktop.portal.Settings SettingChanged ssv \"[<'" +
              group + "'>, <'color-scheme'>, <<uint32 " + std::to_string(value) + ">>]\"");
    };
    shell(portal + "DBus.Mock.AddMethod string:org.freedesktop.portal.Settings string:Read string:ss string:v "
                   "string:'ret = dbus.UInt32(1, variant_level=2) if args[1] == \"color-scheme\" else 0'");
    std::vector<int> told;
    ColorScheme scheme;
    QObject::connect(&scheme, &ColorScheme::told,
                     [&](auto preference) { told.push_back(static_cast<int>(preference)); });
    EXPECT_TRUE(until([&] { return told == std::vector{1}; }));
    for (const int value : {2, 2, 7, 1}) {
        change("org.freedesktop.appearance", value);
        change("org.example", 2);
    }
    EXPECT_TRUE(until([&] { return told.size() >= 4; }));
    EXPECT_EQ(told, (std::vector{1, 2, 0, 1}));
}
