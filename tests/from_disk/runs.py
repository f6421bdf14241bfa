#!/usr/bin/python3
"""Whole runs from a Windows disk to a new desktop: what lies on the disk goes through brindle-pack and the wizard, and
is counted on both sides.

  runs.py --system NAME --disk one-person|family [options of unittest]
"""
import argparse
import atexit
import os
import re
import shutil
import subprocess
import sys
import tempfile
import unittest
import zipfile

sys.path.append(os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "wizard"))

import counting
import people
import preview_run


def read_options():
    parser = argparse.ArgumentParser(allow_abbrev=False)
    parser.add_argument("--system", required=True)
    parser.add_argument("--disk", required=True)
    options, rest = parser.parse_known_args()
    return options, sys.argv[:1] + rest


OPTIONS, UNITTEST_ARGUMENTS = read_options()
IS_EVOLUTION = OPTIONS.system in ("gnome", "nld")
IS_MOZILLA = OPTIONS.system == "linspire"
IS_KMAIL = not IS_EVOLUTION and not IS_MOZILLA
PACK = preview_run.BUILD + "/stage/usr/local/bin/brindle-pack"

# KMail's own folders.
KMAIL_NAMES = {"Inbox": "inbox", "Sent": "sent-mail", "Outbox": "outbox", "Drafts": "drafts", "Trash": "trash"}


def in_kmail(folder):
    top, slash, below = folder.partition("/")
    return KMAIL_NAMES.get(top, top) + slash + below


def in_organizer(line):
    """KOrganizer's part takes a calendar for GB2312, which it is not: letters outside of ASCII are lost, and told so."""
    return re.sub("[^ -~]", "", line)


def made_disk(folder):
    made = subprocess.run([os.environ["BRINDLE_MADE_DISK"], OPTIONS.disk], capture_output=True, text=True, check=True,
                          env=dict(os.environ, TMPDIR=folder))
    return made.stdout.splitlines()[-1]


class FromDisk(unittest.TestCase):
    maxDiff = None

    @classmethod
    def setUpClass(cls):
        folder = tempfile.mkdtemp(prefix="brindle-disk-")
        atexit.register(shutil.rmtree, folder, ignore_errors=True)
        cls.disk = made_disk(folder)
        cls.before = dict(counting.files_below(cls.disk))
        cls.packing = subprocess.run([PACK, cls.disk, folder + "/archive.zip"], capture_output=True, text=True, check=False,
                                     env=dict(os.environ, TMPDIR=folder))
        if cls.packing.returncode not in (0, 1):
            raise AssertionError(cls.packing.stdout + cls.packing.stderr)
        cls.archive = folder + "/archive.zip"
        cls.run_ = preview_run.run(OPTIONS.system, cls.archive)

    def home(self, person):
        return self.run_.folder + "/files" + ("/root" if person.login == "root" else "/home/" + person.login)

    def people(self):
        return [(person, self.home(person)) for person in people.ON_DISK[OPTIONS.disk]]

    def test_it_reaches_its_end(self):
        self.assertEqual(0, self.run_.status, self.run_.output)
        self.assertIn("done", self.run_.screens)
        logins = [person.login for person in people.ON_DISK[OPTIONS.disk]]
        self.assertEqual([] if logins == ["root"] else logins, sorted(self.run_.accounts()))

    def test_the_disk_is_as_it_was(self):
        self.assertEqual(self.before, dict(counting.files_below(self.disk)))

    def test_what_packing_says_it_has_packed(self):
        with zipfile.ZipFile(self.archive) as archive:
            lines = archive.read("Brindle/packed.tsv").decode().splitlines()[1:]
        packed = {(name, kind): int(count) for name, _, kind, _, count, *_ in (line.split("\t") for line in lines)}
        for person, _ in self.people():
            with self.subTest(person=person.name):
                self.assertEqual(person.counts, {kind: packed.get((person.name, kind), 0) for kind in person.counts})

    def test_files(self):
        documents = "Desktop/mydocument" if OPTIONS.system.startswith("redflag") else "Documents"
        for person, home in self.people():
            with self.subTest(person=person.name):
                expected = {re.sub("^Documents", documents, path): digest
                            for path, digest in people.files_of(person, self.disk).items()}
                self.assertEqual(sum(person.counts.get(kind, 0) for kind in people.KINDS_OF_FILES), len(expected))
                found = {}
                for folder in {documents, "Desktop"}:
                    for path, digest in counting.files_below(home + "/" + folder):
                        found[folder + "/" + path] = digest
                notes = {f"{documents}/Notes/{title.replace(':', ' ')}.txt" for title in person.notes}
                self.assertLessEqual(notes, set(found))
                links = {"Desktop/My Documents"}  # the wizard's own
                self.assertEqual(expected, {path: found[path] for path in found if path not in notes | links})

    def test_mail_accounts(self):
        for person, home in self.people():
            with self.subTest(person=person.name):
                if person.hosts:
                    self.assertEqual(person.hosts, self.hosts_in(home))

    def hosts_in(self, home):
        if IS_EVOLUTION:
            return counting.hosts_of_evolution(home + "/.gconf/apps/evolution/mail/%gconf.xml")
        if IS_MOZILLA:
            return counting.hosts_of_mozilla(counting.one_of(home + "/.mozilla/default/*/prefs.js"))
        return counting.hosts_of_kmail(home + "/.kde/share/config/kmailrc")

    def test_messages(self):
        for person, home in self.people():
            with self.subTest(person=person.name):
                expected = people.messages_of(person, self.disk)
                letters = expected or person.letters
                self.assertEqual(person.counts["mail"], len(letters))
                found = self.messages_in(home)
                if IS_KMAIL:
                    expected = [message._replace(folder=in_kmail(message.folder)) for message in expected]
                    letters = [(in_kmail(letter[0]), *letter[1:]) for letter in letters]
                if expected:
                    self.assertEqual(sorted(expected), sorted(found))
                else:
                    self.assertEqual(sorted(letters), sorted(tuple(message[:3]) for message in found))

    def messages_in(self, home):
        if IS_KMAIL:
            return counting.maildirs_below(home + "/Mail")
        return counting.mailboxes_below(self.mail_in(home))

    def mail_in(self, home):
        if IS_EVOLUTION:
            return home + "/.evolution/mail/local"
        return counting.one_of(home + "/.mozilla/default/*/Mail/Local Folders")

    def test_folders_without_messages(self):
        """They are there all the same: what is below them is shown nowhere else."""
        for person, home in self.people():
            with self.subTest(person=person.name):
                for name in person.empty:
                    if IS_KMAIL:
                        path = home[len(self.run_.folder + "/files"):] + "/Mail/" + name
                        self.assertIn(path + "/cur", self.run_.changes)
                    else:
                        self.assertIn(name, set(counting.names_of_mailboxes(self.mail_in(home))))

    def test_contacts(self):
        for person, home in self.people():
            with self.subTest(person=person.name):
                if person.contacts:
                    self.assertEqual(person.counts["contacts"], len(person.contacts))
                    self.assertEqual(sorted(person.contacts), sorted(self.contacts_in(home)))

    def contacts_in(self, home):
        if IS_EVOLUTION:
            return counting.contacts_in_database(home + "/.evolution/addressbook/local/system/addressbook.db")
        if IS_MOZILLA:
            return counting.contacts_in_mork(counting.one_of(home + "/.mozilla/default/*/abook.mab"))
        # "Friends" in Chinese, in GB2312.
        name = b"std.vcf_\xC5\xF3\xD3\xD1" if OPTIONS.system == "redflag-plus" else b"std.vcf"
        with open(os.fsencode(home + "/.kde/share/apps/kabc/") + name, encoding="utf-8") as file:
            return counting.contacts_in_vcards(file.read())

    def test_appointments_and_tasks(self):
        for person, home in self.people():
            with self.subTest(person=person.name):
                expected = person.planner.splitlines()
                found = self.planner_in(home)
                if IS_KMAIL:
                    expected, found = map(in_organizer, expected), map(in_organizer, found)
                self.assertEqual(sorted(expected), sorted(found))

    def planner_in(self, home):
        if IS_EVOLUTION:
            return counting.planner_in(home + "/.evolution/calendar/local/system/calendar.ics",
                                       home + "/.evolution/tasks/local/system/tasks.ics")
        if IS_MOZILLA:
            return counting.planner_in(counting.one_of(home + "/.mozilla/default/*/Calendar/CalendarDataFile.ics") or "")
        return counting.planner_in(home + "/.kde/share/apps/korganizer/std.ics")

    def test_notes(self):
        """KNotes alone has a place for them; elsewhere they are among the documents."""
        documents = "/Desktop/mydocument/Notes/" if OPTIONS.system.startswith("redflag") else "/Documents/Notes/"
        for person, home in self.people():
            with self.subTest(person=person.name):
                self.assertEqual(person.counts.get("notes", 0), len(person.notes))
                for title, text in person.notes.items():
                    with open(home + documents + title.replace(":", " ") + ".txt", encoding="utf-8") as file:
                        self.assertEqual(text, file.read().rstrip("\n"))
                self.assertEqual(person.notes if IS_KMAIL else {},
                                 counting.notes_in(home + "/.kde/share/apps/knotes/notes.ics"))

    def test_bookmarks_and_cookies(self):
        for person, home in self.people():
            with self.subTest(person=person.name):
                bookmarks = people.bookmarks_of(person, self.disk)
                cookies = people.cookies_of(person, self.disk)
                self.assertEqual([person.counts.get(kind, 0) for kind in ("bookmarks", "cookies")],
                                 [len(bookmarks), len(cookies)])
                if bookmarks:
                    self.assertEqual(bookmarks, counting.bookmarks_in(self.browser_file(home, "bookmarks.html")))
                if cookies:
                    self.assertEqual(cookies, counting.cookies_in(self.browser_file(home, "cookies.txt")))

    def browser_file(self, home, name):
        return counting.one_of(home + "/.mozilla/default/*/" + name) or counting.one_of(home + "/.mozilla/firefox/*/" + name)

    def test_no_sanitizer_spoke(self):
        self.assertEqual([], self.run_.sanitizer_reports())
        self.assertNotIn("runtime error", self.run_.text("stderr") + self.packing.stderr)


if __name__ == "__main__":
    unittest.main(argv=UNITTEST_ARGUMENTS, verbosity=2)
