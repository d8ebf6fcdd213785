#!/usr/bin/python3
"""What must not be kept reaches neither the list nor the disk nor the log, and the status says why it was refused."""

import plistlib
import unittest

from harness import applications
from harness.desktop import PrivateDesktop
from harness.vellumix import Vellumix, files_with

SECRET = "correctHorseBatteryStaple91"


class Refusals(unittest.TestCase):
    def setUp(self):
        self.desktop = PrivateDesktop()
        self.addCleanup(self.desktop.close)
        self.vellumix = Vellumix(self.desktop)

    def assert_nowhere(self, text):
        self.assertEqual(self.vellumix.terminate(), 0)
        self.assertEqual(files_with(self.desktop.folder, text), [])
        self.assertNotIn(text, self.vellumix.log_text())

    def test_content_with_a_marker_is_refused(self):
        self.vellumix.start()
        # A first entry, so that there is a file to search.
        self.vellumix.until_recorded("text", lambda: applications.copy_with_xclip(self.desktop, "nothing secret"))
        reason = self.vellumix.until_refused(lambda: applications.offer(
            self.desktop, {"UTF8_STRING": SECRET, "text/plain": SECRET, "x-kde-passwordManagerHint": "secret"}))
        self.assertTrue(reason)
        self.assertEqual(self.vellumix.count(), 1)
        self.assertNotIn(SECRET, self.vellumix.command("status").stdout + self.vellumix.command("status", "--json").stdout)
        self.vellumix.until_recorded("text", lambda: applications.copy_with_xclip(self.desktop, "the next one"))
        self.assert_nowhere(SECRET)

    def test_a_secret_is_not_offered_again_when_its_owner_dies(self):
        self.vellumix.start()
        owners = []
        self.vellumix.until_refused(lambda: owners.append(applications.offer(
            self.desktop, {"UTF8_STRING": SECRET, "x-kde-passwordManagerHint": "secret"})))
        owners[0].kill()
        owners[0].wait()
        # Another client's copy and its record prove that the owner's death has been dealt with.
        self.assertIsNone(applications.clipboard(self.desktop))
        self.vellumix.until_recorded("text", lambda: applications.copy_with_xclip(self.desktop, "the next one"))
        self.assert_nowhere(SECRET)

    def test_a_hint_that_says_nothing_secret_is_recorded(self):
        self.vellumix.start()
        self.vellumix.until_recorded("text", lambda: applications.offer(
            self.desktop, {"UTF8_STRING": "a user's name", "x-kde-passwordManagerHint": "public"}))

    def test_an_excluded_application_is_refused_and_the_others_are_not(self):
        settings = self.vellumix.settings
        settings.parent.mkdir(parents=True, exist_ok=True, mode=0o700)
        # The id of its desktop file.
        settings.write_bytes(plistlib.dumps({"settings.excludedBundleIds": ["debian-xterm"]}))
        self.vellumix.start()
        reason = self.vellumix.until_refused(lambda: applications.copy_in_terminal(self.desktop, SECRET))
        self.assertTrue(reason)
        self.assertEqual(self.vellumix.count(), 0)
        self.vellumix.until_recorded("text", lambda: applications.copy_in_editor(self.desktop, "from an editor"))
        self.assert_nowhere(SECRET)


if __name__ == "__main__":
    unittest.main(verbosity=2)
