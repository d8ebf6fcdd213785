#!/usr/bin/python3
"""Copies made in real programs are recorded as what they are, and can be pasted after their program has gone."""

import unittest

from harness import applications
from harness.desktop import PrivateDesktop
from harness.processes import wait_for
from harness.vellumix import Vellumix


class Copies(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        # Programs as a session starts them, with the services that they ask the bus for.
        cls.desktop = PrivateDesktop(services=True)
        cls.addClassCleanup(cls.desktop.close)
        cls.vellumix = Vellumix(cls.desktop).start()

    def test_each_program_and_what_it_copies(self):
        desktop = self.desktop
        picture = desktop.folder / "screen.png"
        desktop.picture(picture)
        cases = [
            ("xclip", "text", lambda: applications.copy_with_xclip(desktop, "Žluťoučký kůň 🎉")),
            ("xsel", "link", lambda: applications.copy_with_xsel(desktop, "http://example.org/x?y=z")),
            ("xclip, an image", "image", lambda: applications.copy_with_xclip(desktop, picture.read_bytes(), "image/png")),
            ("mousepad", "text", lambda: applications.copy_in_editor(desktop, "from mousepad", "mousepad")),
            ("featherpad", "code", lambda: applications.copy_in_editor(
                desktop, "def answer():\n    return 42", "featherpad")),
            ("xterm", "text", lambda: applications.copy_in_terminal(desktop, "fromXterm")),
            ("thunar", "file", lambda: applications.copy_in_file_manager(desktop, "a file.txt", "thunar")),
            ("pcmanfm", "file", lambda: applications.copy_in_file_manager(desktop, "žlutý.txt", "pcmanfm")),
            ("10 MB of text", "text", lambda: applications.copy_with_xclip(desktop, "0123456789abcde\n" * 650_000)),
        ]
        for name, kind, copy in cases:
            with self.subTest(name):
                self.vellumix.until_recorded(kind, copy)
                self.assertEqual(self.vellumix.status()["lastCapture"]["kind"], kind)

    def test_a_copy_outlives_its_program(self):
        picture = self.desktop.folder / "other.png"
        self.desktop.picture(picture)
        file = self.desktop.home / "thunar folder/kept.txt"
        # What is pasted afterwards, by the target that a program would ask for.
        cases = [
            ("text", "UTF8_STRING", "outlives its owner", lambda: applications.copy_with_xclip(
                self.desktop, "outlives its owner")),
            ("file", "text/uri-list", file.as_uri() + "\r\n", lambda: applications.copy_in_file_manager(
                self.desktop, file.name, "thunar")),
        ]
        for kind, target, expected, copy in cases:
            with self.subTest(kind):
                owner = self.vellumix.until_recorded(kind, copy)
                if hasattr(owner, "kill"):
                    owner.kill()
                    owner.wait()
                wait_for("it can be pasted", lambda: applications.clipboard(self.desktop, target) == expected)
        self.assertIsNone(self.vellumix.process.poll())

    def test_a_deliberate_clear_is_not_undone(self):
        self.vellumix.until_recorded("text", lambda: applications.copy_with_xclip(self.desktop, "to be cleared"))
        self.desktop.run("xsel", "--clipboard", "--clear")
        # The next copy goes through the same queue of events, so after it nothing is pending any more.
        before = self.vellumix.count()
        self.vellumix.until_recorded("text", lambda: applications.copy_with_xclip(self.desktop, "after the clear"))
        self.assertEqual(self.vellumix.count(), before + 1)


if __name__ == "__main__":
    unittest.main(verbosity=2)
