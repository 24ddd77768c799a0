"""Syncs that commands ask the application for, and what becomes of a sync when somebody wants to quit."""

import contextlib
import json
import os
import pathlib
import re
import signal
import subprocess

import dbus.bus

from application import PROGRAM, ApplicationTest
from desktop import wait_for


class Test(ApplicationTest):
    def test_handed_over(self):
        desktop = self.desktop
        desktop.add("Notes", {"a.txt": "one"})
        desktop.add("Other", {"b.txt": "two"})
        application = desktop.open()
        session = {name: os.environ.pop(name) for name in ("DBUS_SESSION_BUS_ADDRESS", "XDG_RUNTIME_DIR", "DISPLAY")}

        def outcome(*arguments):
            run = desktop.run("--sync", *arguments)
            return run.returncode, run.stdout, run.stderr

        # As from cron or over ssh, and then with the bus of the session.
        self.assertEqual(outcome("Notes"), (0, "1 file copied (3 bytes)\n", ""))
        self.assertEqual(outcome("none"), (2, "", "There is no folder “none” in the list (see tarnwick-basic --list).\n"))
        printed = json.loads(outcome("--json")[1])
        self.assertEqual(printed, wait_for("the record", lambda: len(desktop.history()) == 2 and desktop.history()[0]))
        self.assertEqual((printed["filesCopied"], printed["trigger"]), (1, "manual"))
        (desktop.home / "Other/b.txt").unlink()
        (desktop.home / "Other").rmdir()
        os.environ.update(session)
        missing = f"Other: the folder is missing on the drive ({desktop.home}/Other)"
        self.assertEqual(outcome("Other"), (1, f"1 problem\n{missing}\n", ""))
        application.end()
        self.assertEqual(len(desktop.history()), 3)

    def test_that_somebody_waits_for(self):
        desktop = self.desktop

        def command(*arguments):
            return desktop.start(PROGRAM, "--sync", *arguments, stderr=subprocess.PIPE, text=True)

        def wait_for_syncs(number):
            desktop.wait_for_log("Sync started", number)

        with self.slow_folder():
            # The application that is started at login waits for a command's sync.
            alone = command()
            wait_for_syncs(1)
            application = desktop.launch("--login")
            wait_for("its look at the lock", lambda: is_open(desktop.lock, application))
            alone.end(130, signal.SIGINT)
            desktop.wait_for_log("started at login\n")
            first = command()
            wait_for_syncs(2)
            second = desktop.run("--sync", "--json")
            self.assertEqual((second.returncode, second.stdout, second.stderr),
                             (2, "", "A sync is already running.\n"))
            first.end(130, signal.SIGINT)
            self.assertEqual(first.stderr.read(), "No longer waiting; Tarnwick Basic goes on with the sync.\n")
            self.assertEqual(desktop.log().count("Sync finished"), 1)
            application.end()
            self.assertTrue(desktop.history()[0]["cancelled"])
            # Who waits when the application ends is told, too.
            application = desktop.open()
            third = command()
            wait_for_syncs(3)
            application.end(-signal.SIGKILL, signal.SIGKILL)
            third.await_end(1)
            self.assertEqual(third.stderr.read(), "Tarnwick Basic ended before the sync had finished.\n")
            # The display goes away when somebody logs out.
            application = desktop.launch("--action", "sync-now")
            wait_for_syncs(4)
            desktop.display.kill()
            application.await_end(1)
            self.assertTrue(desktop.history()[0]["cancelled"])
            self.assertTrue(desktop.log().endswith("Sync finished: Sync cancelled after 0 files\n"), desktop.log())

    def test_stopped_and_quit(self):
        desktop = self.desktop
        os.environ["DBUS_SYSTEM_BUS_ADDRESS"] = desktop.start_bus("system")
        system = dbus.bus.BusConnection(os.environ["DBUS_SYSTEM_BUS_ADDRESS"])
        desktop.start("/usr/bin/python3", "-m", "dbusmock", "--system", "--template", "logind")
        wait_for("logind", lambda: system.name_has_owner("org.freedesktop.login1"))

        def reasons_to_stay_awake():
            held = system.call_blocking("org.freedesktop.login1", "/org/freedesktop/login1",
                                        "org.freedesktop.login1.Manager", "ListInhibitors", "", ())
            return [str(reason) for what, who, reason, *_ in held]

        def wait_for_percentage():
            wait_for("the percentage", lambda: "Syncing “Film_1 & 2” — " in " ".join(desktop.menu()))

        def percentage():
            return int(re.fullmatch("Tarnwick Basic is syncing ([0-9]+)%", desktop.tooltip())[1])

        def quit_and(answer):
            desktop.choose("Quit Tarnwick Basic")
            desktop.press("push button", answer)
            wait_for("the question's end", lambda: not desktop.node("push button", answer))

        with self.slow_folder():
            application = desktop.launch()
            desktop.start_panel()
            desktop.choose("Sync Now")
            wait_for_percentage()
            self.assertEqual(reasons_to_stay_awake(), ["Tarnwick Basic is syncing your folders"])
            desktop.choose("Stop Sync")
            wait_for("leave to fall asleep", lambda: not reasons_to_stay_awake())
            self.assertEqual([run["cancelled"] for run in desktop.history()], [True])
            desktop.choose("Sync Now")
            wait_for_percentage()
            quit_and("Keep Syncing")
            done = percentage()
            wait_for("more of it", lambda: percentage() > done + 8)
            self.assertIsNone(application.poll())
            quit_and("Stop and Quit")
            successor = desktop.launch()  # must not be handed over to an application that ends
            application.await_end()
            wait_for("the successor's window", desktop.windows)
            successor.end()
        self.assertEqual([run["cancelled"] for run in desktop.history()], [True, True])
        self.assertEqual(list(desktop.cloud.rglob("*.*")), [])


def is_open(file, process):
    with contextlib.suppress(OSError):
        return any(link.resolve() == file for link in pathlib.Path(f"/proc/{process.pid}/fd").iterdir())
