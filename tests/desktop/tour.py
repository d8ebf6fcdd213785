#!/usr/bin/python3
"""A tour of the built program on a private screen: real programs copy, and one sees what becomes of it.

    tour.py [FOLDER FOR PICTURES]

Ends with 0 only if all that it shows is as it should be. A scene is a function; what a later scene needs from an
earlier one is in the `Tour`.
"""

import stat
import sys
import time
from contextlib import contextmanager
from pathlib import Path

from harness import applications
from harness.couch import CouchServer, switch_on
from harness.desktop import PrivateDesktop
from harness.passwords import PasswordService
from harness.processes import Failure, wait_for
from harness.vellumix import Vellumix, binary, files_with

NOTE = "Meet at the old harbour, under the clock."
LINK = "https://example.org/a/page?with=question#and-fragment"
EDITED = "Dear diary,\n\ntoday I learnt that violets smell of patience."
CODE = "for (int i = 0; i < n; ++i) {\n    if (!seen[i]) return i;\n}"
CARRIED = "Carried over the sea by a pigeon"
TERMINAL_WORD = "terminalWord7f3a"
FILE_NAME = "holiday plan.txt"
PASSWORD = "correct-horse-battery-staple-91"
OWNER_PASSWORD = "violet sky"
# By the place of V and not by its letter.
HOTKEY = "super+alt+55"


class Tour:
    def __init__(self, desktop, pictures):
        self.desktop = desktop
        self.pictures = pictures
        self.vellumix = Vellumix(desktop)
        passwords = PasswordService(desktop, OWNER_PASSWORD)
        self.passwords = passwords if passwords.is_possible() else None
        self.owners = []

    def start(self):
        self.vellumix.start(within=self.passwords.command if self.passwords else ())

    def say(self, text):
        print(f"    {text}", flush=True)

    def picture(self, name, part=()):
        path = self.pictures / f"{name}.png"
        self.desktop.picture(path, part)
        self.say(f"picture: {path}")

    def later_picture(self, name):
        """The middle of the screen, once everything that moves has come to rest."""
        time.sleep(0.6)
        self.picture(name, "664x528+308+136")

    def show_state(self):
        """For whoever wonders why the tour stopped."""
        self.picture("stopped")
        print(self.vellumix.command("status").stdout, self.vellumix.log_text())

    def keys(self, *names):
        self.desktop.run("xdotool", "key", *names)

    def type(self, text):
        self.desktop.run("xdotool", "type", text)

    def point(self, x, y):
        self.desktop.run("xdotool", "mousemove", str(x), str(y), "click", "1")

    def until_panel(self, state):
        wait_for(f"the panel is {state}", lambda: self.vellumix.status()["panel"] == state)

    def open_panel(self):
        self.keys(HOTKEY)
        self.until_panel("visible")

    def until_asked(self):
        wait_for("the password is asked for", lambda: self.desktop.run(
            "xdotool", "getactivewindow", "getwindowname").stdout.strip() == "Vellumix")

    @contextmanager
    def letter(self):
        """An empty file in an editor, which is in front."""
        path = self.desktop.home / "letter.txt"
        path.write_bytes(b"")
        with applications.Window(self.desktop, "mousepad", "mousepad", "--disable-server", path):
            yield path

    def expect_letter(self, path, text):
        def holds():
            self.keys("ctrl+s")
            return path.read_bytes() == text.encode()
        wait_for("the letter holds what was picked, byte for byte", holds)
        self.say("the letter holds what was picked, byte for byte: yes")

    def recorded(self, who, kind, action):
        self.vellumix.until_recorded(kind, action)
        self.say(f"{who:<44} recorded as {kind}")

    def expect(self, what, holds):
        if not holds:
            raise Failure(f"this should hold and does not: {what}")
        self.say(f"{what}: yes")


def scene_start(tour):
    """The program starts on the screen, and remembers nothing yet"""
    tour.start()
    tour.expect("the history is empty", tour.vellumix.count() == 0)


def scene_copies(tour):
    """Real programs make copies"""
    desktop, record = tour.desktop, tour.recorded
    record("xclip, a sentence", "text", lambda: applications.copy_with_xclip(desktop, NOTE))
    record("xclip, an address", "link", lambda: applications.copy_with_xclip(desktop, LINK))
    record("mousepad, a letter", "text", lambda: applications.copy_in_editor(
        desktop, EDITED, "mousepad", then=lambda: tour.picture("editor")))
    record("featherpad, a piece of a program", "code", lambda: applications.copy_in_editor(
        desktop, CODE, "featherpad"))
    record("xterm, a word taken with a double click", "text", lambda: applications.copy_in_terminal(
        desktop, TERMINAL_WORD, then=lambda: tour.picture("terminal")))
    record("thunar, a file", "file", lambda: applications.copy_in_file_manager(
        desktop, FILE_NAME, "thunar", then=lambda: tour.picture("file-manager")))
    image = tour.pictures / "editor.png"
    record("xclip, a picture of the screen", "image", lambda: applications.copy_with_xclip(
        desktop, image.read_bytes(), "image/png"))


def scene_owner_dies(tour):
    """A program that copied has gone, and its copy can still be pasted"""
    desktop = tour.desktop
    owner = tour.vellumix.until_saved(lambda: tour.vellumix.until_recorded(
        "text", lambda: applications.copy_with_xclip(desktop, "outlives xclip")))
    owner.kill()
    owner.wait()
    tour.expect("another program still gets it", applications.wait_for(
        "the copy comes back", lambda: applications.clipboard(desktop)) == "outlives xclip")


def scene_secret(tour):
    """A password manager copies, and nothing of it is kept"""
    before = tour.vellumix.count()
    reason = tour.vellumix.until_refused(lambda: tour.owners.append(applications.offer(
        tour.desktop, {"UTF8_STRING": PASSWORD, "x-kde-passwordManagerHint": "secret"})))
    tour.say(f"refused: {reason}")
    tour.expect("the number of entries is what it was", tour.vellumix.count() == before)


def scene_file(tour):
    """The history is one file that tells nobody anything"""
    file = tour.vellumix.file
    tour.say(f"its key lies in: {tour.vellumix.status()['keychain']}")
    dump = tour.desktop.run("hexdump", "-C", "-n", "64", file).stdout
    for line in dump.splitlines():
        tour.say(line)
    tour.expect("it begins with VLX1", file.read_bytes()[:4] == b"VLX1")
    tour.expect("the file is for its owner alone (0600)", stat.S_IMODE(file.stat().st_mode) == 0o600)
    tour.expect("and so is its folder (0700)", stat.S_IMODE(file.parent.stat().st_mode) == 0o700)
    # What the programs themselves keep, their own files and settings, isn't ours; the rest of the home folder is
    # searched for everything that was copied.
    own = {tour.desktop.home / "mousepad.txt", tour.desktop.home / "featherpad.txt"}
    for text in (NOTE, LINK, EDITED, CODE, TERMINAL_WORD, PASSWORD, "outlives xclip"):
        for path in files_with(tour.desktop.home, text):
            if path not in own:
                raise Failure(f"{path} holds {text!r} in the clear")
    for text in (NOTE, LINK, TERMINAL_WORD, FILE_NAME, PASSWORD):
        if text in tour.vellumix.log_text():
            raise Failure(f"the log holds {text!r}")
    tour.say("no copied text can be read anywhere in the home folder, nor in the log")


def scene_paste(tour):
    """The hotkey, a few letters and Return, and an old copy is in the letter that is being written"""
    before = tour.vellumix.count()
    with tour.letter() as letter:
        tour.open_panel()
        # The fade takes 0.2 s, and nothing tells its end.
        tour.later_picture("panel")
        tour.type("HARB")
        tour.later_picture("search")
        tour.keys("Return")
        tour.until_panel("hidden")
        tour.expect_letter(letter, NOTE)
        tour.later_picture("pasted")
    tour.expect("what the program pasted isn't recorded as a copy", tour.vellumix.count() == before)


def scene_lock(tour):
    """An entry is locked, and wants a password before it is pasted"""
    with tour.letter() as letter:
        tour.open_panel()
        tour.type("HARB")
        # The lock of the only card, in the middle of 1280 x 800.
        tour.point(807, 389)
        wait_for("the entry is locked", lambda: tour.vellumix.status()["locked"] == 1)
        tour.later_picture("locked")
        tour.keys("Escape")
        tour.until_panel("hidden")
        if not tour.passwords:
            tour.say("here nobody can have a password service of one's own, so the entry stays locked")
            return

        tour.open_panel()
        tour.type("HARB")
        tour.keys("Return")
        tour.until_asked()
        tour.later_picture("password")
        tour.type("a wrong one")
        tour.keys("Return")
        tour.later_picture("password-wrong")
        tour.expect("nothing has come of it", letter.read_bytes() == b"")
        tour.type(OWNER_PASSWORD)
        tour.keys("Return")
        tour.until_panel("hidden")
        tour.expect_letter(letter, NOTE)
        tour.later_picture("pasted-locked")
    tour.expect("the entry is locked still", tour.vellumix.status()["locked"] == 1)


def scene_theme(tour):
    """The panel changes into the dark"""
    tour.open_panel()
    # The gear at its top right, and the dark theme on the settings page.
    tour.point(870, 204)
    tour.point(590, 308)
    tour.later_picture("settings-dark")
    tour.point(870, 204)
    tour.later_picture("panel-dark")
    tour.keys("Escape")
    tour.until_panel("hidden")


def scene_restart(tour):
    """The program is killed and started again"""
    before = tour.vellumix.status()
    tour.vellumix.kill()
    tour.say("killed with SIGKILL")
    tour.start()
    after = tour.vellumix.status()
    for key in ("entries", "pinned", "locked", "keychain"):
        if after[key] != before[key]:
            raise Failure(f"{key} was {before[key]} and is {after[key]}")
    tour.say("entries: " + ", ".join(f"{count} {kind}" for kind, count in after["entries"].items() if count))
    tour.say("the history is what it was")


def scene_cloud(tour):
    """An entry comes from a database of the person's own"""
    server = CouchServer(tour.desktop)
    tour.vellumix.stop()
    stored = tour.desktop.run(binary(), "account", "set", server.address, "--user", server.user,
                              input=server.password, stdin=None)
    tour.say(stored.stdout.strip())
    switch_on(tour.vellumix)
    server.put_text(CARRIED)
    tour.start()
    tour.say(f"sync: {server.until_sync(tour.vellumix, state='idle', text='')}")
    with tour.letter() as letter:
        tour.open_panel()
        tour.later_picture("from-the-cloud")
        tour.keys("Return")
        tour.until_panel("hidden")
        tour.expect_letter(letter, CARRIED)


def scene_quit(tour):
    """A person ends it"""
    tour.expect("vellumix quit", tour.vellumix.command("quit").returncode == 0)
    tour.expect("it ended with 0", tour.vellumix.exit_code() == 0)


SCENES = [scene_start, scene_copies, scene_owner_dies, scene_secret, scene_file, scene_paste, scene_lock,
          scene_theme, scene_restart, scene_cloud, scene_quit]


def main():
    pictures = Path(sys.argv[1] if len(sys.argv) > 1 else "tour").resolve()
    place = "starting a private screen"
    try:
        with PrivateDesktop(services=True) as desktop:
            tour = Tour(desktop, pictures)
            for number, scene in enumerate(SCENES, 1):
                place = scene.__doc__
                print(f"\n{number}. {place}", flush=True)
                try:
                    scene(tour)
                except Failure:
                    tour.show_state()
                    raise
    except Failure as failure:
        print(f"\nThe tour stopped at: {place}\n{failure}", file=sys.stderr)
        return 1
    print("\nAll of it held.")
    return 0


if __name__ == "__main__":
    sys.exit(main())
