"""A drive of the real disk service."""

import os
import pathlib
import re
import subprocess
import unittest

from application import ApplicationTest
from desktop import wait_for
from notifications import NotificationServer
from slow import SlowMount

PROFILE = """{"app": "Tarnwick Basic", "machine": "0123456789abcdef", "savedBy": "Old Mac",
    "savedAt": "2026-01-02T03:04:05Z", "version": 1,
    "pairs": [{"sourceRelPath": "Bilder", "backupRelPath": "Bilder", "enabled": true}]}"""
FILM = 48 << 20


class Drive:
    """An image file that is plugged in. It lies on a slow disk, so that copies from it can take as long as they are to."""

    def __init__(self, test):
        self.desktop = test.desktop
        del os.environ["DBUS_SYSTEM_BUS_ADDRESS"]
        for folder in ("/run/dbus", "/run/udisks2"):
            pathlib.Path(folder).mkdir(parents=True, exist_ok=True)
            subprocess.run(["mount", "-t", "tmpfs", "tmpfs", folder], check=True)
        self.serve("dbus-daemon --system --nofork --nopidfile",
                   "dbus-send --system --print-reply --dest=org.freedesktop.DBus / org.freedesktop.DBus.GetId")
        self.serve("/lib/systemd/systemd-udevd", "udevadm control --ping")
        self.serve("/usr/libexec/udisks2/udisksd", "udisksctl status")
        image, content = self.desktop.top / "stored/image", self.desktop.top / "drive"
        image.parent.mkdir()
        for name, text in ((".Tarnwick/profile-basic.json", PROFILE), ("Bilder/Grüße.txt", "Hallo"),
                           ("Bilder/Film.mov", "x" * FILM), ("Later.mov", "x" * FILM)):
            (content / name).parent.mkdir(parents=True, exist_ok=True)
            (content / name).write_text(text)
        subprocess.run(["mkfs.ext4", "-q", "-L", "Fotos März", "-d", content, image, "150M"], check=True,
                       stdout=subprocess.DEVNULL)
        self.disk = test.enterContext(SlowMount(image.parent, self.desktop.top / "disk"))
        self.device = re.search("/dev/loop[0-9]+", self.udisks("loop-setup", "-f", self.disk.place / "image"))[0]
        test.addCleanup(lambda: (self.disk.answer_after(0), self.is_unmounted(), self.udisks("loop-delete")))

    def serve(self, program, question):
        def answers():
            return subprocess.run(question.split(), capture_output=True).returncode == 0

        if not answers():
            self.desktop.start(*program.split())
            wait_for(program, answers)

    def udisks(self, verb, *words):
        return subprocess.run(["udisksctl", verb, *(words or ("-b", self.device))], check=True, capture_output=True,
                              text=True).stdout

    def is_unmounted(self):
        """Tries; somebody may still use it."""
        return subprocess.run(["udisksctl", "unmount", "-b", self.device], capture_output=True).returncode == 0


class Test(ApplicationTest):
    @unittest.skipUnless(os.geteuid() == 0, "drives can be plugged in by root only")
    def test_plugged_in_and_ejected(self):
        desktop, server = self.desktop, NotificationServer(self.desktop.bus)
        drive = Drive(self)
        desktop.start_panel()
        application = desktop.open()
        wait_for("the status item", desktop.item)
        self.close_window()
        drive.udisks("mount")
        drive.disk.answer_after(0.01)
        wait_for("the progress", lambda: re.fullmatch("Tarnwick Basic is syncing [1-9][0-9]?%", desktop.tooltip()))
        drive.disk.answer_after(0)
        wait_for("the notification", lambda: server.shown)
        self.assertEqual(server.shown[0]["title"], "Tarnwick Basic sync complete")
        self.assertEqual(server.shown[0]["body"], "2 files copied (50.3 MB)")
        self.assertEqual(desktop.history()[0]["trigger"], "driveConnected")
        server.ActionInvoked(1, "default")
        self.assertEqual(desktop.find("list", "Syncs, newest first").childCount, 1)
        # At rest nothing holds the drive, and what it brought along is as it was.
        top = pathlib.Path("/media/root/Fotos März")
        self.assertEqual((top / ".Tarnwick/profile-basic.json").read_text(), PROFILE)
        drive.udisks("unmount")
        wait_for("the eject", lambda: desktop.log().endswith("Drive disconnected: Fotos März\n"))
        application.end()
        # At the next login the drive is there before the application, and is ejected in the middle of a copy.
        drive.udisks("mount")
        (top / "Later.mov").rename(top / "Bilder/Later.mov")
        desktop.start("dex", "--autostart")
        desktop.wait_for_log("Sync started (launch)")
        drive.disk.answer_after(0.02)
        wait_for("the copy", lambda: re.search(" [1-9][0-9]?%$", desktop.tooltip()))
        self.assertFalse(drive.is_unmounted())
        wait_for("the word that the drive is free", lambda: len(server.shown) == 2, 1)
        self.assertEqual(server.shown[1], {**server.shown[0], "title": "“Fotos März” can be ejected now",
                                           "body": "Sync cancelled after 0 files"})
        wait_for("the eject", drive.is_unmounted, 1)  # once its profile has been looked at
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
