#!/usr/bin/python3
"""Whole runs that are taken back: afterwards everything is as it was, but for the logs and caches that
tools/preview/traces.py names.

  undo_runs.py CLASS --system NAME --sample NAME [--homes KIND] [--user NAME] [--kill-at TEXT]
"""
import argparse
import shlex
import sys
import unittest

import preview_run
from sample_archives import with_few_printers


def read_options():
    parser = argparse.ArgumentParser(allow_abbrev=False)
    parser.add_argument("--system", required=True)
    parser.add_argument("--sample", required=True)
    parser.add_argument("--homes", default="fresh")
    parser.add_argument("--user", default="root")
    parser.add_argument("--kill-at", default="")
    options, rest = parser.parse_known_args()
    return options, sys.argv[:1] + rest


OPTIONS, UNITTEST_ARGUMENTS = read_options()
HOME = "/root" if OPTIONS.user == "root" else "/home/" + OPTIONS.user


def run(undo, scenario=""):
    """With a driver for every printer, so that queues are made."""
    return preview_run.run(OPTIONS.system, with_few_printers(OPTIONS.sample), "--homes", OPTIONS.homes,
                           "--printer-driver", "laserjet", user=OPTIONS.user, undo=undo, scenario=scenario)


class Case(unittest.TestCase):
    maxDiff = None

    def check_faults(self, result, **expected):
        """None after any step, but for those that are expected after one of them."""
        found = {}
        for step, path, what, before, after, reason in result.table("undo.tsv"):
            if not reason:
                found.setdefault(step, []).append((path, what, before, after))
        self.assertEqual(expected, {step: [row[:2] for row in rows] for step, rows in found.items()},
                         "\n".join(map(str, found.items())) + "\n" + result.text("undo.txt")[-3000:])

    def check_statuses(self, result, *expected):
        lines = result.text("undo.txt").splitlines()
        self.assertEqual(list(expected), [int(line.split()[-1]) for line in lines if line.startswith("== status ")])

    def said(self, result, step):
        """What brindle-undo wrote in this step."""
        return result.text("undo.txt").partition(f"== {step}\n")[2].partition("\n== ")[0]


class TakenBack(Case):
    """Listing changes nothing, going back gives everything back, once more does nothing, and the undo can itself be
    taken back."""

    def test(self):
        result = run("list back again forth")
        self.assertEqual(0, result.status, result.output[-3000:])
        self.check_faults(result)
        self.check_statuses(result, 0, 0, 0, 0)
        self.assertIn("nothing to undo", self.said(result, "again"))


class WizardKilled(Case):
    def test(self):
        result = run("back again", scenario="kill-at:" + OPTIONS.kill_at)
        self.assertIn("ended by signal 9", result.output)
        self.assertTrue(any(OPTIONS.kill_at in text for text in result.texts))
        self.check_faults(result)
        self.assertEqual(1, result.status)


class UndoKilled(Case):
    def test(self):
        result = run("killed:2 killed:9 killed:30 back again")
        self.assertEqual(0, result.status, result.output[-3000:])
        self.check_faults(result)
        self.check_statuses(result, -9, -9, -9, 0, 0)


class ChangedSince(Case):
    """What a person has changed since stays and is named; and one path alone can be given back."""

    def test(self):
        only = HOME + "/Documents/Harbour Workshop/Slipway plan.html"
        changed = HOME + "/Documents/Read me first.txt"
        step = "only:" + only
        result = run(" ".join(shlex.quote(word) for word in (step, "change:" + changed, "back")))
        self.check_faults(result, back=[(changed, "new")])
        self.assertEqual(3, result.status)
        self.assertIn(changed, self.said(result, "back"))


if __name__ == "__main__":
    unittest.main(argv=UNITTEST_ARGUMENTS, verbosity=2)
