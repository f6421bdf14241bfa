"""The sample archives with fewer printers, for runs that are about something else. Each printer costs a second of the
processor, for foomatic's programs and CUPS's list of drivers; whole_runs.py has all of them."""
import atexit
import functools
import shutil
import tempfile
import zipfile

import preview_run

# One at a port of the PC and one on a share: each sample has the first and one of the others.
FEW = ("Default.txt", "Club house.txt", "Neighbours.txt")


def with_few_printers(sample):
    """The path of one with two printers, one of which has questions."""
    return with_printers(sample, FEW)


def without_printers(sample):
    """The same with none, for runs that migrate nothing of it."""
    return with_printers(sample, ())


@functools.cache
def with_printers(sample, files):
    folder = tempfile.mkdtemp(prefix="brindle-sample-")
    atexit.register(shutil.rmtree, folder)
    path = f"{folder}/{sample}.zip"

    def is_wanted(name):
        place, _, file = name.rpartition("/")
        return place != "Brindle/Printers" or file in ("", *files)

    copy_part(f"{preview_run.BUILD}/samples/{sample}.zip", path, is_wanted)
    return path


def copy_part(source, target, is_wanted):
    """Writes the archive `target`: the entries of `source` whose names are wanted, as they are."""
    with zipfile.ZipFile(source) as old, zipfile.ZipFile(target, "w") as new:
        for entry in old.infolist():
            if is_wanted(entry.filename):
                new.writestr(entry, old.read(entry))
