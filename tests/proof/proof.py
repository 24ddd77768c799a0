"""What the proofs share: trees with exact dates in a fresh folder, runs of the program in which the preloaded library
lets chosen calls fail, and judging what such a run has left behind and told.

A proof is called as `tests/proof/NAME BUILD-FOLDER [--long] [--seed N] [--only WORD]`.
"""

import argparse
import errno
import fnmatch
import json
import os
import random
import re
import shutil
import signal
import stat
import subprocess
import sys
import tempfile
from collections import namedtuple
from pathlib import Path

SECOND = 1_000_000_000
SOME_TIME = 1_600_000_000 * SECOND + 123_456_789
PAIR = "E2A084AC-F567-404D-97AE-6DC1EF2CC18F"
LEFTOVERS = (".tw-*", "NSIRD_*", "._NSIRD_*", ".*.tmp")

USUAL = "error as usual"
DATES_LOST = "didn't keep the date of"
# Calls whose failing leaves nothing behind, since it can be removed all the same.
TIDY = {"write", "pwrite", "copy_file_range", "ftruncate", "fsync", "fdatasync", "syncfs", "rename", "renameat",
        "renameat2", "linkat", "futimens", "fchmod", "read", "pread", "lseek"}



class Item(namedtuple("Item", "kind data date")):
    """What stands somewhere, as far as a backup keeps it; a folder has no date of its own there."""

    def __repr__(self):
        return f"a {self.kind} of {self.date}, {len(self.data)} bytes: {self.data[:20]!r}"


# A call that the library met: ticks at its begin and end, its name, what it has to do with, its result (a negative
# errno), and what a rule did to it.
Call = namedtuple("Call", "begin end name path to result action")


def rule(call="*", path="*", nth=1, until="once", moment="before", **action):
    """A line for the library, see Rule in faults.cpp: error=EIO, answer=0, signal=SIGKILL or run="command"."""
    (kind, argument), = action.items()
    return "\t".join([call, path, str(nth), until, moment, kind, str(argument if kind == "run" else int(argument))])


class Proof:
    """One program of proofs: its options, its count of cases, and what was found wrong."""

    def __init__(self, name):
        parser = argparse.ArgumentParser()
        parser.add_argument("build", type=Path)
        parser.add_argument("--long", action="store_true", help="everything instead of a sample")
        parser.add_argument("--seed", type=int, default=random.randrange(1_000_000))
        parser.add_argument("--only", default="", help="only cases whose words hold this")
        options = parser.parse_args()
        self.name, self.long, self.seed, self.only = name, options.long, options.seed, options.only
        self.program = options.build.resolve() / "tarnwick-basic"
        self.library = options.build.resolve() / "tests/proof/libfaults.so"
        self.cases = self.faults = 0

    def case(self, words, faults):
        """Counts a case; `faults` says in words what is wrong, in any number of lines."""
        faults = list(faults)
        self.cases += 1
        self.faults += bool(faults)
        for fault in faults[:3]:
            print(f"FAULT {words}: {fault}", flush=True)

    def wants(self, words):
        return self.only in words

    def picks(self, words, chance):
        """Whether a case is in the sample; the same cases are for the same seed."""
        return self.long or random.Random(f"{self.seed} {words}").random() < chance

    def end(self):
        print(f"proof.{self.name}: {self.cases} cases, seed {self.seed}, {self.faults} wrong")
        sys.exit(1 if self.faults or not self.cases else 0)


class Outcome:
    def __init__(self, status, out, err, trace):
        self.status, self.out, self.err = status, out, err
        self.calls = [Call(int(begin), int(end), name, path, to, int(result), action)
                      for begin, end, name, path, to, result, action in (line.split("\t") for line in trace)]
        try:
            self.record = json.loads(out)
        except json.JSONDecodeError:
            self.record = None

    def __str__(self):
        return f"status {self.status}, told {self.told() if self.record else self.err!r}"

    @property
    def struck(self):
        """The calls that a rule did something to, but for the usual ones."""
        return [call for call in self.calls if call.action and call.action != USUAL]

    def told(self, *lists):
        """The lines of these lists of the record, by default of all."""
        fatal = [self.record["fatal"]] if "fatal" in self.record and not lists else []
        return fatal + [line for name in lists or ("errors", "notes", "keptNewer", "conflicts") for line in self.record[name]]


class Place:
    """A fresh folder with an original, the place of its backup, and a home; removed at the end."""
    original, backup, home = "Photos", "OneDrive/Photos", "home"
    usual = ()  # what holds for every run that is watched

    def __init__(self, proof):
        self.proof = proof
        memory = Path("/dev/shm")
        self.own = tempfile.TemporaryDirectory(prefix="proof-", dir=memory if os.access(memory, os.W_OK) else None)
        self.top = Path(self.own.name).resolve() / "tree"
        self.trace = self.top.with_name("trace")

    def is_its_own(self, call):
        """Whether there isn't the same call in another kind of place."""
        return True

    def clear(self):
        shutil.rmtree(self.top, ignore_errors=True)
        for folder in (self.original, Path(self.backup).parent, self.home):
            (self.top / folder).mkdir(parents=True, exist_ok=True)

    def write(self, path, data, date=SOME_TIME):
        file = self.top / path
        file.parent.mkdir(parents=True, exist_ok=True)
        file.write_bytes(data if isinstance(data, bytes) else data.encode())
        os.utime(file, ns=(date, date))

    def words(self):
        return ["--backup", self.top / self.original, self.top / self.backup, "--json"]

    def environment(self):
        return {"HOME": str(self.top / self.home)}

    def run(self, *rules, words=None, clock=0, watched=True, around=()):
        """One run of the program to its end; `around` are words put before it, such as ["setpriv", ...]."""
        environment = {"PATH": os.environ["PATH"], **self.environment()}
        if watched or rules or clock:
            self.trace.write_text("")
            environment |= {"LD_PRELOAD": str(self.proof.library), "FAULTS_FOLDER": str(self.top),
                            "FAULTS_TRACE": str(self.trace), "FAULTS_RULES": "\n".join((*self.usual, *rules)),
                            "FAULTS_CLOCK": str(clock)}
        command = [*around, self.proof.program, *(words or self.words())]
        try:
            done = subprocess.run(command, env=environment, cwd=self.top / self.home, capture_output=True, text=True,
                                  timeout=60, check=False)
        except subprocess.TimeoutExpired:
            return Outcome(None, "", "it hangs", [])
        is_read = watched and self.trace.exists()
        trace = self.trace.read_text(errors="surrogateescape").splitlines() if is_read else []
        return Outcome(done.returncode, done.stdout, done.stderr, trace)

    def tree(self, folder):
        """Maps the paths below `folder` to what stands there, without our own temporary files."""
        return {path: item for path, item in tree(self.top / folder).items() if not is_leftover(path)}

    def moved_aside(self):
        """The data that stands in the backup under a name that the next run knows as an old version's."""
        return [item.data for path, item in tree(self.top / self.backup).items() if "/.tw-old-" in "/" + path]

    def leftovers(self):
        return sorted(path for path in tree(self.top) if is_leftover(path))


class BesidePlace(Place):
    """Nothing can be made in the temporary folder, so copies are staged beside their targets."""
    usual = (rule("openat", "*/NSIRD_*/.tw-*", until="all", **{USUAL: errno.EACCES}),)

    def is_its_own(self, call):
        return ".tw-" in call.path + call.to and "NSIRD_" not in call.path


class SyncPlace(Place):
    """A test root with "Photos" on the drive "Stick" in the settings, a history, and a drive's profile that is to be
    written anew."""
    original, backup, home = "Volumes/Stick/Photos", "Home/OneDrive/Photos", "Home"
    settings, history, profile = "Support/config.json", "Support/history.json", "Volumes/Stick/.Tarnwick/profile-basic.json"
    past = None

    def is_its_own(self, call):
        return not call.path.startswith((self.original, self.backup, "Home/.cache"))

    def clear(self):
        super().clear()
        self.write(".tarnwick-test-root", "")
        pair = {"backupRelPath": "Photos", "enabled": True, "id": PAIR, "sourceRelPath": "Photos",
                "volumeName": "Stick"}
        self.write(self.settings, json.dumps({"autoSyncOnConnect": False, "hasCompletedFirstRun": True,
                                              "notifications": True, "pairs": [pair], "schema": 1}))
        if self.past is None:
            self.past = b""
            self.run(watched=False)
            self.past = (self.top / self.history).read_bytes()
            self.clear()
        elif self.past:
            self.write(self.history, self.past)
            # It would be taken into settings that were thought to be empty.
            pair = {"backupRelPath": "Photos", "enabled": False, "sourceRelPath": "Photos"}
            self.write(self.profile, json.dumps({"app": "Tarnwick Basic", "machine": "another", "pairs": [pair],
                                                 "savedAt": "2026-01-01T00:00:00Z", "savedBy": "x", "version": 1}))

    def words(self):
        return ["--sync", "--json"]

    def environment(self):
        return {"TARNWICK_TEST_ROOT": str(self.top), "TARNWICK_FAST_TIMERS": "1"}

    def set_aside(self):
        """Settings that were put away unharmed because they couldn't be read."""
        return [file for file in (self.top / "Support").glob("config-unreadable-*") if PAIR in file.read_text()]

    def own_files(self):
        """What each of the program's own files holds; None when it is missing or no JSON."""
        return {path: parsed(self.top / path) for path in (self.settings, self.history, self.profile)}


def parsed(file):
    try:
        return json.loads(file.read_bytes())
    except (OSError, ValueError):
        return None


def aside_name(name):
    """What the program calls a file while it is moved aside: eight digits of FNV-1a, and three random ones."""
    number = 2166136261
    for byte in name.encode():
        number = (number ^ byte) * 16777619 % 2**32
    return f".tw-old-{number:08X}-89A.twtmp"


def is_leftover(path):
    return any(fnmatch.fnmatch(part, pattern) for part in Path(path).parts for pattern in LEFTOVERS)


def item_at(path):
    facts = os.lstat(path)
    if stat.S_ISREG(facts.st_mode):
        return Item("file", Path(path).read_bytes(), facts.st_mtime_ns)
    if stat.S_ISLNK(facts.st_mode):
        return Item("link", os.readlink(path), 0)
    return Item("folder" if stat.S_ISDIR(facts.st_mode) else "other", b"", 0)


def tree(top):
    return {os.path.relpath(os.path.join(folder, name), top): item_at(os.path.join(folder, name))
            for folder, folders, files in os.walk(top) for name in folders + files}


def named(path):
    """A call's path without what is random in it."""
    path = re.sub(r"NSIRD_TarnwickBasic_\w{8}", "NSIRD_*", path)
    return re.sub(r"\.tw-(old-)?[0-9A-F]{8}-[0-9A-F]{3}\.twtmp", r".tw-\1*", path)


def lost(originals, before, after, aside=(), dates="count"):
    """What a run may never do to a backup, whatever has happened to it; `aside`: data with a name that is kept."""
    for path, item in before.items():
        if path not in after and item.data in aside:
            continue
        if path not in after:
            yield f"{path} has gone from the backup"
        elif item.kind != after[path].kind:
            yield f"{path} was a {item.kind} in the backup and is a {after[path].kind}"
    for path, item in after.items():
        if item.kind == "file" and item not in (before.get(path), originals.get(path)):
            known = {"the old data": before.get(path), "the new data": originals.get(path)}
            data = [words for words, version in known.items() if version and version.data == item.data]
            if dates == "may be wrong" and data:
                continue
            yield f"{path} is neither the old nor the new version, with {data or 'other data'}: {item}"


def untold(name, originals, before, after, outcome):
    """Where the record of a run and what stands in the backup differ. `name` is the pair's."""
    record = outcome.record
    if record is None:
        # Told to stop before anything was begun, it just ends.
        wasStopped = outcome.status in (130, -signal.SIGINT)
        if outcome.status in (0, None) or not (outcome.err or wasStopped) or before != after:
            yield f"no record, status {outcome.status}, told: {outcome.err!r}"
        return
    copied = {path for path, item in after.items() if item.kind == "file" and item != before.get(path)}
    changes = {change["relPath"]: change["kind"] for change in record["changes"]}
    kinds = {path: "updated" if path in before else "added" for path in copied}
    if changes != kinds or record["filesCopied"] != len(copied):
        yield f"{record['filesCopied']} files copied, changes {changes}, but {kinds} were"
    if record["bytesCopied"] != sum(len(after[path].data) for path in copied):
        yield f"{record['bytesCopied']} bytes copied is wrong"
    if outcome.err:
        yield f"on standard error: {outcome.err!r}"
    failed = bool(record["errors"] or record.get("fatal"))
    if outcome.status != (130 if record["cancelled"] else int(failed)):
        yield f"status {outcome.status} with errors {record['errors']} and fatal {record.get('fatal')}"
    if record["cancelled"] or record.get("fatal"):
        return
    told = outcome.told("errors", "keptNewer", "conflicts") + [f"{name}/{skip['relPath']}" for skip in record["skipped"]]
    for path, item in originals.items():
        found = after.get(path)
        isThere = found and found.kind == item.kind and found.data == item.data
        if not isThere and not any(is_about(line, name, path) for line in told):
            yield f"{path} isn't in the backup, and nothing tells so: {told}"


def is_about(line, name, path):
    """Whether a line names an item, or a folder above it that couldn't be read, made or reached."""
    line = line.removeprefix(f"{name}: ").removeprefix(f"{name}/")
    if line.startswith(":"):
        return True # the top itself
    ways = [path, *(str(above) for above in Path(path).parents if str(above) != "."), name]
    return any(line == way or line.startswith((way + ":", way + " ")) for way in ways) or line.startswith("the folder is")


def fill(place):
    """A tree in which there is something of everything to do; returns the originals and the backup."""
    place.clear()
    later = SOME_TIME + 100 * SECOND
    for path, date in (("changed 1.jpg", later), ("changed 2.jpg", later + 1), ("new.jpg", SOME_TIME),
                       ("same.jpg", SOME_TIME), ("older.jpg", SOME_TIME), ("sub/deeper/new.jpg", SOME_TIME),
                       ("bad:name.txt", SOME_TIME), ("sub/read-only.jpg", SOME_TIME)):
        place.write(f"{place.original}/{path}", f"the second version of {path}", date)
    place.write(f"{place.original}/sub/large.bin", bytes(range(256)) * 1200)
    place.write(f"{place.original}/sub/holes.bin", b"data")
    top = place.top / place.original
    os.truncate(top / "sub/holes.bin", 300_000)
    os.utime(top / "sub/holes.bin", ns=(SOME_TIME, SOME_TIME))
    (top / "sub/read-only.jpg").chmod(0o444)
    (top / "empty").mkdir()
    (top / "link").symlink_to("new.jpg")
    for path, date in (("changed 1.jpg", SOME_TIME), ("changed 2.jpg", SOME_TIME), ("older.jpg", later)):
        place.write(f"{place.backup}/{path}", f"what stood in the backup as {path}", date)
    place.write(f"{place.backup}/same.jpg", "the second version of same.jpg")
    place.write(f"{place.backup}/.tw-01234567-89A.twtmp", "left over")
    place.write(f"{place.backup}/{aside_name('same.jpg')}", "left over")
    place.write(f"{place.home}/.cache/TemporaryItems/NSIRD_TarnwickBasic_abcdefgh/0/.tw-01234567-89A.twtmp", "left over")
    return place.tree(place.original), place.tree(place.backup)


class Trial:
    """Runs in which something goes wrong on a filled place, each of them judged, and after each a run in which nothing
    does."""

    def __init__(self, place):
        self.place = place
        self.outcome, self.dates = None, "count"
        fill(place)
        self.clean = place.run()
        self.goal = place.tree(place.backup)

    def wrongs(self, *rules, excused=lambda outcome: (), run=None):
        """What is wrong after a run with these rules; `excused` tells the originals that may be missing in silence."""
        place = self.place
        originals, before = fill(place)
        leftBefore = place.leftovers()
        self.outcome = outcome = run(*rules) if run else place.run(*rules)
        if outcome.status is None:
            return [outcome.err]
        after = place.tree(place.backup)
        self.dates = "may be wrong" if outcome.record and DATES_LOST in " ".join(outcome.record["notes"]) else "count"
        wasKilled = outcome.status == -signal.SIGKILL
        # An old version may stay aside only if moving it back failed, too.
        aside = place.moved_aside() if wasKilled or len(outcome.struck) > 2 else ()
        lists = [lost(originals, before, after, aside, self.dates), self.own_files_wrong()]
        if not wasKilled:
            if all(call.name in TIDY for call in outcome.struck):
                lists.append(f"{path} is left" for path in place.leftovers()
                             if path not in leftBefore and not (aside and "/.tw-old-" in path))
            needed = {path: item for path, item in originals.items()
                      if path not in excused(outcome) and item.kind != "link"}
            lists.append(untold("Photos", needed, before, after, outcome))
        if place.tree(place.original) != originals:
            lists.append(["an original was changed"])
        lists.append(self.still_wrong_after_a_clean_run(outcome))
        return [fault for faults in lists for fault in faults]

    def still_wrong_after_a_clean_run(self, outcome):
        place = self.place
        if isinstance(place, SyncPlace) and place.set_aside():
            os.replace(place.set_aside()[0], place.top / place.settings)
        again = place.run(watched=False)
        if again.status != 0:
            yield f"the clean run after it: {again}"
        now = place.tree(place.backup)
        for path in sorted(self.goal.keys() | now.keys()):
            there, wanted = now.get(path), self.goal.get(path)
            if there != wanted and not (self.dates != "count" and there and wanted and there.data == wanted.data):
                yield f"after a clean run {path} is {there}"
        if place.leftovers():
            yield f"after a clean run {place.leftovers()} are left"
        yield from self.own_files_wrong()

    def own_files_wrong(self):
        if not isinstance(self.place, SyncPlace):
            return
        own = self.place.own_files()
        settings, history, profile = (own[path] for path in own)
        isKept = settings and not settings["autoSyncOnConnect"] and [pair["id"] for pair in settings["pairs"]] == [PAIR]
        if not isKept and not self.place.set_aside():
            yield f"the settings are {settings}"
        past = json.loads(self.place.past)
        aside = (self.place.top / "Support").glob("history-unreadable-*")
        isKept = history and history[-len(past):] == past or any(parsed(file) == past for file in aside)
        if not isKept:
            yield f"the history has {history and len(history)} runs and not the past ones"
        if profile is None or [pair["sourceRelPath"] for pair in profile["pairs"]] != ["Photos"]:
            yield f"the drive's profile is {profile}"
