#!/usr/bin/python3
"""Korean is composed in the search with the input method of the desktop, however fast it is typed."""

import time
import unittest

from harness import applications
from harness.desktop import PrivateDesktop
from harness.processes import wait_for
from harness.vellumix import Vellumix

# On the Korean layout of two sets, and what a person expects of it.
KEYS = "gksrmfdlqfur"
TEXT = "한글입력"
SWITCH_SECONDS = 0.5


class InputMethod(unittest.TestCase):
    def test_what_is_composed_fast_is_all_there(self):
        with PrivateDesktop() as desktop:
            desktop.environment |= {"XMODIFIERS": "@im=ibus", "LC_ALL": "C.UTF-8"}
            desktop.start("ibus-daemon", "--xim", "--panel", "disable", "--config", "default")
            wait_for("the input method has a server", lambda: "ibus" in desktop.run(
                "xprop", "-root", "XIM_SERVERS").stdout)
            wait_for("the input method knows Korean", lambda: desktop.run("ibus", "engine", "hangul").returncode == 0)
            vellumix = Vellumix(desktop).start()
            vellumix.until_recorded("text", lambda: applications.copy_with_xclip(desktop, "other words"))
            for milliseconds in (100, 10):
                vellumix.command("show")
                wait_for("the panel is there", lambda: vellumix.status()["panel"] == "visible")
                desktop.run("xdotool", "key", "ctrl+f")
                # The first key that composes has the engine started.
                time.sleep(SWITCH_SECONDS)
                desktop.run("xdotool", "key", "Hangul")
                time.sleep(SWITCH_SECONDS)
                desktop.run("xdotool", "key", "--delay", str(milliseconds), *(KEYS * 3))
                desktop.run("xdotool", "key", "Hangul")
                time.sleep(SWITCH_SECONDS)
                desktop.run("xdotool", "key", "ctrl+a", "ctrl+c")
                wait_for("what was composed is copied", lambda: applications.clipboard(desktop) == TEXT * 3)
                vellumix.command("hide")
                wait_for("the panel is gone", lambda: vellumix.status()["panel"] == "hidden")
                applications.copy_with_xclip(desktop, "in between")
            self.assertNotIn("doesn't answer", vellumix.log_text())


if __name__ == "__main__":
    unittest.main()
