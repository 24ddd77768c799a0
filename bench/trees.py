"""The trees to back up: made from a seed, changed in a known way, and compared as a whole afterwards."""

import os
import random
import typing

FILES_PER_FOLDER = 100
LARGEST_SMALL_FILE = 16 * 1024
CHANGED_SHARE = 100  # one file in so many
OLDEST, NEWEST = 1_100_000_000 * 10**9, 1_700_000_000 * 10**9  # 2004 to 2023, in nanoseconds
MONTH = 30 * 24 * 3600 * 10**9  # so far beyond two seconds that no program's tolerance matters
ORDINARY_NAMES = ("IMG_{}.jpg", "IMG_{}.JPG", "DSC{}.NEF", "Scan {}.pdf", "Letter {}.docx", "notes-{}.txt")
UNUSUAL_NAMES = ("Übung {}.odt", "Cafe\u0301 {}.jpg", "Ελλάδα {}.JPG", "写真 {}.png")  # one of them decomposed
ALBUMS = ("Holiday", "Été", "Work", "Birthday", "Garden", "Straße")


class PlannedFile(typing.NamedTuple):
    path: str  # below the top of the tree
    size: int
    mtime: int  # nanoseconds since 1970


class TreeFacts(typing.NamedTuple):
    """What a whole tree amounts to; two trees with equal facts have the same names, sizes and times."""

    files: int
    folders: int
    bytes: int
    fingerprint: int


def small_files(count, mean_size):
    """Yields the same `count` files on every call, folder by folder; sizes lean towards the small ones."""
    exponent = LARGEST_SMALL_FILE / mean_size - 1
    folders = -(-count // FILES_PER_FOLDER)
    width = max(2, round(folders ** (1 / 3) + 0.49))
    dice = random.Random(20240229)
    for number in range(count):
        album = number // FILES_PER_FOLDER
        year, part, trip = album // width**2, album // width % width, album % width
        folder = f"{2004 + year}/{part + 1:02} {ALBUMS[part % len(ALBUMS)]}/Trip {trip + 1}"
        name = dice.choice(UNUSUAL_NAMES if number % 50 == 7 else ORDINARY_NAMES).format(1000 + number)
        mtime = dice.randrange(OLDEST, NEWEST)
        yield PlannedFile(f"{folder}/{name}", int(LARGEST_SMALL_FILE * dice.random() ** exponent), mtime)


def large_file(size):
    return [PlannedFile("Film.mov", size, OLDEST)]


def write(top, planned_files):
    """Writes the files below `top` with random contents."""
    noise = memoryview(os.urandom(4 << 20))
    previous_folder = None
    for number, planned in enumerate(planned_files):
        path = f"{top}/{planned.path}"
        folder = os.path.dirname(path)
        if folder != previous_folder:
            os.makedirs(folder, exist_ok=True)
            previous_folder = folder
        descriptor = os.open(path, os.O_WRONLY | os.O_CREAT | os.O_TRUNC, 0o644)
        try:
            start = number * 61 % (len(noise) - LARGEST_SMALL_FILE)
            written = os.write(descriptor, noise[start:start + planned.size])
            while written < planned.size:
                written += os.write(descriptor, random.randbytes(min(planned.size - written, len(noise))))
            os.utime(descriptor, ns=(planned.mtime, planned.mtime))
        finally:
            os.close(descriptor)


def changed(planned_files):
    """One file in a hundred as it is after an edit: a newer time, and in every second case another size."""
    for number, planned in enumerate(planned_files):
        if number % CHANGED_SHARE == 37:
            growth = 100 if number // CHANGED_SHARE % 2 else 0
            size = min(planned.size + growth, LARGEST_SMALL_FILE)
            yield PlannedFile(planned.path, size, planned.mtime + MONTH)


def read_facts(top):
    """Walks the whole tree, which also leaves its names, sizes and times in the cache."""
    files = folders = total = fingerprint = 0
    pending = [""]
    while pending:
        folder = pending.pop()
        with os.scandir(top + folder) as entries:
            for entry in entries:
                path = f"{folder}/{entry.name}"
                if entry.is_dir(follow_symlinks=False):
                    folders += 1
                    fingerprint += hash((path, "folder"))
                    pending.append(path)
                    continue
                info = entry.stat(follow_symlinks=False)
                files += 1
                total += info.st_size
                fingerprint += hash((path, info.st_size, info.st_mtime_ns))
    return TreeFacts(files, folders, total, fingerprint & 0xFFFF_FFFF_FFFF_FFFF)


def read_contents(top):
    """Reads every file once, so that every run finds the same warm cache."""
    for folder, _, names in os.walk(top):
        for name in names:
            with open(os.path.join(folder, name), "rb", buffering=0) as file:
                while file.read(1 << 20):
                    pass
