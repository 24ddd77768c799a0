"""How the application is started, by whom, and how often."""

import os
import pathlib
import signal
import subprocess

import dbus

from application import PROGRAM, ApplicationTest
from desktop import APPLICATION, said, wait_for


class Test(ApplicationTest):
    def test_one_instance(self):
        desktop = self.desktop
        desktop.add("Notes", {"a.txt": "one"})
        application = desktop.bus.get_object("org.tarnwick.Basic", "/org/tarnwick/Basic")  # which the bus starts
        application.ActivateAction("sync-now", dbus.Array([], signature="v"), {}, dbus_interface=APPLICATION)
        wait_for("the run", desktop.history)
        self.assertFalse(desktop.windows())
        application.Activate({}, dbus_interface=APPLICATION)
        wait_for("the window", desktop.windows)
        self.close_window()
        desktop.tell("--login")
        self.assertFalse(desktop.windows())
        desktop.tell()
        wait_for("the window again", desktop.windows)
        desktop.tell("--action", "show-settings")
        desktop.find("push button", "Open Log")
        # Other settings, another instance, which leaves the name to the first.
        owner = desktop.bus.get_name_owner("org.tarnwick.Basic")
        os.environ["XDG_DATA_HOME"] = str(desktop.home / "other")
        desktop.open()
        desktop.tell()
        self.assertEqual(desktop.bus.get_name_owner("org.tarnwick.Basic"), owner)
        # A crash leaves nothing behind that keeps the next start away.
        del os.environ["XDG_DATA_HOME"]
        desktop.end_holder(signal.SIGKILL)
        wait_for("its window's end", lambda: desktop.windows() == 1)
        desktop.open().end()

    def test_login(self):
        desktop = self.desktop
        first = desktop.launch()
        wait_for("the login item", (desktop.home / ".config/autostart/org.tarnwick.Basic.desktop").exists)
        desktop.wait_for_log("Notification permission error: ")
        first.end()
        self.assertEqual(desktop.log().count("Notification permission error: "), 1)
        desktop.add("Notes", {"a.txt": "one"})
        # Whoever starts it by hand soon after the computer wants to see it.
        up = float(pathlib.Path("/proc/uptime").read_text().split()[0])
        just_booted = ["unshare", "--time", f"--boottime={int(60 - up)}", "--fork", PROGRAM]
        on_terminal = ["script", "-qec", " ".join(just_booted), "/dev/null"]
        for start, token in ((just_booted, "XDG_ACTIVATION_TOKEN"), (just_booted, "DESKTOP_STARTUP_ID"),
                             (on_terminal, "NOTHING")):
            desktop.start(*start, stdin=subprocess.DEVNULL, env={**os.environ, token: "menu-1_TIME5"})
            wait_for("the window", desktop.windows)
            desktop.end_holder()
        self.assertNotIn("at login", desktop.log())
        desktop.start(*just_booted, stdin=subprocess.DEVNULL)
        desktop.wait_for_log("started at login\n")
        desktop.end_holder()
        desktop.start("dex", "--autostart")
        desktop.wait_for_log("started at login\n", 2)
        elsewhere = {name: str(desktop.home / "other") for name in ("XDG_DATA_HOME", "XDG_STATE_HOME")}
        offscreen = desktop.start(PROGRAM, env={**os.environ, **elsewhere, "QT_QPA_PLATFORM": "offscreen", "DISPLAY": ""})
        desktop.wait_for_log("Sync finished: 1 file copied (3 bytes)\n", patience=40)
        self.assertEqual(wait_for("its record", desktop.history)[0]["trigger"], "launch")
        self.assertFalse(desktop.windows())
        # By now it no longer waits for a status area of the newer kind, and one of the older kind will do.
        desktop.start("trayer", "--edge", "top", "--height", "28")
        wait_for("the icon", lambda: said("xdotool", "search", "--onlyvisible", "--class", "tarnwick"))
        desktop.tell("--action", "show-activity")
        wait_for("the window", desktop.windows)
        desktop.end_holder()
        offscreen.end()

    def test_in_a_test_root(self):
        desktop, root = self.desktop, self.desktop.top / "root"
        for folder in ("Home/Library/CloudStorage/OneDrive-Test", "Home/Library/Logs", "Volumes", "Support"):
            (root / folder).mkdir(parents=True)
        (root / ".tarnwick-test-root").touch()
        os.environ["TARNWICK_TEST_ROOT"] = str(root)
        for wanted, role, name in (("settings", "push button", "Open Log"), ("activity", "label", "No syncs yet"),
                                   ("addfolder", "push button", "Choose Existing…")):
            os.environ["TARNWICK_TEST_OPEN"] = wanted
            application = desktop.launch()
            desktop.find(role, name)
            self.assertFalse(desktop.bus.name_has_owner("org.tarnwick.Basic"))
            application.end()
        self.assertFalse((desktop.home / ".config").exists())
        self.assertFalse((desktop.home / ".local").exists())
