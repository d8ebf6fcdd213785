#!/usr/bin/python3
"""Files that were cut by the shortcut, in real file managers, are pasted from the panel into another folder."""

import shutil
import time
import unittest

import paste
from harness import applications
from harness.processes import Failure, wait_for

# X by its place and not by its letter.
CUT = "super+53"
# Each with the class of its window.
FILE_MANAGERS = ("thunar", "pcmanfm", "pcmanfm-qt")


class CutFiles(paste.Pasting):
    # With the service by which file managers know of a trash; without it some delete for good.
    services = True

    def folder(self, name):
        folder = self.desktop.home / name
        folder.mkdir()
        return folder

    def cut(self, program, source):
        """All that is in a folder goes to the trash; it is recorded as one entry."""
        with applications.Window(self.desktop, program, program, source) as window:
            self.vellumix.until_recorded("file", lambda: self.take_away(window, source))

    def take_away(self, window, source):
        """What a person does for a cut: selects files, which a copy shows to be so, and presses the shortcut."""
        def copy():
            window.keys("ctrl+a")
            # PCManFM-Qt copies names as text until it has seen what is selected.
            time.sleep(0.3)
            window.keys("ctrl+c")
        window.until_copied("file://", copy, "text/uri-list")
        self.keys(CUT)

        def is_empty():
            try:
                return wait_for("the folder is empty", lambda: not any(source.iterdir()), seconds=1)
            except Failure:
                # Some ask first.
                self.keys("Return")
                return False
        wait_for(f"{source} is empty", is_empty)

    def paste_into(self, program, target, expected, *picks):
        """Opens a folder, picks entries, and waits for the files, by their paths in the folder, and their contents."""
        with applications.Window(self.desktop, program, program, target):
            for number, keys in enumerate(picks, 1):
                self.pick(*keys)
                wait_for(f"{number} are in {target}", lambda: len(list(target.iterdir())) == number)
            try:
                wait_for("they are whole", lambda: self.contents(target) == expected)
            except Failure as failure:
                raise Failure(f"{failure}: {self.contents(target)} instead of {expected}") from None
        # So long after a paste, copies go unrecorded.
        time.sleep(0.7)

    def contents(self, folder):
        return {str(path.relative_to(folder)): path.read_text() for path in folder.rglob("*")
                if path.is_file() and not path.is_symlink()}

    def test_one_file_three_files_and_a_folder(self):
        for program in FILE_MANAGERS:
            with self.subTest(program):
                # The trash has another file from the same place, so that this one has another name there.
                source, target = self.folder(f"{program} one"), self.folder(f"{program} one pasted")
                file = source / f"naïve % {program}\n.txt"
                file.write_text("older")
                self.desktop.run("gio", "trash", file)
                file.write_text("newer")
                self.cut(program, source)
                self.paste_into(program, target, {file.name: "newer"}, ())

                names = [f"{program} {letter}" for letter in "abc"]
                for name in names:
                    source = self.folder(name)
                    (source / name).write_text(f"content of {name}")
                    self.cut(program, source)
                target = self.folder(f"{program} three pasted")
                self.paste_into(program, target, {name: f"content of {name}" for name in names},
                                (), ("Down",), ("Down", "Down"))

                source, target = self.folder(f"{program} folder"), self.folder(f"{program} folder pasted")
                album = f"{program} album"
                (source / album / "songs").mkdir(parents=True)
                (source / album / "songs/one.ogg").write_text("music")
                (source / album / "cover").write_text("picture")
                self.cut(program, source)
                self.paste_into(program, target, {f"{album}/songs/one.ogg": "music", f"{album}/cover": "picture"},
                                ())

    def test_of_files_that_are_cut_together_the_first_is_recorded(self):
        source, target = self.folder("source"), self.folder("target")
        for name in ("a", "b", "c"):
            (source / name).write_text(name)
        self.cut("thunar", source)
        self.paste_into("thunar", target, {"a": "a"}, ())
        self.assertEqual(self.vellumix.count(), 1)

    def test_of_what_was_offered_nothing_stays_behind_and_the_trash_is_as_it_was(self):
        source, target = self.folder("source"), self.folder("target")
        (source / "letter.txt").write_text("dear all")
        self.cut("pcmanfm", source)
        trash = self.desktop.data / "Trash"
        before = self.contents(trash)
        self.paste_into("pcmanfm", target, {"letter.txt": "dear all"}, ())
        offered = list(self.vellumix.folder.glob("offered-*"))
        self.assertEqual(len(offered), 1)
        self.vellumix.kill()
        self.vellumix.start()
        wait_for("what a killed program left is removed", lambda: not offered[0].exists())
        (target / "letter.txt").unlink()
        self.paste_into("pcmanfm", target, {"letter.txt": "dear all"}, ())
        self.assertEqual(self.vellumix.terminate(), 0)
        self.assertEqual(list(self.vellumix.folder.glob("offered-*")), [])
        self.assertEqual(self.contents(trash), before)

    def test_after_the_trash_was_emptied_nothing_is_pasted_and_a_file_that_is_back_is(self):
        source, target = self.folder("source"), self.folder("target")
        (source / "letter.txt").write_text("dear all")
        self.cut("thunar", source)
        self.copy("a text")
        shutil.rmtree(self.desktop.data / "Trash")
        path, window = self.editor("mousepad", "--disable-server")
        with window:
            self.pick("Down")
            self.pick()
            # Had the first one pasted a path, it would stand before the text.
            self.until_file_holds(path, "a text", lambda: self.keys("ctrl+s"))
        (source / "letter.txt").write_text("dear all")
        self.paste_into("thunar", target, {"letter.txt": "dear all"}, ("Down",))


if __name__ == "__main__":
    unittest.main(verbosity=2)
