"""The programs that are measured, each with its command line and the proof that a run did its work."""

import filecmp
import json
import os
import pathlib
import signal
import subprocess
import sys
import typing

import trees

OURS, RSYNC, CP, FLOOR = "tarnwick-basic", "rsync -a", "cp -a", "find (floor)"
TROUBLES = "errors", "conflicts", "keptNewer", "skipped", "cancelled"
STOPWATCH = pathlib.Path(__file__).with_name("stopwatch.py")


class RunFailed(Exception):
    """A run that did not do what it was asked to; its time means nothing, so the benchmark ends."""


class Run(typing.NamedTuple):
    seconds: float  # the program, and for rsync and cp the flush after it
    flush_seconds: float  # `sync -f` on the target; not part of our time, because our run ends flushed
    cpu_seconds: float
    peak_bytes: int


class Expected(typing.NamedTuple):
    tree: trees.TreeFacts  # of the target afterwards
    copied: int
    up_to_date: int
    sample: list  # paths whose contents are compared


class Bench:
    """Runs contenders; whatever our program or the bench stores meanwhile goes below `directory`."""

    def __init__(self, program, directory):
        self.program = program
        self.output = os.path.join(directory, "output")
        self.messages = os.path.join(directory, "messages")
        home = os.path.join(directory, "home")
        self.cache = os.path.join(home, ".cache")
        os.makedirs(self.cache)
        self.environment = {"PATH": os.environ["PATH"], "LC_ALL": "C.UTF-8", "HOME": home}
        self.environment["XDG_CACHE_HOME"] = self.cache

    def command(self, contender, source, target):
        return {
            OURS: [self.program, "--backup", source, target, "--json"],
            RSYNC: ["rsync", "-a", source + "/", target + "/"],
            CP: ["cp", "-a", source + "/.", target + "/"],
            FLOOR: ["find", source, target, "-printf", r"%p %s %T@\n"],
        }[contender]

    def run(self, contender, source, target, expected):
        """One timed run, its outcome checked."""
        output = os.devnull if contender == FLOOR else self.output
        words = [sys.executable, "-I", "-S", str(STOPWATCH), output, target]
        words += self.command(contender, source, target)
        with open(self.messages, "w+", encoding="utf-8", errors="replace") as messages:
            line = run_in_own_group(words, self.environment, messages)
            messages.seek(0)
            complaint = messages.read()[-2000:].strip()
        try:
            elapsed, flush, cpu, peak, status = line.split()
        except ValueError:
            raise RunFailed(f"{contender} could not be run: {complaint}") from None
        if status != "0":
            raise RunFailed(f"{contender} failed (wait status {status}): {complaint or self.first_output()}")
        if contender == OURS:
            self.check_record(expected)
            self.check_leftovers(target)
        check_target(contender, source, target, expected)
        counted = float(elapsed) + (float(flush) if contender in (RSYNC, CP) else 0)
        return Run(counted, float(flush), float(cpu), int(peak) * 1024)

    def first_output(self):
        with open(self.output, encoding="utf-8", errors="replace") as output:
            return output.read(1000)

    def check_record(self, expected):
        with open(self.output, encoding="utf-8") as output:
            try:
                record = json.load(output)
                found = record["filesCopied"], record["upToDate"]
                troubles = [record[key] for key in TROUBLES]
            except (ValueError, KeyError, TypeError) as error:
                raise RunFailed(f"{OURS} printed no run record: {error!r}") from None
        if any(troubles) or "fatal" in record:
            raise RunFailed(f"{OURS} reports {record.get('fatal') or troubles}")
        due = expected.copied, expected.up_to_date
        if found != due:
            raise RunFailed(f"{OURS}: (copied, up to date) is {found}, not {due}")

    def check_leftovers(self, target):
        """No temporary area is left, neither at the top of the target's volume nor in the user's cache."""
        for place in (os.path.dirname(target), self.cache):
            for folder, folders, files in os.walk(place):
                if folder == os.path.dirname(target):
                    folders.remove(os.path.basename(target))
                left = [name for name in folders + files if "NSIRD_" in name]
                if left:
                    raise RunFailed(f"{OURS} left {os.path.join(folder, left[0])} behind")

    def version(self, contender):
        words = [self.command(contender, "", "")[0], "--version"]
        result = subprocess.run(words, capture_output=True, text=True, env=self.environment)
        return (result.stdout.splitlines() or ["unknown"])[0]


def run_in_own_group(words, environment, messages):
    """The command's standard output; if this program is interrupted, all that it started is ended first."""
    pipes = {"stdout": subprocess.PIPE, "stderr": messages, "text": True}
    child = subprocess.Popen(words, env=environment, cwd="/", start_new_session=True, **pipes)
    try:
        return child.communicate()[0]
    except BaseException:
        os.killpg(child.pid, signal.SIGKILL)
        child.wait()
        raise


def check_target(contender, source, target, expected):
    found = trees.read_facts(target)
    if found != expected.tree:
        raise RunFailed(f"after {contender} the target is {found}, not {expected.tree}")
    for path in expected.sample:
        if not filecmp.cmp(f"{source}/{path}", f"{target}/{path}", shallow=False):
            raise RunFailed(f"after {contender} the contents of {path} differ")
    filecmp.clear_cache()  # it remembers answers by path, size and time, which the next run's target shares
