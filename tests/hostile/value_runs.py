#!/usr/bin/python3
"""Whole runs with hostile values in every place of an archive.

  value_runs.py --system NAME --sample NAME [options of unittest]
"""
import argparse
import os
import shutil
import subprocess
import sys
import tempfile
import unittest

HERE = os.path.dirname(os.path.abspath(__file__))
sys.path[:0] = [HERE, os.path.join(HERE, "..", "wizard")]

import judge
import preview_run
import values


def read_options():
    parser = argparse.ArgumentParser(allow_abbrev=False)
    parser.add_argument("--system", required=True)
    parser.add_argument("--sample", required=True)
    parser.add_argument("--few", action="store_true", help="only some kinds of values")
    parser.add_argument("--keep", default="", help="folder for the archive and what the run left")
    options, rest = parser.parse_known_args()
    return options, sys.argv[:1] + rest


OPTIONS, UNITTEST_ARGUMENTS = read_options()
SEVERAL = OPTIONS.sample == "family"
HOME, TOP = ("/home/nora", values.ROOT + "Profiles/nora/") if SEVERAL else ("/root", values.ROOT)
DOCUMENTS = "/Desktop/mydocument" if OPTIONS.system.startswith("redflag") else "/Documents"
GNOME = OPTIONS.system in ("gnome", "nld")
SHARE = "u';>/canary-0;':p`>/canary-0`$(>/canary-0)@\""


def stage_with_recorder(place):
    """What the build has installed, and a library in every process that writes down what is started."""
    shutil.copytree(preview_run.BUILD + "/stage", place, symlinks=True, copy_function=os.link)
    library = "/usr/local/lib/brindle-process-recorder.so"
    os.makedirs(os.path.dirname(place + library), exist_ok=True)
    os.makedirs(place + "/etc", exist_ok=True)
    subprocess.run(["cc", "-O1", "-shared", "-fPIC", "-o", place + library, HERE + "/process_recorder.c"], check=True)
    with open(place + "/etc/ld.so.preload", "w", encoding="ascii") as file:
        file.write(library + "\n")


class HostileValues(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        if os.environ.get("BRINDLE_SANITIZE"):
            raise unittest.SkipTest("a sanitizer has to be the first library, and so has the recorder")
        place = tempfile.TemporaryDirectory(dir=preview_run.BUILD)
        cls.addClassCleanup(place.cleanup)
        stage_with_recorder(place.name + "/stage")
        if OPTIONS.few:
            values.take_few()
        make = values.one_person if OPTIONS.sample == "one-person" else values.family
        archive = place.name + "/hostile.zip"
        cls.plan = make(f"{preview_run.BUILD}/samples/{OPTIONS.sample}.zip", archive)
        # The folder of the result is what the recorder writes into.
        cls.run_ = preview_run.run(OPTIONS.system, archive, "--share-login", SHARE, "--printer-driver", "laserjet",
                                   stage=place.name + "/stage", files=("processes",))
        cls.started = judge.processes(cls.run_.folder + "/processes")
        if OPTIONS.keep:
            shutil.copytree(cls.run_.folder, OPTIONS.keep, dirs_exist_ok=True, symlinks=True)
            shutil.copyfile(archive, OPTIONS.keep + "/hostile.zip")

    def none_of(self, faults):
        self.assertEqual([], faults[:20], f"{len(faults)} in all")

    def test_it_reaches_its_end(self):
        self.assertEqual(0, self.run_.status, self.run_.output[-2000:])
        self.assertEqual([], [row for row in self.run_.commands if not row[0].isdigit()])

    def test_many_programs_were_seen(self):
        """Or the judgements below say nothing."""
        self.assertLess(100, len(self.started))
        self.assertLess(500, len(self.plan.planted))

    def test_no_value_was_run(self):
        self.none_of(judge.canaries(self.run_))

    def test_no_foreign_program_was_started(self):
        self.none_of(judge.foreign_programs(self.started))

    def test_each_value_is_one_word(self):
        self.none_of(judge.torn_values(self.started, self.plan))

    def test_nothing_changed_elsewhere(self):
        self.none_of(judge.changed_elsewhere(self.run_))
        self.none_of(judge.work_left(self.run_))

    def test_accounts_of_others_are_whole(self):
        self.none_of(judge.damaged_accounts(self.run_))

    # ---- What has arrived

    def test_names_of_files(self):
        folders = {"My Documents": HOME + DOCUMENTS, "Desktop": HOME + "/Desktop",
                   "File Extensions": "/Share" if SEVERAL else HOME + "/File Extensions"}
        for folder, place in folders.items():
            for what in ("file", "folder"):
                self.none_of(judge.missing_names(self.run_, self.plan, f"{TOP}{folder} {what}", place))

    def test_contents_of_files(self):
        kept = {judge.bytes_of(self.run_, os.fsencode(HOME + DOCUMENTS + "/") + judge.as_unpacked(each.value)): each.kind
                for each in self.plan.planted.values() if each.place == TOP + "My Documents file"}
        self.assertEqual({b"file " + kind.encode() + b"\n": kind for kind in values.kinds()}, kept)

    def test_drives(self):
        self.none_of(judge.missing_drives(self.run_, self.plan, TOP + "Mapped_Drives name", HOME + "/Desktop"))

    def test_bookmarks(self):
        places = [path for path in self.run_.changes if path.startswith(HOME) and path.endswith("/bookmarks.html")]
        self.assertTrue(places)
        content = self.plan.files[(TOP + "Bookmark.htm").encode()]
        self.assertIn(content, [judge.bytes_of(self.run_, path) for path in places])

    def test_mail_accounts(self):
        keys = ("Account Name", "SMTP Email Address", "SMTP Server", "POP3 Server", "IMAP Server", "POP3 User Name")
        if GNOME:
            data = judge.bytes_of(self.run_, HOME + "/.gconf/apps/evolution/mail/%gconf.xml")
            text, keys = judge.strings_of_settings(data, not SEVERAL), ("Account Name", "SMTP Email Address")
        elif OPTIONS.system == "linspire":
            text = b"".join(judge.bytes_of(self.run_, path) for path in self.run_.changes
                            if path.startswith(HOME) and path.endswith("/prefs.js"))
        else:  # an address has no place there
            keys = tuple(key for key in keys if key != "SMTP Email Address")
            text = judge.bytes_of(self.run_, HOME + "/.kde/share/config/kmailrc")
        self.assertTrue(text)
        ascii_kinds = [kind for kind in values.kinds() if values.LINES.get(kind, b"").isascii()]
        arrives = judge.without_controls if GNOME else bytes
        self.none_of(judge.missing_settings(text, self.plan, keys, arrives, ascii_kinds))

    def test_no_sanitizer_spoke(self):
        self.assertEqual([], self.run_.sanitizer_reports())


if __name__ == "__main__":
    unittest.main(argv=UNITTEST_ARGUMENTS, verbosity=2)
