#!/usr/bin/python3
"""Writes and prints the summary of a preview from its tables: summary.py --out DIR --user NAME"""
import argparse
import collections
import json
import os
import sys

sys.path.append(os.path.dirname(os.path.dirname(os.path.abspath(__file__))))

import tables

COLUMNS = "{:<12} {:<14} {:>7} {:>8} {:>8} {:>9} {:>8}"
SHOWN = 15
PLACES_OF_PEOPLE = ("/root/", "/home/", "/Share/")
OWN_TRACES = (".brindle_first_run", ".brindle_log", ".brindle_run")
WIDTH = 110


def warnings(folder):
    rows = [row for row in tables.read(folder + "/before.tsv") if row[0] == "warning"]
    if rows:
        yield "To know before a run:"
        yield from first_of((f"  {of(person, kind)}{name}: {text}" for _, person, kind, name, text in rows), "before.tsv")
        yield ""


def of(person, kind):
    """Words of a table that stand for all people and for no kind are left out."""
    words = [word for word in (person, kind) if word != "-"]
    return " ".join(words) + ", " if words else ""


def account(folder):
    rows = tables.read(folder + "/account.tsv")
    if not rows:
        yield "What has arrived cannot be told:"
        yield from lines_of(folder + "/account.txt")
        return
    columns = ("", "", "found", "arrived", "adapted", "no place", "missing")
    yield "What has arrived of what the archive holds:"
    yield "  " + COLUMNS.format(*columns).rstrip()
    for person, kind, found, *counts in rows:
        if found != "0":
            yield "  " + COLUMNS.format(person, kind, found, *counts).rstrip()


def missing(folder):
    rows = tables.read(folder + "/missing.tsv")
    if rows:
        yield "Not arrived:"
        yield from first_of((f"  {person} {kind}, {name}: {cause}" for person, kind, name, cause in rows), "missing.tsv")


def lines_of(path):
    try:
        with open(path, encoding="utf-8", errors="surrogateescape") as file:
            return ["  " + line.rstrip("\n") for line in file]
    except FileNotFoundError:
        return ["  nobody looked"]


def first_of(lines, table):
    """The first of many, and where the others are."""
    lines = list(lines)
    for line in lines[:SHOWN]:
        yield shorten(line)
    if len(lines) > SHOWN:
        yield f"  ... and {len(lines) - SHOWN} more in {table}"


def crosses(folder):
    names = [label for _, label, result in tables.read(folder + "/marks.tsv") if result == "cancel"]
    if names:
        yield "Marked with a cross in the wizard: " + ", ".join(names)


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


def lost_files(folder):
    """What people had before the run and have no more as it was."""
    rows = [(what, path) for what, path, mode, *_ in tables.read(folder + "/changes.tsv")
            if what != "created" and path.startswith(PLACES_OF_PEOPLE) and os.path.basename(path) not in OWN_TRACES
            and not is_folder(folder, path)]
    if rows:
        yield "Files of people that were there before:"
        yield from first_of((f"  {WORDS[what]:11} {tables.escape(path)}" for what, path in rows), "changes.tsv")


WORDS = {"changed": "overwritten", "replaced": "replaced", "removed": "removed"}


def is_folder(folder, path):
    place = folder + "/files" + path
    return os.path.isdir(place) and not os.path.islink(place)


def command_lines(folder):
    rows = tables.read(folder + "/commands.tsv")
    failed = [row for row in rows if row[0] != "0"]
    yield f"Commands: {len(rows)} run, {len(failed)} of them failed"
    yield from first_of((f"  {status:>3}  {tables.escape(command)}" for status, _, command in failed), "commands.tsv")


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


# ---- After an undo ---------------------------------------------------------------------------------------

def undone(folder):
    """What is not as it was, and what of that is a log or a cache."""
    rows = tables.read(folder + "/undo.tsv")
    faults = [row for row in rows if not row[-1]]
    yield "After the undo " + ("these are not as they were:" if faults else "everything is as it was.")
    yield from first_of((f"  {tables.escape(path)}: {what}" for _, path, what, *_ in faults), "undo.tsv")
    traces = collections.Counter(row[-1] for row in rows if row[-1])
    if traces:
        yield "But for logs and caches:"
        yield from (shorten(f"  {count:5} {reason}") for reason, count in sorted(traces.items()))


def where_to_look(folder, with_undo):
    if with_undo:
        yield "changes.tsv and files/ are from after the undo, undo.txt is what it said, undo.tsv what it left."
    yield "Where to look: account.html, account.tsv, missing.tsv and before.tsv; marks.tsv, commands.tsv, programs.tsv,"
    yield "changes.tsv, files/, screens/, log, syslog, stdout and stderr; all in the folder named in the last line."


def summary(folder, user):
    yield ending(folder)
    yield ""
    yield from warnings(folder)
    for part in (account(folder), missing(folder), crosses(folder)):
        yield from part
    yield ""
    with_undo = os.path.exists(folder + "/undo.tsv")
    changes = (undone(folder),) if with_undo else (account_lines(folder, user), file_counts(folder), lost_files(folder))
    for part in (*changes, command_lines(folder), program_lines(folder)):
        yield from part
    yield ""
    yield from where_to_look(folder, with_undo)


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
