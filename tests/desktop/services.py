#!/usr/bin/python3
"""What a build with addresses sends and fetches, all of it, and that a build without them sends nothing.

It is a program from the same sources whose addresses come from the environment; the servers are on this machine.
"""

import http.server
import json
import os
import platform
import plistlib
import re
import shutil
import stat
import subprocess
import threading
import unittest
import uuid
from pathlib import Path

from harness.desktop import PrivateDesktop
from harness.processes import wait_for
from harness.vellumix import BUS_NAME, Vellumix, binary

ROOT = Path(__file__).resolve().parents[2]
CONFIGURED = Path(os.environ.get("VELLUMIX_CONFIGURED", binary().parent / "vellumix_configured"))
# Nothing that HTTP doesn't need.
HEADERS = {"host", "accept"}


class Server:
    """Answers GET with `files` by path; keeps what it was asked. A path in `stalling` gets half of its file."""

    def __init__(self):
        self.requests, self.files, self.stalling = [], {}, set()
        self.ending = threading.Event()
        outer = self

        class Handler(http.server.BaseHTTPRequestHandler):
            def do_GET(self):
                self.keep(b"")
                content = outer.files.get(self.path)
                self.send_response(404 if content is None else 200)
                self.send_header("Content-Length", str(len(content or b"")))
                self.end_headers()
                if self.path not in outer.stalling:
                    self.wfile.write(content or b"")
                    return
                self.wfile.write(content[:len(content) // 2])
                self.wfile.flush()
                outer.ending.wait()

            def do_POST(self):
                self.keep(self.rfile.read(int(self.headers["Content-Length"])))
                self.send_response(204)
                self.end_headers()

            def keep(self, body):
                outer.requests.append((self.command, self.path, {k.lower(): v for k, v in self.headers.items()}, body))

            def log_message(self, *_):
                pass

        self.server = http.server.ThreadingHTTPServer(("127.0.0.1", 0), Handler)
        self.server.daemon_threads = True
        self.address = f"http://127.0.0.1:{self.server.server_port}"
        threading.Thread(target=self.server.serve_forever, daemon=True).start()

    def close(self):
        self.ending.set()
        self.server.shutdown()
        self.server.server_close()

    def paths(self):
        return [path for _, path, _, _ in self.requests]


def documented(beginning):
    """The command of docs/updates.md that begins so."""
    lines = (ROOT / "docs/updates.md").read_text().splitlines()
    return next(line.strip() for line in lines if line.startswith("    " + beginning))


class Services(unittest.TestCase):
    def setUp(self):
        self.desktop = PrivateDesktop()
        self.addCleanup(self.desktop.close)
        self.server = Server()
        self.addCleanup(self.server.close)
        self.vellumix = Vellumix(self.desktop)
        self.updates = self.vellumix.folder / "updates"

    def start(self, program, log_name=None, **environment):
        """Starts it, and writes down which libraries it loads."""
        if log_name:
            environment |= {"LD_DEBUG": "files", "LD_DEBUG_OUTPUT": str(self.desktop.folder / log_name)}
        self.vellumix.process = self.desktop.start(program, environment=environment, log=self.vellumix.log)
        wait_for("vellumix is ready", self.vellumix._is_ready)

    def loaded(self, log_name, library):
        path = self.desktop.folder / f"{log_name}.{self.vellumix.process.pid}"
        return f"/{library}" in path.read_text()

    def command(self, beginning, release=None):
        words = documented(beginning).replace("RELEASE", str(release))
        return subprocess.run(words, shell=True, check=True, cwd=self.desktop.folder, capture_output=True, text=True).stdout.strip()

    def announce(self, name, release):
        """A release in the feed, signed as the page says; the environment of a build that asks for it."""
        self.command("openssl genpkey")
        self.server.files = {f"/{name}": release.read_bytes(), "/feed.xml": f"""<?xml version="1.0"?>
            <rss version="2.0" xmlns:v="urn:v"><channel><item>
            <description>What is new.\n\nMore than before.</description>
            <enclosure url="{self.server.address}/{name}" length="{self.command("stat --format=%s", release)}"
             v:version="200" v:shortVersionString="2.0.0" v:edSignature="{self.command("openssl pkeyutl", release)}"/>
            </item></channel></rss>""".encode()}
        return {"SUFeedURL": f"{self.server.address}/feed.xml", "SUPublicEDKey": self.command("openssl pkey "),
                "CFBundleVersion": "100", "CFBundleShortVersionString": "1.0.0"}

    def install(self, picture=None):
        """Takes the offer that comes of itself, by keys alone."""
        window, = wait_for("the offer", lambda: self.desktop.run(
            "xdotool", "search", "--onlyvisible", "--class", "vellumix").stdout.split())
        wait_for("it has the keyboard", lambda: (
            self.desktop.run("xdotool", "windowactivate", window),
            self.desktop.run("xdotool", "getactivewindow").stdout.strip() == window)[1])
        if picture:
            self.desktop.picture(picture)
        # Later, skip, install: the last button of the window.
        for key in ("Tab", "Tab", "Tab", "Return"):
            self.desktop.run("xdotool", "key", "--clearmodifiers", key)

    def test_a_default_build_sends_nothing(self):
        self.start(binary(), "libraries", CFBundleVersion="1", VLXServiceURL=f"{self.server.address}/api",
                   SUFeedURL=f"{self.server.address}/feed.xml", SUPublicEDKey="A" * 43 + "=")
        self.assertEqual(self.vellumix.status()["updates"], "not configured")
        self.assertEqual(self.vellumix.terminate(), 0)
        self.assertTrue(self.loaded("libraries", "libgcrypt.so"))
        self.assertFalse(self.loaded("libraries", "libcurl"))
        self.assertEqual(self.server.requests, [])

    def test_a_launch_is_told_to_the_address_of_the_build(self):
        told = []
        for start in ("first", "second"):
            self.start(CONFIGURED, start, VLXServiceURL=f"{self.server.address}/api", CFBundleVersion="20100",
                       CFBundleShortVersionString="2.1.0", LANG="pt_BR.UTF-8")
            wait_for("the message", lambda: self.server.requests)
            self.assertEqual(self.vellumix.terminate(), 0)
            self.assertTrue(self.loaded(start, "libcurl"))
            (method, path, headers, body), = self.server.requests
            self.server.requests.clear()
            self.assertEqual((method, path, headers["content-type"]), ("POST", "/api/v1/telemetry", "application/json"))
            self.assertEqual(set(headers), HEADERS | {"content-type", "content-length"})
            told.append(json.loads(body))
        self.assertEqual(told[0], told[1])
        settings = plistlib.loads(self.vellumix.settings.read_bytes())
        self.assertEqual(told[0], {
            "deviceId": settings["com.tarnwick.Vellumix.deviceId"], "event": "app_open", "metadata": {},
            "osVersion": platform.freedesktop_os_release()["PRETTY_NAME"], "appVersion": "2.1.0 (20100)",
            "language": "pt", "country": "BR"})
        self.assertEqual(str(uuid.UUID(told[0]["deviceId"])).upper(), told[0]["deviceId"])

        self.start(CONFIGURED, "third", VLXServiceURL=f"{self.server.address}/api", DO_NOT_TRACK="1")
        self.assertEqual(self.vellumix.terminate(), 0)
        self.assertFalse(self.loaded("third", "libcurl"))
        self.assertEqual(self.server.requests, [])

    def test_an_appimage_is_replaced_and_started_anew(self):
        # A program that can be executed, with the mark of an AppImage in its head.
        release = self.desktop.folder / "release"
        program = bytearray(CONFIGURED.read_bytes())
        program[8:11] = b"AI\2"
        release.write_bytes(program)
        image = self.desktop.home / "Vellumix.AppImage"
        image.write_bytes(bytes(program[:4096]))
        image.chmod(0o750)
        mounted = self.desktop.folder / "mounted"
        mounted.mkdir()
        shutil.copy(CONFIGURED, mounted / "vellumix")
        environment = self.announce("Vellumix-2.0.0.AppImage", release)
        self.start(mounted / "vellumix", APPIMAGE=str(image), APPDIR=str(mounted), **environment)
        self.assertEqual(self.vellumix.status()["updates"], "configured")
        before = self.vellumix.process.pid
        self.install(os.environ.get("VELLUMIX_PICTURE"))
        self.assertEqual(self.vellumix.exit_code(seconds=30), 0, self.vellumix.log_text())
        self.assertEqual(image.read_bytes(), bytes(program))
        self.assertEqual(stat.S_IMODE(image.stat().st_mode), 0o750)
        self.assertEqual([path.name for path in self.desktop.home.glob("*update*")] +
                         [path.name for path in self.desktop.home.glob(".*update*")], [])
        self.assertEqual(self.server.paths(), ["/feed.xml", "/Vellumix-2.0.0.AppImage"])
        for method, _, headers, _ in self.server.requests:
            self.assertEqual(method, "GET")
            self.assertEqual(set(headers), HEADERS)
        # The new one is there, by its own name, and has nothing left to fetch today.
        wait_for("the new program answers", lambda: self.vellumix.command("status").returncode == 0)
        answer = self.desktop.call("org.freedesktop.DBus", "/org/freedesktop/DBus",
                                   "org.freedesktop.DBus.GetConnectionUnixProcessID", BUS_NAME)
        successor = int(re.search(r"uint32 (\d+)", answer.stdout)[1])
        self.assertNotEqual(successor, before)
        self.assertEqual(Path(f"/proc/{successor}/comm").read_text(), "Vellumix.AppIma\n")
        self.assertEqual(list(self.updates.iterdir()), [])
        self.assertEqual(self.vellumix.command("quit").returncode, 0)

    def test_a_package_is_handed_to_the_desktop_and_a_kill_leaves_nothing_for_long(self):
        release = self.desktop.folder / "release"
        release.write_bytes(os.urandom(3_000_000))
        environment = self.announce("vellumix.deb", release)
        applications = self.desktop.data / "applications"
        applications.mkdir()
        handed = self.desktop.folder / "handed"
        (applications / "installer.desktop").write_text(
            f"[Desktop Entry]\nType=Application\nName=Installer\nExec=cp %f {handed}\n"
            "MimeType=application/vnd.debian.binary-package;\n")
        (self.desktop.config / "mimeapps.list").write_text(
            "[Default Applications]\napplication/vnd.debian.binary-package=installer.desktop\n")

        self.server.stalling = {"/vellumix.deb"}
        self.start(CONFIGURED, **environment)
        self.install()
        part = self.updates / "update.deb"
        wait_for("half of it is there", lambda: part.exists() and part.stat().st_size > 1_000_000)
        self.assertEqual((stat.S_IMODE(part.stat().st_mode), stat.S_IMODE(self.updates.stat().st_mode)), (0o600, 0o700))
        self.vellumix.kill()
        self.assertTrue(part.exists())
        self.server.stalling = set()
        # The next start forgets when it asked, or it would ask tomorrow.
        settings = plistlib.loads(self.vellumix.settings.read_bytes())
        del settings["settings.updates.lastCheckAt"]
        self.vellumix.settings.write_bytes(plistlib.dumps(settings))
        self.start(CONFIGURED, **environment)
        self.assertFalse(part.exists())
        self.assertFalse(handed.exists())
        self.install()
        wait_for("the installer has it", lambda: handed.exists() and handed.stat().st_size == 3_000_000)
        self.assertEqual(handed.read_bytes(), release.read_bytes())
        self.assertEqual(self.vellumix.terminate(), 0)


if __name__ == "__main__":
    unittest.main(verbosity=2)
