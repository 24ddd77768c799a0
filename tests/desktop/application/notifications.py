"""Stands in for the desktop's notification server."""

import dbus.service


class NotificationServer(dbus.service.Object):
    """Takes down what it is asked to show; reads markup and shows buttons."""

    interface = "org.freedesktop.Notifications"

    def __init__(self, bus):
        self.shown = []
        self.name = dbus.service.BusName(self.interface, bus)
        super().__init__(self.name, "/org/freedesktop/Notifications")

    @dbus.service.method(interface, out_signature="as")
    def GetCapabilities(self):
        return ["body", "body-markup", "actions"]

    @dbus.service.method(interface, in_signature="susssasa{sv}i", out_signature="u")
    def Notify(self, application, replaces, icon, summary, body, actions, hints, timeout):
        self.shown.append({"title": str(summary), "body": str(body), "actions": list(map(str, actions)),
                           "hints": {str(key): str(value) for key, value in hints.items()}})
        return len(self.shown)

    @dbus.service.signal(interface, signature="us")
    def ActionInvoked(self, number, action):
        pass
