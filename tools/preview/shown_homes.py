#!/usr/bin/python3
"""Prints the homes of this machine that a migration would work in, each with a NUL behind it.

  shown_homes.py --archive PATH --user NAME --kind machine|whole-machine

The home of each user whom the archive names, where there is one, whoever owns it; and that of the one who runs the
wizard, root's own with "whole-machine" alone.
"""
import argparse
import os
import pwd
import sys
import zipfile

from archive_names import Archive


def profiles(path):
    """None of an archive that cannot be read: the wizard will say what is wrong with it."""
    try:
        return Archive(path).profiles()
    except (zipfile.BadZipFile, OSError, ValueError, NotImplementedError):
        return []


def home_of_runner(login, kind):
    try:
        home = pwd.getpwnam(login).pw_dir
    except KeyError:
        return []
    return [home] if login != "root" or kind == "whole-machine" else []


def homes(archive, user, kind):
    named = ["/home/" + login for login in profiles(archive)] if user == "root" else []
    found = home_of_runner(user, kind) + named
    return [home for home in dict.fromkeys(found) if home.startswith(("/home/", "/root")) and os.path.isdir(home)]


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("--archive", required=True)
    parser.add_argument("--user", required=True)
    parser.add_argument("--kind", required=True, choices=("machine", "whole-machine"))
    options = parser.parse_args()
    for home in homes(options.archive, options.user, options.kind):
        sys.stdout.buffer.write(os.fsencode(home) + b"\0")


if __name__ == "__main__":
    main()
