"""Which files of src/ have been found clean, as clean.txt beside this file says: a line each, with its path and a hash of
what it held then together with what .clang-tidy asked for. A file without a line, and one whose line no longer fits,
has to be read.

The lines are sorted, and git joins those of two branches (.gitattributes): a path may have several lines, of which one
has to fit. The next writing leaves that one."""
import hashlib
import os

import tables

SOURCE = os.path.dirname(os.path.dirname(os.path.dirname(os.path.abspath(__file__))))
PLACE = SOURCE + "/tools/tidy-support/clean.txt"
COLUMNS = ("file", "hash when it was clean")
BUILD_FILES = ("CMakeLists.txt", ".cmake")


def content_of(path):
    with open(path, "rb") as file:
        return file.read()


def asked_for():
    """.clang-tidy without its reasons, which may change while every file stays clean."""
    return b"".join(line for line in content_of(SOURCE + "/.clang-tidy").splitlines(True) if not line.startswith(b"#"))


class CleanList:
    """The list, and all files of src/ as they stand when it is made."""

    def __init__(self):
        before = asked_for()
        self.hashes = {}
        for folder, _, names in os.walk(SOURCE + "/src"):
            for path in (os.path.join(folder, name) for name in names if not name.endswith(BUILD_FILES)):
                self.hashes[path] = hashlib.sha256(before + b"\0" + content_of(path)).hexdigest()[:16]
        lines = {tuple(row) for row in tables.read(PLACE)}
        self.clean = {path for path, value in self.hashes.items() if (path[len(SOURCE) + 1:], value) in lines}

    def to_read(self):
        return sorted(self.hashes.keys() - self.clean)

    def write(self, clean, faulty):
        """Writes down what fits of the old list, and what has been read: `clean` is now, `faulty` is not."""
        self.clean = (self.clean | clean) - faulty
        tables.write(PLACE, COLUMNS, sorted((path[len(SOURCE) + 1:], self.hashes[path]) for path in self.clean))
