"""File systems to measure on: sparse ext4 images, loop-mounted, and all of it removed at the end.

Every copying run gets a fresh one: after the removal of thousands of files the next creates on the same file
system can be several times slower.
"""

import os
import shutil
import signal
import subprocess
import sys
import tempfile
import time
import typing

MOUNT_OPTIONS = "loop,noatime,noinit_itable"  # no inode tables zeroed in the background of a timed run
HEADROOM = 2 << 30
BLOCK = 4096
STOP_SIGNALS = signal.SIGINT, signal.SIGTERM, signal.SIGHUP


class VolumeError(Exception):
    pass


class Volume(typing.NamedTuple):
    """One file system, usable below `top`; a plain folder where nothing can be mounted (`image` is None)."""

    top: str
    image: str | None
    guests: list  # what has to end() before the file system can go; they take being told twice

    def folder(self, name):
        path = os.path.join(self.top, name)
        os.makedirs(path, exist_ok=True)
        return path


class Volumes:
    """Makes volumes; as a context manager it removes all of them and its own folders, however it is left."""

    def __init__(self, directory):
        self._base = directory
        self._volumes = []
        self._count = 0
        self.directory = None  # on the main disk: the images and whatever else a run has to store
        self._mounts = {}  # for each folder below which volumes are mounted our own folder there
        self.obstacle = None  # why nothing can be mounted, or None

    def __enter__(self):
        self.directory = tempfile.mkdtemp(prefix="tarnwick-bench-", dir=self._base)
        try:
            self.discard(self.fresh(0, 0))
        except (OSError, VolumeError) as error:
            self.obstacle = str(error)
        except BaseException:
            self.__exit__()
            raise
        return self

    def __exit__(self, *_):
        for stop in STOP_SIGNALS:  # a second Ctrl-C must not leave mounts behind
            signal.signal(stop, signal.SIG_IGN)
        for volume in reversed(self._volumes[:]):
            try:
                self.discard(volume)
            except (OSError, VolumeError) as error:
                print(f"could not be removed: {error}", file=sys.stderr)
        for folder in self._mounts.values():
            os.rmdir(folder)
        shutil.rmtree(self.directory)

    def fresh(self, data_bytes, files, base="/mnt"):
        """An empty volume below `base` with ample room for so many files; `data_bytes` counts whole blocks."""
        volume = self._new_volume(base)
        if volume.image is None:
            return volume
        with open(volume.image, "wb") as image:
            image.truncate(2 * data_bytes + files * 1024 + HEADROOM)
        command("mkfs.ext4", "-q", "-F", "-m", "0", "-N", str(files + files // 4 + 10_000), volume.image)
        self._mount(volume)
        return volume

    def copy(self, prepared):
        """A new volume with the contents of `prepared`, which must have been parked."""
        volume = self._new_volume()
        if volume.image is None:
            command("cp", "-a", prepared.top + "/.", volume.top)
            return volume
        command("cp", "--reflink=auto", "--sparse=always", prepared.image, volume.image)
        self._mount(volume)
        return volume

    def seal(self, volume):
        """From here on nobody can write to `volume`, and its cache stays as it is."""
        if volume.image:
            command("mount", "-o", "remount,ro", volume.top)

    def park(self, volume):
        if volume.image:
            command("umount", volume.top)

    def discard(self, volume):
        for guest in volume.guests:
            guest.end()
        if volume.image is None:
            shutil.rmtree(volume.top, ignore_errors=True)
        else:
            if os.path.ismount(volume.top):
                unmount_patiently(volume.top)
            if os.path.isdir(volume.top):
                os.rmdir(volume.top)
            if os.path.exists(volume.image):
                os.unlink(volume.image)
        self._volumes.remove(volume)

    def _new_volume(self, base="/mnt"):
        self._count += 1
        name = f"volume-{self._count}"
        if self.obstacle:
            volume = Volume(os.path.join(self.directory, name), None, [])
        else:
            image = os.path.join(self.directory, name + ".img")
            volume = Volume(os.path.join(self._own_folder(base), name), image, [])
        self._volumes.append(volume)
        os.mkdir(volume.top)
        return volume

    def _own_folder(self, base):
        if base not in self._mounts:
            self._mounts[base] = tempfile.mkdtemp(prefix="tarnwick-bench-", dir=base)
            os.chmod(self._mounts[base], 0o755)
        return self._mounts[base]

    def _mount(self, volume):
        command("mount", "-t", "ext4", "-o", MOUNT_OPTIONS, volume.image, volume.top)

    def describe(self):
        disk = command("findmnt", "-n", "-o", "FSTYPE", "-T", self.directory).strip()
        if self.obstacle:
            return f"{disk}, a plain folder (no fresh file system per run: {self.obstacle})"
        return f"ext4 (noatime) in a fresh loop-mounted image per copying run, the images on {disk}"


def command(*words):
    result = subprocess.run(words, capture_output=True, text=True, errors="replace")
    if result.returncode != 0:
        raise VolumeError(f"{' '.join(words)}: {result.stderr.strip() or result.returncode}")
    return result.stdout


def unmount_patiently(top):
    """A child just killed may hold its files a moment longer; in the end the mount goes, busy or not."""
    for _ in range(50):
        if subprocess.run(["umount", top], capture_output=True).returncode == 0:
            return
        time.sleep(0.2)
    command("umount", "-l", top)


def settle():
    """Leaves the disk quiet: nothing is waiting to be written."""
    os.sync()
    time.sleep(1)
