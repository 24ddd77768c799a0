"""The programs that are measured, each with its command line and the proof that a run did its work."""

import filecmp
import json
import os
import pathlib
import signal
import subprocess
import sys
import time
import typing

import trees

OURS, RSYNC, CP, FLOOR = "tarnwick-basic", "rsync -a", "cp -a", "find (floor)"
CP_TIMES = "cp -dR --preserve=timestamps"  # where cp -a fails, because the file system takes no access-control list
FLUSHED = RSYNC, CP, CP_TIMES  # their time includes `sync -f`
TROUBLES = "errors", "conflicts", "keptNewer", "skipped", "cancelled"
UPLOAD_LIMIT = 300  # seconds
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
        self.home = os.path.join(directory, "home")  # of runs whose target has none of its own

    def command(self, contender, source, backup):
        return {
            OURS: [self.program, "--backup", source, backup, "--json"],
            RSYNC: ["rsync", "-a", source + "/", backup + "/"],
            CP: ["cp", "-a", source + "/.", backup + "/"],
            CP_TIMES: [*CP_TIMES.split(), source + "/.", backup + "/"],
            FLOOR: ["find", source, backup, "-printf", r"%p %s %T@\n"],
        }[contender]

    def environment(self, home):
        cache = os.path.join(home, ".cache")
        os.makedirs(cache, exist_ok=True)
        return {"PATH": os.environ["PATH"], "LC_ALL": "C.UTF-8", "HOME": home, "XDG_CACHE_HOME": cache}

    def run(self, contender, source, target, expected):
        """One timed run, its outcome checked."""
        output = os.devnull if contender == FLOOR else self.output
        words = [sys.executable, "-I", "-S", str(STOPWATCH), output, target.backup]
        words += self.command(contender, source, target.backup)
        environment = self.environment(target.home or self.home)
        with open(self.messages, "w+", encoding="utf-8", errors="replace") as messages:
            line = run_in_own_group(words, environment, messages)
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
        wait_for_uploads(target, expected)
        check_target(contender, source, target.stored, expected)
        if contender == OURS:
            self.check_leftovers(target)
        counted = float(elapsed) + (float(flush) if contender in FLUSHED else 0)
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
        """Nothing temporary is left: not around the backup, whose names have been compared, nor in the home folder."""
        for place in (target.searched, target.home or self.home):
            for folder, folders, files in os.walk(place):
                folders[:] = [name for name in folders if os.path.join(folder, name) != target.stored]
                left = [name for name in folders + files if "NSIRD_" in name or name.endswith(".twtmp")]
                if left:
                    raise RunFailed(f"{OURS} left {os.path.join(folder, left[0])} behind")

    def version(self, contender):
        words = [self.command(contender, "", "")[0], "--version"]
        result = subprocess.run(words, capture_output=True, text=True, env=self.environment(self.home))
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


def wait_for_uploads(target, expected):
    """Returns when the remote behind a mount holds what is expected, or has had time enough for it."""
    deadline = time.monotonic() + UPLOAD_LIMIT
    while target.stored != target.backup and time.monotonic() < deadline:
        try:
            if trees.read_facts(target.stored) == expected.tree:
                return
        except FileNotFoundError:
            pass  # renamed or removed while we looked
        time.sleep(0.1)


def check_target(contender, source, stored, expected):
    found = trees.read_facts(stored)
    if found != expected.tree:
        raise RunFailed(f"after {contender} the target is {found}, not {expected.tree}")
    for path in expected.sample:
        if not filecmp.cmp(f"{source}/{path}", f"{stored}/{path}", shallow=False):
            raise RunFailed(f"after {contender} the contents of {path} differ")
    filecmp.clear_cache()  # it remembers answers by path, size and time, which the next run's target shares
