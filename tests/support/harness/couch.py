"""A server of the CouchDB protocol on loopback, with a person's database on it."""

import json
import plistlib
import subprocess
import uuid
from pathlib import Path

from .processes import Failure, wait_for

_ROOT = Path(__file__).resolve().parents[3]
_SERVER = _ROOT / "tests/couch/server"
_PACKAGES = _ROOT / "build/couch"


class CouchServer:
    """Its data goes with the desktop. `user` may use the database, which is there already."""

    ADMINISTRATOR = ("boss", "the administrator's")

    def __init__(self, desktop, user="ann", password="the server's password"):
        self.desktop = desktop
        self.user, self.password = user, password
        # npm wants a home folder that it can write to.
        installed = desktop.run(_SERVER / "install", _PACKAGES, seconds=300)
        if installed.returncode != 0:
            raise Failure(installed.stdout + installed.stderr)
        folder = desktop.folder / "couch"
        folder.mkdir()
        self.process = desktop.start("node", _SERVER / "server.js", folder, "0", cwd=_PACKAGES, text=True,
                                     stdout=subprocess.PIPE)
        self.address = f"http://127.0.0.1:{self.process.stdout.readline().split()[-1]}"
        name, secret = self.ADMINISTRATOR
        self.put(f"_config/admins/{name}", secret, by=None)
        self.put(f"_users/org.couchdb.user:{user}",
                 {"name": user, "password": password, "roles": [], "type": "user"}, by=self.ADMINISTRATOR)
        self.put("clipboardhistory", None, by=self.ADMINISTRATOR)
        self.put("clipboardhistory/_security",
                 {"admins": {"names": [], "roles": []}, "members": {"names": [user], "roles": []}},
                 by=self.ADMINISTRATOR)

    def put(self, path, value, by="user"):
        """By curl, as a person would."""
        who = (self.user, self.password) if by == "user" else by
        words = ["-u", ":".join(who)] if who else []
        if value is not None:
            words += ["-H", "Content-Type: application/json", "-d", json.dumps(value)]
        answer = self.desktop.run("curl", "-sS", "--fail-with-body", *words, "-X", "PUT", f"{self.address}/{path}")
        if answer.returncode != 0:
            raise Failure(f"PUT {path}: {answer.stdout}{answer.stderr}")

    def put_text(self, text):
        """A new record; returns its name."""
        name = str(uuid.uuid4()).upper()
        self.put(f"clipboardhistory/{name}",
                 {"kind": "text", "createdAt": "2026-11-23T10:00:00Z", "text": text})
        return name

    def until_sync(self, vellumix, **members):
        """Waits until the program says this of its sync; returns all that it says."""
        def said():
            sync = vellumix.status()["sync"]
            return sync if all(sync[name] == value for name, value in members.items()) else None
        try:
            return wait_for(f"sync is {members}", said)
        except Failure as failure:
            raise Failure(f"{failure}; it is {vellumix.status()['sync']}") from None


def switch_on(vellumix):
    """Sync, in the settings of a program that doesn't run."""
    settings = plistlib.loads(vellumix.settings.read_bytes()) | {"settings.iCloudSyncEnabled": True}
    vellumix.settings.write_bytes(plistlib.dumps(settings))
