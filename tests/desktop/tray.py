#!/usr/bin/python3
"""The icon in a real panel: seen, found again by a panel that comes later, and a way to quit."""

import os
import unittest
from pathlib import Path

from harness.desktop import PrivateDesktop
from harness.processes import wait_for
from harness.tray import Icon, Tray
from harness.vellumix import Vellumix


class StatusItem(unittest.TestCase):
    def desktop(self):
        desktop = PrivateDesktop(services=True)
        self.addCleanup(desktop.close)
        return desktop

    def test_a_panel_shows_it_and_its_menu_quits(self):
        for dark in (False, True):
            with self.subTest(dark=dark):
                desktop = self.desktop()
                tray = Tray(desktop, dark).start()
                self.assertLess(self.contrast(desktop), 100)
                vellumix = Vellumix(desktop).start(environment={"LANGUAGE": "pt_BR"})
                icon = Icon(desktop, tray.until_item())
                self.assertIn("Vellumix", icon.property("Title"))
                # Light strokes on their dark ground stand out on whatever colour the panel has.
                wait_for("the panel draws the icon", lambda: self.contrast(desktop) > 140)
                if pictures := os.environ.get("VELLUMIX_PICTURES"):
                    desktop.picture(Path(pictures) / f"tray-{'dark' if dark else 'light'}.png")
                self.assertEqual(set(icon.menu()), {"Abrir", "Configurações", "Sair"})
                self.assertEqual(icon.choose("Sair").returncode, 0)
                self.assertEqual(vellumix.exit_code(), 0)
                wait_for("the icon has gone", lambda: not tray.items())

    def test_panels_come_and_go(self):
        desktop = self.desktop()
        vellumix = Vellumix(desktop).start()
        tray = Tray(desktop)
        for _ in range(2):
            tray.start()
            tray.until_item()
            tray.stop()
        self.assertEqual(vellumix.terminate(), 0)

    @staticmethod
    def contrast(desktop):
        """How far apart the lightest and the darkest grey are at the panel's left end, where the icon comes."""
        raw = desktop.folder / "panel.gray"
        desktop.run("import", "-window", "root", "-crop", "48x30+0+1", "-depth", "8", f"gray:{raw}")
        levels = raw.read_bytes()
        return max(levels) - min(levels)


if __name__ == "__main__":
    unittest.main(verbosity=2)
