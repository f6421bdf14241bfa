"""Runs brindle-screens in a private view: the windows of the wizard in several languages and sizes."""
import os
import subprocess
import sys

HERE = os.path.dirname(os.path.abspath(__file__))
TOOLS = os.path.dirname(HERE)
SOURCE = os.path.dirname(TOOLS)
RELEASE = SOURCE + "/build/release"
PROGRAM = "tools/screens-support/brindle-screens"
sys.path.append(TOOLS)

import tables

INSIDE = "/run/brindle/"
NO_VIEW = 77


class CannotShow(Exception):
    """With the message for the person and the exit status."""

    def __init__(self, message, status):
        super().__init__(message)
        self.status = status


def build():
    """Builds what is shown, and returns the folder of the build."""
    commands = ([TOOLS + "/install-packages", "build", "run", "view", "preview"], ["cmake", "--preset", "release"],
                ["cmake", "--build", RELEASE, "--target", "brindle-screens", "pictures"])
    for command in commands:
        done = subprocess.run(command, cwd=SOURCE, stdin=subprocess.DEVNULL, stdout=subprocess.PIPE,
                              stderr=subprocess.STDOUT, text=True, check=False)
        if done.returncode != 0:
            raise CannotShow("".join(done.stdout.splitlines(keepends=True)[-30:]), 2)
    return RELEASE


def show(build_folder, data, out, languages, options):
    """Leaves in the folder `out` what `run` tells of, for these languages and options of brindle-screens."""
    shown = {"brindle-screens": f"{build_folder}/{PROGRAM}", "icons": build_folder + "/data/icons", "data": data}
    words = [TOOLS + "/view", "--share", f"{out}={INSIDE}out"]
    for name, path in shown.items():
        words += ["--bind", f"{os.path.abspath(path)}={INSIDE}{name}"]
    for name in ("ASAN_OPTIONS", "UBSAN_OPTIONS"):
        if name in os.environ:
            words += ["--env", f"{name}={os.environ[name]}"]
    words += ["--", HERE + "/run", " ".join(languages), *options]
    done = subprocess.run(words, stdin=subprocess.DEVNULL, stderr=subprocess.PIPE, text=True, check=False)
    if done.returncode != 0:
        raise CannotShow(done.stderr, NO_VIEW if done.returncode == NO_VIEW else 2)


def rows_of(out, language, kind):
    """The rows that brindle-screens has written: (dpi, screen, keys, and three more cells)."""
    return [row[1:] for row in tables.read_record(f"{out}/{language}.tsv") if row[0] == kind]
