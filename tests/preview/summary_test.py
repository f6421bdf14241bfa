"""The summary of a preview, from tables as a run leaves them."""
import json
import os
import shutil
import sys
import tempfile
import unittest

from tool import SOURCE, run

sys.path.append(SOURCE + "/tools")

import tables

SUMMARY = """The run did not reach its end: the wizard was ended by signal 9.

To know before a run:
  Brindle/a: It is damaged.
  nora mail-accounts, work: Evolution will not read it.

What has arrived of what the archive holds:
                                found  arrived  adapted  no-place  missing
  root         documents            4        2        1         0        1
  nora         notes                2        0        0         2        0
Not arrived:
  root documents, Letter.txt: It is not there.
Marked with a cross in the wizard: Documents

Accounts made: nora, oskar
Passwords set: nora
Homes as they are on this machine: /home/nora
Not shown here, so that nobody sees what would be replaced there: /home/b, /home/c\\td
Shown as a new home: /root (--homes whole-machine shows what it holds on this machine)
Files and folders: 2 created, 5 changed, 1 replaced, 1 removed
Files of people that were there before:
  overwritten /home/nora/.evolution/mail/local/Inbox
  replaced    /home/nora/Desktop/My Documents
  removed     /root/.kde/share/config/kmailrc
With another owner (2):
  /home/nora/.evolution/mail/local/Inbox: nora:nora, was root:users
  /home/nora/lent: nora:nora, was root:root
With another mode (1):
  /home/nora/lent: 0600, was 0666
Hidden in files/root: .brindle_log .kde
Hidden in files/home/nora: .evolution
Commands: 6 run, 5 of them failed
    1  test -e "a\\tb"
  running  sleep 1
    1  groupadd users
Failed as they do where there was nothing to do:
    2  the group is there already
Programs this machine lacks, called 3 times: dcop, kmail

Where to look: account.html, account.tsv, missing.tsv and before.tsv; people.tsv, homes.tsv, marks.tsv,
commands.tsv, programs.tsv, changes.tsv, files/, screens/, log, syslog, stdout and stderr; all in the folder
named in the last line.
"""

UNDONE = """Marked with a cross in the wizard: Documents

After the undo these are not as they were:
  /home/nora/a\\tb: content, time
But for logs and caches:
      1 cupsd's own state
      2 the wizard's own page
Commands: 6 run, 5 of them failed
"""

ALL_UNDONE = """
After the undo everything is as it was.
Commands:"""

NOBODY_LOOKED = """What has arrived cannot be told:
  brindle-account: the archive cannot be read: cut short
"""


class Summary(unittest.TestCase):
    def setUp(self):
        self.folder = tempfile.mkdtemp(dir="/tmp")
        self.addCleanup(shutil.rmtree, self.folder)
        self.write("marks", ("mark", "label", "result"), ("image_12", "Printers", "apply"),
                   ("image_1", "Documents", "cancel"), ("image_7", "Fonts", "empty"))
        self.write("commands", ("status", "thread", "command"), ("0", "main", "true"), ("1", "worker", 'test -e "a\tb"'),
                   ("running", "worker", "sleep 1"), ("9", "worker", "groupadd users"), ("1", "worker", "groupadd users"),
                   ("9", "worker", "groupadd users"))
        self.write("programs", ("program", "arguments"), ("kmail",), ("dcop", "a", "b"), ("kmail", "x"))
        self.write("changes", ("what", "path", "mode", "owner", "size", "before"), ("created", "/a", "0644", "root:root", "1", ""),
                   ("created", "/b", "0644", "root:root", "1", ""),
                   ("changed", "/etc/passwd", "0644", "root:root", "9", "other content, mode 0600, owner nora:nora"),
                   ("changed", "/home/nora/.evolution/mail/local/Inbox", "0644", "nora:nora", "9",
                    "other content, owner root:users"),
                   ("replaced", "/home/nora/Desktop/My Documents", "0644", "nora:nora", "9", ""),
                   ("changed", "/home/nora/lent", "0600", "nora:nora", "9", "mode 0666, owner root:root"),
                   ("changed", "/home/oskar", "0755", "oskar:users", "", ""),
                   ("changed", "/root/.brindle_log", "0644", "root:root", "9", "other content"),
                   ("removed", "/root/.kde/share/config/kmailrc", "", "", "", ""))
        self.write("people", ("login", "account", "password"), ("ada", "changed", "none"), ("nora", "made", "set"),
                   ("oskar", "made", "none"))
        self.write("homes", ("home", "what"), ("/home/nora", "as it is"), ("/home/b", "not shown"),
                   ("/home/c\td", "not shown"), ("/root", "fresh"))
        self.write("before", ("level", "person", "kind", "name", "text"),
                   ("warning", "-", "-", "Brindle/a", "It is damaged."),
                   ("note", "nora", "printers", "x", "A window will ask."),
                   ("warning", "nora", "mail-accounts", "work", "Evolution will not read it."))
        self.write("account", ("person", "kind", "found", "arrived", "adapted", "no-place", "missing"),
                   ("root", "documents", 4, 2, 1, 0, 1), ("root", "desktop", 0, 0, 0, 0, 0),
                   ("nora", "notes", 2, 0, 0, 2, 0))
        self.write("missing", ("person", "kind", "name", "cause"), ("root", "documents", "Letter.txt", "It is not there."))
        for path in ("root/.kde/share", "root/.brindle_log", "root/Desktop", "home/nora/.evolution", "home/oskar/Desktop"):
            os.makedirs(f"{self.folder}/files/{path}")
        self.end(complete=False, reason="the wizard was ended by signal 9", archive="")

    def end(self, **result):
        with open(self.folder + "/result.json", "w", encoding="utf-8") as file:
            json.dump(result, file)

    def write(self, name, columns, *rows):
        tables.write(f"{self.folder}/{name}.tsv", columns, rows)

    def test_it_tells_what_the_tables_hold(self):
        result = run("python3", "-B", SOURCE + "/tools/preview/summary.py", "--out", self.folder)
        self.assertEqual((0, SUMMARY + self.folder + "\n", ""), (result.returncode, result.stdout, result.stderr))
        with open(self.folder + "/summary.txt", encoding="utf-8") as file:
            self.assertEqual(SUMMARY, file.read())

    def test_it_says_first_what_is_wrong_with_the_archive(self):
        self.end(complete=True, reason="", archive="has no folder Brindle at its top")
        self.assertEqual("The run reached its end. But nothing could arrive: the archive has no folder Brindle at its top.",
                         self.summary().splitlines()[0])
        self.end(complete=True, reason="", archive="")
        self.assertEqual("The run reached its end.", self.summary().splitlines()[0])

    def test_it_says_when_nothing_can_be_told(self):
        os.unlink(self.folder + "/account.tsv")
        with open(self.folder + "/account.txt", "w", encoding="utf-8") as file:
            file.write("brindle-account: the archive cannot be read: cut short\n")
        result = run("python3", "-B", SOURCE + "/tools/preview/summary.py", "--out", self.folder)
        self.assertIn(NOBODY_LOOKED, result.stdout)

    def summary(self):
        return run("python3", "-B", SOURCE + "/tools/preview/summary.py", "--out", self.folder).stdout

    def test_it_tells_what_an_undo_has_left(self):
        columns = ("step", "path", "what", "before", "after", "reason")
        page = "back", "/root/Brindle account.html", "new", "nothing", "file", "the wizard's own page"
        self.write("undo", columns, ("back", "/home/nora/a\tb", "content, time", "file", "file", ""), page,
                   ("back", "/etc/cups/x.O", "new", "nothing", "file", "cupsd's own state"), page)
        told = self.summary()
        self.assertIn(UNDONE, told)
        self.assertIn("changes.tsv and files/ are from after the undo", told)
        self.assertNotIn("overwritten", told)
        self.write("undo", columns)
        self.assertIn(ALL_UNDONE, self.summary())

    def test_long_lists_end_with_where_the_others_are(self):
        self.write("missing", ("person", "kind", "name", "cause"),
                   *(("root", "documents", str(i), "It is not there.") for i in range(16)))
        result = run("python3", "-B", SOURCE + "/tools/preview/summary.py", "--out", self.folder)
        self.assertIn("  root documents, 14: It is not there.\n  ... and 1 more in missing.tsv\n", result.stdout)


if __name__ == "__main__":
    unittest.main()
