"""A folder served as it is, for the mounts of tests, which change what they want to be different."""

import os

from fusepy import Operations


class Passthrough(Operations):
    use_ns = True

    def __init__(self, top):
        self.top = top

    def inside(self, words):
        """The words of a call with its paths made those of the folder."""
        return [self.top + word if str(word).startswith("/") else word for word in words]

    def getattr(self, path, handle=None):
        facts = os.lstat(path)
        names = [name for name in dir(facts) if name.startswith("st_")]
        return {name: getattr(facts, name + "_ns", getattr(facts, name)) for name in names}

    def create(self, path, mode):
        return os.open(path, os.O_RDWR | os.O_CREAT | os.O_EXCL, mode)

    def readdir(self, path, handle):
        return [".", ".."] + os.listdir(path)

    def read(self, path, size, offset, handle):
        return os.pread(handle, size, offset)

    def write(self, path, data, offset, handle):
        return os.pwrite(handle, data, offset)

    def truncate(self, path, length, handle=None):
        os.truncate(path, length)

    def utimens(self, path, times=None):
        os.utime(path, ns=times)

    def release(self, path, handle):
        os.close(handle)

    chmod = staticmethod(os.chmod)
    chown = staticmethod(os.chown)
    mkdir = staticmethod(os.mkdir)
    open = staticmethod(os.open)
    rename = staticmethod(os.rename)
    rmdir = staticmethod(os.rmdir)
    unlink = staticmethod(os.unlink)
