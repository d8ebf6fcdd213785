#!/usr/bin/python3
"""Whatever ends the program, what was copied before is there at the next start, and only its owner can read it."""

import os
import stat
import unittest
from pathlib import Path

from harness import applications
from harness.desktop import PrivateDesktop
from harness.processes import wait_for
from harness.vellumix import Vellumix, files_with

SENTENCE = "The bees of the monastery sleep in winter."
# All that the program keeps beside the history: nothing temporary is left.
NAMES = {"history.json", "keychain", "lock"}


class HistoryOnDisk(unittest.TestCase):
    def setUp(self):
        self.desktop = PrivateDesktop()
        self.addCleanup(self.desktop.close)
        self.vellumix = Vellumix(self.desktop)

    def copy(self, text, kind="text"):
        return self.vellumix.until_recorded(kind, lambda: applications.copy_with_xclip(self.desktop, text))

    def names(self):
        return {path.name for path in self.vellumix.folder.iterdir()}

    def test_a_kill_after_the_save_loses_nothing(self):
        self.vellumix.start()
        self.vellumix.until_saved(lambda: self.copy(SENTENCE))
        self.vellumix.until_saved(lambda: self.copy("https://example.org/", "link"))
        self.vellumix.kill()
        self.vellumix.start()
        self.assertEqual((self.vellumix.count("text"), self.vellumix.count("link")), (1, 1))
        self.assertEqual(self.vellumix.count(), 2, "what was on the clipboard at the start isn't recorded again")

    def test_only_the_owner_can_read_it_whatever_the_umask(self):
        umask = os.umask(0)
        try:
            self.vellumix.start()
        finally:
            os.umask(umask)
        self.vellumix.until_saved(lambda: self.copy(SENTENCE))
        self.assertEqual(self.vellumix.file.read_bytes()[:4], b"VLX1")
        self.assertEqual(self.vellumix.terminate(), 0)
        for path in [self.vellumix.folder, *self.vellumix.folder.rglob("*"), *self.desktop.config.rglob("*ellumix*")]:
            with self.subTest(path=path):
                self.assertEqual(stat.S_IMODE(path.stat().st_mode), 0o700 if path.is_dir() else 0o600)
        self.assertEqual(self.names(), NAMES)
        self.assertEqual(files_with(self.desktop.home, SENTENCE), [])
        self.assertNotIn(SENTENCE, self.vellumix.log_text())

    def test_an_end_within_the_save_delay_still_saves(self):
        for how, action in (("SIGTERM", lambda: self.vellumix.process.terminate()),
                            ("its screen goes", self.desktop.stop_screen)):
            with self.subTest(how=how):
                self.vellumix.start()
                before = self.vellumix.count("text")
                self.copy(f"copied just before {how}")
                action()
                self.assertEqual(self.vellumix.exit_code(), 0, self.vellumix.log_text())
                if self.desktop.screen.poll() is not None:
                    self.desktop.start_screen()
                self.vellumix.start()
                self.assertEqual(self.vellumix.count("text"), before + 1)
                self.vellumix.stop()

    def test_an_unreadable_history_is_moved_aside_before_the_first_save(self):
        self.vellumix.folder.mkdir(mode=0o700)
        self.vellumix.file.write_bytes(b"VLX1 and nothing that any key opens")
        self.vellumix.start()
        self.assertEqual(self.vellumix.file.read_bytes(), b"VLX1 and nothing that any key opens")
        self.vellumix.until_saved(lambda: self.copy(SENTENCE))
        aside = list(self.vellumix.folder.glob("history.unreadable-*.json"))
        self.assertEqual([path.read_bytes() for path in aside], [b"VLX1 and nothing that any key opens"])
        self.assertIn(aside[0].name, self.vellumix.log_text())
        self.vellumix.kill()
        self.assertEqual(self.vellumix.start().count("text"), 1)

    def test_a_history_that_is_a_link_is_followed_and_kept(self):
        disk = self.desktop.home / "disk"
        disk.mkdir()
        self.vellumix.folder.mkdir(mode=0o700)
        self.vellumix.file.symlink_to(disk / "kept.json")
        self.vellumix.start()
        self.copy(SENTENCE)
        self.assertEqual(self.vellumix.terminate(), 0)
        self.assertTrue(self.vellumix.file.is_symlink())
        self.assertEqual([path.name for path in disk.iterdir()], ["kept.json"])
        self.assertEqual(self.vellumix.start().count("text"), 1)

    def test_where_only_approved_modes_are_allowed_it_is_the_same_file(self):
        # Under a sanitizer, what the library itself keeps in this mode counts as lost.
        kept = Path(__file__).parents[1] / "support/approved-modes.supp"
        approved = {"LIBGCRYPT_FORCE_FIPS_MODE": "1", "LSAN_OPTIONS": f"suppressions={kept}:print_suppressions=0"}
        for number, environment in enumerate((approved, None, approved)):
            self.vellumix.start(environment=environment)
            self.assertEqual(self.vellumix.count("text"), number)
            self.vellumix.until_saved(lambda: self.copy(f"{SENTENCE} {number}"))
            self.assertEqual(self.vellumix.file.read_bytes()[:4], b"VLX1")
            self.assertEqual(self.vellumix.terminate(), 0)

    def test_a_save_that_fails_leaves_the_history_before_it(self):
        self.vellumix.start()
        self.vellumix.until_saved(lambda: self.copy(SENTENCE))
        # Where a file stands in the place of the folder, not even root can write.
        away = self.vellumix.folder.rename(self.vellumix.folder.with_name("away"))
        self.vellumix.folder.write_text("in the way")
        self.assertFalse(self.vellumix.status()["saveFailed"])
        self.copy("while nothing can be written")
        wait_for("the status tells of it", lambda: self.vellumix.status()["saveFailed"])
        self.copy("nor now")
        self.assertEqual(self.vellumix.terminate(), 0)
        self.assertEqual(self.vellumix.log_text().count("The history can't be saved"), 1, self.vellumix.log_text())
        self.vellumix.folder.unlink()
        away.rename(self.vellumix.folder)
        self.assertEqual(self.names(), NAMES)
        self.assertEqual(self.vellumix.start().count("text"), 1)


if __name__ == "__main__":
    unittest.main(verbosity=2)
