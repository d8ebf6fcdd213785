#!/usr/bin/python3
"""The panel opened and closed again and again, as fast as keys and commands come, holds neither keys nor memory."""

import os
import unittest
from pathlib import Path

import gi

from harness import applications
from harness.desktop import PrivateDesktop
from harness.processes import wait_for
from harness.vellumix import BUS_NAME, Vellumix

gi.require_version("Gio", "2.0")
from gi.repository import Gio  # noqa: E402

HOTKEY = "super+alt+55"
# Four openings or closings each.
ROUNDS = int(os.environ.get("VELLUMIX_ROUNDS", "25"))
ENTRY = Path(applications.__file__).with_name("text-entry.py")


def resident(pid):
    """In KB."""
    return next(int(line.split()[1]) for line in Path(f"/proc/{pid}/status").read_text().splitlines()
                if line.startswith("VmRSS:"))


class AgainAndAgain(unittest.TestCase):
    def test_nothing_is_held_and_nothing_grows(self):
        with PrivateDesktop() as desktop:
            vellumix = Vellumix(desktop).start()
            for number in range(5):
                vellumix.until_recorded("text", lambda: applications.copy_with_xclip(desktop, f"entry {number}"))
            address = desktop.environment["DBUS_SESSION_BUS_ADDRESS"]
            flags = Gio.DBusConnectionFlags
            bus = Gio.DBusConnection.new_for_address_sync(
                address, flags.AUTHENTICATION_CLIENT | flags.MESSAGE_BUS_CONNECTION, None, None)
            typed = desktop.home / "typed.txt"

            def toggle(rounds, delay):
                # An even number by each leaves the panel as it was, whichever comes first.
                for _ in range(rounds):
                    desktop.run("xdotool", "key", "--delay", str(delay), HOTKEY, HOTKEY)
                    for _ in range(2):
                        bus.call_sync(BUS_NAME, "/com/tarnwick/Vellumix", "com.tarnwick.Vellumix.Control", "Toggle",
                                      None, None, Gio.DBusCallFlags.NONE, 5000, None)
                vellumix.command("hide")
                wait_for("the panel is gone", lambda: vellumix.status()["panel"] == "hidden")

            with applications.Window(desktop, "text-entry.py", "/usr/bin/python3", ENTRY, typed):
                toggle(ROUNDS, 12)
                before = resident(vellumix.process.pid)
                toggle(ROUNDS, 12)
                toggle(ROUNDS // 5, 120)
                after = resident(vellumix.process.pid)
                self.assertLess(after - before, 1024, f"KB more than {before}")
                desktop.run("xdotool", "type", "free keys")
                wait_for("the keys are the other program's",
                         lambda: typed.exists() and typed.read_text() == "free keys")
            vellumix.command("show")
            wait_for("the panel comes", lambda: vellumix.status()["panel"] == "visible")
            desktop.run("xdotool", "key", "Escape")
            wait_for("and goes by its own keys", lambda: vellumix.status()["panel"] == "hidden")


if __name__ == "__main__":
    unittest.main(verbosity=2)
