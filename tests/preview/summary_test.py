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

What became of each kind of data:
  yes Printers  (image_12)
  no  Documents  (image_1)
  -   Fonts  (image_7)

Accounts made: nora
Files and folders: 2 created, 1 changed, 0 replaced, 0 removed
Commands: 3 run, 2 of them failed
    1  test -e "a\\tb"
  running  sleep 1
Programs this machine lacks, called 3 times: dcop, kmail

Where to look: marks.tsv, commands.tsv, programs.tsv, changes.tsv, files/, screens/, log, syslog,
stdout and stderr in the folder named in the last line.
"""


class Summary(unittest.TestCase):
    def setUp(self):
        self.folder = tempfile.mkdtemp(dir="/tmp")
        self.addCleanup(shutil.rmtree, self.folder)
        self.write("marks", ("mark", "label", "result"), ("image_12", "Printers", "apply"),
                   ("image_1", "Documents", "cancel"), ("image_7", "Fonts", "empty"))
        self.write("commands", ("status", "thread", "command"), ("0", "main", "true"), ("1", "worker", 'test -e "a\tb"'),
                   ("running", "worker", "sleep 1"))
        self.write("programs", ("program", "arguments"), ("kmail",), ("dcop", "a", "b"), ("kmail", "x"))
        self.write("changes", ("what", "path", "mode", "owner", "size"), ("created", "/a", "0644", "root:root", "1"),
                   ("created", "/b", "0644", "root:root", "1"), ("changed", "/etc/passwd", "0644", "root:root", "9"))
        os.makedirs(self.folder + "/files/etc")
        shutil.copy("/etc/passwd", self.folder + "/files/etc")
        with open(self.folder + "/files/etc/passwd", "a", encoding="utf-8") as file:
            file.write("ada:x:1901:1901::/home/ada:/bin/sh\nnora:x:1902:1902::/home/nora:/bin/sh\n")
        with open(self.folder + "/result.json", "w", encoding="utf-8") as file:
            json.dump({"complete": False, "reason": "the wizard was ended by signal 9"}, file)

    def write(self, name, columns, *rows):
        tables.write(f"{self.folder}/{name}.tsv", columns, rows)

    def test_it_tells_what_the_tables_hold(self):
        result = run("python3", "-B", SOURCE + "/tools/preview/summary.py", "--out", self.folder, "--user", "ada")
        self.assertEqual((0, SUMMARY + self.folder + "\n", ""), (result.returncode, result.stdout, result.stderr))
        with open(self.folder + "/summary.txt", encoding="utf-8") as file:
            self.assertEqual(SUMMARY, file.read())


if __name__ == "__main__":
    unittest.main()
