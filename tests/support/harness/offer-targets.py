#!/usr/bin/python3
"""Owns the clipboard and offers several targets, given on standard input as JSON: {target: bytes in hex}.

Prints "owned" once the clipboard is ours; ends when another program takes it.
"""

import json
import sys

import gi

gi.require_version("Gdk", "3.0")
gi.require_version("Gtk", "3.0")
from gi.repository import Gdk, Gtk  # noqa: E402

offers = [(Gdk.Atom.intern(name, False), bytes.fromhex(content)) for name, content in json.load(sys.stdin).items()]
owner = Gtk.Invisible()
owner.show()
for number, (target, _) in enumerate(offers):
    Gtk.selection_add_target(owner, Gdk.SELECTION_CLIPBOARD, target, number)

owner.connect("selection-get", lambda _, selection, number, __: selection.set(offers[number][0], 8, offers[number][1]))
owner.connect("selection-clear-event", lambda *_: Gtk.main_quit())
if not Gtk.selection_owner_set(owner, Gdk.SELECTION_CLIPBOARD, Gdk.CURRENT_TIME):
    sys.exit("the clipboard could not be taken")
print("owned", flush=True)
Gtk.main()
