#!/usr/bin/python3
"""The icon in a real bar: seen, found again by a bar that comes later, and a way to quit."""

import os
import unittest
from pathlib import Path

from harness.desktop import PrivateDesktop
from harness.processes import wait_for
from harness.tray import EmbeddingTray, Icon, Tray
from harness.vellumix import Vellumix


class StatusItem(unittest.TestCase):
    def desktop(self):
        desktop = PrivateDesktop(services=True)
        self.addCleanup(desktop.close)
        return desktop

    def test_a_bar_shows_it_and_its_menu_quits(self):
        for dark in (False, True):
            with self.subTest(dark=dark):
                desktop = self.desktop()
                tray = Tray(desktop, dark).start()
                wait_for("the bar is drawn, without an icon", lambda: self.contrast(desktop) < 100)
                vellumix = Vellumix(desktop).start(environment={"LANGUAGE": "pt_BR"})
                icon = Icon(desktop, tray.until_item())
                self.assertIn("Vellumix", icon.property("Title"))
                # Light strokes on their dark ground stand out on whatever colour the bar has.
                wait_for("the bar draws the icon", lambda: self.contrast(desktop) > 140)
                self.picture(desktop, "tray", dark)
                self.assertEqual(set(icon.menu()), {"Abrir", "Configurações", "Sair"})
                self.assertEqual(icon.choose("Sair").returncode, 0)
                self.assertEqual(vellumix.exit_code(), 0)
                wait_for("the icon has gone", lambda: not tray.items())

    def test_a_click_that_takes_its_time_opens_and_closes(self):
        desktop = self.desktop()
        tray = Tray(desktop).start()
        vellumix = Vellumix(desktop).start()
        tray.until_item()
        wait_for("the bar draws the icon", lambda: self.contrast(desktop) > 140)
        for state in ("visible", "hidden", "visible", "hidden"):
            # Held for longer than the fade takes.
            desktop.run("xdotool", "mousemove", "16", "16", "mousedown", "1", "sleep", "0.3", "mouseup", "1")
            wait_for(f"the panel is {state}", lambda state=state: vellumix.status()["panel"] == state)
            desktop.run("xdotool", "sleep", "0.3")
            self.assertEqual(vellumix.status()["panel"], state, "and stays so")

    def test_bars_come_and_go(self):
        desktop = self.desktop()
        vellumix = Vellumix(desktop).start()
        tray = Tray(desktop)
        for _ in range(2):
            tray.start()
            tray.until_item()
            tray.stop()
        self.assertEqual(vellumix.terminate(), 0)

    def test_a_tray_without_the_bus_embeds_it(self):
        for dark in (False, True):
            with self.subTest(dark=dark):
                desktop = self.desktop()
                vellumix = Vellumix(desktop)
                tray = EmbeddingTray(desktop, dark)
                for start in (tray.start, vellumix.start) if dark else (vellumix.start, tray.start):
                    start()
                self.until_embedded(desktop, tray)
                self.picture(desktop, "embedded", dark)
                for state in ("visible", "hidden"):
                    tray.click(1)
                    wait_for(f"the panel is {state}", lambda state=state: vellumix.status()["panel"] == state)
                tray.stop()
                wait_for("the icon has gone with its tray", lambda: not tray.icon())
                tray.start()
                self.until_embedded(desktop, tray)
                tray.click(3)
                wait_for("the menu is open beside the icon", lambda: len(desktop.run(
                    "xdotool", "search", "--onlyvisible", "--class", "Vellumix").stdout.split()) == 2)
                self.picture(desktop, "embedded-menu", dark)
                desktop.run("xdotool", "key", "Up", "Return")
                self.assertEqual(vellumix.exit_code(), 0)

    def test_a_bar_on_the_bus_comes_before_a_tray(self):
        desktop = self.desktop()
        embedding = EmbeddingTray(desktop).start()
        vellumix = Vellumix(desktop).start()
        self.until_embedded(desktop, embedding)
        bar = Tray(desktop).start()
        bar.until_item()
        wait_for("the icon leaves the tray", lambda: not embedding.icon())
        bar.stop()
        # This bar has also taken the tray's place.
        embedding.stop()
        embedding.start()
        self.until_embedded(desktop, embedding)
        self.assertEqual(vellumix.terminate(), 0)

    def until_embedded(self, desktop, tray):
        def is_shown():
            # The tray may still be moving, and the icon with it.
            width, height, left, top = tray.icon() or (0, 0, 0, 0)
            return width > 8 and self.contrast(desktop, f"{width}x{height}+{left}+{top}") > 140
        wait_for("the tray shows the icon", is_shown)

    @staticmethod
    def picture(desktop, name, dark):
        if pictures := os.environ.get("VELLUMIX_PICTURES"):
            desktop.picture(Path(pictures) / f"{name}-{'dark' if dark else 'light'}.png")

    @staticmethod
    def contrast(desktop, area="48x30+0+1"):
        """How far apart the lightest and the darkest grey are; at first, at the bar's left end."""
        raw = desktop.folder / "bar.gray"
        desktop.run("import", "-window", "root", "-crop", area, "-depth", "8", f"gray:{raw}")
        levels = raw.read_bytes()
        return max(levels, default=0) - min(levels, default=0)


if __name__ == "__main__":
    unittest.main(verbosity=2)
