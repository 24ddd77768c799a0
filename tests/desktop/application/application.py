"""What all tests of the application share: a desktop, the application on it, and what they do with the two."""

import contextlib
import os
import socket
import sys
import unittest

from desktop import Desktop, said, wait_for
from slow import SlowMount

PROGRAM = os.path.abspath(sys.argv[1])


class ApplicationTest(unittest.TestCase):
    def setUp(self):
        self.desktop = self.enterContext(Desktop(PROGRAM))
        # A system bus that takes connections and never says a word: nobody waits for it.
        bus = self.enterContext(socket.socket(socket.AF_UNIX))
        bus.bind(str(self.desktop.top / "run/mute"))
        bus.listen()
        os.environ["DBUS_SYSTEM_BUS_ADDRESS"] = f"unix:path={self.desktop.top}/run/mute"
        self.addCleanup(lambda: print(self.desktop.log()))  # for whoever reads why a test failed

    def close_window(self, has_notice=None):
        """With the notice that the application keeps running or without, where that is of interest."""
        desktop = self.desktop

        def notice():
            return desktop.node("label", "Tarnwick Basic keeps running")

        def press():
            desktop.key("ctrl+w")
            return wait_for("an answer", lambda: not desktop.windows() or notice(), patience=1, may_fail=True)

        # A key that comes before the window knows that it has the keyboard is lost.
        wait_for("the keyboard", lambda: "Tarnwick" in said("xdotool", "getwindowfocus", "getwindowname"))
        wait_for("the window's end or the notice", press)
        is_told = bool(desktop.windows())
        if is_told:
            desktop.press("push button", "Close Window")
            wait_for("the window's end", lambda: not desktop.windows())
        self.assertIn(has_notice, (None, is_told))

    @contextlib.contextmanager
    def slow_folder(self):
        """A folder in the list whose one file takes half a minute to read."""
        film = self.desktop.top / "stored/film.mov"
        film.parent.mkdir()
        film.touch()
        os.truncate(film, 64 << 20)
        os.utime(film, (1600000000, 1600000000))
        with SlowMount(film.parent, self.desktop.home / "Film_1 & 2") as mount:
            self.desktop.add("Film_1 & 2", {})
            mount.answer_after(0.05)
            yield mount
