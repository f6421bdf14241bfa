"""Runs the examples of brindle-undo as the documents have them, each in a home that a migration has changed.

    undo_test.py PROGRAM [options of unittest]
"""
import os
import re
import shlex
import shutil
import subprocess
import sys
import unittest
from pathlib import Path

PROGRAM = sys.argv.pop(1)
HOME = Path("/root")
RUN = "2026-11-22-014530"
STORE = HOME / ".brindle_before"
MAIL, DESKTOP, BROWSER = HOME / ".kde/share/config/kmailrc", HOME / "Desktop/note", HOME / ".mozilla/prefs.js"
MIGRATED = {MAIL: "new mail", DESKTOP: "new note", BROWSER: "new browser"}
BEFORE = {MAIL: "old mail"}
OLD_MAIL = "66dc06e6bd5903628379b03e0d58b808:8"  # its digest and size

# What lies in the home after each command, all of which the documents show, and no other.
AFTER = {
    "brindle-undo": BEFORE,
    "brindle-undo --yes": BEFORE,
    "brindle-undo --accounts": BEFORE,
    f"brindle-undo {RUN}": BEFORE,
    "brindle-undo --list": MIGRATED,
    f"brindle-undo --list {RUN}": MIGRATED,
    "brindle-undo --help": MIGRATED,
    "brindle-undo --only ~/.kde/share/config/kmailrc": {**MIGRATED, MAIL: "old mail"},
    "brindle-undo --only ~/Desktop": {MAIL: "new mail", BROWSER: "new browser"},
    "brindle-undo --only ~/Desktop ~/.mozilla": {MAIL: "new mail"},
}


def write(path, text):
    path.parent.mkdir(parents=True, exist_ok=True)
    path.write_text(text)


def migrate():
    """Leaves what a run leaves that was killed: nobody knows what it had made of its things."""
    for folder in (STORE, HOME / "Desktop", HOME / ".mozilla", HOME / ".kde"):
        shutil.rmtree(folder, ignore_errors=True)
    for path, text in MIGRATED.items():
        write(path, text)
    kept = STORE / RUN / "files" / MAIL.relative_to("/")
    write(kept, BEFORE[MAIL])
    made = "".join(f"path\t{path}\tnothing\tunknown\n" for path in (DESKTOP.parent, BROWSER.parent))
    write(STORE / RUN / "list.tsv",
          "kind\tname\tbefore\tbecame\nrun\tmigration\t-\tunknown\n" + made +
          f"path\t{MAIL}\tfile 0644 0 0 1132610735.000000000 0 {OLD_MAIL}\tunknown\n")
    os.chmod(STORE, 0o700)
    os.chmod(STORE / RUN, 0o700)


def home():
    return {path: path.read_text() for path in MIGRATED if path.exists()}


def undo(line):
    words = [os.path.expanduser(word) for word in shlex.split(line)[1:]]
    if not {"--list", "--help", "--yes"} & set(words):
        words.insert(0, "--yes")  # there is nobody to ask
    return subprocess.run([PROGRAM, *words], capture_output=True, text=True, stdin=subprocess.DEVNULL)


def examples():
    """The lines of the documents that start the program, without what stands behind them as a comment."""
    lines = []
    for name in ("README.md", "docs/undo.md"):
        lines += re.findall(r"^    (brindle-undo\b.*)$", Path(name).read_text(), re.M)
    page = Path("data/man/brindle-undo.1").read_text()
    lines += [line.replace("\\-", "-") for line in re.findall(r"^\.B (brindle-undo .+)$", page, re.M)]
    return sorted({line.split("#")[0].strip() for line in lines})


class Examples(unittest.TestCase):
    maxDiff = None

    def setUp(self):
        os.environ["HOME"] = str(HOME)

    def test_are_those_that_are_tried_here(self):
        self.assertEqual(examples(), sorted(AFTER))

    def test_do_what_stands_behind_them(self):
        for line, left in AFTER.items():
            with self.subTest(line):
                migrate()
                done = undo(line)
                self.assertEqual((done.returncode, done.stderr), (0, ""), done.stdout)
                self.assertEqual(home(), left, done.stdout)


class Words(unittest.TestCase):
    def test_every_option_is_in_the_page_and_the_documents(self):
        options = set(re.findall(r"--[a-z]+", undo("brindle-undo --help").stdout))
        self.assertEqual(options, {"--list", "--only", "--accounts", "--yes", "--help"})
        page = Path("data/man/brindle-undo.1").read_text().replace("\\-", "-")
        shown = Path("README.md").read_text() + Path("docs/undo.md").read_text()
        for option in options:
            self.assertIn(option, page)
            self.assertIn(option, shown)

    def test_what_the_documents_link_to_is_there(self):
        for document in [Path("README.md"), Path("HACKING.md"), *Path("docs").glob("*.md")]:
            for link in re.findall(r"\]\(([^)#:]+)\)", document.read_text()):
                self.assertTrue((document.parent / link).exists(), f"{link} in {document}")

    def test_the_page_is_one_that_man_can_show(self):
        done = subprocess.run(["groff", "-man", "-Tutf8", "-ww", "data/man/brindle-undo.1"], capture_output=True, text=True)
        self.assertEqual((done.returncode, done.stderr), (0, ""))
        self.assertIn("brindle-undo - give back what a migration has replaced", done.stdout)


if __name__ == "__main__":
    unittest.main(verbosity=2)
