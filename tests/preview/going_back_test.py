"""The steps of a preview's undo: what is compared with what, and what is then a fault."""
import os
import shutil
import sys
import tempfile
import unittest
import zipfile

from tool import SOURCE

sys.path.append(SOURCE + "/tools/preview")
sys.path.append(SOURCE + "/tools")

import going_back
import tables

DUMP = """<gconfentryfile><entrylist base="/"><entry><key>/apps/a</key><value><string>x</string></value></entry>
<entry><key>apps/b</key><value><list type="string"><value><string>y</string></value></list></value></entry>
<entry><key>/apps/unset</key><schema_key>/s</schema_key></entry></entrylist></gconfentryfile>"""


class Case(unittest.TestCase):
    def setUp(self):
        self.folder = tempfile.mkdtemp(dir="/var/tmp")
        self.addCleanup(shutil.rmtree, self.folder)


class Parts(Case):
    def write(self, name, text):
        with open(f"{self.folder}/{name}", "w", encoding="utf-8") as file:
            file.write(text)
        return f"{self.folder}/{name}"

    def test_settings_by_key(self):
        settings = going_back.settings_in(self.write("dump", DUMP))
        self.assertEqual({"GConf /apps/a", "GConf /apps/b"}, set(settings))
        self.assertEqual("<value><string>x</string></value>", settings["GConf /apps/a"])
        self.assertEqual({"GConf": "its settings cannot be read"}, going_back.settings_in(self.write("none", "")))

    def test_newest_run(self):
        runs = self.folder + "/.brindle_before/"
        for name in ("2026-11-22-014530", "2026-11-22-014530-2", "2026-11-22-014530-10", "2025-12-31-235959-3"):
            os.makedirs(runs + name)
        self.assertEqual("2026-11-22-014530-10", going_back.newest_run(self.folder))
        os.mkdir(runs + "2026-11-22-014531")
        self.assertEqual("2026-11-22-014531", going_back.newest_run(self.folder))

    def test_several_users(self):
        for name, several in (("Brindle/Profiles/nora/Mail/Inbox", True), ("Brindle/Mail/Profiles", False)):
            with zipfile.ZipFile(self.folder + "/a.zip", "w") as archive:
                archive.writestr(name, "")
            self.assertEqual(several, going_back.has_several_users(self.folder + "/a.zip"))
        self.assertFalse(going_back.has_several_users(self.write("b.zip", "no zip")))


class Steps(Case):
    """brindle-undo is what `undo` does here; the tree is one folder with two files."""

    def setUp(self):
        super().setUp()
        self.calls = []
        self.undo = lambda: None
        self.home = self.folder + "/home"
        os.makedirs(self.home)
        self.write("old", "before")
        self.patch("FOLDERS", (self.home,))
        self.patch("queues", lambda: {})

    def patch(self, name, value):
        old = getattr(going_back, name)
        self.addCleanup(setattr, going_back, name, old)
        setattr(going_back, name, value)

    def as_user(self, *words, **_):
        self.calls.append(words)
        self.undo()
        return 0

    def write(self, name, text):
        with open(f"{self.home}/{name}", "w", encoding="utf-8") as file:
            file.write(text)
        os.utime(f"{self.home}/{name}", ns=(0, 0))
        os.utime(self.home, ns=(0, 0))

    def remove(self, name):
        os.unlink(f"{self.home}/{name}")
        os.utime(self.home, ns=(0, 0))

    def run_steps(self, *steps, archive="no zip"):
        with open(self.folder + "/a.zip", "w", encoding="utf-8") as file:
            file.write(archive)
        undo = going_back.GoingBack("root", self.folder + "/a.zip", self.folder, self.as_user)
        undo.home = self.home
        self.calls.clear()
        self.write("old", "migrated")
        self.write("new", "migrated")
        whole = undo.run(steps)
        rows = tables.read(self.folder + "/undo.tsv")
        self.assertEqual(whole, all(row[5] for row in rows))
        return [(step, os.path.relpath(path, self.home), what) for step, path, what, *_ in rows]

    def give_back(self):
        self.write("old", "before")
        if os.path.exists(self.home + "/new"):
            self.remove("new")

    def test_all_given_back(self):
        self.undo = self.give_back
        self.assertEqual([], self.run_steps("back"))
        self.assertEqual([("/usr/local/bin/brindle-undo", "--yes")], self.calls)

    def test_what_is_left_is_a_fault(self):
        self.assertEqual([("back", "new", "new"), ("back", "old", "content")], self.run_steps("back"))

    def test_again_is_compared_with_the_moment_before(self):
        self.assertEqual([], self.run_steps("again"))
        self.undo = self.give_back
        self.assertEqual([("again", "new", "missing"), ("again", "old", "content")], self.run_steps("again"))

    def test_forth_is_compared_with_the_migrated_machine(self):
        os.makedirs(self.folder + "/runs")
        self.patch("newest_run", lambda home: "2026-11-22-014530")
        self.assertEqual([], self.run_steps("forth"))
        self.assertEqual("2026-11-22-014530", self.calls[-1][-1])
        self.undo = self.give_back
        self.assertEqual(2, len(self.run_steps("forth")))

    def test_only_looks_at_that_path(self):
        path = self.home + "/old"
        self.undo = lambda: self.write("old", "before")
        self.assertEqual([], self.run_steps("only:" + path))
        self.assertEqual(("--yes", "--only", path), self.calls[-1][1:])
        self.undo = lambda: None
        self.assertEqual([("only:" + path, "old", "content")], self.run_steps("only:" + path))

    def test_listing_changes_nothing(self):
        self.patch("newest_run", lambda home: "2026-11-22-014530")
        self.assertEqual([], self.run_steps("list"))
        self.assertEqual(("--list", "2026-11-22-014530"), self.calls[-1][1:])
        self.undo = self.give_back
        self.assertEqual(2, len(self.run_steps("list")))

    def test_change_and_killed_are_not_compared(self):
        self.assertEqual([], self.run_steps("change:" + self.home + "/old", "killed:7"))
        with open(self.home + "/old", encoding="utf-8") as file:
            self.assertTrue(file.read().startswith("migratedA line"))
        self.assertEqual("strace", self.calls[-1][0])
        self.assertTrue(any(word.endswith(":signal=KILL:when=7") for word in self.calls[-1]))


if __name__ == "__main__":
    unittest.main()
