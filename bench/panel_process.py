#!/usr/bin/python3
"""The panel of the built program on a private desktop: how soon it opens and pastes, what it holds, and how quiet it is.

    PYTHONPATH=tests/support bench/panel_process.py [IDLE SECONDS]
"""

import re
import subprocess
import sys
import time
from pathlib import Path

import gi

from harness import applications
from harness.desktop import PrivateDesktop
from harness.processes import wait_for
from harness.vellumix import BUS_NAME, Vellumix, binary
from process import ROUNDS, activity, full_history

gi.require_version("Gio", "2.0")
from gi.repository import Gio  # noqa: E402

MEBI = 1024
SETTLE_SECONDS = 1.5


def mappings(pid):
    """Yields name, resident, and anonymous memory of each mapping, in KB."""
    name, fields = None, {}
    for line in Path(f"/proc/{pid}/smaps").read_text().splitlines() + ["0-0 end"]:
        words = line.split()
        if words[0].endswith(":"):
            fields[words[0][:-1]] = int(words[1]) if words[1].isdigit() else 0
            continue
        if name is not None:
            yield name, fields["Rss"], fields["Anonymous"]
        name, fields = " ".join(words[5:]) or "[anonymous]", {}


def memory(pid):
    """What is resident of each file, in KB, with the part of it that is the process's own."""
    found = {}
    for name, resident, own in mappings(pid):
        short = re.sub(r"\.so.*", "", Path(name).name) if name.startswith("/") else name
        before = found.get(short, (0, 0))
        found[short] = (before[0] + resident, before[1] + own)
    return found


def totals(found):
    return f"{sum(one[0] for one in found.values()) / MEBI:6.1f} MB resident, " \
           f"{sum(one[1] for one in found.values()) / MEBI:5.1f} MB anonymous"


class Panel:
    def __init__(self, desktop):
        self.desktop = desktop
        self.events = subprocess.Popen(["xev", "-root", "-event", "substructure"], env=desktop.environment,
                                       stdout=subprocess.PIPE, text=True)
        self.bus = Gio.DBusConnection.new_for_address_sync(
            desktop.environment["DBUS_SESSION_BUS_ADDRESS"],
            Gio.DBusConnectionFlags.AUTHENTICATION_CLIENT | Gio.DBusConnectionFlags.MESSAGE_BUS_CONNECTION, None, None)

    def toggle(self):
        self.bus.call(BUS_NAME, "/com/tarnwick/Vellumix", "com.tarnwick.Vellumix.Control", "Toggle", None, None,
                      Gio.DBusCallFlags.NONE, -1, None, None)
        self.bus.flush_sync(None)

    def command(self):
        self.desktop.start(binary(), "toggle")

    def milliseconds(self, ask, event):
        """From asking until the server tells of the event; the window is mapped with its first frame in it."""
        begin = time.monotonic()
        ask()
        for line in self.events.stdout:
            if line.startswith(event):
                return (time.monotonic() - begin) * 1000
        raise EOFError

    def close(self):
        self.events.kill()
        self.events.wait()


class Target:
    """A program in front that tells of the keys it gets."""

    def __init__(self, desktop):
        self.desktop = desktop
        self.process = subprocess.Popen(["stdbuf", "-oL", "xev", "-event", "keyboard"], env=desktop.environment,
                                        stdout=subprocess.PIPE, text=True)
        wait_for("the target is in front", lambda: "Event Tester" in desktop.run(
            "xdotool", "getactivewindow", "getwindowname").stdout)

    def milliseconds(self, pressed, expected):
        """From pressing one key until another arrives, the start of the program that presses it included."""
        begin = time.monotonic()
        self.desktop.start("xdotool", "key", pressed)
        is_press = False
        for line in self.process.stdout:
            if " event, " in line:
                is_press = line.startswith("KeyPress")
            elif is_press and f", {expected})" in line:
                return (time.monotonic() - begin) * 1000
        raise EOFError

    def close(self):
        self.process.kill()
        self.process.wait()


# What the program itself waits before a paste into a target that is in front: for the panel to go, and before the
# first look at the target.
PASTE_DELAYS = 50 + 20


def measure_pasting(target, panel):
    direct, pasted = [], []
    for _ in range(ROUNDS):
        direct.append(target.milliseconds("x", "x"))
        panel.milliseconds(panel.toggle, "MapNotify")
        time.sleep(0.3)
        pasted.append(target.milliseconds("Return", "v"))
        time.sleep(0.3)
    needed = sorted(pasted)[ROUNDS // 2] - sorted(direct)[ROUNDS // 2]
    print(f"Return to keystroke: {needed:.1f} ms, {needed - PASTE_DELAYS:.1f} ms over the delays that it keeps")


def report_growth(title, before, after):
    print(f"{title}: {totals(after)}; by what grew most, resident (anonymous), in KB:")
    grown = {}
    for name, (resident, own) in after.items():
        earlier = before.get(name, (0, 0))
        grown[name] = (resident - earlier[0], own - earlier[1])
    for name, (resident, own) in sorted(grown.items(), key=lambda one: -one[1][0])[:16]:
        print(f"    {name:<36} {resident:+8d} ({own:+d})")


def main():
    idle_seconds = float(sys.argv[1]) if len(sys.argv) > 1 else 20
    with PrivateDesktop() as desktop:
        vellumix = Vellumix(desktop)
        vellumix.folder.mkdir(mode=0o700, parents=True)
        plain, payload = full_history()
        vellumix.file.write_text(plain)
        vellumix.start()
        # A change has the history written anew, so that what follows starts from a file as it stays.
        vellumix.until_saved(lambda: vellumix.until_recorded(
            "link", lambda: applications.copy_with_xclip(desktop, "https://example.org/one-more")))
        desktop.run(binary(), "quit")
        vellumix.exit_code()
        vellumix.start()
        pid = vellumix.process.pid
        time.sleep(SETTLE_SECONDS)
        idle = memory(pid)
        print(f"before the first open, {payload / (1 << 20):.1f} MB of payload: {totals(idle)}")

        # Before anybody waits for a window to be mapped.
        target = Target(desktop)
        panel = Panel(desktop)
        first = panel.milliseconds(panel.toggle, "MapNotify")
        time.sleep(SETTLE_SECONDS)
        opened = memory(pid)
        times = {panel.toggle: [], panel.command: []}
        for ask, needed in times.items():
            for _ in range(ROUNDS):
                panel.milliseconds(panel.toggle, "UnmapNotify")
                time.sleep(0.3)
                needed.append(panel.milliseconds(ask, "MapNotify"))
                time.sleep(0.3)
        for what, needed in zip(("asked on the bus", "by `vellumix toggle`"), times.values()):
            print(f"later open, {what}: {sorted(needed)[ROUNDS // 2]:.1f} ms, {max(needed):.1f} at most")
        print(f"first open, asked on the bus: {first:.1f} ms")
        report_growth("after the first open", idle, opened)
        report_growth(f"after {2 * ROUNDS} more", opened, memory(pid))
        panel.milliseconds(panel.toggle, "UnmapNotify")
        measure_pasting(target, panel)
        panel.milliseconds(panel.toggle, "MapNotify")

        time.sleep(SETTLE_SECONDS)
        before = activity(pid)
        time.sleep(idle_seconds)
        after = activity(pid)
        switches = sum(count - before[0].get(thread, 0) for thread, count in after[0].items())
        print(f"open and idle for {idle_seconds:g} s: {switches} context switches, "
              f"{after[1] - before[1]} clock ticks of CPU")
        panel.close()
        target.close()
        vellumix.terminate()


if __name__ == "__main__":
    main()
