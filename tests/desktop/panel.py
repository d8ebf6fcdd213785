#!/usr/bin/python3
"""The panel among real windows: opened by a command, worked by keys and pointer, and gone again."""

import os
import unittest
from pathlib import Path

from harness import applications
from harness.desktop import PrivateDesktop
from harness.processes import wait_for
from harness.vellumix import Vellumix


class Panel(unittest.TestCase):
    def setUp(self):
        self.desktop = PrivateDesktop()
        self.addCleanup(self.desktop.close)
        self.vellumix = Vellumix(self.desktop)

    def until(self, state):
        wait_for(f"the panel is {state}", lambda: self.vellumix.status()["panel"] == state)

    def keys(self, *names):
        self.desktop.run("xdotool", "key", *names)

    def picture(self, name):
        if pictures := os.environ.get("VELLUMIX_PICTURES"):
            self.desktop.picture(Path(pictures) / f"{name}.png")

    def test_a_person_finds_an_entry_by_typing_and_takes_it(self):
        self.vellumix.start()
        for text in ("the blue folder", "a recipe for bread", "https://example.org/bread"):
            self.vellumix.until_recorded("link" if "://" in text else "text",
                                         lambda text=text: applications.copy_with_xclip(self.desktop, text))
        with applications.Window(self.desktop, "mousepad", "mousepad", "--disable-server"):
            front = self.desktop.run("xdotool", "getactivewindow").stdout
            self.assertEqual(self.vellumix.command("toggle").returncode, 0)
            self.until("visible")
            self.desktop.run("xdotool", "type", "BREAD")
            self.picture("panel-search")
            self.assertEqual(self.desktop.run("xdotool", "getactivewindow").stdout, front,
                             "the application in front stays in front")
            self.keys("Down", "Return")
            self.until("hidden")
            wait_for("the entry is on the clipboard",
                     lambda: applications.clipboard(self.desktop) == "a recipe for bread")
            self.assertEqual(self.vellumix.count(), 3, "what the program writes itself isn't recorded")

    def test_it_opens_with_the_program_and_closes_in_every_way(self):
        self.assertEqual(self.vellumix.command("hide").returncode, 3, "nothing to hide")
        self.assertEqual(self.vellumix.command("toggle").returncode, 0)
        wait_for("the program is up", lambda: self.vellumix.command("status", "--json").returncode == 0)
        self.until("visible")
        closings = {
            "escape": lambda: self.keys("Escape"),
            "a press elsewhere": lambda: self.desktop.run("xdotool", "mousemove", "5", "5", "click", "1"),
            "hide": lambda: self.vellumix.command("hide"),
            "toggle": lambda: self.vellumix.command("toggle"),
        }
        for name, close in closings.items():
            with self.subTest(name):
                self.vellumix.command("show")
                self.until("visible")
                close()
                self.until("hidden")
        self.assertEqual(self.vellumix.command("quit").returncode, 0)

    def test_it_is_worked_by_the_pointer(self):
        self.vellumix.start()
        self.vellumix.until_recorded("text", lambda: applications.copy_with_xclip(self.desktop, "one entry"))
        self.vellumix.command("show")
        self.until("visible")
        # In the middle of 1280 x 800, 520 x 450 large: its only card begins 174 points under its top.
        left, top = 380, 175
        self.click(left + 483, top + 174 + 36)
        self.picture("panel-alert")
        self.keys("Return")
        wait_for("the entry is deleted", lambda: self.vellumix.count() == 0)
        self.assertEqual(self.vellumix.status()["panel"], "visible")

    def click(self, x, y):
        self.desktop.run("xdotool", "mousemove", str(x), str(y), "click", "1")


if __name__ == "__main__":
    unittest.main(verbosity=2)
