"""The status item with its menu, and the notifications."""

from application import ApplicationTest
from desktop import wait_for
from notifications import NotificationServer


class Test(ApplicationTest):
    def test_menu(self):
        desktop = self.desktop
        desktop.add("Notes", {"a & b.txt": "one"})
        application = desktop.open()
        desktop.start_panel()  # after the program, as it can be at login
        wait_for("readiness", lambda: "Ready: 1 folder selected" in desktop.menu())
        self.assertEqual(list(desktop.menu()),
                         ["Ready: 1 folder selected", "--- 1", "Sync Now", "--- 3", "Open Tarnwick Basic…",
                          "Sync When Drive Connects", "--- 6", "Quit Tarnwick Basic"])
        self.assertFalse(desktop.menu()["Ready: 1 folder selected"]["enabled"])
        self.assertEqual(desktop.tooltip(), "Tarnwick Basic")
        desktop.choose("Sync When Drive Connects")
        wait_for("the setting", lambda: desktop.settings()["autoSyncOnConnect"] is False)
        wait_for("the mark", lambda: desktop.menu()["Sync When Drive Connects"]["toggle-state"] == 0)
        desktop.choose("Sync Now")
        last = wait_for("the run", lambda: [label for label in desktop.menu() if label.startswith("Last sync: Today")])
        self.assertTrue(last[0].endswith(" — 1 file copied (3 bytes)"), last)
        self.assertEqual(desktop.tooltip(), "Tarnwick Basic — last sync " + last[0][11:].replace(" — ", ": "))
        self.assertEqual((desktop.cloud / "Notes/a & b.txt").read_text(), "one")
        self.close_window(has_notice=False)
        desktop.choose(last[0])
        desktop.find("list", "Syncs, newest first")
        desktop.choose("Quit Tarnwick Basic")
        application.await_end()

    def test_notifications(self):
        desktop, server = self.desktop, NotificationServer(self.desktop.bus)
        desktop.add("R&D <b>", {"a.txt": "one"})
        desktop.open()
        desktop.start_panel()
        wait_for("the status item", desktop.item)
        desktop.run("--sync")  # watched in the open window: no notification
        wait_for("the end of the first run", lambda: "last sync" in desktop.tooltip())
        self.close_window()
        (desktop.home / "R&D <b>").rename(desktop.home / "away")
        desktop.run("--sync")
        wait_for("a notification", lambda: server.shown)
        self.assertEqual(server.shown, [{"title": "Tarnwick Basic finished with problems", "body": "1 problem",
                                         "actions": ["default", "Show Activity"],
                                         "hints": {"desktop-entry": "org.tarnwick.Basic", "sound-name": "complete"}}])
        server.ActionInvoked(77, "default")  # somebody else's
        server.ActionInvoked(1, "default")
        wait_for("Activity", lambda: desktop.windows() and desktop.node("list", "Syncs, newest first"))
        self.close_window()
        server.ActionInvoked(77, "default")
        desktop.run("--sync")
        wait_for("a second notification", lambda: len(server.shown) == 2)
        self.assertFalse(desktop.windows())
        # Switched off, there are none: the next one to come is that of a later run.
        for is_on in (False, True):
            desktop.tell("--action", "show-settings")
            desktop.press("check box", "Show a notification when a sync finishes")
            wait_for("the setting", lambda: desktop.settings()["notifications"] is is_on)
            self.close_window()
            runs = len(desktop.history())
            desktop.run("--sync")
            wait_for("the run", lambda: len(desktop.history()) > runs)
            (desktop.home / "R&D <b>").mkdir(exist_ok=True)
        wait_for("the last notification", lambda: len(server.shown) == 3)
        self.assertEqual(server.shown[2]["body"], "Everything was already up to date")
