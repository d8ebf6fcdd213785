#!/usr/bin/python3
"""A program that has nothing to do does nothing: not one wake-up."""

import time
import unittest
from pathlib import Path

from harness import applications
from harness.desktop import PrivateDesktop
from harness.processes import wait_for
from harness.vellumix import Vellumix

QUIET_SECONDS = 3.0


class Idle(unittest.TestCase):
    def test_it_does_not_wake_up(self):
        with PrivateDesktop() as desktop:
            vellumix = Vellumix(desktop).start()
            owner = vellumix.until_saved(lambda: vellumix.until_recorded(
                "text", lambda: applications.copy_with_xclip(desktop, "and then silence")))
            last = self.switches(vellumix.process.pid)
            since = time.monotonic()

            def quiet():
                nonlocal last, since
                now = self.switches(vellumix.process.pid)
                if now != last:
                    last, since = now, time.monotonic()
                return time.monotonic() - since >= QUIET_SECONDS
            wait_for(f"{QUIET_SECONDS:g} s without a context switch", quiet, seconds=20)
            # It is asleep, not dead.
            owner.kill()
            vellumix.until_recorded("text", lambda: applications.copy_with_xclip(desktop, "awake again"))

    @staticmethod
    def switches(pid):
        """Voluntary context switches of every thread."""
        counts = {}
        for status in Path(f"/proc/{pid}/task").glob("*/status"):
            line = next(line for line in status.read_text().splitlines() if line.startswith("voluntary_ctxt_switches"))
            counts[status.parent.name] = int(line.split()[1])
        return counts


if __name__ == "__main__":
    unittest.main(verbosity=2)
