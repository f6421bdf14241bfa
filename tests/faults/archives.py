"""The archives of the runs: the family's sample, made small. Each has one of every kind of data.

  one      one person, and three printers: its driver is found, asked for, and on a share
  two      the same for one person more, and for one who has no login name
  locked   "one" with a password
"""
import os
import subprocess
import zipfile

import cases
import sample_archives

PRINTERS = ("Study.txt", "Workshop.txt", "Neighbours.txt")
PERSON = "Brindle/Profiles/nora/"
NOBODY = "Brindle/Profiles/_guest/"


def wanted(name, several):
    if name.startswith("Brindle/Printers/"):
        return name.endswith(("/", *PRINTERS))
    if name.startswith("Brindle/Profiles/"):
        return several and (name.startswith(PERSON) or name == "Brindle/Profiles/")
    return several or name != "Brindle/users.txt"


def pack(sample, path, several):
    sample_archives.copy_part(sample, path, lambda name: wanted(name, several))
    if several:
        with zipfile.ZipFile(path, "a") as archive:
            archive.writestr(NOBODY + "My Documents/a.txt", "nobody's")


def lock(path, plain, folder):
    with zipfile.ZipFile(plain) as source:
        source.extractall(folder + "/unpacked")
    subprocess.run(["zip", "-q", "-r", "-P", cases.PASSWORD, path, "Brindle"], cwd=folder + "/unpacked", check=True)


def make(sample, folder):
    """Into `folder`, each as NAME.zip."""
    os.makedirs(folder, exist_ok=True)
    pack(sample, folder + "/one.zip", False)
    pack(sample, folder + "/two.zip", True)
    lock(folder + "/locked.zip", folder + "/one.zip", folder)
