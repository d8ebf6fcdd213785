"""The bars of real desktops with their trays, and what their hosts find out about an icon. "The panel" is Vellumix's
own window everywhere; what a desktop calls its panel is its bar here."""

import re

from .processes import end, wait_for

WATCHER = "org.kde.StatusNotifierWatcher"

_BAR = """<?xml version="1.0" encoding="UTF-8"?>
<channel name="xfce4-panel" version="1.0">
  <property name="configver" type="int" value="2"/>
  <property name="panels" type="array">
    <value type="int" value="1"/>
    <property name="dark-mode" type="bool" value="{dark}"/>
    <property name="panel-1" type="empty">
      <property name="position" type="string" value="p=6;x=0;y=0"/>
      <property name="length" type="uint" value="100"/>
      <property name="position-locked" type="bool" value="true"/>
      <property name="size" type="uint" value="32"/>
      <property name="plugin-ids" type="array"><value type="int" value="1"/></property>
    </property>
  </property>
  <property name="plugins" type="empty"><property name="plugin-1" type="string" value="systray"/></property>
</channel>
"""


class Tray:
    """xfce4-panel on a private desktop that may start services. Can be stopped and started again."""

    def __init__(self, desktop, dark=False):
        self._desktop = desktop
        self._process = None
        folder = desktop.config / "xfce4/xfconf/xfce-perchannel-xml"
        folder.mkdir(parents=True, exist_ok=True)
        (folder / "xfce4-panel.xml").write_text(_BAR.format(dark=str(dark).lower()))

    def start(self):
        self._process = self._desktop.start("xfce4-panel", "--disable-wm-check")
        wait_for("the bar watches for icons", lambda: self._desktop.has_name(WATCHER), seconds=20)
        return self

    def stop(self):
        end(self._process)
        wait_for("the bar has left the bus", lambda: not self._desktop.has_name(WATCHER))

    def items(self):
        """The registered items, as their bus names with their object paths."""
        answer = self._desktop.call(WATCHER, "/StatusNotifierWatcher", "org.freedesktop.DBus.Properties.Get", WATCHER,
                                    "RegisteredStatusNotifierItems")
        return re.findall(r"'([^']+)'", answer.stdout)

    def until_item(self):
        """Waits for an icon; returns the bus name of its program."""
        return wait_for("an icon in the bar", self.items, seconds=20)[0].partition("/")[0]


class EmbeddingTray:
    """trayer in a corner of the screen, which embeds windows and knows nothing of the bus."""

    _ICON = re.compile(r'\("vellumix" "Vellumix"\) +(\d+)x(\d+)\S+ +\+(\d+)\+(\d+)')

    def __init__(self, desktop, dark=False):
        self._desktop = desktop
        self._process = None
        self._colour = "0x202020" if dark else "0xf0f0f0"

    def start(self):
        self._process = self._desktop.start("trayer", "--edge", "bottom", "--align", "right", "--widthtype", "request",
                                            "--height", "26", "--transparent", "true", "--alpha", "0", "--tint",
                                            self._colour)
        return self

    def stop(self):
        end(self._process)

    def icon(self):
        """Width, height, left and top of the program's icon; None without one."""
        for line in self._desktop.run("xwininfo", "-root", "-tree").stdout.splitlines():
            found = self._ICON.search(line)
            if found and int(found[1]) < 64:
                return tuple(map(int, found.groups()))
        return None

    def click(self, button):
        width, height, left, top = self.icon()
        self._desktop.run("xdotool", "mousemove", left + width // 2, top + height // 2, "click", button)


class Icon:
    """An icon's item on the bus, as a host sees it."""

    def __init__(self, desktop, name):
        self._desktop = desktop
        self._name = name

    def property(self, name):
        return self._desktop.call(self._name, "/StatusNotifierItem", "org.freedesktop.DBus.Properties.Get",
                                  "org.kde.StatusNotifierItem", name).stdout.strip()

    def menu(self):
        """The numbers of the menu's lines by their titles."""
        answer = self._menu_call("GetLayout", "0", "1", "[]")
        return {title: int(number) for number, title in re.findall(r"<\((\d+), \{'label': <'([^']*)'>", answer.stdout)}

    def choose(self, title):
        return self._menu_call("Event", str(self.menu()[title]), "clicked", "<0>", "0")

    def _menu_call(self, method, *arguments):
        path = re.search(r"'(/[^']*)'", self.property("Menu"))[1]
        return self._desktop.call(self._name, path, f"com.canonical.dbusmenu.{method}", *arguments)
