#!/usr/bin/python3
"""A keyring that is locked, gone, or was never there: the history is neither lost nor enciphered with a second key."""

import stat
import unittest

from harness import applications
from harness.desktop import PrivateDesktop
from harness.vellumix import Vellumix


class Keyring(unittest.TestCase):
    def desktop_with(self, keyring):
        desktop = PrivateDesktop(keyring=keyring)
        self.addCleanup(desktop.close)
        return desktop, Vellumix(desktop)

    def with_one_entry(self):
        """A desktop on which one entry has been saved with a key of the keyring, and the program has ended."""
        desktop, vellumix = self.desktop_with("unlocked")
        vellumix.start()
        vellumix.until_saved(lambda: vellumix.until_recorded(
            "text", lambda: applications.copy_with_xclip(desktop, "with the keyring's key")))
        self.assertEqual(vellumix.status()["keychain"], "Secret Service")
        self.assertEqual(vellumix.terminate(), 0)
        return desktop, vellumix

    def keys(self, desktop):
        """How many items the keyring holds for us, over all collections."""
        found = desktop.call("org.freedesktop.secrets", "/org/freedesktop/secrets",
                             "org.freedesktop.Secret.Service.SearchItems", "{'service': 'com.tarnwick.Vellumix'}")
        return found.stdout.count("/org/freedesktop/secrets/collection/")

    def test_the_key_is_made_once(self):
        desktop, vellumix = self.with_one_entry()
        vellumix.start()
        vellumix.until_saved(lambda: applications.copy_with_xclip(desktop, "a second save"))
        self.assertEqual(vellumix.terminate(), 0)
        self.assertEqual(self.keys(desktop), 1)

    def test_a_key_that_cannot_be_had_loses_nothing(self):
        for how in ("locked", "gone"):
            with self.subTest(how=how):
                desktop, vellumix = self.with_one_entry()
                saved = vellumix.file.read_bytes()
                desktop.lock_keyring() if how == "locked" else desktop.stop_keyring()
                vellumix.start()
                self.assertEqual(vellumix.count(), 0)
                self.assertEqual(vellumix.file.read_bytes(), saved)
                vellumix.until_recorded("text", lambda: applications.copy_with_xclip(desktop, "without any key"))
                self.assertEqual(vellumix.terminate(), 0)
                kept = [path.read_bytes() for path in vellumix.folder.glob("history*.json")]
                self.assertIn(saved, kept, "what couldn't be read is still there, untouched")
                names = {path.name for path in vellumix.folder.iterdir() if not path.name.startswith("history")}
                self.assertEqual(names, {"keychain", "lock"}, "no key file beside a keyring in use")
                desktop.stop_keyring() if how == "locked" else None
                desktop.start_keyring()
                self.assertEqual(self.keys(desktop), 1)

    def test_without_a_keyring_a_key_file_serves(self):
        desktop, vellumix = self.desktop_with(None)
        vellumix.start()
        vellumix.until_saved(lambda: applications.copy_with_xclip(desktop, "with a key file"))
        self.assertEqual(vellumix.status()["keychain"], "key file")
        self.assertEqual(sum("kept in a file" in line for line in vellumix.log_text().splitlines()), 1, vellumix.log_text())
        self.assertEqual(vellumix.file.read_bytes()[:4], b"VLX1")
        for path in desktop.data.rglob("*"):
            self.assertEqual(stat.S_IMODE(path.stat().st_mode) & 0o077, 0, path)
        vellumix.kill()
        # A keyring that appears later changes nothing: the choice is remembered.
        desktop.start_keyring()
        self.assertEqual(vellumix.start().count("text"), 1)
        self.assertEqual(vellumix.status()["keychain"], "key file")


if __name__ == "__main__":
    unittest.main(verbosity=2)
