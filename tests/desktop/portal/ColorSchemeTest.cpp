#include "desktop/ColorScheme.h"

#include "desktop/Service.h"

#include <QCoreApplication>

#include <gtest/gtest.h>

#include <unistd.h>

TEST(ColorSchemeTest, TellsWhatThePortalSaysAndEveryChange) {
    const QCoreApplication app(argumentCount, nullptr);
    qputenv("DBUS_SESSION_BUS_ADDRESS", "unix:abstract=tarnwick-test-" + QByteArray::number(::getpid()));
    const std::string settings = " org.freedesktop.portal.Settings ";
    const std::string portal = "gdbus call --session -d org.freedesktop.portal.Desktop "
                               "-o /org/freedesktop/portal/desktop -m org.freedesktop.DBus.";
    const Service bus("dbus-daemon --session --nofork --address=$DBUS_SESSION_BUS_ADDRESS",
                      "gdbus call --session -d org.freedesktop.DBus -o / -m org.freedesktop.DBus.GetId");
    const Service mock("/usr/bin/python3 -m dbusmock --session org.freedesktop.portal.Desktop "
                       "/org/freedesktop/portal/desktop" +
                           settings,
                       portal + "Peer.Ping");
    shell(portal + "Mock.AddMethod" + settings + "Read ss v 'ret = dbus.UInt32(1, variant_level=2)'");
    std::vector<int> told;
    ColorScheme scheme;
    QObject::connect(&scheme, &ColorScheme::told,
                     [&](auto preference) { told.push_back(static_cast<int>(preference)); });
    EXPECT_TRUE(until([&] { return told == std::vector{1}; }));
    for (const char *setting :
         {"appearance'>,<'color-scheme'>,<2>", "appearance'>,<'color-scheme'>,<2>", "desktop'>,<'color-scheme'>,<1>",
          "appearance'>,<'contrast'>,<1>", "appearance'>,<'color-scheme'>,<7>", "appearance'>,<'color-scheme'>,<1>"})
        shell(portal + "Mock.EmitSignal" + settings + "SettingChanged ssv \"[<'org.freedesktop." + setting + "]\"");
    EXPECT_TRUE(until([&] { return told.size() >= 4; }));
    EXPECT_EQ(told, (std::vector{1, 2, 0, 1}));
}
