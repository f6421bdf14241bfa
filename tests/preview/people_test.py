"""What a preview tells of accounts and passwords."""
import os
import shutil
import sys
import tempfile
import unittest

from tool import SOURCE

sys.path.append(SOURCE + "/tools/preview")

from people import People


class Changes(unittest.TestCase):
    def setUp(self):
        self.root = tempfile.mkdtemp(dir="/tmp")
        self.addCleanup(shutil.rmtree, self.root)
        os.mkdir(self.root + "/etc")

    def look(self, *records):
        """Each record is "login:password as the machine keeps it"."""
        logins = [record.partition(":")[0] for record in records]
        for name, lines in (("passwd", [login + ":x:9:9::/home:/bin/sh" for login in logins]),
                            ("shadow", [record + ":1:0:9:7:::" for record in records])):
            with open(f"{self.root}/etc/{name}", "w", encoding="ascii") as file:
                file.write("\n".join(lines) + "\n")
        return People(self.root)

    def test_each_account_is_told_with_its_password(self):
        before = self.look("root:*", "kept:$y$1", "given:!", "taken:$y$2", "goes:$y$3")
        after = self.look("root:*", "kept:$y$1", "given:$y$4", "taken:!", "new:$y$5", "closed:!", "starred:*")
        self.assertEqual([("closed", "made", "none"), ("given", "changed", "set"), ("goes", "removed", "none"),
                          ("new", "made", "set"), ("starred", "made", "none"), ("taken", "changed", "none")],
                         list(after.changes_since(before)))

    def test_nothing_is_told_of_what_stays(self):
        before = self.look("root:*", "kept:$y$1")
        self.assertEqual([], list(self.look("root:*", "kept:$y$1").changes_since(before)))


if __name__ == "__main__":
    unittest.main()
