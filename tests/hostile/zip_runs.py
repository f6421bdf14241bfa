#!/usr/bin/python3
"""Whole runs with zips that no honest packer writes: zip_runs.py [NAME...] [--system NAME]

Names are those of zips.py; without one, all are tried.
"""
import argparse
import os
import sys
import tempfile
import unittest

HERE = os.path.dirname(os.path.abspath(__file__))
sys.path[:0] = [HERE, os.path.join(HERE, "..", "wizard")]

import judge
import preview_run
import zips

# These do not reach the run: the window that comes instead.
REFUSED = {"encrypted": "password", "frames": "no-zip", "no-list": "no-zip", "ratio": "no-space",
           "overlapping": "no-space", "lying-sizes": "no-space", "lying-large": "no-space"}
# These are run with 300 MB and places for 20000 files in /tmp.
SMALL = ("ratio", "lying-ratio", "lying-ratio-other-letters", "many-lies", "overlapping", "overlapping-lies", "count",
         "encrypted", "lying-sizes", "lying-large")
STOPPED = ("lying-ratio", "lying-ratio-other-letters", "many-lies", "overlapping-lies", "count")
# Where a file of the archive's own may lie, whatever its name.
HOMES = ("/root/Documents", "/root/Desktop", "/root/.brindle_before")
# What unzip takes plain.txt out of.
WHOLE = ("climbing", "backslashes", "other-letters", "control-marks", "links", "devices", "set-id-bits", "twins",
         "long-names", "mismatch", "methods", "descriptors", "large-numbers", "long-comment", "broken-fields",
         "count-other-letters", "numbered")


def read_options():
    parser = argparse.ArgumentParser(allow_abbrev=False)
    parser.add_argument("names", nargs="*")
    parser.add_argument("--system", default="linspire")
    return parser.parse_args()


OPTIONS = read_options()


class Zip(unittest.TestCase):
    def __init__(self, name):
        super().__init__("test")
        self.name = name

    def id(self):
        return self.name

    __str__ = id

    def test(self):
        with tempfile.TemporaryDirectory(dir=preview_run.BUILD) as folder:
            zips.write(folder, self.name, zips.KINDS[self.name]())
            run = preview_run.run(OPTIONS.system, f"{folder}/{self.name}.zip",
                                  scenario="small-tmp" if self.name in SMALL else "")
        self.judge(run)

    def judge(self, run):
        self.assertEqual([], judge.changed_elsewhere(run))
        self.assertEqual([], judge.work_left(run))
        self.assertEqual([], [path for path in run.changes if zips.CANARY in path and not path.startswith(HOMES)])
        self.assertEqual([], [path for path, (_, mode, *_) in run.changes.items()
                              if path.startswith("/root/") and int(mode or "0", 8) & 0o7000])
        self.assertEqual([], run.sanitizer_reports())
        self.assertNotIn("disk full", run.text("stderr"))
        if self.name in REFUSED:
            self.assertIn(REFUSED[self.name], run.screens)
            self.assertEqual(1, run.status)
            return
        self.assertEqual(0, run.status, run.output[-1500:])
        self.assertIn("done", run.screens)
        self.assertEqual(self.name in STOPPED, "unpacking-stopped" in run.screens)
        if self.name in STOPPED:
            self.assertIn("Unpacking has been stopped, and nothing is migrated", run.text("stderr"))
            self.assertNotIn("apply", run.marks.values())
        if self.name in WHOLE:
            self.assertEqual("plain", run.changed_file("/root/Documents/plain.txt"))


def suite():
    return unittest.TestSuite(Zip(name) for name in OPTIONS.names or zips.KINDS)


if __name__ == "__main__":
    sys.exit(not unittest.TextTestRunner(verbosity=2).run(suite()).wasSuccessful())
