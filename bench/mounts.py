"""A folder served by `rclone mount`, the way many people have their OneDrive, without a network."""

import os
import subprocess
import time

from volumes import VolumeError, command

START_LIMIT = 60  # seconds
END_LIMIT = 10
CONFIGURATION = "[od]\ntype = alias\nremote = {}\n"
# rclone ends, and unmounts, as soon as the program that started it is gone for whatever reason.
RCLONE = ("setpriv", "--pdeathsig", "TERM", "rclone")
CACHING = ("--vfs-cache-mode", "full", "--vfs-write-back", "500ms")


class RcloneMount:
    """Serves `remote` at `folder`; its cache and its messages are kept below `storage`. All three must be there."""

    def __init__(self, remote, folder, storage):
        self.folder = folder
        self._configuration = os.path.join(storage, "rclone.conf")
        self._cache = os.path.join(storage, "cache")
        self._messages = os.path.join(storage, "messages")
        self._process = None
        with open(self._configuration, "w", encoding="utf-8") as configuration:
            configuration.write(CONFIGURATION.format(remote))

    def start(self):
        """Returns once the folder shows the remote."""
        words = [*RCLONE, "mount", "od:", self.folder, "--config", self._configuration, "--cache-dir", self._cache]
        environment = {"PATH": os.environ["PATH"], "LC_ALL": "C.UTF-8", "HOME": self._cache}
        with open(self._messages, "wb") as messages:
            pipes = {"stdin": subprocess.DEVNULL, "stdout": messages, "stderr": messages}
            # In a session of its own, so that a Ctrl-C doesn't take it away from under the program that is measured.
            self._process = subprocess.Popen(
                words + [*CACHING], env=environment, cwd="/", start_new_session=True, **pipes)
        deadline = time.monotonic() + START_LIMIT
        while not is_mounted(self.folder):
            if self._process.poll() is not None or time.monotonic() > deadline:
                raise VolumeError(f"rclone mount did not come up: {self._complaint()}")
            time.sleep(0.02)

    def end(self):
        """Leaves neither the process nor the mount, busy or not; what has not been uploaded yet is lost. May be called again."""
        if self._process:
            self._process.terminate()
            try:
                self._process.wait(END_LIMIT)
            except subprocess.TimeoutExpired:
                self._process.kill()
                self._process.wait()
        if is_mounted(self.folder):
            command("fusermount3", "-u", "-z", self.folder)

    def _complaint(self):
        with open(self._messages, encoding="utf-8", errors="replace") as messages:
            return messages.read()[-2000:].strip() or "no message"


def is_mounted(folder):
    """Asks the mount table alone, because a mount whose server has died can't be looked at."""
    name = folder.replace("\\", r"\134").replace(" ", r"\040")
    with open("/proc/self/mounts", encoding="utf-8", errors="surrogateescape") as table:
        return any(line.split(" ")[1] == name for line in table)


def rclone_version():
    return command("rclone", "version").splitlines()[0]
