#!/usr/bin/python3
"""The whole application on a desktop of its own, as a user meets it. Usage: application_test.py PROGRAM TEST"""

import contextlib
import json
import os
import pathlib
import re
import signal
import subprocess
import sys
import time
import unittest

import dbus

from desktop import APPLICATION, Desktop, FileManager, NotificationServer, wait_for
from waits import HANGS, SlowMount, Watch, Windows

PROGRAM = os.path.abspath(sys.argv[1])
PROFILE = """{"app": "Tarnwick Basic", "machine": "0123456789abcdef", "savedBy": "Old Mac",
    "savedAt": "2026-01-02T03:04:05Z", "version": 1,
    "pairs": [{"sourceRelPath": "Bilder", "backupRelPath": "Bilder", "enabled": true}]}"""
SLOW = pathlib.Path(__file__).with_name("slow-folder")


@contextlib.contextmanager
def slow_folder(desktop):
    """A folder in the list whose one file takes half a minute to read."""
    folder = desktop.home / "Film_1 & 2"
    folder.mkdir()
    served = desktop.start("/usr/bin/python3", str(SLOW), str(folder))
    try:
        wait_for("the slow folder", lambda: (folder / "film.mov").exists())
        desktop.add(folder.name, {})
        yield
    finally:
        subprocess.run(["fusermount3", "-u", "-z", str(folder)], check=False)
        served.wait(10)


class Application(unittest.TestCase):
    def setUp(self):
        self.desktop = self.enterContext(Desktop(PROGRAM))
        self.addCleanup(lambda: print(self.desktop.log()))  # for whoever reads why a test failed

    def close_window(self):
        subprocess.run(["xdotool", "key", "ctrl+w"], check=True)
        gone = wait_for("the window's end or the notice", lambda: (not self.desktop.windows() and "gone") or
                        (self.desktop.node("label", "Tarnwick Basic keeps running") and "notice"))
        if gone == "notice":
            self.desktop.press("push button", "Close Window")
            wait_for("the window's end", lambda: not self.desktop.windows())

    def test_menu(self):
        desktop = self.desktop
        desktop.add("Notes", {"a & b.txt": "one"})
        desktop.launch()
        wait_for("the window", desktop.windows)
        desktop.start_panel()  # after the program, as it can be at login
        self.assertEqual(list(desktop.menu()),
                         ["Ready: 1 folder selected", "--- 1", "Sync Now", "--- 3", "Open Tarnwick Basic…",
                          "Sync When Drive Connects", "--- 6", "Quit Tarnwick Basic"])
        self.assertFalse(desktop.menu()["Ready: 1 folder selected"]["enabled"])
        self.assertEqual(desktop.tooltip(), "Tarnwick Basic")
        desktop.choose("Sync When Drive Connects")
        wait_for("the setting", lambda: desktop.settings()["autoSyncOnConnect"] is False)
        wait_for("the mark", lambda: desktop.menu()["Sync When Drive Connects"]["toggle-state"] == 0)
        desktop.choose("Sync Now")
        last = wait_for("the run", lambda: [label for label in desktop.menu() if label.startswith("Last sync: Today")])
        self.assertTrue(last[0].endswith(" — 1 file copied (3 bytes)"), last)
        self.assertEqual(desktop.tooltip(), "Tarnwick Basic — last sync " + last[0][11:].replace(" — ", ": "))
        self.assertEqual((desktop.cloud / "Notes/a & b.txt").read_text(), "one")
        self.close_window()
        desktop.choose(last[0])
        wait_for("Activity", lambda: desktop.node("list", "Syncs, newest first"))
        desktop.choose("Quit Tarnwick Basic")
        self.assertEqual(desktop.children[-2].wait(10), 0)

    def test_notifications(self):
        desktop, server = self.desktop, NotificationServer(self.desktop.bus)
        desktop.add("R&D <b>", {"a.txt": "one"})
        desktop.launch()
        wait_for("the window", desktop.windows)
        desktop.start_panel()
        desktop.menu()
        desktop.run("--sync")  # watched in the open window: no notification
        wait_for("the end of the first run", lambda: "last sync" in desktop.tooltip())
        self.close_window()
        (desktop.home / "R&D <b>").rename(desktop.home / "away")
        desktop.run("--sync")
        wait_for("the second run", lambda: len(desktop.history()) == 2)
        wait_for("a notification", lambda: server.shown)
        self.assertEqual(server.shown, [{"title": "Tarnwick Basic finished with problems", "body": "1 problem",
                                         "actions": ["default", "Show Activity"],
                                         "hints": {"desktop-entry": "org.tarnwick.Basic", "sound-name": "complete"}}])
        server.ActionInvoked(77, "default")  # somebody else's
        server.ActionInvoked(1, "default")
        wait_for("Activity", lambda: desktop.windows() and desktop.node("list", "Syncs, newest first"))
        self.close_window()
        server.ActionInvoked(77, "default")
        desktop.run("--sync")
        wait_for("a second notification", lambda: len(server.shown) == 2)
        self.assertFalse(desktop.windows())
        # Switched off, there are none: the next one to come is that of a later run.
        for is_on in (False, True):
            desktop.run("--action", "show-settings")
            desktop.press("check box", "Show a notification when a sync finishes")
            wait_for("the setting", lambda: desktop.settings()["notifications"] is is_on)
            self.close_window()
            runs = len(desktop.history())
            desktop.run("--sync")
            wait_for("the run", lambda: len(desktop.history()) > runs)
            (desktop.home / "R&D <b>").mkdir(exist_ok=True)
        wait_for("the last notification", lambda: len(server.shown) == 3)
        self.assertEqual(server.shown[2]["body"], "Everything was already up to date")

    def test_one_instance(self):
        desktop = self.desktop
        first = desktop.launch()
        wait_for("the window", desktop.windows)
        self.close_window()
        self.assertEqual(desktop.run("--login").returncode, 0)
        self.assertFalse(desktop.windows())
        self.assertEqual(desktop.run().returncode, 0)
        wait_for("the window again", desktop.windows)
        self.assertEqual(desktop.run("--action", "show-settings").returncode, 0)
        wait_for("Settings", lambda: desktop.node("push button", "Open Log"))
        # Other settings, another instance, which leaves the name to the first.
        owner = desktop.bus.get_name_owner("org.tarnwick.Basic")
        os.environ["XDG_DATA_HOME"] = str(desktop.home / "other")
        desktop.launch()
        wait_for("a second window", lambda: desktop.windows() == 2)
        self.assertEqual(desktop.run().returncode, 0)
        self.assertEqual(desktop.bus.get_name_owner("org.tarnwick.Basic"), owner)
        # A crash leaves nothing behind that keeps the next start away.
        del os.environ["XDG_DATA_HOME"]
        first.send_signal(signal.SIGKILL)
        first.wait()
        wait_for("its window's end", lambda: desktop.windows() == 1)
        third = desktop.launch()
        wait_for("the window after the crash", lambda: desktop.windows() == 2)
        self.assertIsNone(third.poll())
        third.terminate()
        self.assertEqual(third.wait(10), 0)

    def test_started_by_the_bus(self):
        desktop = self.desktop
        desktop.add("Notes", {"a.txt": "one"})
        application = desktop.bus.get_object("org.tarnwick.Basic", "/org/tarnwick/Basic")
        application.ActivateAction("sync-now", dbus.Array([], signature="v"), {}, dbus_interface=APPLICATION)
        wait_for("the run", desktop.history)
        self.assertFalse(desktop.windows())
        application.Activate({}, dbus_interface=APPLICATION)
        wait_for("the window", desktop.windows)
        process = desktop.bus.call_blocking("org.freedesktop.DBus", "/", "org.freedesktop.DBus",
                                            "GetConnectionUnixProcessID", "s", ("org.tarnwick.Basic",))
        os.kill(process, signal.SIGTERM)

    def test_start_at_login(self):
        desktop = self.desktop
        first = desktop.launch()
        wait_for("the login item", (desktop.home / ".config/autostart/org.tarnwick.Basic.desktop").exists)
        wait_for("a word about notifications", lambda: "Notification permission error: " in desktop.log())
        first.terminate()
        self.assertEqual(first.wait(10), 0)
        self.assertEqual(desktop.log().count("Notification permission error: "), 1)
        desktop.add("Notes", {"a.txt": "one"})
        desktop.start("dex", "--autostart")
        wait_for("the start", lambda: "started at login\n" in desktop.log())
        wait_for("the sync at the start", lambda: "Sync finished: 1 file copied (3 bytes)\n" in desktop.log(), 40)
        self.assertEqual(wait_for("its record", desktop.history)[0]["trigger"], "launch")
        self.assertFalse(desktop.windows())
        self.assertEqual(desktop.run("--action", "show-activity").returncode, 0)
        wait_for("the window", desktop.windows)
        os.kill(self.desktop.holder(), signal.SIGTERM)

    def test_started_by_hand_after_boot(self):
        desktop = self.desktop
        desktop.add("Notes", {"a.txt": "one"})
        up = float(pathlib.Path("/proc/uptime").read_text().split()[0])
        just_booted = ["unshare", "--time", f"--boottime={int(60 - up)}", "--fork", PROGRAM]
        for token in ("XDG_ACTIVATION_TOKEN", "DESKTOP_STARTUP_ID"):
            os.environ[token] = "menu-1_TIME5"
            application = desktop.start(*just_booted, stdin=subprocess.DEVNULL)
            del os.environ[token]
            wait_for("the window", desktop.windows)
            os.kill(self.desktop.holder(), signal.SIGTERM)
            application.wait(10)
        terminal = desktop.start("script", "-qec", " ".join(just_booted), "/dev/null", stdin=subprocess.DEVNULL)
        wait_for("the window", desktop.windows)
        os.kill(self.desktop.holder(), signal.SIGTERM)
        terminal.wait(10)
        self.assertNotIn("at login", desktop.log())
        desktop.start(*just_booted, stdin=subprocess.DEVNULL)
        wait_for("the start", lambda: "started at login\n" in desktop.log())
        self.assertFalse(desktop.windows())
        os.kill(self.desktop.holder(), signal.SIGTERM)

    def test_sync_is_handed_over(self):
        desktop = self.desktop
        desktop.add("Notes", {"a.txt": "one"})
        desktop.add("Other", {"b.txt": "two"})
        application = desktop.launch()
        wait_for("the window", desktop.windows)
        sessions = {name: os.environ.pop(name) for name in ("DBUS_SESSION_BUS_ADDRESS", "XDG_RUNTIME_DIR", "DISPLAY")}

        def outcome(*arguments):
            run = desktop.run("--sync", *arguments)
            return run.returncode, run.stdout, run.stderr

        # As from cron or over ssh, and then with the bus of the session.
        self.assertEqual(outcome("Notes"), (0, "1 file copied (3 bytes)\n", ""))
        self.assertEqual(outcome("none"), (2, "", "There is no folder “none” in the list (see tarnwick-basic --list).\n"))
        printed = json.loads(outcome("--json")[1])
        self.assertEqual(printed, wait_for("the record", lambda: desktop.history()[0]))
        self.assertEqual((printed["filesCopied"], printed["trigger"]), (1, "manual"))
        (desktop.home / "Other/b.txt").unlink()
        (desktop.home / "Other").rmdir()
        os.environ.update(sessions)
        missing = f"Other: the folder is missing on the drive ({desktop.home}/Other)"
        self.assertEqual(outcome("Other"), (1, f"1 problem\n{missing}\n", ""))
        self.assertEqual(len(desktop.history()), 3)
        application.terminate()
        self.assertEqual(application.wait(10), 0)

    def test_sync_is_handed_over_but_not_its_end(self):
        desktop = self.desktop
        with slow_folder(desktop):
            application = desktop.launch()
            wait_for("the window", desktop.windows)
            first = desktop.start(PROGRAM, "--sync", stderr=subprocess.PIPE, text=True)
            wait_for("the sync", lambda: "Sync started" in desktop.log())
            second = desktop.run("--sync", "--json")
            self.assertEqual((second.returncode, second.stdout, second.stderr),
                             (2, "", "A sync is already running.\n"))
            first.send_signal(signal.SIGINT)
            self.assertEqual(first.communicate(timeout=10)[1],
                             "No longer waiting; Tarnwick Basic goes on with the sync.\n")
            self.assertEqual(first.returncode, 130)
            self.assertNotIn("Sync finished", desktop.log())
            application.terminate()
            self.assertEqual(application.wait(15), 0)
            self.assertTrue(desktop.history()[0]["cancelled"])
            # Who waits when the application ends is told, too.
            application = desktop.launch()
            wait_for("the window", desktop.windows)
            third = desktop.start(PROGRAM, "--sync", stderr=subprocess.PIPE, text=True)
            wait_for("the next sync", lambda: desktop.log().count("Sync started") == 2)
            application.send_signal(signal.SIGKILL)
            self.assertEqual(third.communicate(timeout=10)[1],
                             "Tarnwick Basic ended before the sync had finished.\n")
            self.assertEqual(third.returncode, 1)

    def test_quitting_during_a_sync(self):
        desktop = self.desktop
        with slow_folder(desktop):
            application = desktop.launch()
            desktop.start_panel()
            desktop.menu()
            desktop.choose("Sync Now")
            wait_for("the percentage", lambda: "Syncing “Film_1 & 2” — " in " ".join(desktop.menu()))

            def percentage():
                return int(re.fullmatch("Tarnwick Basic is syncing ([0-9]+)%", desktop.tooltip())[1])

            desktop.choose("Quit Tarnwick Basic")
            desktop.press("push button", "Keep Syncing")
            wait_for("the question's end", lambda: not desktop.node("push button", "Keep Syncing"))
            done = percentage()
            wait_for("more of it, for two seconds", lambda: percentage() > done + 8)
            self.assertIsNone(application.poll())
            self.assertIn("Stop Sync", desktop.menu())
            desktop.choose("Quit Tarnwick Basic")
            desktop.press("push button", "Stop and Quit")
            wait_for("the question's end", lambda: not desktop.node("push button", "Stop and Quit"))
            successor = desktop.launch()  # must not be handed over to an application that ends
            self.assertEqual(application.wait(15), 0)
            wait_for("the successor's window", desktop.windows)
            successor.terminate()
            self.assertEqual(successor.wait(15), 0)
        self.assertTrue(desktop.history()[0]["cancelled"])
        self.assertEqual(list(desktop.cloud.rglob("*.*")), [])

    def test_start_at_login_during_a_command(self):
        desktop = self.desktop
        with slow_folder(desktop):
            command = desktop.launch("--sync")
            wait_for("the command's sync", lambda: "Sync started" in desktop.log())
            application = desktop.launch("--login")
            wait_for("nothing, for two seconds", lambda: application.poll() is not None, 2, may_fail=True)
            command.send_signal(signal.SIGINT)
            self.assertEqual(command.wait(15), 130)
            wait_for("the application", lambda: "started at login\n" in desktop.log())
            application.terminate()
            self.assertEqual(application.wait(15), 0)

    def test_display_goes_away(self):
        desktop = self.desktop
        with slow_folder(desktop):
            application = desktop.launch("--action", "sync-now")
            wait_for("the sync", lambda: "Sync started" in desktop.log())
            desktop.display.kill()
            self.assertEqual(application.wait(15), 1)
            self.assertTrue(desktop.history()[0]["cancelled"])
            self.assertIn("Sync finished: Sync cancelled after 0 files\n", desktop.log())

    def test_older_tray(self):
        desktop = self.desktop
        desktop.launch()
        wait_for("the window", desktop.windows)
        wait_for("nothing, until newer trays are given up", lambda: False, 11, may_fail=True)

        def drawn():
            return subprocess.run(["xdotool", "search", "--onlyvisible", "--class", "tarnwick"], capture_output=True,
                                  text=True).stdout.split()

        self.assertEqual(len(drawn()), 1)
        desktop.start("trayer", "--edge", "top", "--height", "28")
        wait_for("the icon", lambda: len(drawn()) == 2)

    def test_window_frame(self):
        def window(*command):
            number = wait_for("the window", self.desktop.window_ids)[0]
            return subprocess.run(["xdotool", *command[:1], number, *command[1:]], check=True, capture_output=True,
                                  text=True).stdout.split("Position:")[-1]

        for end in (self.close_window, lambda: None):
            application = self.desktop.launch()
            before = window("getwindowgeometry")
            window("windowsize", "1010", "790")
            wait_for("the new size", lambda: "1010x790" in window("getwindowgeometry"))
            window("windowmove", "40", "50")
            moved = wait_for("the new place", lambda: before.split()[0] not in window("getwindowgeometry") and
                             window("getwindowgeometry"))
            end()
            application.terminate()
            self.assertEqual(application.wait(10), 0)
            application = self.desktop.launch()
            wait_for("the frame of before", lambda: window("getwindowgeometry") == moved)
            application.terminate()
            application.wait(10)
            (self.desktop.settings_folder / "windows.ini").unlink()

    def test_without_a_status_area(self):
        desktop = self.desktop
        application = desktop.launch()
        wait_for("Sync Now", lambda: desktop.node("push button", "Sync Now"))
        subprocess.run(["xdotool", "key", "ctrl+h"], check=True)
        # Minimised, which a panel brings back, and not hidden.
        wait_for("the minimised window", lambda: desktop.is_minimised())
        self.assertEqual(desktop.run().returncode, 0)
        wait_for("the window again", desktop.windows)
        wait_for("Sync Now again", lambda: desktop.node("push button", "Sync Now"))
        subprocess.run(["xdotool", "key", "ctrl+w"], check=True)
        wait_for("the notice", lambda: desktop.node("label", "Tarnwick Basic keeps running"))
        desktop.press("push button", "Close Window")
        wait_for("the window's end", lambda: not desktop.windows())
        self.assertEqual(desktop.run().returncode, 0)
        wait_for("the window once more", lambda: desktop.windows() and desktop.node("push button", "Sync Now"))
        subprocess.run(["xdotool", "key", "ctrl+w"], check=True)
        wait_for("the window's end without a word", lambda: not desktop.windows())
        self.assertIsNone(application.poll())
        application.terminate()
        self.assertEqual(application.wait(10), 0)

    def test_without_a_display(self):
        desktop = self.desktop
        os.environ["QT_QPA_PLATFORM"] = "offscreen"
        del os.environ["DISPLAY"]
        application = desktop.launch()
        wait_for("nothing, until newer trays are given up", lambda: application.poll() is not None, 12, may_fail=True)
        self.assertIsNone(application.poll())
        application.terminate()
        self.assertEqual(application.wait(10), 0)

    def test_menu_keys(self):
        desktop = self.desktop
        desktop.launch()
        wait_for("Sync Now", lambda: desktop.node("push button", "Sync Now"))
        for key, entry in (("F10", "About Tarnwick Basic"), ("alt+f", "Add Folder…"), ("alt+e", "Undo"),
                           ("alt+w", "Minimize"), ("alt+t", "Settings…")):
            subprocess.run(["xdotool", "key", key], check=True)
            wait_for(f"{entry} after {key}", lambda: desktop.node("menu item", entry), 5)
            subprocess.run(["xdotool", "key", "Escape", "Escape"], check=True)
            wait_for(f"the end of the menu of {key}", lambda: not desktop.node("menu item", entry), 5)
        subprocess.run(["xdotool", "key", "alt+t", "s"], check=True)
        wait_for("Settings", lambda: desktop.node("push button", "Open Log"))

    def test_small_screens(self):
        def is_inside(inner, outer):
            return inner[0] >= outer[0] and inner[1] >= outer[1] and inner[2] <= outer[2] and inner[3] <= outer[3]

        self.addCleanup(os.environ.pop, "QT_SCALE_FACTOR", None)
        for screen, scales in (("1366x768", ["1"]), ("1400x1000", ["1.5"]), ("1920x1080", ["1", "2"])):
            with Desktop(PROGRAM, screen) as desktop:
                desktop.start_panel()
                area = wait_for("the panel", desktop.work_area)
                for scale in scales:
                    os.environ["QT_SCALE_FACTOR"] = scale
                    application = desktop.launch()
                    wait_for("the window", desktop.windows)
                    wait_for(f"a window inside {area} at {scale}", lambda: is_inside(desktop.frame(), area), 5)
                    if scale != scales[-1]:  # the next one meets the frame of a larger screen
                        subprocess.run(["xdotool", "windowsize", desktop.window_ids()[0], "1800", "980"], check=True)
                        wait_for("the new size", lambda: desktop.frame()[2] - desktop.frame()[0] >= 1800)
                    application.terminate()
                    self.assertEqual(application.wait(10), 0)

    def test_in_a_test_root(self):
        desktop, root = self.desktop, self.desktop.home.parent / "root"
        for folder in ("Home/Library/CloudStorage/OneDrive-Test", "Home/Library/Logs", "Volumes", "Support"):
            (root / folder).mkdir(parents=True)
        (root / ".tarnwick-test-root").touch()
        os.environ["TARNWICK_TEST_ROOT"] = str(root)
        for wanted, role, name in (("settings", "push button", "Open Log"), ("activity", "label", "No syncs yet"),
                                   ("addfolder", "push button", "Choose Existing…")):
            os.environ["TARNWICK_TEST_OPEN"] = wanted
            application = desktop.launch()
            wait_for(wanted, lambda: desktop.node(role, name))
            self.assertFalse(desktop.bus.name_has_owner("org.tarnwick.Basic"))
            application.terminate()
            self.assertEqual(application.wait(10), 0)
        self.assertFalse((desktop.home / ".config").exists())
        self.assertFalse((desktop.home / ".local").exists())
        self.assertEqual(desktop.log(), "")

    def test_file_manager(self):
        desktop, manager = self.desktop, FileManager(self.desktop.bus)
        desktop.launch("--action", "show-settings")
        desktop.press("push button", "Show Settings Folder")
        wait_for("the request", lambda: manager.shown)
        self.assertEqual(manager.shown, [(desktop.settings_folder / "config.json").as_uri()])

    def test_no_file_manager(self):
        desktop = self.desktop
        desktop.offer("org.freedesktop.FileManager1", "/bin/false")
        tools = desktop.home.parent / "tools"
        tools.mkdir()
        (tools / "xdg-open").symlink_to("/bin/false")
        os.environ["PATH"] = f"{tools}:{os.environ['PATH']}"
        desktop.launch("--action", "show-settings")
        desktop.press("push button", "Show Settings Folder")
        wait_for("the word that it failed", lambda: desktop.node("label", "That couldn't be opened"))

    def test_slow_disk(self):
        desktop = self.desktop
        for number in range(6):
            desktop.add(f"Folder {number}", {"a.txt": "one"})
        with SlowMount(desktop.home.parent / "stored", desktop.cloud) as cloud, self.watched() as watched:
            cloud.answer_after(0.1)
            application = watched.start()
            watched.all_actions(cloud)
            wait_for("readiness", lambda: desktop.node("label", "Ready to sync 6 folders"))
            watched.action("Sync Now", lambda: subprocess.run(["xdotool", "key", "ctrl+s"], check=True),
                           lambda: "Sync started" in desktop.log(), 60)
            watched.end(application)
            watched.end(watched.start())

    def test_hung_disk(self):
        desktop, stored = self.desktop, self.desktop.home.parent
        with SlowMount(stored / "slow", desktop.home / "Slow") as slow, \
                SlowMount(stored / "cloud", desktop.cloud) as cloud, self.watched() as watched:
            desktop.add("Slow", {"a.txt": "one"})
            desktop.add("Notes", {"b.txt": "two"})
            slow.answer_after(HANGS)
            application = watched.start()
            wait_for("a request that is held back", slow.holds)
            wait_for("the reason", lambda: desktop.node("label", "This computer · “Slow” isn't answering"))
            command = desktop.start(PROGRAM, "--sync", stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True)
            watched.all_actions(slow)
            # What lies on disks that answer is synced, and what doesn't is told.
            self.assertEqual(command.communicate(timeout=60)[0],
                             "1 file copied (3 bytes)\n“Slow” was skipped: “Slow” isn't answering.\n")
            self.assertEqual((stored / "cloud/Notes/b.txt").read_text(), "two")
            watched.settle("the sync's end")
            cloud.answer_after(HANGS)
            lines = desktop.start(PROGRAM, "--list", stdout=subprocess.PIPE, text=True).stdout
            began = time.monotonic()
            for name, place in (("Slow", "Slow"), ("Notes", "OneDrive-Test")):
                self.assertIn(f"OneDrive-Test/{name} · “{place}” isn't answering", lines.readline())
            self.assertLess(time.monotonic() - began, 10)
            watched.end(application)
            application = watched.start()
            wait_for("the reason", lambda: desktop.node("label", "This computer · “OneDrive-Test” isn't answering"))
            watched.all_actions(cloud)
            # As soon as they answer, without anybody's doing anything.
            for mount in (slow, cloud):
                mount.answer_after(0)
            wait_for("readiness", lambda: desktop.node("label", "This computer") and
                     not desktop.node("label", re.compile("isn't answering")))
            subprocess.run(["xdotool", "key", "ctrl+s"], check=True)
            wait_for("the copy", (stored / "cloud/Slow/a.txt").exists)
            watched.end(application)

    def test_disk_that_takes_its_time(self):
        """What was to be synced is synced after eight seconds without an answer."""
        desktop, top = self.desktop, self.desktop.home.parent

        def hang(*mounts):
            for mount in mounts:
                mount.answer_after(HANGS)

        def hang_for_eight_seconds(*mounts):
            for mount in mounts:
                wait_for("a request that is held back", mount.holds)
            wait_for("nothing, for eight seconds", lambda: False, 8, may_fail=True)
            for mount in mounts:
                mount.answer_after(0)

        def write(name):
            (top / "first/Photos" / name).write_text("one")
            (top / "second/Films" / name).write_text("two")

        def wait_for_copies(trigger, *copies):
            wait_for(f"the sync ({trigger})", lambda: all((desktop.cloud / copy).exists() for copy in copies))
            record = wait_for("its record", lambda: next(
                (run for run in desktop.history()[:1] if run["trigger"] == trigger), None))
            self.assertEqual((record["errors"], record["notes"], record.get("fatal")), ([], [], None))

        for folder in (top / "first/Photos", top / "second/Films"):
            folder.mkdir(parents=True)
        for folder in ("/media", "/mnt"):
            subprocess.run(["mount", "-t", "tmpfs", "tmpfs", folder], check=True)
        with SlowMount(top / "first", "/mnt/First") as first:
            with SlowMount(top / "second", "/mnt/Second"):
                for original in ("/mnt/First/Photos", "/mnt/Second/Films"):
                    added = desktop.run("--add", original, desktop.cloud / pathlib.Path(original).name)
                    self.assertEqual((added.returncode, added.stderr), (0, ""))
            application = desktop.launch()
            wait_for("the first run", lambda: desktop.settings()["hasCompletedFirstRun"])
            application.terminate()
            self.assertEqual(application.wait(10), 0)
            write("a.txt")
            hang(first)
            application = desktop.launch("--login")
            wait_for("the start", lambda: "started at login\n" in desktop.log())
            with SlowMount(top / "second", "/mnt/Second", HANGS) as second:
                hang_for_eight_seconds(first, second)
                wait_for_copies("driveConnected", "Films/a.txt")
                self.assertFalse((desktop.cloud / "Photos").exists())
                write("b.txt")
                hang(first, second)
                self.assertEqual(desktop.run("--action", "sync-now").returncode, 0)
                hang_for_eight_seconds(first, second)
                wait_for_copies("manual", "Photos/a.txt", "Photos/b.txt", "Films/b.txt")
                write("c.txt")
                hang(first, second)
                hang_for_eight_seconds(first, second)
                wait_for_copies("launch", "Photos/c.txt", "Films/c.txt")
                application.terminate()
                self.assertEqual(application.wait(10), 0)

    @contextlib.contextmanager
    def watched(self):
        self.desktop.start_panel()
        wait_for("the panel", self.desktop.work_area)
        with Windows() as windows, Watch() as watch:
            yield Watched(self, windows, watch)

    def test_drive(self):
        desktop, server = self.desktop, NotificationServer(self.desktop.bus)
        desktop.start_panel()
        with Drive(desktop) as drive:
            application = desktop.launch()
            wait_for("the window", desktop.windows)
            desktop.menu()
            self.close_window()
            drive.udisks("mount")
            wait_for("the progress", lambda: re.fullmatch("Tarnwick Basic is syncing [1-9][0-9]?%", desktop.tooltip()))
            wait_for("the notification", lambda: server.shown)
            self.assertEqual(server.shown[0]["title"], "Tarnwick Basic sync complete")
            self.assertEqual(server.shown[0]["body"], "2 files copied (536.9 MB)")
            self.assertEqual(desktop.history()[0]["trigger"], "driveConnected")
            server.ActionInvoked(1, "default")
            wait_for("the run in Activity", lambda: desktop.node("list", "Syncs, newest first").childCount == 1)
            # At rest nothing holds the drive, and what it brought along is as it was.
            top = pathlib.Path("/media/root/Fotos März")
            self.assertEqual((top / ".Tarnwick/profile-basic.json").read_text(), PROFILE)
            drive.udisks("unmount")
            wait_for("the eject", lambda: desktop.log().endswith("Drive disconnected: Fotos März\n"))
            application.terminate()
            self.assertEqual(application.wait(10), 0)
            # At the next login the drive is there before the application, and is ejected in the middle of a copy.
            drive.udisks("mount")
            (top / "Later.mov").rename(top / "Bilder/Later.mov")
            desktop.start("dex", "--autostart")
            wait_for("the copy", lambda: desktop.item() and re.search(" [1-9][0-9]?%$", desktop.tooltip()), 40)
            self.assertFalse(drive.is_unmounted())
            wait_for("the word that the drive is free", lambda: len(server.shown) == 2, 1)
            self.assertEqual(server.shown[1], {**server.shown[0], "title": "“Fotos März” can be ejected now",
                                               "body": "Sync cancelled after 0 files"})
            self.assertTrue(drive.is_unmounted())
            self.assertEqual(sorted(file.name for file in desktop.cloud.rglob("*.*")), ["Film.mov", "Grüße.txt"])
            log = re.sub("(?m)^Sync finished.*\n", "", desktop.log()).replace("1.0.0 ", "")
            # An eject that has to be tried again is told again.
            self.assertEqual(re.sub(r"(?m)^(.*\n)\1+", r"\1", log), """\
Tarnwick Basic started
Drive connected: Fotos März
Restored 1 folder pair(s) from this computer's own profile on Fotos März
Sync started (driveConnected): Bilder
Drive disconnected: Fotos März
Tarnwick Basic started at login
Sync started (launch): Bilder
Drive is being ejected during a sync; stopping safely.
Drive disconnected: Fotos März
""")
            desktop.choose("Quit Tarnwick Basic")
            wait_for("the end", lambda: not desktop.item())


class Watched:
    """The application under a watch on its main thread, which must never wait for such a disk. The limits are generous, for
    machines under load and whatever else a start waits for: who waits for the disks of these tests waits much longer."""

    longest_wait = 2  # seconds
    start_limit = 4
    quit_limit = 3

    def __init__(self, test, windows, watch):
        self.test, self.desktop, self.windows, self.watch = test, test.desktop, windows, watch

    def start(self):
        self.watch.begin()
        self.before = self.windows.now()
        application = self.desktop.launch()
        self.watch.follow(application.pid)
        wait_for("the window in time", lambda: self.windows.now() - self.before, self.start_limit)
        wait_for("its word where it can be reached", lambda: self.desktop.holder() == application.pid, self.start_limit)
        self.watch.call(self.desktop.lock)
        self.settle("the start")
        return application

    def settle(self, action):
        self.test.assertTrue(self.watch.wait_until_at_rest(10, quiet=0.3), f"a rest after {action}")
        slept, unanswered, where = self.watch.longest()
        self.test.assertLess(slept, self.longest_wait, f"{action}: asleep in {where}")
        self.test.assertLess(unanswered, self.longest_wait, f"{action}: calls left without an answer")

    def action(self, name, act, has_come=lambda: True, patience=5):
        self.watch.begin()
        act()
        wait_for(name, has_come, patience)
        self.settle(name)

    def all_actions(self, mount):
        desktop = self.desktop
        for tab in ("Activity", "Settings", "Folders"):
            self.action(tab, lambda tab=tab: desktop.press("radio button", tab), lambda tab=tab: desktop.is_chosen(tab))
        asked = mount.asked()
        self.action("the tray menu", lambda: self.test.assertTrue(desktop.open_menu()))
        self.action("a second start", lambda: self.test.assertEqual(desktop.run().returncode, 0))
        wait_for("a look at the disk", lambda: mount.holds() or mount.asked() > asked)

    def end(self, application):
        """Until another start would be the first one again; the process itself may still have to wait for an answer."""
        application.terminate()
        wait_for("the end in time", lambda: not self.windows.now() - self.before and self.desktop.is_free(),
                 self.quit_limit)


class Drive:
    """An image file that is plugged in as a drive of the real disk service, in a mount namespace of its own."""

    def __init__(self, desktop):
        self.desktop = desktop

    def __enter__(self):
        for folder in ("/media", "/mnt", "/run/dbus", "/run/udisks2"):
            pathlib.Path(folder).mkdir(parents=True, exist_ok=True)
            subprocess.run(["mount", "-t", "tmpfs", "tmpfs", folder], check=True)
        self.serve("dbus-daemon --system --nofork --nopidfile", "dbus-send --system --print-reply --dest=org.freedesktop.DBus / org.freedesktop.DBus.GetId")
        self.serve("/lib/systemd/systemd-udevd", "udevadm control --ping")
        self.serve("/usr/libexec/udisks2/udisksd", "udisksctl status")
        top = self.desktop.home.parent
        (top / "drive/.Tarnwick").mkdir(parents=True)
        (top / "drive/.Tarnwick/profile-basic.json").write_text(PROFILE)
        (top / "drive/Bilder").mkdir()
        (top / "drive/Bilder/Grüße.txt").write_text("Hallo")
        for name, megabytes in (("Bilder/Film.mov", 512), ("Later.mov", 1024)):
            with open(top / "drive" / name, "wb") as film:
                for _ in range(megabytes):
                    film.write(b"x" * (1 << 20))  # holes would be copied in no time
        subprocess.run(["mkfs.ext4", "-q", "-L", "Fotos März", "-d", top / "drive", top / "image", "1800M"], check=True,
                       stdout=subprocess.DEVNULL)
        said = subprocess.run(["udisksctl", "loop-setup", "-f", top / "image"], check=True, capture_output=True,
                              text=True).stdout
        self.device = re.search("/dev/loop[0-9]+", said)[0]
        return self

    def __exit__(self, *_):
        self.is_unmounted()
        self.udisks("loop-delete")

    def serve(self, program, question):
        def answers():
            return subprocess.run(question.split(), capture_output=True).returncode == 0

        if not answers():
            self.desktop.start(*program.split())
            wait_for(program, answers)

    def udisks(self, verb):
        subprocess.run(["udisksctl", verb, "-b", self.device], check=True, stdout=subprocess.DEVNULL)

    def is_unmounted(self):
        """Tries; somebody may still use it."""
        return subprocess.run(["udisksctl", "unmount", "-b", self.device], capture_output=True).returncode == 0


if __name__ == "__main__":
    if sys.argv[2] in ("test_drive", "test_disk_that_takes_its_time") and "IN_OWN_NAMESPACE" not in os.environ:
        if os.geteuid() != 0:
            sys.exit("[  SKIPPED ] drives can be plugged in by root only")
        os.environ["IN_OWN_NAMESPACE"] = "1"
        os.execvp("unshare", ["unshare", "--mount", "--propagation", "private", sys.executable, *sys.argv])
    unittest.main(argv=[sys.argv[0], f"Application.{sys.argv[2]}"], verbosity=2, warnings="ignore")
