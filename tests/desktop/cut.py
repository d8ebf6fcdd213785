#!/usr/bin/python3
"""Super+X in real file managers: what is selected goes to the trash, and its entry into the history."""

import plistlib
import time
import unittest
from pathlib import Path
from urllib.parse import quote

from harness import applications
from harness.desktop import PrivateDesktop
from harness.processes import Failure, wait_for
from harness.vellumix import Vellumix

# X by its place and not by its letter.
CUT = "super+53"


class Cutting(unittest.TestCase):
    """`settings`: what the program finds there."""

    settings = {}

    def setUp(self):
        # The file managers have a trash by a service that is started on demand.
        self.desktop = PrivateDesktop(services=True)
        self.addCleanup(self.desktop.close)
        self.vellumix = Vellumix(self.desktop)
        self.vellumix.settings.parent.mkdir()
        self.vellumix.settings.write_bytes(plistlib.dumps(self.settings))
        self.vellumix.start()
        self.trash = self.desktop.data / "Trash/files"

    def keys(self, *names):
        self.desktop.run("xdotool", "key", *names)


class Cut(Cutting):
    def filled(self, name, entries):
        """A folder with these entries; the name of a folder ends in a slash."""
        folder = self.desktop.home / name
        folder.mkdir()
        for entry in entries:
            if entry.endswith("/"):
                (folder / entry).mkdir()
                (folder / entry / "inside.txt").write_text(f"inside {entry}")
            else:
                (folder / entry).write_text(f"content of {entry}")
        return folder

    def file_manager(self, program, folder):
        options = {"pcmanfm": ["--no-desktop"], "pcmanfm-qt": ["--new-window"]}.get(program, [])
        return applications.Window(self.desktop, program, program, *options, folder)

    def until_all_are_selected(self, window, folder):
        """No program says when its list of files is there; what is copied shows it."""
        count = len(list(folder.iterdir()))
        def selected():
            window.keys("ctrl+a", "ctrl+c")
            try:
                wait_for("the copy", lambda: (applications.clipboard(self.desktop, "text/uri-list") or "").count(
                    f"file://{quote(str(folder))}/") == count, seconds=0.5)
                return True
            except Failure:
                return False
        wait_for("all files are selected", selected, seconds=20)

    def until_cut(self, folder, entries, asks):
        def is_done():
            if asks:
                self.keys("Return")
                time.sleep(0.2)
            return not list(folder.iterdir())
        wait_for(f"{folder.name} is empty", is_done)
        for entry in entries:
            self.assertTrue((self.trash / entry.rstrip("/")).exists(), entry)

    def test_one_file_three_files_and_a_folder(self):
        for program, asks in (("thunar", False), ("pcmanfm", True), ("pcmanfm-qt", False)):
            for name, entries in (("one", ["päper & pen.txt"]), ("three", ["a.txt", "b.txt", "c.txt"]), ("folder", ["album/"])):
                entries = [f"{program} {entry}" for entry in entries]
                folder = self.filled(f"{program} {name}", entries)
                with self.subTest(program=program, what=name), self.file_manager(program, folder) as window:
                    self.until_all_are_selected(window, folder)
                    # So that the cut's own copy isn't a repetition.
                    self.vellumix.until_recorded("text", lambda: applications.copy_with_xclip(
                        self.desktop, f"before {folder.name}"))
                    self.keys(CUT)
                    wait_for("an entry", lambda: self.vellumix.status()["lastCapture"]["kind"] == "file")
                    self.until_cut(folder, entries, asks)

    def test_held_for_two_seconds_it_is_one_cut_and_without_a_selection_none(self):
        folder = self.filled("held", ["a.txt"])
        with self.file_manager("thunar", folder) as window:
            self.until_all_are_selected(window, folder)
            window.keys("Escape")
            self.keys(CUT)
            time.sleep(1)
            self.assertEqual([path.name for path in folder.iterdir()], ["a.txt"])
            self.until_all_are_selected(window, folder)
            self.desktop.run("xdotool", "keydown", "super", "keydown", "53")
            time.sleep(2)
            self.assertEqual([path.name for path in folder.iterdir()], ["a.txt"])
            self.desktop.run("xdotool", "keyup", "53", "keyup", "super")
            self.until_cut(folder, ["a.txt"], asks=False)


class OtherPrograms(Cutting):
    # Shift+X, which is typed everywhere else.
    settings = {"settings.cutShortcut": b'{"keyCode":7,"modifiers":512}'}

    def test_the_shortcut_is_theirs_as_if_nobody_had_looked(self):
        path = self.desktop.home / "entry.txt"
        script = Path(applications.__file__).with_name("text-entry.py")

        def typed():
            return path.read_text() if path.exists() else ""

        def until_typed(text):
            wait_for(f"{text!r} is typed; it is {typed()!r}", lambda: typed() == text)

        def windows():
            return self.desktop.run("xdotool", "search", "--onlyvisible", "--class", "text-entry.py").stdout.split()
        with applications.Window(self.desktop, "text-entry.py", "/usr/bin/python3", script, path):
            self.assertEqual(self.vellumix.status()["cut"], "on")
            self.desktop.run("xdotool", "key", "--delay", "0", "shift+53", "shift+53", "shift+53", "y")
            until_typed("XXXy")
            self.keys("Caps_Lock", "shift+53", "Caps_Lock", "53")
            until_typed("XXXyxx")
            # Held, so that the server repeats it.
            self.keys("ctrl+a")
            self.desktop.run("xdotool", "keydown", "shift", "keydown", "53")
            wait_for("it is repeated", lambda: len(typed()) > 4)
            self.desktop.run("xdotool", "keyup", "53", "keyup", "shift")
            self.assertEqual(typed().strip("X"), "")
            self.keys("ctrl+a", "y")
            until_typed("y")
            # While the button is down, as in a drag.
            window, = windows()
            self.desktop.run("xdotool", "mousemove", "--window", window, "40", "10", "mousedown", "1")
            self.keys("shift+53")
            until_typed("yX")
            self.desktop.run("xdotool", "mouseup", "1")
            # A menu has the keyboard to itself, and stays open.
            self.desktop.run("xdotool", "click", "3")
            wait_for("a menu", lambda: len(windows()) == 2)
            self.keys("shift+53")
            time.sleep(0.3)
            self.assertEqual(len(windows()), 2)
            self.keys("Escape")
            wait_for("the menu is gone", lambda: len(windows()) == 1)
            self.keys("End", "shift+53")
            until_typed("yXX")
        self.assertFalse(self.trash.exists())


if __name__ == "__main__":
    unittest.main(verbosity=2)
