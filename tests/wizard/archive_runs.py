#!/usr/bin/python3
"""Whole runs with archives as people bring them from Windows: archive_runs.py CLASS"""
import os
import re
import shutil
import subprocess
import tempfile
import unittest

import preview_run
import windows_zip
from sample_archives import without_printers

DOCUMENTS = b"Brindle/My Documents/"
SECRET = "open 'sesame' now"


def zipped(folder, name, content, *options):
    """A zip with one document of this content, packed here."""
    place = tempfile.mkdtemp(dir=folder)
    os.makedirs(place + "/Brindle/My Documents")
    with open(place + "/Brindle/My Documents/a.txt", "w", encoding="ascii") as file:
        file.write(content)
    subprocess.run(["zip", "-q", "-r", *options, "new.zip", "Brindle"], cwd=place, check=True)
    os.rename(place + "/new.zip", os.path.join(folder, name))
    shutil.rmtree(place)
    return os.path.join(folder, name)


class Case(unittest.TestCase):
    def setUp(self):
        place = tempfile.TemporaryDirectory()
        self.addCleanup(place.cleanup)
        self.folder = place.name
        self.archive = self.folder + "/archive.zip"

    def check_no_leftovers(self, run):
        self.assertEqual([], [path for path in run.changes if path.startswith("/tmp/")][:3])
        self.assertEqual([], run.sanitizer_reports())


class Names(Case):
    def test_chinese(self):
        files = [(DOCUMENTS + name.encode("gbk"), name.encode()) for name in ("图.txt", "旅.txt", "照片/文.txt", "a.txt")]
        windows_zip.write(self.archive, files)
        run = preview_run.run("linspire", self.archive, "--language", "zh_CN")
        self.assertEqual(0, run.status, run.output)
        for name in ("图.txt", "旅.txt", "照片/文.txt", "a.txt"):
            self.assertEqual(name, run.changed_file("/root/Documents/" + name))
        documents = [path for path, (what, *_) in run.changes.items() if path.startswith("/root/Documents/")]
        self.assertEqual(5, len(documents), documents)
        self.check_no_leftovers(run)

    def test_long_name(self):
        windows_zip.write(self.archive, [(DOCUMENTS + ("图" * 120 + ".jpeg").encode("gbk"), b"picture")])
        run = preview_run.run("linspire", self.archive, "--language", "zh_CN")
        self.assertEqual("picture", run.changed_file("/root/Documents/" + "图" * 83 + ".jpeg"))
        self.assertIn("图" * 120 + ".jpeg", run.text("stderr"))


class ReadOnly(Case):
    def test(self):
        windows_zip.write(self.archive, [
            (DOCUMENTS + b"a.txt", b"a", windows_zip.READ_ONLY), (DOCUMENTS + b"b.txt", b"b"),
            (b"Brindle/Bookmark.htm", b"<DL></DL>\r\n", windows_zip.READ_ONLY)])
        run = preview_run.run("linspire", self.archive)
        self.assertEqual(0, run.status, run.output)
        modes = {path: mode for path, (_, mode, *_) in run.changes.items()}
        self.assertEqual("644", modes["/root/Documents/a.txt"][-3:])
        self.assertEqual("644", modes["/root/Documents/b.txt"][-3:])
        bookmarks = [mode for path, mode in modes.items() if path.endswith("/bookmarks.html")]
        self.assertTrue(bookmarks)
        self.assertEqual({"6"}, {mode[-3] for mode in bookmarks})


class ChosenArchive(Case):
    def check_right_one_is_taken(self, typed):
        """Typed in the place of a sample, which nobody reads."""
        run = preview_run.run("linspire", without_printers("one-person"), "--home", self.folder,
                              scenario="type:" + typed)
        self.assertEqual(0, run.status, run.output)
        self.assertEqual("right", run.changed_file("/root/Documents/a.txt"))

    def test_brackets(self):
        zipped(self.folder, "Brindle[1].zip", "right")
        zipped(self.folder, "Brindle1.zip", "wrong")
        self.check_right_one_is_taken("/root/Brindle[1].zip")

    def test_dash(self):
        zipped(self.folder, "-d.zip", "right")
        self.check_right_one_is_taken("-d.zip")


class Password(Case):
    def setUp(self):
        super().setUp()
        zipped(self.folder, "archive.zip", "hidden", "-P", SECRET)

    def check_kept_secret(self, run):
        self.assertEqual([], [text for text in run.texts if "sesame" in text])
        for name in ("stdout", "stderr", "log", "syslog"):
            self.assertNotIn("sesame", run.text(name))

    def test_right(self):
        run = preview_run.run("linspire", self.archive, "--password", SECRET)
        self.assertEqual(0, run.status, run.output)
        self.assertIn("password", run.screens)
        self.assertEqual("hidden", run.changed_file("/root/Documents/a.txt"))
        self.assertEqual("apply", run.marks["image_1"])
        unzips = [text for text in run.texts if text.startswith("unzip -o ")]
        self.assertRegex(unzips[0], r'^unzip -o "/run/brindle/archive/archive.zip" -d "/tmp/brind......"$')
        self.check_kept_secret(run)
        self.check_no_leftovers(run)

    def test_wrong_first(self):
        run = preview_run.run("linspire", self.archive, "--password", SECRET, scenario="wrong-password")
        self.assertEqual(0, run.status, run.output)
        self.assertIn("wrong-password", run.screens)
        self.assertEqual("hidden", run.changed_file("/root/Documents/a.txt"))

    def test_wrong(self):
        run = preview_run.run("linspire", self.archive, "--password", "another")
        self.assertEqual(1, run.status)
        self.assertEqual({"page-1", "page-2", "password", "wrong-password", "quit"}, set(run.screens))
        self.assertEqual([], [text for text in run.texts if text.startswith("unzip -o")])


class Leftovers(Case):
    """Left while unzip runs, which takes its seconds for so many files."""

    def setUp(self):
        super().setUp()
        windows_zip.write(self.archive, [(DOCUMENTS + b"%d/%d.txt" % (number % 100, number), b"x" * 20)
                                         for number in range(60000)])

    def check_left(self, run):
        self.assertEqual(1, run.status)
        self.check_no_leftovers(run)
        unzips = [status for status, _, text in run.commands if text.startswith("unzip -o ")]
        self.assertEqual(1, len(unzips))
        self.assertIn(unzips[0], ("signal 9", "137"))  # as the shell tells it
        # Half an archive is not migrated.
        self.assertEqual([], [path for path in run.changes if re.match("/root/Documents/.", path)][:3])

    def test_cancelled(self):
        run = preview_run.run("linspire", self.archive, scenario="cancel-unpacking")
        self.assertIn("cancelled", run.screens)
        self.check_left(run)

    def test_closed(self):
        self.check_left(preview_run.run("linspire", self.archive, scenario="close-3"))


if __name__ == "__main__":
    unittest.main(verbosity=2)
