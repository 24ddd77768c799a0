"""A watch on the application's main thread, and on its windows."""

import re
import subprocess
import threading
import time
from pathlib import Path

from desktop import wait_for
from slow import Helper


class Watch(Helper):
    """What the main thread of an application does, see main-thread-watch."""

    def __init__(self):
        super().__init__(Path(__file__).with_name("main-thread-watch"))
        self.begin()  # it takes a while to start

    def follow(self, process):
        """From its start on."""
        self.ask(f"process {process}")

    def call(self, lock):
        """Calls the application, too, from now on; `lock` is the file in which it says where it can be reached."""
        _, name, address = lock.read_text().split()
        self.ask(f"call {address} {name}")

    def begin(self):
        self.ask("begin")

    def so_far(self):
        return self.ask("tell")

    def wait_until_at_rest(self, patience, quiet=1.0, meanwhile=lambda: None):
        """Until it has answered at once for a while, and `meanwhile` hasn't changed; whether that came."""
        seen = [None]

        def has_come():
            before, seen[0] = seen[0], meanwhile()
            if seen[0] != before:
                self.ask("stir")
            return seen[0] == before and self.so_far()["restSince"] >= quiet

        return bool(wait_for("a rest", has_come, patience, may_fail=True))


class Windows:
    """The windows that the window manager has, with the moments at which they came and went."""

    def __enter__(self):
        self.changes = [(time.monotonic(), frozenset())]
        self.process = subprocess.Popen(["xprop", "-spy", "-root", "_NET_CLIENT_LIST"], stdout=subprocess.PIPE,
                                        stderr=subprocess.DEVNULL, text=True)
        threading.Thread(target=self.read, daemon=True).start()
        wait_for("the window manager", lambda: len(self.changes) > 1)
        return self

    def __exit__(self, *_):
        self.process.kill()
        self.process.wait()

    def read(self):
        for line in self.process.stdout:
            self.changes.append((time.monotonic(), frozenset(re.findall("0x[0-9a-f]+", line))))

    def now(self):
        return self.changes[-1][1]

    def first(self, since, is_so):
        """When it first held of the windows after the moment `since`; None when it has not yet."""
        return next((when for when, windows in list(self.changes) if when >= since and is_so(windows)), None)
