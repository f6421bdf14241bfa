"""Tables as text: a line with the names of the columns, then one line a row, cells separated by tabs.

In a cell a backslash, a tab and a line end are written \\\\, \\t and \\n, so that a row is a line and a tab ends a
cell, whatever a command or a file name holds. tools/recorder writes its rows in the same way.
"""
import re

ESCAPES = {"\\": r"\\", "\t": r"\t", "\n": r"\n"}
MEANINGS = {written: meant for meant, written in ESCAPES.items()}


def escape(cell):
    return str(cell).translate(str.maketrans(ESCAPES))


def unescape(text):
    return re.sub(r"\\[\\tn]", lambda found: MEANINGS[found.group()], text)


def write(path, columns, rows):
    """Writes a table of `rows`, sequences of cells; the last column may go on over several cells."""
    with open_text(path, "w") as table:
        for row in (columns, *rows):
            table.write("\t".join(escape(cell) for cell in row) + "\n")


def read(path):
    """The rows of a table, without the names of the columns; none when there is no such file."""
    return read_record(path)[1:]


def read_record(path):
    """The rows of a file that has no names of columns: those that programs add to while a view runs."""
    try:
        with open_text(path, "r") as record:
            return [[unescape(cell) for cell in line.rstrip("\n").split("\t")] for line in record]
    except FileNotFoundError:
        return []


def open_text(path, mode):
    """Keeps bytes that are no UTF-8, and carriage returns: both occur in commands and file names."""
    return open(path, mode, encoding="utf-8", errors="surrogateescape", newline="\n")
