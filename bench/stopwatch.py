"""Runs one command and prints: seconds, seconds of `sync -f` after it, CPU seconds, peak KiB, wait status.

A process of its own, because the kernel counts the memory of whatever starts a program as the program's: a
peak measured from here is at least what this bare interpreter needs, 8 to 10 MB. For a program that forks it
is the peak of its largest process, not their sum.

Usage: python3 -I -S stopwatch.py OUTPUT FLUSHED-FOLDER COMMAND [ARGUMENT ...]
"""

import os
import sys
import time


def main():
    output, flushed_folder, *command = sys.argv[1:]
    to_output = (os.POSIX_SPAWN_OPEN, 1, output, os.O_WRONLY | os.O_CREAT | os.O_TRUNC, 0o600)
    started = time.monotonic()
    child = os.posix_spawnp(command[0], command, os.environ, file_actions=[to_output])
    _, status, usage = os.wait4(child, 0)
    ended = time.monotonic()
    flush = os.posix_spawnp("sync", ["sync", "-f", flushed_folder], os.environ)
    _, flush_status = os.waitpid(flush, 0)
    flushed = time.monotonic()
    cpu = usage.ru_utime + usage.ru_stime
    print(ended - started, flushed - ended, cpu, usage.ru_maxrss, status or flush_status)


main()
