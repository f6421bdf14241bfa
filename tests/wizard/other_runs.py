#!/usr/bin/python3
"""Runs that end otherwise than by the done dialog, or on the way to it: other_runs.py CLASS"""
import os
import re
import shutil
import tarfile
import tempfile
import unittest
import zipfile

import expected_accounts
import preview_run
from sample_archives import with_few_printers, without_printers

# What every start leaves, whatever comes then.
TRACES = {"/etc/skel/.gtkrc-2.0", "/root/.brindle_first_run", "/root/.brindle_log"}
# A first start lists what it has made.
LIST = re.compile(r"/root/\.brindle_before(?:/[-0-9]+(?:/list\.tsv)?)?")
PROBE = ("file -b ", "unzip -l ", "df /tmp ", "cp -f /usr/local/brindle/.gtkrc-2.0 /etc/skel/")


class Case(unittest.TestCase):
    def check_nothing_happened(self, run, *screens):
        self.assertEqual(1, run.status, run.output)
        self.assertEqual(set(screens), set(run.screens))
        self.assertEqual({"empty"}, set(run.marks.values()))
        self.assertEqual([], [text for text in run.texts if not text.startswith(PROBE)])
        servers = ("/var/log/cups", "/var/cache/cups", "/var/spool/cups", "/etc/cups")
        others = [path for path in run.changes if path not in TRACES and not path.startswith(servers)]
        self.assertEqual([], [path for path in others if not LIST.fullmatch(path)])
        for path in others:
            if path.endswith("/list.tsv"):
                rows = [line.split("\t") for line in run.changed_file(path).splitlines()]
                made = {name for kind, name, before, _ in rows if kind == "path" and before == "nothing"}
                self.assertLessEqual(made, TRACES)
                self.assertLessEqual({name for kind, name, _, _ in rows if kind == "path"},
                                     TRACES | {"/root", "/etc/skel"})
        self.assertEqual([], run.sanitizer_reports())


class LeftOnPage1(Case):
    def test(self):
        self.check_nothing_happened(preview_run.run("gnome", "one-person", scenario="close-1"), "page-1")


class LeftOnPage2(Case):
    def test_closed(self):
        self.check_nothing_happened(preview_run.run("gnome", "one-person", scenario="close-2"), "page-1", "page-2")

    def test_cancelled_and_confirmed(self):
        self.check_nothing_happened(preview_run.run("gnome", "one-person", scenario="leave"), "page-1", "page-2",
                                    "quit")


class Refused(Case):
    def test_empty_entry(self):
        run = preview_run.run("gnome", without_printers("one-person"), scenario="empty")
        self.check_nothing_happened(run, "page-1", "page-2", "no-file-given", "quit")

    def test_missing_file(self):
        run = preview_run.run("gnome", without_printers("one-person"), scenario="missing")
        self.check_nothing_happened(run, "page-1", "page-2", "no-file-found", "quit")

    def test_tar_instead_of_zip(self):
        with tempfile.TemporaryDirectory() as folder:
            with tarfile.open(folder + "/a.zip", "w") as archive:
                archive.add(__file__)
            run = preview_run.run("gnome", folder + "/a.zip")
        self.check_nothing_happened(run, "page-1", "page-2", "no-zip", "quit")

    def test_full_tmp(self):
        run = preview_run.run("gnome", without_printers("one-person"), scenario="full-tmp")
        self.check_nothing_happened(run, "page-1", "page-2", "no-space", "quit")


class SeveralUsersWithoutRoot(Case):
    def test(self):
        run = preview_run.run("xandros", "family", user="ada")
        self.assertEqual(1, run.status)
        self.assertIn("several-users", run.screens)
        self.assertNotIn("done", run.screens)
        self.assertEqual({"empty"}, set(run.marks.values()))
        self.assertEqual(["delete Brindle folder", "show popup dialog", "ends", "exit main"],
                         run.text("log").splitlines())


class Cancelled(Case):
    def test_no_is_no(self):
        run = preview_run.run("linspire", with_few_printers("one-person"), scenario="cancel-before")
        self.assertEqual(0, run.status, run.output)
        self.assertIn("quit", run.screens)
        self.assertEqual("apply", run.marks["image_1"])

    def test_running_migration(self):
        run = preview_run.run("redflag", with_few_printers("one-person"), scenario="cancel-run")
        self.assertEqual(1, run.status)
        self.assertIn("cancelled", run.screens)
        self.assertNotIn("done", run.screens)
        removals = [thread for _, thread, text in run.commands if text.startswith("rm -rf /tmp/brind")]
        self.assertEqual("main", removals[0])
        self.assertEqual([], [path for path in run.changes if path.startswith("/tmp/brind")])
        self.assertEqual([], run.sanitizer_reports())


class ClosedWhileRunning(Case):
    def test(self):
        run = preview_run.run("redflag", "one-person", scenario="close-3")
        self.assertEqual(1, run.status)
        self.assertEqual(0, run.output.count("signal"), run.output)
        self.assertIn("exit main", run.text("log"))
        self.assertEqual([], [path for path in run.changes if path.startswith("/tmp/brind")])


class LeftOut(Case):
    """Two printers are asked about. One driver window is closed; the other printer gets a driver and is on a share."""

    def test(self):
        run = preview_run.run("linspire", "one-person", "--printer-driver", "laserjet",
                              scenario="leave-out:Epson LQ-570+")
        self.assertEqual(0, run.status, run.output)
        for screen in ("printer-driver", "credentials", "done"):
            self.assertIn(screen, run.screens)
        self.assertNotIn("credentials-confirmation", run.screens)
        missing = {(name, cause) for _, kind, name, cause, *_ in run.table("missing.tsv") if kind == "printers"}
        self.assertEqual(set(expected_accounts.WITHOUT_PORT["one-person"] +
                             expected_accounts.FOOMATIC_SKIPS["one-person"]), {name for name, _ in missing})
        self.assertIn(("EpsonLQ-570+ESCP2", "There is no print queue EpsonLQ-570+ESCP2."), missing)
        self.assertIn(("ClubHouseLaser2", "There is no print queue ClubHouseLaser2."), missing)


class Options(Case):
    def test_language_and_driver(self):
        run = preview_run.run("nld", with_few_printers("one-person"), "--language", "en_GB",
                              "--printer-driver", "laserjet")
        self.assertEqual(0, run.status, run.output)
        self.assertIn("GTKRCPATH::/usr/local/brindle/.gtkrc-en_GB", run.text("stdout"))
        self.assertTrue(any("laserjet.ppd.gz" in text for text in run.texts))

    def test_home_is_laid_over(self):
        with tempfile.TemporaryDirectory() as home:
            with open(home + "/.brindle_first_run", "w", encoding="ascii") as marker:
                marker.write("Installed")
            run = preview_run.run("redflag", "one-person", "--home", home, user="ada")
        self.assertEqual(0, run.status, run.output)
        self.assertNotIn("/home/ada/.brindle_first_run", run.changes)
        self.assertIn("/home/ada/.brindle_log", run.changes)


class Language(Case):
    def test_one_that_is_not_installed_falls_back_to_english(self):
        run = preview_run.run("redflag", "one-person", "--language", "da_DK", user="ada")
        self.assertEqual(0, run.status, run.output)
        self.assertIn("no texts are installed", run.text("stderr"))
        self.assertEqual("Documents", run.labels["image_1"])

    def test_one_that_is_installed_is_spoken_to_the_end(self):
        run = preview_run.run("redflag", "one-person", "--language", "de_DE", user="ada")
        self.assertEqual(0, run.status, run.output)
        self.assertNotIn("no texts are installed", run.text("stderr"))
        self.assertEqual("Dokumente", run.labels["image_1"])


    def test_one_that_is_installed_is_left_as_well(self):
        with tempfile.NamedTemporaryFile(suffix=".zip") as file:
            file.write(b"no zip\n")
            file.flush()
            run = preview_run.run("gnome", file.name, "--language", "de_DE")
        self.assertEqual({"page-1", "page-2", "no-zip", "quit"}, set(run.screens))
        self.assertIn('did not reach its end: the wizard said "Kein Migrationsarchiv".', run.output)


class HomesOfTheMachine(Case):
    """One has a file that the archive has as well, and one that it has not; both belonged to somebody else."""

    def setUp(self):
        self.home = tempfile.mkdtemp(dir="/home", prefix="brindle")
        self.addCleanup(shutil.rmtree, self.home)
        os.mkdir(self.home + "/Documents")
        for name in ("letter.txt", "own.txt"):
            with open(f"{self.home}/Documents/{name}", "w", encoding="ascii") as file:
                file.write("of before\n")
        for name in ("", "Documents", "Documents/letter.txt", "Documents/own.txt"):
            os.chown(f"{self.home}/{name}", 1690, 1690)

    def preview(self, *options):
        login = os.path.basename(self.home)
        with tempfile.NamedTemporaryFile(suffix=".zip") as file:
            with zipfile.ZipFile(file, "w") as archive:
                archive.writestr("Brindle/users.txt", "MultiUser Migration=1\r\n")
                archive.writestr(f"Brindle/Profiles/{login}/My Documents/letter.txt", "of the archive\n")
                archive.writestr(f"Brindle/Profiles/{login}/My Documents/new.txt", "of the archive\n")
            run = preview_run.run("xandros", file.name, *options)
        self.assertEqual(0, run.status, run.output)
        return run, login

    def test_what_would_be_done_to_them_is_told_and_not_done(self):
        run, login = self.preview("--homes", "machine")
        told = run.text("summary.txt")
        documents = self.home + "/Documents/"
        for line in (f"Homes as they are on this machine: {self.home}", f"  overwritten {documents}letter.txt",
                     f"  {documents}own.txt: {login}:1690, was 1690:1690", f"Passwords set: {login}"):
            self.assertIn(line + "\n", told)
        self.assertEqual({"changed", "created"}, {run.changes[documents + name][0] for name in ("letter.txt", "new.txt")})
        self.assertIn("letter.txt", {name for _, _, kind, name, _ in run.table("before.tsv") if kind == "documents"})
        with open(documents + "letter.txt", encoding="ascii") as file:
            self.assertEqual("of before\n", file.read())
        self.assertEqual((1690, ["letter.txt", "own.txt"]), (os.stat(documents + "own.txt").st_uid, sorted(os.listdir(documents))))


class TimeLimit(Case):
    def test(self):
        run = preview_run.run("gnome", "one-person", "--timeout", "6")
        self.assertEqual(1, run.status)
        self.assertIn("it was not over after 6 seconds", run.output)


if __name__ == "__main__":
    unittest.main(verbosity=2)
