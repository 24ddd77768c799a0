"""A disk that is slow or hangs."""

import contextlib
import json
import pathlib
import subprocess


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


HANGS = "hang"


class SlowMount(Helper):
    """`folder` mounted at `place`, with a delay of each answer, in seconds or HANGS. However it is left, no request stays
    without one. Never look at the place itself while it hangs."""

    def __init__(self, folder, place, pace=0):
        self.place = pathlib.Path(place)
        for each in (pathlib.Path(folder), self.place):
            each.mkdir(parents=True, exist_ok=True)
        super().__init__(pathlib.Path(__file__).with_name("slow-mount"), folder, place, pace)

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
