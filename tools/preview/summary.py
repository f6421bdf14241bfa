#!/usr/bin/python3
"""Writes and prints the summary of a preview from its tables: summary.py --out DIR"""
import argparse
import collections
import json
import os
import re
import sys

sys.path.append(os.path.dirname(os.path.dirname(os.path.abspath(__file__))))

import failures
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
    columns = ("", "", "found", "arrived", "adapted", "no-place", "missing")
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


def account_lines(folder):
    rows = tables.read(folder + "/people.tsv")
    made = [login for login, account, _ in rows if account == "made"]
    passwords = [login for login, _, password in rows if password == "set"]
    yield "Accounts made: " + (", ".join(made) or "none")
    yield "Passwords set: " + (", ".join(passwords) or "none")


def home_lines(folder):
    rows = tables.read(folder + "/homes.tsv")
    for what, sentence in HOMES.items():
        homes = [tables.escape(home) for home, told in rows if told == what]
        if homes:
            yield sentence.format(", ".join(homes))


HOMES = {
    "as it is": "Homes as they are on this machine: {}",
    "not shown": "Not shown here, so that nobody sees what would be replaced there: {}",
    "fresh": "Shown as a new home: {} (--homes whole-machine shows what it holds on this machine)",
}


def file_counts(folder):
    rows = tables.read(folder + "/changes.tsv")
    counts = {what: sum(row[0] == what for row in rows) for what in ("created", "changed", "replaced", "removed")}
    yield "Files and folders: " + ", ".join(f"{count} {what}" for what, count in counts.items())


def lost_files(folder):
    """What people had before the run and have no more as it was."""
    rows = [(what_became(row), row) for row in tables.read(folder + "/changes.tsv")]
    rows = [(word, row[1]) for word, row in rows if word and is_of_people(row[1]) and not is_folder(folder, row[1])]
    if rows:
        yield "Files of people that were there before:"
        yield from first_of((f"  {word:11} {tables.escape(path)}" for word, path in rows), "changes.tsv")


def what_became(row):
    """A word for a file that was there and is no more what it was; "" where only its owner or mode differs."""
    what, before = row[0], row[5]
    if what == "changed":
        return "overwritten" if "other content" in before.split(", ") else ""
    return what if what in ("replaced", "removed") else ""


def is_of_people(path):
    return path.startswith(PLACES_OF_PEOPLE) and os.path.basename(path) not in OWN_TRACES


def new_owners(folder):
    """What was given to somebody else, or may be used by others now."""
    rows = [(path, mode, owner, dict(BEFORE.findall(before)))
            for _, path, mode, owner, _, before in tables.read(folder + "/changes.tsv") if is_of_people(path)]
    for what, now in (("owner", lambda mode, owner: owner), ("mode", lambda mode, owner: mode)):
        told = [f"  {tables.escape(path)}: {now(mode, owner)}, was {before[what]}"
                for path, mode, owner, before in rows if what in before]
        if told:
            yield f"With another {what} ({len(told)}):"
            yield from first_of(told, "changes.tsv")


BEFORE = re.compile(r"(owner|mode) ([^,]+)")


def hidden_folders(folder):
    """Most of what a run makes lies in folders that neither ls nor a file manager shows."""
    homes = ["/root", *("/home/" + name for name in names_in(folder + "/files/home"))]
    for home in homes:
        hidden = [name for name in names_in(folder + "/files" + home) if name.startswith(".")]
        if hidden:
            yield f"Hidden in files{tables.escape(home)}: " + tables.escape(" ".join(hidden))


def names_in(folder):
    return sorted(os.listdir(folder)) if os.path.isdir(folder) else []


def is_folder(folder, path):
    place = folder + "/files" + path
    return os.path.isdir(place) and not os.path.islink(place)


def command_lines(folder):
    rows = tables.read(folder + "/commands.tsv")
    failed = [row for row in rows if row[0] != "0"]
    yield f"Commands: {len(rows)} run, {len(failed)} of them failed"
    reasons = [failures.reason(status, command) for status, _, command in failed]
    yield from first_of((f"  {status:>3}  {tables.escape(command)}" for (status, _, command), reason in zip(failed, reasons)
                         if not reason), "commands.tsv")
    usual = collections.Counter(reason for reason in reasons if reason)
    if usual:
        yield "Failed as they do where there was nothing to do:"
        yield from (shorten(f"  {count:>3}  {reason}") for reason, count in usual.items())


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
    end = "reached its end" if result["complete"] else "did not reach its end: " + result["reason"]
    return f"The run {end}." + (f" But nothing could arrive: the archive {result['archive']}." if result["archive"] else "")


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
    yield "Where to look: account.html, account.tsv, missing.tsv and before.tsv; people.tsv, homes.tsv, marks.tsv,"
    yield "commands.tsv, programs.tsv, changes.tsv, files/, screens/, log, syslog, stdout and stderr; all in the folder"
    yield "named in the last line."


def summary(folder):
    yield ending(folder)
    yield ""
    yield from warnings(folder)
    for part in (account(folder), missing(folder), crosses(folder)):
        yield from part
    yield ""
    with_undo = os.path.exists(folder + "/undo.tsv")
    changes = (undone(folder),) if with_undo else (
        account_lines(folder), home_lines(folder), file_counts(folder), lost_files(folder), new_owners(folder),
        hidden_folders(folder))
    for part in (*changes, command_lines(folder), program_lines(folder)):
        yield from part
    yield ""
    yield from where_to_look(folder, with_undo)


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("--out", required=True)
    options = parser.parse_args()
    lines = list(summary(options.out))
    with open(options.out + "/summary.txt", "w", encoding="utf-8", errors="surrogateescape") as file:
        file.write("\n".join(lines) + "\n")
    sys.stdout.reconfigure(errors="backslashreplace")
    print("\n".join(lines))
    print(options.out)


if __name__ == "__main__":
    main()
