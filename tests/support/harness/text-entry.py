#!/usr/bin/python3
"""A window with one text entry; what is in it is written into a file at each change."""

import sys
from pathlib import Path

import gi

gi.require_version("Gtk", "3.0")
from gi.repository import Gtk  # noqa: E402

entry = Gtk.Entry()
entry.connect("changed", lambda _: Path(sys.argv[1]).write_bytes(entry.get_text().encode()))
window = Gtk.Window(title="entry")
window.add(entry)
window.show_all()
Gtk.main()
