"""The rules of a one-way backup, put down once more: what has to become of every item, and what a record must say."""

import functools
import os
import unicodedata
from pathlib import Path

from proof import SECOND


def same_text(name):
    return unicodedata.normalize("NFC", name)


@functools.lru_cache(None)
def folded(name):
    return same_text(name).lower()


def is_ignored(name):
    lower = name.lower()
    return (name.startswith((".", "~$")) or lower in ("thumbs.db", "icon\r") or lower.endswith(".twtmp") or
            lower.startswith("~") and lower.endswith(".tmp"))


def refusal(name, kind):
    if name.endswith(" ") or any(c < " " or c in '"*:<>?\\|\x7f' or "\ud800" <= c <= "\udfff" for c in name):
        return "name"
    return "type" if kind == "file" and name.lower().endswith((".bat", ".jar", ".pid")) else None


def verdict(original, backup):
    newer_by = original.date - backup.date
    if len(original.data) == len(backup.data) and abs(newer_by) <= 2 * SECOND:
        return "up to date"
    return "kept" if newer_by < -2 * SECOND else "copied"


def shown(path):
    return path.encode(errors="surrogateescape").decode(errors="replace")


@functools.lru_cache(None)
def split(path):
    folder, _, name = path.rpartition("/")
    return folder, name


def by_folder_and_name(items):
    found = {}
    for path in items:
        folder, name = split(path)
        found.setdefault((folder, folded(name)), []).append(path)
    return found


def told_by(record):
    skips = [f"{skip['path']} {skip['kind']} {skip['detail']}" for skip in record["skipped"]]
    lists = [record[name] for name in ("keptNewer", "conflicts", "errors", "notes")]
    return [sorted(told) for told in (*lists, skips)]


class Judged:
    """A record against what stood and stands on both sides; all paths begin with the pair's name."""

    def __init__(self, originals, before, after, record, top):
        self.originals, self.before, self.after = originals, before, after
        self.changes = {f"{change['pairName']}/{change['relPath']}": change for change in record["changes"]}
        self.targets = {told: os.path.relpath(change["path"], top) for told, change in self.changes.items()}
        self.told = {kind: {f"{skip['pairName']}/{skip['relPath']}" for skip in record["skipped"]
                            if skip["kind"] == kind} for kind in ("name", "type")}
        self.told |= {"kept": {line.split(" — ")[0] for line in record["keptNewer"]},
                      "conflict": {line.split(" — ")[0] for line in record["conflicts"]},
                      "error": {line.split(": ")[0] for line in record["errors"]}, "copied": set(self.changes)}
        self.seen = {fate: set() for fate in (*self.told, "folder", "up to date")}
        self.places = {"": {""}}  # where in the backup each folder of the originals may be kept
        self.alike = {id(items): by_folder_and_name(items) for items in (originals, before, after)}

    def wrongs(self):
        for path in sorted(self.originals, key=lambda path: path.count("/")):
            item, (folder, name) = self.originals[path], split(path)
            if folder in self.places and not is_ignored(name) and item.kind in ("file", "folder"):
                fate, fault = self.fate(path, item)
                self.seen[fate].add(shown(path))
                if fault:
                    yield f"{path!a}, {fate}: {fault}"
        for fate, told in self.told.items():
            if told != self.seen[fate]:
                yield f"{fate}: told {told}, but seen {self.seen[fate]}"

    def fate(self, path, item):
        """What has become of an item, as far as both sides tell it, and what is wrong with that."""
        told, other_kind = shown(path), "file" if item.kind == "folder" else "folder"
        if refused := refusal(split(path)[1], item.kind):
            return refused, None
        twins, own, other = self.twins(path), self.near(path, item.kind), self.near(path, other_kind)
        if told in self.told["conflict"]:
            return "conflict", None if twins or other and not own else "there is nothing that it clashes with"
        if any(shown(twin) not in self.told["conflict"] for twin in twins) or other and not own:
            return "conflict", "it isn't told"
        if item.kind == "folder":
            self.places[path] = set(own or self.near(path, "folder", self.after))
        if told in self.told["error"]:
            return "error", None if self.is_blocked(path) else "there is no reason"
        if item.kind == "folder":
            return "folder", None if self.places[path] else "it isn't in the backup"
        if told in self.changes:
            return "copied", self.copy_fault(path, item, own)
        fate = "kept" if told in self.told["kept"] else "up to date"
        return fate, None if fate in {verdict(item, self.before[place]) for place in own} else f"of {own} none is"

    def twins(self, path):
        folder, name = split(path)
        return [other for other in self.alike[id(self.originals)][folder, folded(name)]
                if other != path and self.originals[other].kind in ("file", "folder")
                and not refusal(split(other)[1], self.originals[other].kind)]

    def near(self, path, kind, items=None):
        """Where in the backup an item of this kind may be meant: by its own spelling, else by any other."""
        folder, name = split(path)
        items = self.before if items is None else items
        found = [place for parent in self.places[folder]
                 for place in self.alike[id(items)].get((parent, folded(name)), ()) if items[place].kind == kind]
        return [place for place in found if same_text(split(place)[1]) == same_text(name)] or found

    def is_blocked(self, path):
        links = {folded(place) for place, item in self.before.items() if item.kind == "link"}
        return any(folded(str(way)) in links for way in (path, *Path(path).parents))

    def copy_fault(self, path, item, own):
        target = self.targets[shown(path)]
        old = self.before.get(target)
        if self.after.get(target) != item or self.changes[shown(path)]["kind"] != ("updated" if old else "added"):
            return f"it is {self.after.get(target)}, {self.changes[shown(path)]['kind']}"
        if old:
            return None if target in own and verdict(item, old) == "copied" else "that was not to be replaced"
        beside = [place for place in own if split(place)[0] == split(target)[0]]
        return f"there is {beside}" if beside or split(target)[0] not in self.places[split(path)[0]] else None

    def losses(self):
        copied = set(self.targets.values())
        for path, item in self.before.items():
            if path not in self.after or path not in copied and self.after[path] != item:
                yield f"{path!a} was {item} and is {self.after.get(path)}"
        for path in self.after.keys() - self.before.keys() - copied:
            if self.after[path].kind != "folder":
                yield f"{path!a} has come from nowhere"

    def numbers(self):
        made = [path for path in self.after.keys() - self.before.keys() if self.after[path].kind == "folder"]
        copied = [self.after[target] for target in self.targets.values() if target in self.after]
        return {"filesCopied": len(copied), "bytesCopied": sum(len(item.data) for item in copied),
                "foldersCreated": len(made), "upToDate": len(self.seen["up to date"])}
