"""The window on a desktop: its keys, its place, what a screen reader finds, and the file manager that it asks."""

import os

import dbus.service

from application import PROGRAM, ApplicationTest
from desktop import Desktop, said, wait_for

CONTROLS = {"push button", "check box", "toggle button", "radio button", "text", "list", "list item", "combo box",
            "menu item", "progress bar", "entry", "slider"}


class FileManager(dbus.service.Object):
    """Takes down what it is asked to show."""

    interface = "org.freedesktop.FileManager1"

    def __init__(self, bus):
        self.shown = []
        super().__init__(dbus.service.BusName(self.interface, bus), "/org/freedesktop/FileManager1")

    @dbus.service.method(interface, in_signature="ass")
    def ShowItems(self, uris, token):
        self.shown += map(str, uris)


class Test(ApplicationTest):
    def test_without_a_status_area(self):
        desktop = self.desktop

        def is_minimised():
            windows = said("xdotool", "search", "--name", "^Tarnwick Basic$").split()
            return any("Iconic" in said("xprop", "-id", window, "WM_STATE") for window in windows)

        application = desktop.open()
        desktop.find("push button", "Sync Now")
        # Minimised, which a panel brings back, and not hidden.
        wait_for("the minimised window", lambda: desktop.key("ctrl+h") or
                 wait_for("it", is_minimised, patience=1, may_fail=True))
        for has_notice in (True, False):
            desktop.tell()
            wait_for("the window again", desktop.windows)
            desktop.find("push button", "Sync Now")
            self.close_window(has_notice)
        application.end()

    def test_menu_keys(self):
        desktop = self.desktop
        desktop.open()
        for key, entry in (("F10", "About Tarnwick Basic"), ("alt+f", "Add Folder…"), ("alt+e", "Undo"),
                           ("alt+w", "Minimize"), ("alt+t", "Settings…")):
            wait_for(f"{entry} after {key}", lambda: desktop.key(key) or
                     wait_for("it", lambda: desktop.node("menu item", entry), patience=1, may_fail=True))
            desktop.key("Escape", "Escape")
            wait_for(f"the end of the menu of {key}", lambda: not desktop.node("menu item", entry), 5)
        desktop.key("alt+t", "s")
        desktop.find("push button", "Open Log")

    def test_screen_reader(self):
        """Every control has a name."""
        desktop = self.desktop
        desktop.add("Notes", {"list.txt": "one", "run.bat": "two"})
        desktop.add("Photos", {})
        desktop.run("--sync")
        desktop.open()
        controls = set()
        for tab, landmark in (("Activity", ("list", "Syncs, newest first")), ("Settings", ("push button", "Open Log")),
                              ("Folders", ("push button", "Add Folder…")), ("", ("push button", "Choose Existing…"))):
            desktop.press(*(("radio button", tab) if tab else ("push button", "Add Folder…")))
            desktop.find(*landmark)
            controls |= {(node.getRoleName(), node.name) for node in desktop.nodes()
                         if node.getRoleName() in CONTROLS}
        self.assertEqual([role for role, name in controls if not name], [])
        self.assertLessEqual({("check box", "Sync “Notes”"), ("check box", "Sync “Photos”"), ("push button", "Review"),
                              ("text", "Name of the folder in OneDrive")}, controls)

    def test_file_manager(self):
        desktop = self.desktop
        desktop.offer("org.freedesktop.FileManager1", "/bin/false")
        (desktop.top / "xdg-open").symlink_to("/bin/false")
        os.environ["PATH"] = f"{desktop.top}:{os.environ['PATH']}"
        desktop.launch("--action", "show-settings")
        desktop.press("push button", "Show Settings Folder")
        desktop.find("label", "That couldn't be opened")
        desktop.press("push button", "OK")
        manager = FileManager(desktop.bus)
        desktop.press("push button", "Show Settings Folder")
        wait_for("the request", lambda: manager.shown)
        self.assertEqual(manager.shown, [(desktop.settings_folder / "config.json").as_uri()])

    def test_frame(self):
        """Is kept, whether the window is closed before the end or not."""
        desktop = self.desktop
        for end in (self.close_window, lambda: None):
            application = desktop.open()
            before = desktop.frame()
            window = desktop.window_ids()[0]
            said("xdotool", "windowsize", window, "1010", "790", "windowmove", window, "40", "50")
            moved = wait_for("the new frame", lambda: desktop.frame()[:2] != before[:2] and
                             desktop.frame()[2] - desktop.frame()[0] >= 1010 and desktop.frame())
            end()
            application.end()
            application = desktop.open()
            wait_for("the frame of before", lambda: desktop.frame() == moved)
            application.end()
            (desktop.settings_folder / "windows.ini").unlink()

    def test_small_screens(self):
        self.addCleanup(os.environ.pop, "QT_SCALE_FACTOR", None)
        for screen, scales in (("1366x768", ["1"]), ("1400x1000", ["1.5"]), ("1920x1080", ["1", "2"])):
            with Desktop(PROGRAM, screen) as desktop:
                desktop.start_panel()
                area = wait_for("the panel", desktop.work_area)

                def is_inside():
                    inner = desktop.frame()
                    return all(inner[i] >= area[i] and inner[i + 2] <= area[i + 2] for i in (0, 1))

                for scale in scales:
                    os.environ["QT_SCALE_FACTOR"] = scale
                    application = desktop.open()
                    wait_for(f"a window inside {area} at {scale}", is_inside, 5)
                    if scale != scales[-1]:  # the next one meets the frame of a larger screen
                        said("xdotool", "windowsize", desktop.window_ids()[0], "1800", "980")
                        wait_for("the new size", lambda: desktop.frame()[2] - desktop.frame()[0] >= 1800)
                    application.end()
