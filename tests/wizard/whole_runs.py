#!/usr/bin/python3
"""Whole runs to the done dialog: each system with each sample archive.

  whole_runs.py --system NAME --sample NAME [--user NAME] [options of unittest]
"""
import argparse
import shutil
import sys
import unittest

import expected_accounts
import preview_run


def read_options():
    parser = argparse.ArgumentParser(allow_abbrev=False)
    parser.add_argument("--system", required=True)
    parser.add_argument("--sample", required=True)
    parser.add_argument("--user", default="root")
    options, rest = parser.parse_known_args()
    return options, sys.argv[:1] + rest


OPTIONS, UNITTEST_ARGUMENTS = read_options()
IS_ROOT = OPTIONS.user == "root"
HOME = "/root" if IS_ROOT else "/home/" + OPTIONS.user
FAMILY = ["meilan", "nora", "oskar"]

# Marks that a system never sets.
UNSET = {"linspire": {"image_11"}, "redflag": {"image_11"}, "redflag-plus": {"image_11"},
         "xandros": {"image_10", "image_11"}}

COLUMNS = {"account.tsv": ("person", "kind", "found", "arrived", "adapted", "no-place", "missing"),
           "missing.tsv": ("person", "kind", "name", "cause"), "before.tsv": ("level", "person", "kind", "name", "text"),
           "marks.tsv": ("mark", "label", "result"), "commands.tsv": ("status", "thread", "command"),
           "programs.tsv": ("program", "arguments"), "changes.tsv": ("what", "path", "mode", "owner", "size", "before"),
           "people.tsv": ("login", "account", "password"), "homes.tsv": ("home", "what")}


def expected_marks():
    marks = {f"image_{number}": "apply" for number in range(13)}
    if OPTIONS.sample != "family":
        marks["image_0"] = "cancel"
    if not IS_ROOT:
        marks.update(image_12="cancel", image_10="cancel")
    marks.update((mark, "empty") for mark in UNSET.get(OPTIONS.system, ()))
    return marks


class WholeRun(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.run_ = preview_run.run(OPTIONS.system, OPTIONS.sample, user=OPTIONS.user)

    def test_it_reaches_its_end(self):
        self.assertEqual(0, self.run_.status, self.run_.output)
        self.assertIn("done", self.run_.screens)
        self.assertEqual(["exit main"], self.run_.text("log").splitlines()[-1:])

    def test_marks(self):
        self.assertEqual(expected_marks(), self.run_.marks)
        self.assertNotIn("", self.run_.labels.values())

    def test_accounts(self):
        made = self.run_.accounts() if IS_ROOT else []
        self.assertEqual(FAMILY if OPTIONS.sample == "family" else [], sorted(made))
        for name in made:
            _, mode, owner, _ = self.run_.changes["/home/" + name]
            self.assertEqual("0700", mode, name)
            self.assertIn(name, owner)

    def test_commands_frame_the_run(self):
        texts = self.run_.texts
        self.assertEqual("cp -f /usr/local/brindle/.gtkrc-2.0 /etc/skel/", texts[0])
        unzip = next(text for text in texts if text.startswith("unzip -o "))
        folder = unzip.split('"')[3]
        self.assertRegex(folder, "^/tmp/brind......$")
        self.assertIn("rm -rf " + folder, texts)
        self.assertEqual({"main"}, {thread for _, thread, text in self.run_.commands if "gtkrc" in text})
        self.assertEqual({"worker"}, {thread for _, thread, text in self.run_.commands if folder in text})

    def test_every_command_ended(self):
        self.assertEqual([], [row for row in self.run_.commands if not row[0].isdigit()])

    def test_tables_name_their_columns(self):
        for name, columns in COLUMNS.items():
            self.assertEqual("\t".join(columns), self.run_.text(name).partition("\n")[0])

    def test_programs_of_the_desktop_were_called(self):
        mode = "1" if OPTIONS.sample == "family" else "6"  # centred, or stretched
        call = ["dcop", "kdesktop", "KBackgroundIface", "setWallpaper", HOME + "/Wallpaper1.bmp", mode]
        if OPTIONS.system in ("gnome", "nld"):
            call = ["evolution", "--force-shutdown"]
        if shutil.which(call[0]):
            self.skipTest(f"nothing stands in for {call[0]}: this machine has it")
        self.assertIn(call, self.run_.programs)

    def test_nothing_temporary_is_left(self):
        self.assertEqual([], [path for path in self.run_.changes if path.startswith("/tmp/brind")])
        self.assertEqual([], [path for path in self.run_.changes if path.startswith("/tmp/") and "root" in path])

    def test_documents_arrived_with_their_owner(self):
        folder = "/Desktop/mydocument/" if OPTIONS.system.startswith("redflag") else "/Documents/"
        found = [path for path in self.run_.changes if path.startswith(HOME + folder)]
        self.assertNotEqual([], found)
        self.assertEqual({OPTIONS.user}, {self.run_.changes[path][2].split(":")[0] for path in found})

    def test_everything_has_arrived_or_is_named(self):
        sample = OPTIONS.system, OPTIONS.sample, OPTIONS.user
        self.assertEqual(expected_accounts.account(*sample), self.run_.table("account.tsv"))
        names = sorted(tuple(row[:3]) for row in self.run_.table("missing.tsv"))
        self.assertEqual(expected_accounts.missing(*sample), names)

    def test_the_account_follows_the_run(self):
        self.assertEqual({"created"}, {self.run_.changes[HOME + name][0]
                                       for name in ("/.brindle_run", "/Brindle account.html")})
        self.assertIn("E-mail messages", self.run_.text("stdout"))
        self.assertIn("E-mail messages", self.run_.text("account.html"))

    def test_printing_is_as_on_this_machine(self):
        """Neither cupsd's settings nor foomatic-configure are mended for the view."""
        if IS_ROOT and OPTIONS.system not in ("gnome", "nld"):
            self.assertRegex(self.run_.text("stderr"),
                             "(?m)^print queue .* (lost its driver by foomatic-configure|did not get )")

    def test_no_sanitizer_spoke(self):
        self.assertEqual([], self.run_.sanitizer_reports())
        self.assertNotIn("runtime error", self.run_.text("stderr"))


if __name__ == "__main__":
    unittest.main(argv=UNITTEST_ARGUMENTS, verbosity=2)
