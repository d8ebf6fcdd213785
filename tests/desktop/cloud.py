#!/usr/bin/python3
"""A person's account with a database of their own: stored, shown, checked and removed on the command line, and what
comes from there."""

import os
import pty
import subprocess
import unittest

from harness.couch import CouchServer, switch_on
from harness.desktop import PrivateDesktop
from harness.processes import end, end_everything, wait_for
from harness.vellumix import Vellumix, binary, files_with

TEXT = "Carried over the sea by a pigeon"


class Cloud(unittest.TestCase):
    def setUp(self):
        self.desktop = PrivateDesktop()
        self.addCleanup(self.desktop.close)
        self.vellumix = Vellumix(self.desktop)
        self.server = CouchServer(self.desktop)

    def account(self, *words, password=None):
        answer = self.desktop.run(binary(), "account", *words, input=password, stdin=None)
        self.assertNotIn(self.server.password, answer.stdout + answer.stderr)
        return answer

    def store(self, password):
        self.assertEqual(self.account("set", self.server.address, "--user", "ann", password=password).returncode, 0)

    def test_entries_come_with_the_account_and_cease_with_it(self):
        self.assertEqual(self.account("show").returncode, 1)
        self.store(self.server.password)
        self.assertIn("ann", self.account("show").stdout)
        checked = self.account("check")
        self.assertEqual((checked.returncode, checked.stderr), (0, ""))

        switch_on(self.vellumix)
        self.server.put_text(TEXT)
        leftover = self.vellumix.folder / "attachments/asset-of-a-killed-program"
        leftover.parent.mkdir()
        leftover.write_text(TEXT)
        self.vellumix.start()
        self.assertFalse(leftover.exists())
        wait_for("the entry comes", lambda: self.vellumix.count("text") == 1)
        self.assertIsNotNone(self.server.until_sync(self.vellumix, state="idle")["lastFetch"])

        # What the program is told while it runs counts at once.
        self.store("wrong\n")
        refused = self.server.until_sync(self.vellumix, state="error")["text"]
        self.assertIn(refused, self.account("check").stderr)
        self.assertIn(refused, self.vellumix.command("status").stdout)
        self.server.put_text(TEXT + ", too")
        self.store(self.server.password)
        wait_for("the second entry comes", lambda: self.vellumix.count("text") == 2)
        self.assertEqual(self.account("remove").returncode, 0)
        self.server.until_sync(self.vellumix, state="error")
        self.assertIn("vellumix account set", self.vellumix.status()["sync"]["text"])

        end(self.vellumix.process)
        for secret in (self.server.password, TEXT):
            self.assertEqual(files_with(self.desktop.home / ".config", secret), [])
            self.assertEqual(files_with(self.vellumix.folder, secret), [])
            self.assertNotIn(secret, self.vellumix.log_text())

    def test_a_server_that_is_down_is_told(self):
        self.store(self.server.password)
        end(self.server.process)
        checked = self.account("check")
        self.assertEqual(checked.returncode, 1)
        self.assertIn("127.0.0.1", checked.stderr)

    def test_a_password_is_typed_unseen(self):
        leader, follower = pty.openpty()
        asked = self.desktop.start(binary(), "account", "set", self.server.address, stdin=follower, stderr=follower,
                                   stdout=subprocess.PIPE, text=True)
        seen = b""
        while b": " not in seen:
            seen += os.read(leader, 1024)
        os.write(leader, (self.server.password + "\n").encode())
        self.assertIn("stored", asked.communicate(timeout=20)[0])
        seen += os.read(leader, 1024)
        self.assertNotIn(self.server.password.encode(), seen)
        for descriptor in (leader, follower):
            os.close(descriptor)
        self.assertEqual(asked.returncode, 0)


if __name__ == "__main__":
    try:
        unittest.main(verbosity=2)
    finally:
        end_everything()
