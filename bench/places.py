"""Where a case keeps its backup. It decides where our program may put its temporary files, and so how fast it is."""

import typing

import volumes
from mounts import RcloneMount


class Place(typing.NamedTuple):
    name: str
    base: str  # the folder below which its volumes are mounted
    backup: str  # where the files are in the end, below the top of the volume
    home: str | None = None  # the programs' home folder, below the top of the volume; None for one on another disk
    is_remote: bool = False  # the volume holds what `rclone mount` shows
    is_volume: bool = False  # a plain folder is no substitute
    times_stored: int = 1  # how many files of the volume one file of the backup takes


DRIVE = Place("a drive below /mnt", "/mnt", "backup")
HOME = Place("the disk of the home folder", "/srv", "home/OneDrive/backup", home="home")
SECOND_DISK = Place("a second disk below /srv", "/srv", "OneDrive/backup", is_volume=True)
RCLONE = Place(
    "an rclone mount with a full cache, where `sync -f` does nothing: only ours waits for what it has written",
    "/srv", "remote/backup", is_remote=True, times_stored=3)


class Target(typing.NamedTuple):
    """The folders of one run, or of several that copy nothing."""

    volume: volumes.Volume
    backup: str  # as the programs are told
    stored: str  # where its files are in the end: the same folder, except on a mount of a remote
    searched: str  # where, outside `stored`, nothing temporary may be left
    home: str | None


def open_target(place, volume):
    """The target on a volume, which may hold a backup already. It goes with the volume."""
    stored = volume.folder(place.backup)
    if place.is_remote:
        return open_remote(volume, stored)
    home = place.home and volume.folder(place.home)
    return Target(volume, stored, stored, volume.top, home)


def open_remote(volume, stored):
    remote = volume.folder("remote")
    mount = RcloneMount(remote, volume.folder("OneDrive"), volume.folder("rclone"))
    volume.guests.append(mount)
    mount.start()
    return Target(volume, mount.folder + "/backup", stored, remote, None)
