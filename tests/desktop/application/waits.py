"""Whether the application's main thread waits: a disk that is slow or hangs, and a watch on the thread."""

import contextlib
import json
import pathlib
import re
import subprocess
import threading
import time

from desktop import wait_for

HERE = pathlib.Path(__file__).parent
HANGS = "hang"


class Helper:
    """A program beside the desktop that is told something by lines, answers each with one, and ends with its input."""

    def __init__(self, *words):
        self.process = subprocess.Popen(["/usr/bin/python3", *map(str, words)], stdin=subprocess.PIPE,
                                        stdout=subprocess.PIPE, stderr=subprocess.DEVNULL, text=True, cwd="/",
                                        start_new_session=True)

    def __enter__(self):
        return self

    def __exit__(self, *_):
        with contextlib.suppress(BrokenPipeError):
            self.process.stdin.close()
        try:
            self.process.wait(10)
        finally:
            self.process.kill()
            self.process.wait()
            self.process.stdout.close()

    def ask(self, line=""):
        self.process.stdin.write(line + "\n")
        self.process.stdin.flush()
        return json.loads(self.process.stdout.readline() or "{}")


class SlowMount(Helper):
    """`folder` mounted at `place`, with a delay of each answer, in seconds or HANGS. However it is left, no request stays
    without one. Never look at the place itself while it hangs."""

    def __init__(self, folder, place, pace=0):
        self.place = pathlib.Path(place)
        for each in (pathlib.Path(folder), self.place):
            each.mkdir(parents=True, exist_ok=True)
        super().__init__(HERE / "slow-mount", folder, place, pace)

    def __enter__(self):
        with contextlib.suppress(BrokenPipeError):
            if self.ask():
                return self
        self.__exit__()
        raise AssertionError(f"nothing was mounted at {self.place}")

    def answer_after(self, pace):
        """From now on, also what waits already."""
        self.ask(str(pace))

    def asked(self):
        return self.ask()["asked"]

    def holds(self):
        """How many requests wait for an answer, without end when it hangs."""
        return self.ask()["held"]


class Watch(Helper):
    """What the main thread of an application does, see main-thread-watch."""

    def __init__(self):
        super().__init__(HERE / "main-thread-watch")
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
