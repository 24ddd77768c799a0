"""Disks that are slow, that hang, and that take their time."""

import os
import pathlib
import re
import subprocess
import time
import unittest

import dbus.bus

from application import PROGRAM, ApplicationTest
from desktop import APPLICATION, wait_for
from slow import HANGS, SlowMount

LONGEST_WAIT = 2  # seconds
START_LIMIT = 4
QUIT_LIMIT = 3


class Test(ApplicationTest):
    """The application's main thread never waits for such a disk. The limits are generous, for machines under load and
    whatever else a start waits for: who waits for the disks of these tests waits much longer."""

    def start(self):
        application = self.desktop.launch()
        wait_for("the window in time", self.desktop.windows, START_LIMIT)
        wait_for("its word where it can be reached", lambda: self.desktop.holder() == application.pid, START_LIMIT)
        self.expect_answers()
        return application

    def expect_answers(self):
        """The main thread answers them, from its event loop."""
        _, name, address = self.desktop.lock.read_text().split()
        application = dbus.bus.BusConnection(address).get_object(name, "/org/tarnwick/Basic", introspect=False)
        for _ in range(10):
            application.GetAll(APPLICATION, dbus_interface="org.freedesktop.DBus.Properties", timeout=LONGEST_WAIT)
        return True

    def action(self, name, act, has_come=lambda: True, patience=5):
        act()
        wait_for(name, lambda: self.expect_answers() and has_come(), patience)
        self.expect_answers()

    def all_actions(self, mount):
        desktop = self.desktop
        for tab in ("Activity", "Settings", "Folders"):
            self.action(tab, lambda: desktop.press("radio button", tab), lambda: desktop.is_chosen(tab))
        asked = mount.asked()
        self.action("the tray menu", lambda: self.assertTrue(desktop.open_menu(LONGEST_WAIT)))
        self.action("a second start", desktop.tell)
        wait_for("a look at the disk", lambda: mount.holds() or mount.asked() > asked)

    def expect_silence(self, places):
        """By folder the place that isn't answering. Whoever tells that may itself end only when it answers."""
        lines = self.desktop.start(PROGRAM, "--list", stdout=subprocess.PIPE, text=True).stdout
        for folder, place in places.items():
            self.assertIn(f"OneDrive-Test/{folder} · “{place}” isn't answering", lines.readline())

    def end(self, application):
        """Until another start would be the first one again; the process itself may still have to wait for an answer."""
        application.terminate()
        wait_for("the end in time", lambda: not self.desktop.windows() and self.desktop.is_free(), QUIT_LIMIT)

    def test_slow(self):
        desktop = self.desktop
        for number in range(6):
            desktop.add(f"Folder {number}", {"a.txt": "one"})
        desktop.start_panel()
        with SlowMount(desktop.top / "stored", desktop.cloud) as cloud:
            cloud.answer_after(0.1)
            application = self.start()
            self.all_actions(cloud)
            desktop.find("label", "Ready to sync 6 folders")
            self.action("Sync Now", lambda: desktop.key("ctrl+s"), lambda: "Sync started" in desktop.log(), 60)
            self.end(application)
            self.end(self.start())

    def test_hung(self):
        desktop, stored = self.desktop, self.desktop.top
        with SlowMount(stored / "slow", desktop.home / "Slow") as slow, \
                SlowMount(stored / "cloud", desktop.cloud) as cloud:
            desktop.add("Slow", {"a.txt": "one"})
            desktop.add("Notes", {"b.txt": "two"})
            desktop.start_panel()
            slow.answer_after(HANGS)
            application = self.start()
            wait_for("a request that is held back", slow.holds)
            desktop.find("label", "This computer · “Slow” isn't answering")
            command = desktop.start(PROGRAM, "--sync", stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True)
            self.all_actions(slow)
            # What lies on disks that answer is synced, and what doesn't is told.
            asked = time.monotonic()
            self.assertEqual(command.communicate(timeout=60)[0],
                             "1 file copied (3 bytes)\n“Slow” was skipped: “Slow” isn't answering.\n")
            self.assertGreater(time.monotonic() - asked, 15, "the patience with a disk that has to spin up")
            self.assertEqual((stored / "cloud/Notes/b.txt").read_text(), "two")
            self.expect_answers()
            cloud.answer_after(HANGS)
            began = time.monotonic()
            self.expect_silence({"Slow": "Slow", "Notes": "OneDrive-Test"})
            self.assertLess(time.monotonic() - began, 10)
            self.end(application)
            application = self.start()
            desktop.find("label", "This computer · “OneDrive-Test” isn't answering")
            self.all_actions(cloud)
            # As soon as they answer, without anybody's doing anything.
            for mount in (slow, cloud):
                mount.answer_after(0)
            wait_for("readiness", lambda: desktop.node("label", "This computer") and
                     not desktop.node("label", re.compile("isn't answering")))
            desktop.key("ctrl+s")
            wait_for("the copy", (stored / "cloud/Slow/a.txt").exists)
            self.end(application)

    @unittest.skipUnless(os.geteuid() == 0, "drives can be plugged in by root only")
    def test_that_take_their_time(self):
        """What was to be synced is synced, although a look at the disks had to be given up."""
        desktop, top = self.desktop, self.desktop.top
        originals = {"first": "Photos", "second": "Films"}

        def hang_until_given_up(*mounts):
            for mount in mounts:
                wait_for("a request that is held back", mount.holds)
            self.expect_silence({"Photos": "first", "Films": "second"})
            for mount in mounts:
                mount.answer_after(0)

        def write(name):
            for stored, original in originals.items():
                (top / stored / original).mkdir(parents=True, exist_ok=True)
                (top / stored / original / name).write_text("one")

        def wait_for_copies(trigger, *copies):
            wait_for(f"the sync ({trigger})", lambda: all((desktop.cloud / copy).exists() for copy in copies))
            record = wait_for("its record", lambda: next(
                (run for run in desktop.history()[:1] if run["trigger"] == trigger), None))
            self.assertEqual((record["errors"], record["notes"], record.get("fatal")), ([], [], None))

        write("a.txt")
        with SlowMount(top / "first", "/mnt/first") as first:
            with SlowMount(top / "second", "/mnt/second"):
                for stored, original in originals.items():
                    desktop.tell("--add", pathlib.Path("/mnt", stored, original), desktop.cloud / original)
            application = desktop.launch()
            wait_for("the first run", lambda: desktop.settings()["hasCompletedFirstRun"])
            application.end()
            first.answer_after(HANGS)
            application = desktop.launch("--login")
            desktop.wait_for_log("started at login\n")
            with SlowMount(top / "second", "/mnt/second", HANGS) as second:
                hang_until_given_up(first, second)
                wait_for_copies("driveConnected", "Films/a.txt")
                self.assertFalse((desktop.cloud / "Photos").exists())
                for name, trigger, photos in (("b.txt", "manual", ["Photos/a.txt"]), ("c.txt", "launch", [])):
                    write(name)
                    for mount in (first, second):
                        mount.answer_after(HANGS)
                    if trigger == "manual":
                        desktop.tell("--action", "sync-now")
                    hang_until_given_up(first, second)
                    wait_for_copies(trigger, *photos, f"Photos/{name}", f"Films/{name}")
                application.end()
