#!/usr/bin/python3
"""Writes and prints the summary of a preview from its tables: summary.py --out DIR --user NAME"""
import argparse
import json
import os
import sys

sys.path.append(os.path.dirname(os.path.dirname(os.path.abspath(__file__))))

import tables

SIGNS = {"apply": "yes", "cancel": "no", "empty": "-"}
SHOWN_FAILURES = 15
WIDTH = 110


def marks(folder):
    yield "What became of each kind of data:"
    for mark, label, result in tables.read(folder + "/marks.tsv"):
        yield f"  {SIGNS.get(result, result):4}{label}  ({mark})"


def accounts(folder):
    """Names of the accounts that are in the view's /etc/passwd and not in the machine's."""
    known = names_in("/etc/passwd")
    path = folder + "/files/etc/passwd"
    return [name for name in names_in(path) if name not in known] if os.path.exists(path) else []


def names_in(path):
    with open(path, encoding="utf-8", errors="surrogateescape") as lines:
        return [line.split(":")[0] for line in lines]


def account_lines(folder, previewed_user):
    made = [name for name in accounts(folder) if name != previewed_user]
    yield "Accounts made: " + (", ".join(made) if made else "none")


def file_counts(folder):
    rows = tables.read(folder + "/changes.tsv")
    counts = {what: sum(row[0] == what for row in rows) for what in ("created", "changed", "replaced", "removed")}
    yield "Files and folders: " + ", ".join(f"{count} {what}" for what, count in counts.items())


def command_lines(folder):
    rows = tables.read(folder + "/commands.tsv")
    failed = [row for row in rows if row[0] != "0"]
    yield f"Commands: {len(rows)} run, {len(failed)} of them failed"
    for status, _, command in failed[:SHOWN_FAILURES]:
        yield shorten(f"  {status:>3}  {tables.escape(command)}")
    if len(failed) > SHOWN_FAILURES:
        yield f"  ... and {len(failed) - SHOWN_FAILURES} more in commands.tsv"


def shorten(line):
    return line if len(line) <= WIDTH else line[:WIDTH - 3] + "..."


def program_lines(folder):
    rows = tables.read(folder + "/programs.tsv")
    if rows:
        names = sorted({row[0] for row in rows})
        yield f"Programs this machine lacks, called {len(rows)} times: " + ", ".join(names)


def ending(folder):
    try:
        with open(folder + "/result.json", encoding="utf-8") as file:
            result = json.load(file)
    except FileNotFoundError:
        return "The run could not be watched to its end."
    return "The run reached its end." if result["complete"] else "The run did not reach its end: " + result["reason"] + "."


def where_to_look(folder):
    yield "Where to look: marks.tsv, commands.tsv, programs.tsv, changes.tsv, files/, screens/, log, syslog,"
    yield "stdout and stderr in the folder named in the last line."


def summary(folder, user):
    yield ending(folder)
    yield ""
    yield from marks(folder)
    yield ""
    for part in (account_lines(folder, user), file_counts(folder), command_lines(folder), program_lines(folder)):
        yield from part
    yield ""
    yield from where_to_look(folder)


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("--out", required=True)
    parser.add_argument("--user", required=True)
    options = parser.parse_args()
    lines = list(summary(options.out, options.user))
    with open(options.out + "/summary.txt", "w", encoding="utf-8", errors="surrogateescape") as file:
        file.write("\n".join(lines) + "\n")
    sys.stdout.reconfigure(errors="backslashreplace")
    print("\n".join(lines))
    print(options.out)


if __name__ == "__main__":
    main()
