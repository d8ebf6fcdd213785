#!/usr/bin/python3
"""Start, memory and idleness of the built program on a private desktop.

    PYTHONPATH=tests/support bench/process.py [IDLE SECONDS] [OTHER CLIPBOARD MANAGER...]

Others, by the name of their command, are started on the same desktop for comparison of their memory.
"""

import base64
import json
import random
import sys
import time
import uuid
from pathlib import Path

import gi

from harness import applications
from harness.desktop import PrivateDesktop
from harness.vellumix import BUS_NAME, Vellumix, binary

gi.require_version("Gio", "2.0")
from gi.repository import Gio, GLib  # noqa: E402

ROUNDS = 9


def full_history():
    """180 texts of 1 to 5 KB and 20 images of 1 MB, in the plain form; returns the payload's size with it."""
    numbers = random.Random(1)
    records = []
    size = 0
    for number in range(200):
        record = {"id": str(uuid.UUID(int=numbers.getrandbits(128))).upper(), "date": 800000000 + number,
                  "kind": "text", "pinned": False, "locked": False, "isEncrypted": False}
        if number % 10 == 0:
            payload = numbers.randbytes(1 << 20)
            record |= {"kind": "image", "imageData": base64.b64encode(payload).decode()}
        else:
            payload = f"{number} ".encode() + base64.b64encode(numbers.randbytes(numbers.randrange(750, 3750)))
            record["text"] = payload.decode()
        size += len(payload)
        records.append(record)
    return json.dumps(records), size


def memory(pid):
    """Resident and private memory in MB."""
    fields = {}
    for line in Path(f"/proc/{pid}/smaps_rollup").read_text().splitlines()[1:]:
        name, value = line.split()[:2]
        fields[name.rstrip(":")] = int(value) / 1024
    return fields["Rss"], fields["Private_Clean"] + fields["Private_Dirty"]


def activity(pid):
    """Voluntary context switches by thread, and clock ticks of the process."""
    switches = {}
    for status in Path(f"/proc/{pid}/task").glob("*/status"):
        switches[status.parent.name] = next(int(line.split()[1]) for line in status.read_text().splitlines()
                                            if line.startswith("voluntary_ctxt_switches"))
    fields = Path(f"/proc/{pid}/stat").read_text().rsplit(")", 1)[1].split()
    return switches, int(fields[11]) + int(fields[12])


def milliseconds_to_ready(desktop, bus):
    """From the start of the process until it answers for its state, which it does when it is recording.

    Sleeps until the program has its name: who asked all the time would take the processors from it.
    """
    owned = GLib.MainLoop()

    def on_owner(_bus, _sender, _path, _interface, _signal, words):
        if words[2]:
            owned.quit()
    watch = bus.signal_subscribe("org.freedesktop.DBus", "org.freedesktop.DBus", "NameOwnerChanged",
                                 "/org/freedesktop/DBus", BUS_NAME, Gio.DBusSignalFlags.NONE, on_owner)
    # Else the bus may learn of it behind the program's start.
    bus.flush_sync(None)
    begin = time.monotonic()
    process = desktop.start(binary())
    late = GLib.timeout_add_seconds(10, owned.quit)
    owned.run()
    GLib.source_remove(late)
    bus.call_sync(BUS_NAME, "/com/tarnwick/Vellumix", "com.tarnwick.Vellumix.Control", "Status", None, None,
                  Gio.DBusCallFlags.NONE, 10_000, None)
    needed = (time.monotonic() - begin) * 1000
    bus.signal_unsubscribe(watch)
    return process, needed


def measure(desktop, bus, what, meant):
    times = []
    for _ in range(ROUNDS):
        process, needed = milliseconds_to_ready(desktop, bus)
        times.append(needed)
        desktop.run(binary(), "quit")
        process.wait()
    process, _ = milliseconds_to_ready(desktop, bus)
    time.sleep(1)
    resident, private = memory(process.pid)
    print(f"{what:<28} start to ready {sorted(times)[ROUNDS // 2]:6.1f} ms (meant: {meant})   "
          f"resident {resident:6.1f} MB   private {private:6.1f} MB")
    return process


def main():
    idle_seconds = float(sys.argv[1]) if len(sys.argv) > 1 else 30
    with PrivateDesktop() as desktop:
        bus = Gio.DBusConnection.new_for_address_sync(
            desktop.environment["DBUS_SESSION_BUS_ADDRESS"],
            Gio.DBusConnectionFlags.AUTHENTICATION_CLIENT | Gio.DBusConnectionFlags.MESSAGE_BUS_CONNECTION, None, None)
        process = measure(desktop, bus, "empty history", "40 ms, 12 MB, private 4 MB")
        before = activity(process.pid)
        time.sleep(idle_seconds)
        after = activity(process.pid)
        switches = sum(count - before[0].get(thread, 0) for thread, count in after[0].items())
        print(f"idle for {idle_seconds:g} s: {switches} context switches, {len(before[0]) - len(after[0])} threads ended, "
              f"{after[1] - before[1]} clock ticks of CPU")
        desktop.run(binary(), "quit")
        process.wait()

        vellumix = Vellumix(desktop)
        plain, payload = full_history()
        vellumix.file.write_text(plain)
        vellumix.start()
        vellumix.until_saved(lambda: vellumix.until_recorded(
            "link", lambda: applications.copy_with_xclip(desktop, "https://example.org/one-more")))
        assert vellumix.file.read_bytes()[:4] == b"VLX1"
        desktop.run(binary(), "quit")
        process = measure(desktop, bus, f"200 entries, {payload / (1 << 20):.1f} MB payload", "30 ms, payload on top")
        desktop.run(binary(), "quit")

        for other in sys.argv[2:]:
            compared = desktop.start(other)
            time.sleep(3)
            resident, private = memory(compared.pid)
            print(f"compared: {other:<18} {'':<46} resident {resident:6.1f} MB   private {private:6.1f} MB")
            compared.kill()


if __name__ == "__main__":
    main()
