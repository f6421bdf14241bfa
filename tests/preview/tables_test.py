"""Tables as text: what is written is read again as it was, and each row is one line."""
import os
import shutil
import sys
import tempfile
import unittest

from tool import SOURCE

sys.path.append(SOURCE + "/tools")

import tables

ROWS = [["plain", ""], ["", "tab\there"], ["line\nend", "back\\slash"], ["\\n", "\\\\t"], ["\r", "a\r\nb"],
        [os.fsdecode(b"\xc5\xf3"), "\u672c"], ["several", "cells", "at", "the end"]]


class Tables(unittest.TestCase):
    def setUp(self):
        self.folder = tempfile.mkdtemp(dir="/tmp")
        self.addCleanup(shutil.rmtree, self.folder)
        self.path = self.folder + "/table.tsv"

    def content(self):
        with open(self.path, "rb") as file:
            return file.read()

    def test_everything_comes_back(self):
        tables.write(self.path, ("one", "other"), ROWS)
        self.assertEqual(ROWS, tables.read(self.path))
        self.assertEqual(len(ROWS) + 1, self.content().count(b"\n"))

    def test_first_line_names_the_columns(self):
        tables.write(self.path, ("one", "other"), [])
        self.assertEqual(b"one\tother\n", self.content())
        self.assertEqual([], tables.read(self.path))

    def test_every_cell_is_escaped_in_the_same_way(self):
        tables.write(self.path, ("a",), [["x\ty", "\n", "last\\ \t\n"]])
        self.assertEqual(b"a\nx\\ty\t\\n\tlast\\\\ \\t\\n\n", self.content())

    def test_record_has_rows_only(self):
        with open(self.path, "wb") as file:
            file.write(b"1\tmain\ttext\n2\tmain\t\\t\n")
        self.assertEqual([["1", "main", "text"], ["2", "main", "\t"]], tables.read_record(self.path))

    def test_what_is_not_there_has_no_rows(self):
        self.assertEqual([], tables.read(self.path))
        self.assertEqual([], tables.read_record(self.path))

    def test_numbers_are_written_as_text(self):
        tables.write(self.path, ("n",), [[7]])
        self.assertEqual([["7"]], tables.read(self.path))


if __name__ == "__main__":
    unittest.main()
