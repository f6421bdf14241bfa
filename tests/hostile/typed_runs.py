#!/usr/bin/python3
"""Whole runs with hostile values that a person types: typed_runs.py [CLASS.test]"""
import os
import subprocess
import sys
import tempfile
import unittest

HERE = os.path.dirname(os.path.abspath(__file__))
sys.path[:0] = [HERE, os.path.join(HERE, "..", "wizard")]

import judge
import preview_run
import zips

RUNS = "$(>/root/canary-0)`>/root/canary-0`;>canary-0|>canary-0&>canary-0"


class Typed(unittest.TestCase):
    def setUp(self):
        place = tempfile.TemporaryDirectory(dir=preview_run.BUILD)
        self.addCleanup(place.cleanup)
        self.folder = place.name

    def check(self, run):
        self.assertEqual(0, run.status, run.output[-1500:])
        self.assertEqual("plain", run.changed_file("/root/Documents/plain.txt"))
        self.assertEqual([], judge.canaries(run))
        self.assertEqual([], judge.changed_elsewhere(run))
        self.assertEqual([], judge.work_left(run))

    def check_path(self, name):
        zips.write(self.folder, name, zips.Zip().whole())
        self.check(preview_run.run("linspire", "one-person", "--home", self.folder, scenario=f"type:/root/{name}.zip"))

    def test_path(self):
        self.check_path(RUNS.replace("/", "") + "'\" \\[a]*?{b,c}~!#%s  ")

    def test_path_with_letters_and_controls(self):
        self.check_path("-rf Bücher 图\x1b[2J\x07")

    def test_password(self):
        """Such a one holds no blank: unzip could not be told it then."""
        word = RUNS + "'\\\"*?~!#%s-é"
        folder = self.folder + "/Brindle/My Documents"
        os.makedirs(folder)
        with open(folder + "/plain.txt", "w", encoding="ascii") as file:
            file.write("plain")
        subprocess.run(["zip", "-q", "-r", "-P", word, "new.zip", "Brindle"], cwd=self.folder, check=True)
        self.check(preview_run.run("linspire", self.folder + "/new.zip", "--password", word))


if __name__ == "__main__":
    unittest.main(verbosity=2)
