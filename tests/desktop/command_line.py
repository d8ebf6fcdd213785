#!/usr/bin/python3
"""What the program says to its arguments, to a second start, and to a desktop on which something is missing."""

import plistlib
import tempfile
import unittest
from pathlib import Path

from harness import applications
from harness.desktop import PrivateDesktop
from harness.processes import Failure, run, start, wait_for
from harness.vellumix import BUS_NAME, Vellumix, binary


class WithoutAnything(unittest.TestCase):
    def ask(self, *arguments):
        return run([binary(), *arguments], {"PATH": "/usr/bin", "HOME": "/nonexistent"})

    def test_help_and_version_need_neither_display_nor_bus_nor_home(self):
        help_text = self.ask("--help")
        self.assertEqual((help_text.returncode, help_text.stderr), (0, ""))
        for word in ("status", "--json", "quit", "--platform=headless", "-resetOnboarding", "--version"):
            self.assertIn(word, help_text.stdout)
        version = self.ask("--version")
        self.assertEqual((version.returncode, version.stderr), (0, ""))
        self.assertRegex(version.stdout, r"\d+\.\d+\.\d+\n$")

    def test_it_speaks_the_language_of_the_desktop_unless_another_was_chosen(self):
        with tempfile.TemporaryDirectory() as home:
            def answer(*arguments):
                return run([binary(), *arguments], {"PATH": "/usr/bin", "HOME": home, "LANG": "pt_BR.UTF-8"})
            self.assertIn("encerra o programa em execução", answer("--help").stdout)
            self.assertIn("Palavra desconhecida", answer("--nonsense").stderr)
            settings = Path(home, ".config/Vellumix/settings.plist")
            settings.parent.mkdir(parents=True)
            settings.write_bytes(plistlib.dumps({"settings.language": "es"}))
            self.assertIn("cierra el programa en ejecución", answer("--help").stdout)
            self.assertIn("No hay bus de sesión", answer("status").stderr)
            self.assertEqual(list(settings.parent.iterdir()), [settings])

    def test_a_word_that_it_does_not_know_is_named_in_one_line(self):
        for words in (["--nonsense"], ["status", "--nonsense"], ["--json"]):
            answer = self.ask(*words)
            self.assertEqual(answer.returncode, 2, words)
            self.assertEqual(answer.stderr.count("\n"), 1, answer.stderr)
            self.assertIn(words[-1], answer.stderr)


class WithSomethingMissing(unittest.TestCase):
    def test_no_display_is_one_line_and_an_end(self):
        with PrivateDesktop(screen=False, window_manager=False) as desktop:
            answer = desktop.run(binary())
            self.assertEqual(answer.returncode, 1)
            self.assertEqual(answer.stderr.count("\n"), 1, answer.stderr)
            self.assertIn("display", answer.stderr)
            self.assertEqual(list(desktop.home.rglob("history*")), [])

    def test_no_window_manager_is_one_line_and_copies_are_recorded(self):
        with PrivateDesktop(window_manager=False) as desktop:
            vellumix = Vellumix(desktop).start()
            vellumix.until_recorded("text", lambda: applications.copy_with_xclip(desktop, "nobody manages windows"))
            self.assertEqual(self.lines_with(vellumix, "window manager"), 1, vellumix.log_text())

    def test_no_bus_is_one_line_and_copies_reach_the_file(self):
        with PrivateDesktop(bus=False) as desktop:
            vellumix = Vellumix(desktop)
            vellumix.process = desktop.start(binary())
            wait_for("the missing bus is logged", lambda: self.lines_with(vellumix, "There is no session bus"))
            # Without a bus nothing tells when it is ready, so the copy is made again until one has reached the file; not
            # at once, since every copy puts the save off.
            owners = []

            def copy():
                owners.append(applications.copy_with_xclip(desktop, f"no bus {len(owners)}"))
                try:
                    return wait_for("the file", vellumix.file.exists, seconds=1)
                except Failure:
                    return False
            wait_for("the copy reaches the file", copy)
            self.assertEqual(vellumix.file.read_bytes()[:4], b"VLX1")
            self.assertEqual(vellumix.terminate(), 0)
            self.assertEqual(self.lines_with(vellumix, "There is no session bus"), 1, vellumix.log_text())

    @staticmethod
    def lines_with(vellumix, word):
        return sum(word in line for line in vellumix.log_text().splitlines())


class OneInstance(unittest.TestCase):
    def test_status_and_quit_say_so_when_nothing_runs(self):
        with PrivateDesktop(screen=False, window_manager=False, keyring=None) as desktop:
            for words in (["status"], ["status", "--json"], ["quit"]):
                answer = desktop.run(binary(), *words)
                self.assertEqual((answer.returncode, answer.stdout), (3, ""), words)
                self.assertEqual(answer.stderr.count("\n"), 1, answer.stderr)

    def test_a_second_start_hands_over_and_the_first_goes_on(self):
        with PrivateDesktop() as desktop:
            vellumix = Vellumix(desktop).start()
            vellumix.until_recorded("text", lambda: applications.copy_with_xclip(desktop, "of the first"))
            second = vellumix.command()
            self.assertEqual(second.returncode, 0, second.stderr)
            self.assertEqual(vellumix.status()["panel"], "visible")
            vellumix.command("hide")
            wait_for("the panel is hidden", lambda: vellumix.status()["panel"] == "hidden")
            # The introduction is reset at a start, and this was none.
            reset = vellumix.command("-resetOnboarding")
            self.assertEqual((reset.returncode, reset.stderr.count("\n")), (1, 1), reset.stderr)
            self.assertIn("-resetOnboarding", reset.stderr)
            self.assertEqual(vellumix.status()["panel"], "hidden")
            self.assertIsNone(vellumix.process.poll())
            vellumix.until_recorded("text", lambda: applications.copy_with_xclip(desktop, "still of the first"))

    def test_two_that_start_at_once_leave_one(self):
        with PrivateDesktop() as desktop:
            both = [start([binary()], desktop.environment, desktop.log(name)) for name in ("one", "other")]
            ended = wait_for("one of the two ends", lambda: [one for one in both if one.poll() is not None])
            self.assertEqual([one.returncode for one in ended], [0])
            self.assertTrue(desktop.has_name(BUS_NAME))

    def test_status_tells_what_was_promised_and_no_content(self):
        with PrivateDesktop() as desktop:
            vellumix = Vellumix(desktop).start()
            vellumix.until_recorded("link", lambda: applications.copy_with_xclip(desktop, "https://example.org/told"))
            status = vellumix.status()
            self.assertEqual(set(status), {"entries", "pinned", "locked", "lockedInClear", "file", "saveFailed", "keychain",
                                           "panel", "hotkey", "cut", "lastCapture", "lastRefusal", "sync",
                                           "updates"})
            self.assertEqual(status["entries"], {"text": 0, "image": 0, "file": 0, "link": 1, "code": 0})
            self.assertEqual((status["pinned"], status["locked"], status["lastRefusal"]), (0, 0, None))
            self.assertEqual((status["lockedInClear"], status["saveFailed"]), (0, False))
            self.assertEqual((status["file"], status["keychain"]), (str(vellumix.file), "Secret Service"))
            self.assertEqual(status["lastCapture"]["kind"], "link")
            readable = vellumix.command("status").stdout
            self.assertIn("Link 1", readable)
            for text in (readable, str(status), vellumix.log_text()):
                self.assertNotIn("example.org", text)

    def test_quit_ends_it_and_keeps_what_was_just_copied(self):
        with PrivateDesktop() as desktop:
            vellumix = Vellumix(desktop).start()
            vellumix.until_recorded("text", lambda: applications.copy_with_xclip(desktop, "copied just before"))
            self.assertEqual(vellumix.command("quit").returncode, 0)
            self.assertEqual(vellumix.exit_code(), 0)
            self.assertEqual(vellumix.start().count("text"), 1)

    def test_headless_runs_with_no_desktop_at_all(self):
        with PrivateDesktop(screen=False, window_manager=False, keyring=None) as desktop:
            vellumix = Vellumix(desktop)
            vellumix.process = desktop.start(binary(), "--platform=headless")
            wait_for("it is running", lambda: vellumix.command("status", "--json").returncode == 0)
            self.assertEqual(vellumix.count(), 0)
            self.assertEqual(vellumix.command("quit").returncode, 0)
            self.assertEqual(vellumix.exit_code(), 0)


if __name__ == "__main__":
    unittest.main(verbosity=2)
