#!/usr/bin/python3
"""Texts that are dear to search, compare or lay out: every key is answered while they are in the history."""

import time
import unittest

from harness import applications
from harness.desktop import PrivateDesktop
from harness.processes import wait_for
from harness.vellumix import Vellumix

SIZE = 420_000
# In seconds; each took tens of them when the time grew with the square of the length.
LONGEST = 5


def repeated(part):
    text = "Z" + part * (SIZE // len(part.encode()))
    return text + "."


TEXTS = {
    "marks": repeated("\u0301\u0323\u0334"),
    "marks between letters": repeated("a\u0301z\u0323\u0301"),
    "one letter": repeated("m"),
    "right to left, embedded": repeated("\u202b\u05d0\u05d1 ab\u202a\u05d2\u202c\u202c"),
    "surrogates": b"\xed\xa0\x80" * (SIZE // 3),
    "one line": repeated("the quick brown fox jumps over the lazy dog, "),
}


class HostileTexts(unittest.TestCase):
    def setUp(self):
        self.desktop = PrivateDesktop()
        self.addCleanup(self.desktop.close)
        self.vellumix = Vellumix(self.desktop).start()

    def answered(self, what, action, state):
        """Seconds until the program has done what the action wants, and answers again."""
        start = time.monotonic()
        action()
        wait_for(f"{what}: the panel is {state}", lambda: self.vellumix.status()["panel"] == state, 120)
        took = time.monotonic() - start
        print(f"{what}: {took:.2f} s", flush=True)
        self.assertLess(took, LONGEST, what)

    def key(self, name):
        return lambda: self.desktop.run("xdotool", "key", name)

    def test_every_key_is_answered(self):
        for name, text in TEXTS.items():
            with self.subTest(name):
                for number, copied in enumerate((text, text + (b"x" if isinstance(text, bytes) else "x")), 1):
                    start = time.monotonic()
                    self.vellumix.until_recorded(
                        "text", lambda copied=copied: applications.copy_with_xclip(self.desktop, copied))
                    print(f"{name}, copy {number}: {time.monotonic() - start:.2f} s", flush=True)
                    self.assertLess(time.monotonic() - start, LONGEST, "the copy is recorded")
                self.answered(f"{name}, opened", lambda: self.vellumix.command("show"), "visible")
                for letter in ("z", "percent"):
                    self.answered(f"{name}, {letter}", self.key(letter), "visible")
                self.answered(f"{name}, Escape", self.key("Escape"), "hidden")


if __name__ == "__main__":
    unittest.main(verbosity=2)
