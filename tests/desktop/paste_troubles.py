#!/usr/bin/python3
"""What is picked arrives, or at least waits on the clipboard, also where the desktop makes it hard."""

import time
import unittest
from pathlib import Path

from harness import applications
from harness.desktop import PrivateDesktop
from harness.processes import end, wait_for
from harness.vellumix import Vellumix

ENTRY = Path(applications.__file__).with_name("text-entry.py")
FOLLOW_MOUSE = """<openbox_config xmlns="http://openbox.org/3.4/rc">
  <focus><followMouse>yes</followMouse><focusDelay>0</focusDelay></focus>
</openbox_config>"""


class PasteTroubles(unittest.TestCase):
    def prepare(self, **options):
        self.desktop = PrivateDesktop(**options)
        self.addCleanup(self.desktop.close)
        self.vellumix = Vellumix(self.desktop).start()
        self.copy("what was picked")

    def copy(self, text):
        self.vellumix.until_recorded("text", lambda: applications.copy_with_xclip(self.desktop, text))

    def mouse(self, *words):
        self.desktop.run("xdotool", "mousemove", *words)

    def keys(self, *names):
        self.desktop.run("xdotool", "key", *names)

    def until(self, state):
        wait_for(f"the panel is {state}", lambda: self.vellumix.status()["panel"] == state)

    def entry(self, name):
        """A window with a text entry, without the help of a window manager; its file, process and window."""
        path = self.desktop.home / f"{name}.txt"
        before = self.windows()
        process = self.desktop.start("/usr/bin/python3", ENTRY, path)
        window = wait_for("a window", lambda: self.windows() - before, seconds=20).pop()
        return path, process, window

    def windows(self):
        return set(self.desktop.run("xdotool", "search", "--onlyvisible", "--class", "text-entry.py").stdout.split())

    def until_typed(self, path, text):
        wait_for(f"{path.name} holds {text!r}", lambda: path.exists() and path.read_text() == text)

    def until_active(self, window):
        wait_for("the window is active",
                 lambda: self.desktop.run("xdotool", "getactivewindow").stdout.strip() == window)

    def test_without_a_window_manager_it_goes_where_the_focus_is(self):
        self.prepare(window_manager=False)
        path, _, window = self.entry("entry")
        self.desktop.run("xdotool", "windowfocus", "--sync", window)
        self.vellumix.command("show")
        self.until("visible")
        self.keys("Return")
        self.until_typed(path, "what was picked")

    def test_where_focus_follows_the_mouse_it_goes_where_the_panel_was_opened_from(self):
        self.prepare(window_manager=False)
        (self.desktop.config / "openbox").mkdir()
        (self.desktop.config / "openbox/rc.xml").write_text(FOLLOW_MOUSE)
        self.desktop.start_window_manager()
        other_path, _, other = self.entry("other")
        self.desktop.run("xdotool", "windowmove", "--sync", other, "900", "600")
        path, _, window = self.entry("entry")
        self.desktop.run("xdotool", "windowmove", "--sync", window, "20", "40")
        self.mouse("--window", window, "10", "10")
        self.until_active(window)
        self.vellumix.command("show")
        self.until("visible")
        self.mouse("--window", other, "10", "10")
        self.until_active(other)
        self.keys("Return")
        self.until_typed(path, "what was picked")
        self.assertFalse(other_path.exists())

    def test_a_target_that_has_gone_leaves_it_on_the_clipboard(self):
        self.prepare()
        _, process, window = self.entry("entry")
        self.until_active(window)
        self.vellumix.command("show")
        self.until("visible")
        end(process)
        self.keys("Return")
        self.until("hidden")
        wait_for("it is on the clipboard", lambda: applications.clipboard(self.desktop) == "what was picked")
        path, _, window = self.entry("later")
        self.until_active(window)
        self.vellumix.command("show")
        self.until("visible")
        self.keys("Return")
        self.until_typed(path, "what was picked")

    def test_a_menu_that_holds_the_keyboard_gives_way_to_the_panel_when_it_closes(self):
        self.prepare()
        path, _, window = self.entry("entry")
        self.until_active(window)
        before = self.windows()
        self.mouse("--window", window, "20", "10", "click", "3")
        wait_for("the menu is open", lambda: self.windows() - before)
        self.vellumix.command("show")
        self.until("visible")
        wait_for("the panel has given up the grab", lambda: "takes the focus instead" in self.vellumix.log_text())
        self.keys("Escape")
        self.assertEqual(self.vellumix.status()["panel"], "visible", "the key was the menu's")
        self.keys("Return")
        self.until("hidden")
        self.until_typed(path, "what was picked")

    def test_a_large_write_of_its_own_that_is_read_late_is_not_recorded(self):
        self.prepare()
        text = "a long line " * 200_000
        self.copy(text)
        path, _, window = self.entry("entry")
        self.until_active(window)
        self.vellumix.command("show")
        self.until("visible")
        self.keys("Down", "Return")
        self.until_typed(path, "what was picked")
        self.vellumix.command("show")
        self.until("visible")
        self.keys("Up", "space", "Escape")
        self.until("hidden")
        # Well after the time in which copies go unrecorded.
        time.sleep(1)
        self.assertEqual(applications.clipboard(self.desktop), text.strip())
        self.assertEqual(self.vellumix.count(), 2)


if __name__ == "__main__":
    unittest.main(verbosity=2)
