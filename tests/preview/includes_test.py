"""Which room may see which: a room's files include their own room's headers and those of the rooms it builds on."""
import os
import re
import unittest

from tool import SOURCE

# Each room, its folder under src/, and the rooms right below it. What those may see, it may see.
ROOMS = {
    "error": ("error", []),
    "state": ("state", ["error"]),
    "shell": ("shell", ["state"]),
    "archive": ("process/archive", ["shell"]),
    "gconf": ("gconf", ["shell"]),
    "desktop": ("process/desktop", ["archive", "gconf"]),
    "mail": ("process/mail", ["archive", "gconf"]),
    "printers": ("process/printers", ["archive", "gconf"]),
    "run": ("process/run", ["desktop", "mail", "printers"]),
    "support": ("support", ["shell"]),
    "interface": ("interface", ["support", "run"]),
    "callbacks": ("callbacks", ["interface", "run"]),
    "main": ("main", ["callbacks", "interface"]),
}

# Declarations that may be named against the arrows, each with its reason.
PERMITTED = {
    ("interface", "callbacks"): "the builders name the handlers, the handlers show windows",
    ("run", "system/detection.h"): "the worker detects the system again",
    ("run", "support/widgets.h"): "an item looks up the image of its mark, and changes nothing",
}

TOOLKIT = re.compile(r"#include <(gtk|gdk|atk|pango)")
SEES_TOOLKIT = ("support", "interface", "callbacks", "main")
INCLUDE = re.compile(r'^\s*#include "([^"]+)"', re.MULTILINE)


def room_of(path):
    found = [name for name, (folder, _) in ROOMS.items() if path.startswith(folder + "/")]
    return max(found, key=lambda name: len(ROOMS[name][0])) if found else None


def visible_from(name):
    rooms = {name}
    for below in ROOMS[name][1]:
        rooms |= visible_from(below)
    return rooms


def sources():
    for here, _, files in os.walk(SOURCE + "/src"):
        for file in files:
            if file.endswith((".cpp", ".h")):
                path = os.path.join(here, file)
                with open(path, encoding="utf-8") as text:
                    yield os.path.relpath(path, SOURCE + "/src"), text.read()


class Includes(unittest.TestCase):
    def test_every_source_lies_in_a_room(self):
        self.assertEqual([], [path for path, _ in sources() if room_of(path) is None])

    def test_includes_follow_the_arrows(self):
        wrong = []
        for path, text in sources():
            room = room_of(path)
            for header in INCLUDE.findall(text):
                target = room_of(header)
                if target in visible_from(room) or (room, header) in PERMITTED or (room, target) in PERMITTED:
                    continue
                wrong.append(f"{path} includes {header}")
        self.assertEqual([], wrong)

    def test_families_of_mail_do_not_know_each_other(self):
        families = ("process/mail/evolution/", "process/mail/kde/", "process/mail/mozilla/")
        wrong = [f"{path} includes {header}" for path, text in sources() for header in INCLUDE.findall(text)
                 for one in families for other in families
                 if one != other and path.startswith(one) and header.startswith(other)]
        self.assertEqual([], wrong)

    def test_only_the_windows_see_the_toolkit(self):
        wrong = [path for path, text in sources() if room_of(path) not in SEES_TOOLKIT and TOOLKIT.search(text)]
        self.assertEqual([], wrong)

    def test_each_exception_is_needed(self):
        used = set()
        for path, text in sources():
            for header in INCLUDE.findall(text):
                used |= {(room_of(path), header), (room_of(path), room_of(header))}
        self.assertEqual([], [exception for exception in PERMITTED if exception not in used])


if __name__ == "__main__":
    unittest.main()
