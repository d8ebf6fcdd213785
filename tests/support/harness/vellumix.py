"""The built program on a private desktop."""

import json
import os
import signal
import time
from pathlib import Path

from .processes import Failure, end, wait_for

BUS_NAME = "com.tarnwick.Vellumix"
_ROOT = Path(__file__).resolve().parents[3]


def binary():
    """The program under test: $VELLUMIX, else the release build."""
    path = Path(os.environ.get("VELLUMIX", _ROOT / "build/release/vellumix"))
    if not os.access(path, os.X_OK):
        raise Failure(f"{path} has not been built")
    return path


class Vellumix:
    """One running instance. `start` returns when it is ready to record."""

    def __init__(self, desktop):
        self.desktop = desktop
        self.process = None
        self.folder = desktop.data / "Vellumix"
        self.file = self.folder / "history.json"
        self.settings = desktop.config / "Vellumix/settings.plist"
        self.log = desktop.log("vellumix")

    def start(self, environment=None, within=()):
        """`within`: a command that runs the program in its own place."""
        self.process = self.desktop.start(*within, binary(), environment=environment, log=self.log)
        wait_for(f"vellumix is ready; its log says: {self.log_text()!r}", self._is_ready)
        return self

    def command(self, *arguments, environment=None, seconds=20.0):
        """Runs the program with arguments to its end."""
        return self.desktop.run(binary(), *arguments, environment=environment, seconds=seconds)

    def status(self):
        answer = self.command("status", "--json")
        if answer.returncode != 0:
            raise Failure(f"vellumix status --json failed: {answer.stderr.strip()}")
        return json.loads(answer.stdout)

    def count(self, kind=None):
        """Entries of a kind, or all of them."""
        entries = self.status()["entries"]
        return entries.get(kind, 0) if kind else sum(entries.values())

    def until_recorded(self, kind, action):
        """Runs the action and waits until exactly one more entry of the kind is there; returns what it returned."""
        before = self.status()["entries"]
        made = action()
        try:
            wait_for(f"one more entry of kind {kind}", lambda: self.count(kind) == before.get(kind, 0) + 1)
        except Failure as failure:
            raise Failure(f"{failure}; it is {self.status()} and was {before}") from None
        return made

    def until_refused(self, action):
        """Runs the action, waits until a refusal is reported that was not there before; returns its reason."""
        before = self.status()["lastRefusal"]
        action()
        wait_for("the copy is refused", lambda: self.status()["lastRefusal"] != before)
        return self.status()["lastRefusal"]["reason"]

    def until_saved(self, action):
        """Runs the action and waits until the history file holds what it changed; returns what it returned."""
        before = self._version()
        made = action()
        wait_for("the history file is written", lambda: self._version() not in (None, before))
        # A save of what was there before the action may have been under way; the last one comes 0.35 s after the last
        # change.
        last, since = self._version(), time.monotonic()

        def settled():
            nonlocal last, since
            if self._version() != last:
                last, since = self._version(), time.monotonic()
            return time.monotonic() - since > 0.5
        wait_for("the saves come to an end", settled)
        return made

    def kill(self):
        """The end that leaves no time for anything."""
        self.process.kill()
        self.process.wait()

    def terminate(self, number=signal.SIGTERM):
        """Returns the exit code."""
        self.process.send_signal(number)
        return self.exit_code()

    def exit_code(self, seconds=10.0):
        return wait_for("vellumix has ended", lambda: (self.process.poll(),) if self.process.poll() is not None else None,
                        seconds)[0]

    def stop(self):
        end(self.process)

    def log_text(self):
        return self.log.read_text(errors="replace") if self.log.exists() else ""

    def _is_ready(self):
        if self.process.poll() is not None:
            raise Failure(f"vellumix ended with {self.process.returncode}: {self.log_text()}")
        return self.command("status", "--json").returncode == 0

    def _version(self):
        # A save renames a new file over the old one.
        try:
            found = self.file.stat()
            return found.st_ino, found.st_mtime_ns
        except FileNotFoundError:
            return None


def files_with(folder, text):
    """Every file under the folder that holds the text, in UTF-8 or UTF-16."""
    needles = [text.encode(), text.encode("utf-16-le")]
    return [path for path in sorted(folder.rglob("*")) if path.is_file() and not path.is_symlink()
            and any(needle in path.read_bytes() for needle in needles)]
