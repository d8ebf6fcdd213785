"""A desktop of its own: home folder, virtual screen, window manager, session bus and keyring, nothing shared."""

import os
import re
import shutil
import subprocess
import tempfile
from pathlib import Path

from .processes import Failure, end, end_everything, run, start, wait_for

# A bus on which nothing can be activated: what runs is what the test started.
_QUIET_BUS = """<!DOCTYPE busconfig PUBLIC "-//freedesktop//DTD D-Bus Bus Configuration 1.0//EN"
 "http://www.freedesktop.org/standards/dbus/1.0/busconfig.dtd">
<busconfig>
  <type>session</type>
  <listen>{address}</listen>
  <policy context="default">
    <allow send_destination="*"/> <allow receive_sender="*"/> <allow own="*"/>
  </policy>
</busconfig>
"""


class PrivateDesktop:
    """Use as a context manager; everything ends and disappears with it.

    `services`: programs on the bus may be started on demand, as in a real session.
    `keyring`: "unlocked", "locked" or None.
    """

    KEYRING_PASSWORD = "the keyring's password"

    def __init__(self, screen=True, window_manager=True, bus=True, services=False, keyring="unlocked"):
        self.folder = Path(tempfile.mkdtemp(prefix="vellumix-desktop."))
        self.home = self.folder / "home"
        self.runtime = self.folder / "run"
        self.data = self.home / ".local/share"
        self.config = self.home / ".config"
        for path in (self.home, self.runtime, self.data, self.config):
            path.mkdir(mode=0o700, parents=True)
        kept = {name: os.environ[name] for name in ("PATH", "USER", "LOGNAME", "ASAN_OPTIONS") if name in os.environ}
        self.environment = kept | {
            "HOME": str(self.home),
            "LANG": "C.UTF-8",
            "XDG_RUNTIME_DIR": str(self.runtime),
            "XDG_DATA_HOME": str(self.data),
            "XDG_CONFIG_HOME": str(self.config),
            "XDG_CACHE_HOME": str(self.home / ".cache"),
            "XDG_STATE_HOME": str(self.home / ".local/state"),
            "GDK_BACKEND": "x11",
            "QT_QPA_PLATFORM": "xcb",
            # Without it every GTK program first waits for an accessibility bus.
            "NO_AT_BRIDGE": "1",
        }
        self.screen = self.window_manager = self.bus = self.keyring = None
        try:
            if screen:
                self.start_screen()
            if window_manager:
                self.start_window_manager()
            if bus:
                self._start_bus(services)
                if keyring:
                    self.start_keyring()
                if keyring == "locked":
                    self.lock_keyring()
        except BaseException:
            self.close()
            raise

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self.close()

    def close(self):
        end_everything()
        log = self.log("vellumix")
        missing = re.findall(r"The program has no (?:text|symbol) .*", log.read_text(errors="replace") if log.exists() else "")
        # A program that was ended may still have been writing; what it made just now is removed again.
        shutil.rmtree(self.folder, ignore_errors=True)
        if missing:
            raise Failure(f"vellumix asked for what it doesn't have: {missing}")

    def log(self, name):
        return self.folder / f"{name}.log"

    def start(self, *arguments, environment=None, log=None, **options):
        return start(arguments, self.environment | (environment or {}),
                     log or self.log(Path(str(arguments[0])).name), **options)

    def run(self, *arguments, environment=None, **options):
        return run(arguments, self.environment | (environment or {}), **options)

    def stop_screen(self):
        end(self.screen)

    def stop_keyring(self):
        end(self.keyring)
        wait_for("the keyring leaves the bus", lambda: not self.has_name("org.freedesktop.secrets"))

    def start_keyring(self):
        self.keyring = self.start("gnome-keyring-daemon", "--foreground", "--unlock", "--components=secrets",
                                  stdin=subprocess.PIPE)
        self.keyring.stdin.write(self.KEYRING_PASSWORD.encode())
        self.keyring.stdin.close()
        wait_for("the keyring is on the bus", lambda: self.has_name("org.freedesktop.secrets"))
        wait_for("the keyring is unlocked", lambda: self._is_keyring_locked() is False)

    def lock_keyring(self):
        self.call("org.freedesktop.secrets", "/org/freedesktop/secrets", "org.freedesktop.Secret.Service.Lock",
                   "['/org/freedesktop/secrets/collection/login']")
        wait_for("the keyring is locked", self._is_keyring_locked)

    def has_name(self, name):
        answer = self.call("org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus.NameHasOwner", name)
        return "true" in answer.stdout

    def call(self, destination, path, method, *arguments):
        """A method call on the session bus; the completed gdbus."""
        return self.run("gdbus", "call", "--session", "-d", destination, "-o", path, "-m", method, *arguments)

    def picture(self, path, part=()):
        """Of the whole screen, or of a part as ImageMagick's -crop names it."""
        path = Path(path)
        path.parent.mkdir(parents=True, exist_ok=True)
        cut = ["-crop", part, "+repage"] if part else []
        if self.run("import", "-window", "root", *cut, path).returncode != 0 or not path.exists():
            raise Failure(f"no picture of the screen could be taken into {path}")

    def start_screen(self):
        readable, writable = os.pipe()
        try:
            # The server finds a free display by itself: a fixed number would clash with whatever runs beside us.
            self.screen = self.start("Xvfb", "-displayfd", str(writable), "-screen", "0", "1280x800x24",
                                     "-nolisten", "tcp", "-noreset", pass_fds=[writable])
        finally:
            os.close(writable)
        with os.fdopen(readable) as numbers:
            number = numbers.readline().strip()
        if not number:
            raise Failure(f"the virtual screen did not start: {self.log('Xvfb').read_text()}")
        self.environment["DISPLAY"] = f":{number}"

    def start_window_manager(self):
        self.window_manager = self.start("openbox")
        wait_for("the window manager is there",
                 lambda: "0x" in self.run("xprop", "-root", "_NET_SUPPORTING_WM_CHECK").stdout)

    def _start_bus(self, services):
        configuration = self.folder / "bus.conf"
        address = f"unix:dir={self.runtime}"
        configuration.write_text(_QUIET_BUS.format(address=address))
        kind = "--session" if services else f"--config-file={configuration}"
        readable, writable = os.pipe()
        try:
            self.bus = self.start("dbus-daemon", kind, f"--address={address}", "--nofork", "--nopidfile",
                                  f"--print-address={writable}", pass_fds=[writable])
        finally:
            os.close(writable)
        with os.fdopen(readable) as addresses:
            address = addresses.readline().strip()
        if not address:
            raise Failure(f"the session bus did not start: {self.log('dbus-daemon').read_text()}")
        self.environment["DBUS_SESSION_BUS_ADDRESS"] = address

    def _is_keyring_locked(self):
        answer = self.call("org.freedesktop.secrets", "/org/freedesktop/secrets/collection/login",
                            "org.freedesktop.DBus.Properties.Get", "org.freedesktop.Secret.Collection", "Locked")
        if answer.returncode != 0:
            return None
        return "true" in answer.stdout
