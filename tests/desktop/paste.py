#!/usr/bin/python3
"""The hotkey opens the panel over a real program, and the entry that is picked is in the program, byte for byte."""

import os
import time
import unittest
from pathlib import Path
from urllib.parse import quote

from harness import applications
from harness.desktop import PrivateDesktop
from harness.processes import Failure, wait_for
from harness.vellumix import Vellumix

# By the place of V and not by its letter.
HOTKEY = "super+alt+55"
LINES = "Grüße aus der Ωmega-Straße: 日本語, 👩‍👩‍👧 and e\u0301\n\tan indented line\n\nthe end"


class Pasting(unittest.TestCase):
    """A program on a desktop, and a person who picks entries in it."""

    window_manager = True
    # Programs may be started through the bus.
    services = False

    def setUp(self):
        self.desktop = PrivateDesktop(window_manager=self.window_manager, services=self.services)
        self.addCleanup(self.desktop.close)
        self.vellumix = Vellumix(self.desktop).start()

    def keys(self, *names):
        self.desktop.run("xdotool", "key", *names)

    def until(self, state):
        wait_for(f"the panel is {state}", lambda: self.vellumix.status()["panel"] == state)

    def copy(self, text, kind="text"):
        self.vellumix.until_recorded(kind, lambda: applications.copy_with_xclip(self.desktop, text))

    def pick(self, *keys):
        """Opens the panel, goes by keys from the newest entry to another, and takes it."""
        self.keys(HOTKEY)
        self.until("visible")
        self.keys(*keys, "Return")
        self.until("hidden")

    def until_file_holds(self, path, text, action=lambda: None, seconds=10, end=""):
        """`end` is what the program adds by itself."""
        def holds():
            action()
            return path.exists() and path.read_bytes() == (text + end).encode()
        try:
            wait_for(f"{path.name} holds what was picked", holds, seconds)
        except Failure as failure:
            found = path.read_bytes() if path.exists() else b""
            raise Failure(f"{failure}; it holds {len(found)} bytes: {found[:200]}") from None

    def editor(self, program, *options):
        path = self.desktop.home / f"{program} file.txt"
        path.write_bytes(b"")
        return path, applications.Window(self.desktop, program, program, *options, path)



class Paste(Pasting):
    def test_the_hotkey_opens_and_closes_the_panel(self):
        for state in ("visible", "hidden", "visible", "hidden"):
            self.keys(HOTKEY)
            self.until(state)

    def test_editors_get_every_byte_and_nothing_is_recorded_twice(self):
        self.copy(LINES)
        for program, option, end in (("mousepad", "--disable-server", ""), ("featherpad", "--standalone", "\n")):
            with self.subTest(program):
                path, window = self.editor(program, option)
                with window:
                    self.pick()
                    self.until_file_holds(path, LINES, lambda: self.keys("ctrl+s"), end=end)
                    if pictures := os.environ.get("VELLUMIX_PICTURES"):
                        self.desktop.picture(Path(pictures) / f"paste-{program}.png")
        self.assertEqual(self.vellumix.count(), 1)

    def test_what_is_larger_than_one_piece_arrives_whole(self):
        text = "\n".join(f"{number:07} of the lines of a long text" for number in range(40_000))
        self.copy(text)
        path, window = self.editor("mousepad", "--disable-server")
        with window:
            self.pick()
            self.until_file_holds(path, text, lambda: self.keys("ctrl+s"), seconds=30)

    def test_a_gtk_entry_gets_first_one_entry_and_then_another(self):
        self.copy("the older one")
        self.copy("the newer one+")
        path = self.desktop.home / "entry.txt"
        script = Path(applications.__file__).with_name("text-entry.py")
        with applications.Window(self.desktop, "text-entry.py", "/usr/bin/python3", script, path):
            self.pick()
            self.until_file_holds(path, "the newer one+")
            self.pick("Down")
            self.until_file_holds(path, "the newer one+the older one")

    def test_an_old_terminal_gets_it_by_its_own_keys_under_another_layout(self):
        self.copy(LINES)
        self.desktop.run("setxkbmap", "-layout", "ru,us", "-variant", ",dvorak")
        path = self.desktop.home / "typed.txt"
        with applications.Window(self.desktop, "xterm", "xterm", "-u8", "-e", "sh", "-c", f"cat > {path}"):
            self.pick()
            wait_for("the lines before the last one are there", lambda: path.exists() and path.read_bytes())
            self.desktop.run("setxkbmap", "us")
            self.keys("Return", "ctrl+d")
            self.until_file_holds(path, LINES, end="\n")

    def test_another_terminal_gets_it_by_the_keys_of_terminals(self):
        self.copy(LINES)
        path = self.desktop.home / "typed.txt"
        with applications.Window(self.desktop, "lxterminal", "lxterminal", "--no-remote", "-e", f"sh -c 'cat > {path}'"):
            self.pick()
            # The terminal hands the text on when its line is ended.
            wait_for("the lines before the last one are there", lambda: path.exists() and path.read_bytes())
            self.keys("Return", "ctrl+d")
            self.until_file_holds(path, LINES, end="\n")

    def test_file_managers_get_the_file(self):
        source = self.desktop.home / "päper & pen.txt"
        source.write_text("what is written on it")
        target = self.desktop.home / "elsewhere"
        target.mkdir()
        self.vellumix.until_recorded("file", lambda: applications.copy_with_xclip(
            self.desktop, f"file://{quote(str(source))}\r\n", "text/uri-list"))
        copied = target / source.name
        for program in ("pcmanfm", "thunar"):
            with self.subTest(program), applications.Window(self.desktop, program, program, target):
                self.pick()
                self.until_file_holds(copied, "what is written on it")
                copied.unlink()
        self.assertEqual(self.vellumix.count(), 1)

    def test_an_image_editor_gets_the_picture_and_whoever_asks_its_bytes(self):
        picture = self.desktop.home / "picture.png"
        canvas = self.desktop.home / "canvas.png"
        self.desktop.run("convert", "-size", "120x80", "gradient:red-blue", "-depth", "8", picture)
        self.desktop.run("convert", "-size", "300x200", "xc:white", canvas)
        self.vellumix.until_recorded("image", lambda: applications.copy_with_xclip(
            self.desktop, picture.read_bytes(), "image/png"))
        self.copy("something newer")
        # It greets those who haven't had it before.
        settings = self.desktop.config / "glib-2.0/settings/keyfile"
        settings.parent.mkdir(parents=True)
        settings.write_text("[com/github/maoschanz/drawing]\nlast-version='1.0.0'\n")
        with applications.Window(self.desktop, "drawing", "env", "GSETTINGS_BACKEND=keyfile", "drawing", canvas):
            self.pick("Down")
            # It is written a moment after the panel has gone.
            wait_for("the clipboard has the picture's own bytes", lambda: self.desktop.run(
                "xclip", "-selection", "clipboard", "-o", "-t", "image/png", text=False).stdout == picture.read_bytes())

            def is_saved():
                self.keys("ctrl+s")
                # The question comes up without a name to wait for.
                time.sleep(0.7)
                self.keys("Return")
                time.sleep(0.3)
                return self.desktop.run("compare", "-metric", "AE", f"{canvas}[120x80+0+0]", picture,
                                        "null:").stderr.strip() == "0"
            wait_for("the picture is at the top left of the canvas", is_saved)


class PasteWithoutAWindowManager(Pasting):
    window_manager = False

    def test_the_program_with_the_keyboard_gets_it_by_its_own_keys(self):
        self.copy(LINES)
        path = self.desktop.home / "typed.txt"
        self.desktop.start("xterm", "-u8", "-geometry", "60x10+40+40", "-e", "sh", "-c", f"cat > {path}")
        wait_for("the terminal is there", path.exists, seconds=20)
        # Without a window manager the keys go where the pointer is.
        self.desktop.run("xdotool", "mousemove", "100", "100")
        self.pick()
        wait_for("the lines before the last one are there", path.read_bytes)
        self.keys("Return", "ctrl+d")
        self.until_file_holds(path, LINES, end="\n")


class PasteUnderALayoutWithoutLatinLetters(Pasting):
    def test_a_gtk_entry_gets_it_and_the_fields_of_the_panel_have_their_keys(self):
        self.copy("the older one")
        self.copy("the newer one+")
        path = self.desktop.home / "entry.txt"
        script = Path(applications.__file__).with_name("text-entry.py")
        with applications.Window(self.desktop, "text-entry.py", "/usr/bin/python3", script, path):
            self.desktop.run("setxkbmap", "ru")
            # All of what was typed into the search is selected by the key of A and removed: without that, nothing is
            # found and nothing picked. 38 and 24 are the keys of an American board's A and Q.
            self.pick("24", "24", "ctrl+38", "BackSpace")
            self.until_file_holds(path, "the newer one+")


if __name__ == "__main__":
    unittest.main(verbosity=2)
