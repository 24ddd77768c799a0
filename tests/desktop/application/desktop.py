"""A desktop of its own for one test: a display, a session bus, a window manager, a home folder; and what the test wants
of a panel and of the application."""

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
from gi.repository import GLib

PATIENCE = 30  # seconds
APPLICATION = "org.freedesktop.Application"


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


def said(*words):
    """What a tool of the desktop prints, nothing when it fails."""
    return subprocess.run(list(map(str, words)), capture_output=True, text=True).stdout


class Program(subprocess.Popen):
    def end(self, status=0, number=signal.SIGTERM):
        """Asks it to end, which it must do soon, and with this exit status."""
        self.send_signal(number)
        self.await_end(status)

    def await_end(self, status=0):
        ended = self.wait(15)
        assert ended == status, f"{self.args} ended with {ended}"


class Desktop:
    def __init__(self, program, screen="1280x900"):
        self.program = program
        self.screen = screen
        self.children = []

    def __enter__(self):
        self.folder = tempfile.TemporaryDirectory(prefix="tarnwick-test-")
        self.top = pathlib.Path(self.folder.name)
        self.home = self.top / "home"
        self.cloud = self.home / "Library/CloudStorage/OneDrive-Test"
        self.cloud.mkdir(parents=True)
        runtime = self.top / "run"
        runtime.mkdir(mode=0o700)
        for name in [name for name in os.environ if name.startswith(("XDG_", "TARNWICK_", "DBUS_"))]:
            del os.environ[name]
        os.environ.update(HOME=str(self.home), XDG_RUNTIME_DIR=str(runtime), XDG_CURRENT_DESKTOP="test",
                          LC_ALL="C.UTF-8", QT_QPA_PLATFORM="xcb", QT_LINUX_ACCESSIBILITY_ALWAYS_ON="1",
                          XDG_CONFIG_DIRS="/nonexistent", DBUS_SYSTEM_BUS_ADDRESS="unix:path=/nonexistent")
        self.offer("org.tarnwick.Basic", f"{self.program} --service")
        self.offer("org.freedesktop.Notifications", "/bin/false")  # keeps the bus from starting an installed one
        os.environ["DISPLAY"] = ":" + self.line_of("Xvfb", "-displayfd", "1", "-noreset", "-screen", "0",
                                                   f"{self.screen}x24")
        self.display = self.children[-1]
        os.environ["DBUS_SESSION_BUS_ADDRESS"] = self.start_bus("bus")
        self.bus = dbus.SessionBus(mainloop=dbus.mainloop.glib.DBusGMainLoop())
        self.start("openbox")
        # A window that asks to be shown while the window manager is still starting can be forgotten by it. Its list of
        # windows is the last thing that it makes then.
        wait_for("the window manager", lambda: "(WINDOW)" in said("xprop", "-root", "_NET_CLIENT_LIST"))
        return self

    def __exit__(self, *_):
        for child in reversed(self.children):
            child.kill()
            child.wait()
        self.folder.cleanup()

    def offer(self, name, program):
        """Lets the bus start a program for a name."""
        service = self.top / f"run/dbus-1/services/{name}.service"
        service.parent.mkdir(parents=True, exist_ok=True)
        service.write_text(f"[D-BUS Service]\nName={name}\nExec={program}\n")

    def start(self, *words, **options):
        child = Program(words, cwd="/", **{"stdout": subprocess.DEVNULL, "stderr": subprocess.DEVNULL, **options})
        self.children.append(child)
        return child

    def line_of(self, *words):
        """Starts it and returns the first line that it prints."""
        return self.start(*words, stdout=subprocess.PIPE, text=True).stdout.readline().strip()

    def start_bus(self, name):
        return self.line_of("dbus-daemon", "--session", "--nofork", "--print-address",
                            f"--address=unix:path={self.top}/run/{name}")

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

    # The application and its traces

    def launch(self, *arguments):
        return self.start(self.program, *arguments)

    def open(self, *arguments):
        """The same, until its window has come."""
        before = self.windows()
        application = self.launch(*arguments)
        wait_for("the window", lambda: self.windows() > before)
        return application

    def run(self, *arguments):
        """What the program prints, when it ends by itself."""
        return subprocess.run([self.program, *map(str, arguments)], cwd="/", capture_output=True, text=True,
                              timeout=PATIENCE)

    def tell(self, *arguments):
        """Another start, which hands its wish over and ends."""
        outcome = self.run(*arguments)
        assert outcome.returncode == 0, outcome.stderr

    def add(self, name, files):
        """Puts a folder with these files (name: content) into the home folder and into the list."""
        (self.home / name).mkdir(exist_ok=True)
        for file, content in files.items():
            (self.home / name / file).write_text(content)
        self.tell("--add", self.home / name, self.cloud / re.sub("[<>]", "-", name))  # as OneDrive can store it

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

    def end_holder(self, number=signal.SIGTERM):
        """For one that somebody else has started."""
        os.kill(self.holder(), number)
        wait_for("the end", self.is_free)

    def settings(self):
        return json.loads((self.settings_folder / "config.json").read_text())

    def history(self):
        file = self.settings_folder / "history.json"
        return json.loads(file.read_text()) if file.exists() else []

    def log(self):
        file = self.home / ".local/state/Tarnwick Basic/Tarnwick Basic.log"
        return re.sub(r"(?m)^.{19}  ", "", file.read_text()) if file.exists() else ""

    def wait_for_log(self, text, times=1, patience=PATIENCE):
        wait_for(f"“{text}” in the log", lambda: self.log().count(text) >= times, patience)

    # Its window

    def window_ids(self):
        return said("xdotool", "search", "--onlyvisible", "--name", "Tarnwick Basic").split()

    def windows(self):
        """How many windows of the application are on the screen."""
        return len(self.window_ids())

    def key(self, *keys):
        subprocess.run(["xdotool", "key", *keys], check=True)

    def work_area(self):
        """Left, top, right and bottom of what the panel leaves free, once it has taken its part."""
        found = re.search(r"= (\d+), (\d+), (\d+), (\d+)", said("xprop", "-root", "_NET_WORKAREA"))
        left, top, width, height = map(int, found.groups()) if found else (0, 0, 0, 0)
        return top > 0 and (left, top, left + width, top + height)

    def frame(self):
        """The same of the application's window with what the window manager puts around it."""
        window = wait_for("the window", self.window_ids)[0]
        left, top, width, height = map(int, re.findall(r"(?m)(?:Absolute.*|Width|Height): +(-?\d+)",
                                                       said("xwininfo", "-id", window)))
        before, after, above, below = map(int, re.findall("[0-9]+", said("xprop", "-id", window, "_NET_FRAME_EXTENTS")))
        return left - before, top - above, left + width + after, top + height + below

    # What a screen reader finds

    def nodes(self):
        """Everything that is shown in the application's windows."""
        import pyatspi

        def below(node):
            for child in filter(None, node):
                if child.getState().contains(pyatspi.STATE_SHOWING):
                    yield child
                yield from below(child)

        for application in pyatspi.Registry.getDesktop(0):
            if application and "arnwick" in application.name:
                yield from below(application)

    def node(self, role, name):
        """By its name, or by a pattern that is found in it."""
        pattern = name if isinstance(name, re.Pattern) else re.compile(re.escape(name) + r"\Z")
        match = pattern.search if pattern is name else pattern.match
        return next((node for node in self.nodes() if node.getRoleName() == role and match(node.name)), None)

    def find(self, role, name):
        return wait_for(name, lambda: self.node(role, name))

    def press(self, role, name):
        self.find(role, name).queryAction().doAction(0)

    def is_chosen(self, tab):
        import pyatspi

        return self.find("radio button", tab).getState().contains(pyatspi.STATE_CHECKED)

    # The status item

    def property_of(self, name, path, interface, key):
        return self.bus.get_object(name, path).Get(interface, key, dbus_interface="org.freedesktop.DBus.Properties")

    def item(self):
        """The status item's bus name, once the panel has it."""
        watcher = "org.kde.StatusNotifierWatcher"
        with contextlib.suppress(dbus.DBusException):
            items = self.property_of(watcher, "/StatusNotifierWatcher", watcher, "RegisteredStatusNotifierItems")
            return str(items[0]).split("/")[0] if items else None

    def tooltip(self):
        return str(self.property_of(self.item(), "/StatusNotifierItem", "org.kde.StatusNotifierItem", "ToolTip")[2])

    def ask_menu(self, method, *words, **options):
        menu = self.bus.get_object(wait_for("the status item", self.item), "/MenuBar", introspect=False)
        return menu.get_dbus_method(method, "com.canonical.dbusmenu")(*words, **options)

    def menu(self):
        """The visible entries by their texts as a panel shows them, separators as "---"; the properties of each."""
        entries = {}
        for number, properties, _ in self.ask_menu("GetLayout", 0, -1, dbus.Array([], signature="s"))[1][2]:
            if properties.get("visible", True):
                label = re.sub("_(.?)", r"\1", str(properties.get("label", f"--- {len(entries)}")))
                entries[label] = {**properties, "id": number}
        return entries

    def choose(self, label):
        def entry():
            found = self.menu().get(label)
            return found if found and found.get("enabled", True) else None

        self.ask_menu("Event", wait_for(label, entry)["id"], "clicked", dbus.String("", variant_level=1), dbus.UInt32(0))

    def open_menu(self, patience=PATIENCE):
        """As a panel does; whether that was answered in time."""
        with contextlib.suppress(dbus.DBusException):
            self.ask_menu("AboutToShow", 0, timeout=patience)
            return bool(self.ask_menu("GetLayout", 0, -1, ["label"], timeout=patience))
        return False
