#!/usr/bin/python3
"""How long a key takes to a program that has nothing to do with the cut, with and without Vellumix.

    PYTHONPATH=tests/support bench/passing_key.py [ROUNDS]

Super+X is pressed by XTEST on one connection and awaited on another one's window, by turns with and without Vellumix.
"""

import ctypes
import os
import sys
import time

from harness.desktop import PrivateDesktop
from harness.vellumix import Vellumix

SUPER, X = 133, 53
KEY_PRESS = 2


class Listener:
    """A window with the keyboard, and hands at the keys."""

    def __init__(self, display):
        os.environ["DISPLAY"] = display
        self._x = ctypes.CDLL("libX11.so.6")
        self._xtest = ctypes.CDLL("libXtst.so.6")
        self._x.XOpenDisplay.restype = ctypes.c_void_p
        self._x.XDefaultRootWindow.restype = self._x.XCreateSimpleWindow.restype = ctypes.c_ulong
        self._hands = ctypes.c_void_p(self._x.XOpenDisplay(None))
        self._window = ctypes.c_void_p(self._x.XOpenDisplay(None))
        root = ctypes.c_ulong(self._x.XDefaultRootWindow(self._window))
        window = ctypes.c_ulong(self._x.XCreateSimpleWindow(self._window, root, 0, 0, 99, 99, 0, 0, 0))
        self._x.XSelectInput(self._window, window, ctypes.c_long(1))
        self._x.XMapWindow(self._window, window)
        self._x.XSync(self._window, 0)
        time.sleep(1)
        self._x.XSetInputFocus(self._window, window, 2, ctypes.c_ulong(0))
        self._x.XSync(self._window, 0)

    def _key(self, code, is_down):
        self._xtest.XTestFakeKeyEvent(self._hands, code, is_down, ctypes.c_ulong(0))

    def milliseconds(self):
        """From the press of X behind Super to its event."""
        event = (ctypes.c_long * 24)()
        self._key(SUPER, 1)
        self._x.XSync(self._hands, 0)
        self._x.XNextEvent(self._window, ctypes.byref(event))
        begin = time.perf_counter()
        self._key(X, 1)
        self._x.XFlush(self._hands)
        self._x.XNextEvent(self._window, ctypes.byref(event))
        needed = (time.perf_counter() - begin) * 1000
        assert ctypes.cast(event, ctypes.POINTER(ctypes.c_int))[0] == KEY_PRESS
        self._key(X, 0)
        self._key(SUPER, 0)
        self._x.XSync(self._hands, 0)
        time.sleep(0.08)
        return needed


def main():
    rounds = int(sys.argv[1]) if len(sys.argv) > 1 else 50
    times = {"without": [], "with": []}
    with PrivateDesktop() as desktop:
        listener = Listener(desktop.environment["DISPLAY"])
        for _ in range(4):
            times["without"] += [listener.milliseconds() for _ in range(rounds)]
            vellumix = Vellumix(desktop).start()
            assert vellumix.status()["cut"] == "on"
            times["with"] += [listener.milliseconds() for _ in range(rounds)]
            vellumix.stop()
    for name, needed in times.items():
        needed.sort()
        print(f"a passing key {name:<8} median {needed[len(needed) // 2]:.3f} ms   "
              f"99 of 100 below {needed[len(needed) * 99 // 100]:.3f} ms   slowest {needed[-1]:.3f} ms   (meant: +2 ms)")


if __name__ == "__main__":
    main()
