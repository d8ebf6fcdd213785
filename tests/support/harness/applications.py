"""Copies made in real programs, the way a person makes them: with windows, keys and the pointer."""

import json
import subprocess
from pathlib import Path

from .processes import Failure, end, wait_for

_OFFER = Path(__file__).with_name("offer-targets.py")


def clipboard(desktop, target=None):
    """What a program that pastes would get now, as text, or None when nobody offers it."""
    wanted = ["-t", target] if target else []
    pasted = desktop.run("xclip", "-selection", "clipboard", "-o", *wanted, text=False)
    return pasted.stdout.decode(errors="replace") if pasted.returncode == 0 else None


def copy_with_xclip(desktop, content, target=None):
    """Copies bytes or text; the owner stays alive until it loses the clipboard or is ended."""
    wanted = ["-t", target] if target else []
    return _pipe_into(desktop, content, "xclip", "-selection", "clipboard", "-quiet", *wanted, "-i")


def copy_with_xsel(desktop, content):
    return _pipe_into(desktop, content, "xsel", "--clipboard", "--nodetach", "--input")


def _pipe_into(desktop, content, *arguments):
    process = desktop.start(*arguments, stdin=subprocess.PIPE)
    process.stdin.write(_bytes(content))
    process.stdin.close()
    return process


def offer(desktop, targets):
    """A program that offers several targets at once, as password managers and office programs do."""
    owner = desktop.start("/usr/bin/python3", _OFFER, stdin=subprocess.PIPE, stdout=subprocess.PIPE)
    # Through a pipe: a payload in a file would be found by the search for secrets.
    owner.stdin.write(json.dumps({name: _bytes(content).hex() for name, content in targets.items()}).encode())
    owner.stdin.close()
    if owner.stdout.readline() != b"owned\n":
        raise Failure("the program that offers several targets could not take the clipboard")
    return owner


def _bytes(content):
    return content.encode() if isinstance(content, str) else content


class Window:
    """A program with a window, in front and with the keyboard. Ends with the context."""

    def __init__(self, desktop, window_class, *arguments):
        self._desktop = desktop
        self._process = desktop.start(*arguments)
        try:
            self._window = wait_for(f"a window of {arguments[0]}", lambda: self._search(window_class), seconds=20)
            wait_for(f"{arguments[0]} has the keyboard", self._is_in_front, seconds=20)
        except Failure:
            self.close()
            raise

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self.close()

    def close(self):
        end(self._process)

    def keys(self, *names):
        self._desktop.run("xdotool", "key", "--clearmodifiers", *names)

    def double_click(self, x, y):
        self._desktop.run("xdotool", "mousemove", "--window", self._window, str(x), str(y),
                          "click", "--repeat", "2", "--delay", "40", "1")

    def until_copied(self, expected, action, target=None):
        """Repeats the copying until another program could paste `expected`.

        A window that is mapped and focused may not listen to keys yet, and no program says when it does.
        """
        def copied():
            action()
            try:
                wait_for("the copy", lambda: expected in (clipboard(self._desktop, target) or ""), seconds=0.5)
                return True
            except Failure:
                return False
        wait_for(f"a copy that holds {expected!r}", copied, seconds=20)

    def _search(self, window_class):
        found = self._desktop.run("xdotool", "search", "--onlyvisible", "--class", window_class).stdout.split()
        return found[-1] if found else None

    def _is_in_front(self):
        self._desktop.run("xdotool", "windowactivate", self._window)
        return self._desktop.run("xdotool", "getactivewindow").stdout.strip() == self._window


def copy_in_editor(desktop, text, program="mousepad", then=None):
    """Opens a file in a text editor, selects all, copies. `then` runs while the window is still open."""
    path = desktop.home / f"{program}.txt"
    path.write_text(text)
    options = {"mousepad": ["--disable-server"], "featherpad": ["--standalone"]}[program]
    with Window(desktop, program, program, *options, path) as editor:
        editor.until_copied(text, lambda: editor.keys("ctrl+a", "ctrl+c"))
        if then:
            then()


def copy_in_terminal(desktop, word, then=None):
    """Double-clicks a word that a terminal shows, so that the terminal copies it."""
    with Window(desktop, "xterm", "xterm", "-geometry", "60x4+600+500", "-xrm", "XTerm*selectToClipboard: true",
                "-e", "sh", "-c", f"printf '%s\\n' '{word}' '{word}'; cat") as terminal:
        terminal.until_copied(word, lambda: terminal.double_click(30, 10))
        if then:
            then()


def copy_in_file_manager(desktop, name, program="thunar", then=None):
    """Opens a folder with one file of that name, selects it, copies it. Returns the file's path."""
    folder = desktop.home / f"{program} folder"
    folder.mkdir(exist_ok=True)
    (folder / name).write_text("content of the file\n")
    options = {"thunar": [], "pcmanfm": ["--no-desktop"]}[program]
    with Window(desktop, program, program, *options, folder) as manager:
        manager.until_copied("file://", lambda: manager.keys("ctrl+a", "ctrl+c"), "text/uri-list")
        if then:
            then()
    return folder / name
