"""A desktop of its own for one test: a display, a session bus, a window manager, a home folder; and what the test wants
of a panel, a notification server and a file manager."""

import contextlib
import fcntl
import json
import os
import pathlib
import re
import signal
import subprocess
import tempfile
import time

import dbus
import dbus.mainloop.glib
import dbus.service
from gi.repository import GLib

PATIENCE = 30  # seconds
APPLICATION = "org.freedesktop.Application"
PROPERTIES = "org.freedesktop.DBus.Properties"


def wait_for(what, look, patience=PATIENCE, may_fail=False):
    """Serves the bus until `look` returns something, which is returned; with `may_fail`, nothing when it doesn't come."""
    end = time.monotonic() + patience
    while True:
        while GLib.MainContext.default().iteration(False):
            pass
        if found := look():
            return found
        if time.monotonic() > end:
            if may_fail:
                return None
            raise AssertionError(f"did not come: {what}")
        time.sleep(0.02)


class Desktop:
    def __init__(self, program, screen="1280x900"):
        self.program = program
        self.screen = screen
        self.children = []

    def __enter__(self):
        self.folder = tempfile.TemporaryDirectory(prefix="tarnwick-test-")
        self.home = pathlib.Path(self.folder.name) / "home"
        self.cloud = self.home / "Library/CloudStorage/OneDrive-Test"
        self.cloud.mkdir(parents=True)
        runtime = self.home.parent / "run"
        runtime.mkdir(mode=0o700)
        for name in [name for name in os.environ if name.startswith(("XDG_", "TARNWICK_", "DBUS_"))]:
            del os.environ[name]
        os.environ.update(HOME=str(self.home), XDG_RUNTIME_DIR=str(runtime), XDG_CURRENT_DESKTOP="test",
                          LC_ALL="C.UTF-8", QT_QPA_PLATFORM="xcb", QT_LINUX_ACCESSIBILITY_ALWAYS_ON="1",
                          XDG_CONFIG_DIRS="/nonexistent")
        self.offer("org.tarnwick.Basic", f"{self.program} --service")
        self.offer("org.freedesktop.Notifications", "/bin/false")  # keeps the bus from starting an installed one
        os.environ["DISPLAY"] = ":" + self.line_of("Xvfb", "-displayfd", "1", "-noreset", "-screen", "0", f"{self.screen}x24")
        self.display = self.children[-1]
        os.environ["DBUS_SESSION_BUS_ADDRESS"] = self.line_of("dbus-daemon", "--session", "--nofork", "--print-address",
                                                               f"--address=unix:path={runtime}/bus")
        self.bus = dbus.SessionBus(mainloop=dbus.mainloop.glib.DBusGMainLoop())
        self.start("openbox")
        # A window that asks to be shown while the window manager is still starting can be forgotten by it.
        wait_for("the window manager", self.has_window_manager)
        return self

    @staticmethod
    def has_window_manager():
        """Its list of windows is the last thing that it makes when it starts."""
        told = subprocess.run(["xprop", "-root", "_NET_CLIENT_LIST"], capture_output=True, text=True).stdout
        return "(WINDOW)" in told

    def __exit__(self, *_):
        for child in reversed(self.children):
            child.kill()
            child.wait()
        self.folder.cleanup()

    def offer(self, name, program):
        """Lets the bus start a program for a name."""
        service = self.home.parent / f"run/dbus-1/services/{name}.service"
        service.parent.mkdir(parents=True, exist_ok=True)
        service.write_text(f"[D-BUS Service]\nName={name}\nExec={program}\n")

    def start(self, *words, **options):
        child = subprocess.Popen(words, cwd="/",
                                 **{"stdout": subprocess.DEVNULL, "stderr": subprocess.DEVNULL, **options})
        self.children.append(child)
        return child

    def line_of(self, *words):
        """Starts it and returns the first line that it prints."""
        return self.start(*words, stdout=subprocess.PIPE, text=True).stdout.readline().strip()

    def launch(self, *arguments):
        return self.start(self.program, *arguments)

    def run(self, *arguments):
        """What the program prints, when it ends by itself."""
        return subprocess.run([self.program, *map(str, arguments)], cwd="/", capture_output=True, text=True,
                              timeout=PATIENCE)

    def start_panel(self):
        settings = self.home / ".config/xfce4/xfconf/xfce-perchannel-xml/xfce4-panel.xml"
        settings.parent.mkdir(parents=True)
        settings.write_text("""<channel name="xfce4-panel" version="1.0">
            <property name="panels" type="array"><value type="int" value="1"/><property name="panel-1" type="empty">
            <property name="position" type="string" value="p=6;x=0;y=0"/><property name="size" type="uint" value="28"/>
            <property name="length" type="uint" value="100"/><property name="position-locked" type="bool" value="true"/>
            <property name="plugin-ids" type="array"><value type="int" value="1"/><value type="int" value="2"/>
            </property></property></property><property name="plugins" type="empty">
            <property name="plugin-1" type="string" value="separator"><property name="expand" type="bool" value="true"/>
            </property><property name="plugin-2" type="string" value="systray"/></property></channel>""")
        return self.start("xfce4-panel", "--disable-wm-check")

    def work_area(self):
        """Left, top, right and bottom of what the panel leaves free, once it has taken its part."""
        said = subprocess.run(["xprop", "-root", "_NET_WORKAREA"], capture_output=True, text=True).stdout
        found = re.search(r"= (\d+), (\d+), (\d+), (\d+)", said)
        left, top, width, height = map(int, found.groups()) if found else (0, 0, 0, 0)
        return top > 0 and (left, top, left + width, top + height)

    def frame(self):
        """The same of the application's window with what the window manager puts around it."""
        window = self.window_ids()[0]
        said = subprocess.run(["xwininfo", "-id", window], capture_output=True, text=True).stdout
        left, top, width, height = (int(re.search(name + ": +(-?[0-9]+)", said)[1])
                                    for name in ("Absolute upper-left X", "Absolute upper-left Y", "Width", "Height"))
        said = subprocess.run(["xprop", "-id", window, "_NET_FRAME_EXTENTS"], capture_output=True, text=True).stdout
        before, after, above, below = map(int, re.findall("[0-9]+", said))
        return left - before, top - above, left + width + after, top + height + below

    # The application's traces

    def add(self, name, files):
        """Puts a folder with these files (name: content) into the home folder and into the list."""
        for file, content in files.items():
            (self.home / name).mkdir(exist_ok=True)
            (self.home / name / file).write_text(content)
        stored = re.sub('[<>]', "-", name)  # as OneDrive can store it
        outcome = self.run("--add", self.home / name, self.cloud / stored)
        assert outcome.returncode == 0, outcome.stderr

    @property
    def settings_folder(self):
        return self.home / ".local/share/Tarnwick Basic"

    @property
    def lock(self):
        return self.settings_folder / "tarnwick-basic.lock"

    def holder(self):
        """The process that has said in the lock where it can be reached; none when none has so far."""
        words = self.lock.read_text().split() if self.lock.exists() else []
        return int(words[0]) if words else None

    def is_free(self):
        """Whether a start would find no other: neither the name on the bus is taken nor the lock."""
        if self.bus.name_has_owner("org.tarnwick.Basic"):
            return False
        with open(self.lock, "rb") as lock, contextlib.suppress(BlockingIOError):
            fcntl.flock(lock, fcntl.LOCK_EX | fcntl.LOCK_NB)
            return True
        return False

    def settings(self):
        return json.loads((self.settings_folder / "config.json").read_text())

    def history(self):
        file = self.settings_folder / "history.json"
        return json.loads(file.read_text()) if file.exists() else []

    def log(self):
        file = self.home / ".local/state/Tarnwick Basic/Tarnwick Basic.log"
        return re.sub(r"(?m)^.{19}  ", "", file.read_text()) if file.exists() else ""

    def windows(self):
        """How many windows of the application are on the screen."""
        return len(self.window_ids())

    def is_minimised(self):
        found = subprocess.run(["xdotool", "search", "--name", "^Tarnwick Basic$"], capture_output=True,
                               text=True).stdout.split()
        return any("Iconic" in subprocess.run(["xprop", "-id", window, "WM_STATE"], capture_output=True,
                                              text=True).stdout for window in found)

    def has_keyboard(self):
        found = subprocess.run(["xdotool", "getwindowfocus", "getwindowname"], capture_output=True, text=True)
        return "Tarnwick" in found.stdout

    def window_ids(self):
        return subprocess.run(["xdotool", "search", "--onlyvisible", "--name", "Tarnwick Basic"], capture_output=True,
                              text=True).stdout.split()

    # The status item

    def item(self):
        """The status item's bus name, once the panel has it."""
        try:
            watcher = self.bus.get_object("org.kde.StatusNotifierWatcher", "/StatusNotifierWatcher")
            items = watcher.Get("org.kde.StatusNotifierWatcher", "RegisteredStatusNotifierItems",
                                dbus_interface=PROPERTIES)
        except dbus.DBusException:
            return None
        return str(items[0]).split("/")[0] if items else None

    def item_property(self, name):
        return self.bus.get_object(self.item(), "/StatusNotifierItem").Get("org.kde.StatusNotifierItem", name,
                                                                           dbus_interface=PROPERTIES)

    def tooltip(self):
        return str(self.item_property("ToolTip")[2])

    def menu(self):
        """The visible entries by their texts as a panel shows them, separators as "---"; the properties of each."""
        self.menu_object = self.bus.get_object(wait_for("the status item", self.item), self.item_property("Menu"))
        _, layout = self.menu_object.GetLayout(0, -1, dbus.Array([], signature="s"),
                                               dbus_interface="com.canonical.dbusmenu")
        entries = {}
        for number, properties, _ in layout[2]:
            if properties.get("visible", True):
                label = re.sub("_(.?)", r"\1", str(properties.get("label", "---")))
                entries[label if label != "---" else f"--- {len(entries)}"] = {**properties, "id": number}
        return entries

    def open_menu(self, patience=PATIENCE):
        """As a panel does; whether that was answered in time."""
        menu = self.bus.get_object(self.item(), "/MenuBar", introspect=False)
        interface = {"dbus_interface": "com.canonical.dbusmenu", "timeout": patience}
        with contextlib.suppress(dbus.DBusException):
            menu.AboutToShow(0, **interface)
            return bool(menu.GetLayout(0, -1, ["label"], **interface))
        return False

    def choose(self, label):
        number = self.menu()[label]["id"]
        self.menu_object.Event(number, "clicked", "", dbus.UInt32(0), dbus_interface="com.canonical.dbusmenu")

    # What a screen reader finds

    def node(self, role, name):
        """By its name, or by a pattern that is found in it."""
        import pyatspi

        def is_meant(node):
            is_named = name.search(node.name) if isinstance(name, re.Pattern) else node.name == name
            return is_named and node.getRoleName() == role and node.getState().contains(pyatspi.STATE_SHOWING)

        def below(node):
            for child in node:
                if child is None:
                    continue
                if is_meant(child):
                    return child
                if found := below(child):
                    return found
            return None

        for application in pyatspi.Registry.getDesktop(0):
            if application and "arnwick" in application.name and (found := below(application)):
                return found
        return None

    def is_chosen(self, tab):
        import pyatspi

        return wait_for(tab, lambda: self.node("radio button", tab)).getState().contains(pyatspi.STATE_CHECKED)

    def press(self, role, name):
        wait_for(name, lambda: self.node(role, name)).queryAction().doAction(0)


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


class FileManager(dbus.service.Object):
    """Takes down what it is asked to show."""

    interface = "org.freedesktop.FileManager1"

    def __init__(self, bus):
        self.shown = []
        self.name = dbus.service.BusName(self.interface, bus)
        super().__init__(self.name, "/org/freedesktop/FileManager1")

    @dbus.service.method(interface, in_signature="ass")
    def ShowItems(self, uris, token):
        self.shown += map(str, uris)
