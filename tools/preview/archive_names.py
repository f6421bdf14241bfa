"""What an archive holds for one person: names, and the bytes where they are not encrypted."""
import os
import re
import zipfile

ROOT = "Brindle/"
PROFILES = ROOT + "Profiles/"


class Archive:
    def __init__(self, path):
        self.zip = zipfile.ZipFile(path)
        self.entries = {name_of(entry): entry for entry in self.zip.infolist() if not entry.is_dir()}

    def logins(self):
        """The users beside the one who runs the wizard, as far as every useradd takes such a name."""
        return [name for name in self.profiles() if re.fullmatch(r"[A-Za-z0-9][A-Za-z0-9._-]{0,31}", name)]

    def profiles(self):
        """The folders of users beside the one who runs the wizard, whatever their names; empty ones among them."""
        names = {name_of(entry)[len(PROFILES):].partition("/") for entry in self.zip.infolist()
                 if name_of(entry).startswith(PROFILES)}
        return sorted({name for name, slash, _ in names if slash and name not in ("", ".", "..") and "\0" not in name})

    def names(self, login, folder):
        """The files below the folder of this user, "" being the running one, relative to it."""
        top = (PROFILES + login + "/" if login else ROOT) + folder + "/"
        names = (name[len(top):] for name in self.entries if name.startswith(top))
        return sorted(name for name in names if name and ".." not in name.split("/"))

    def read(self, login, path):
        """None for what cannot be read without a password."""
        try:
            return self.zip.read(self.entries[(PROFILES + login + "/" if login else ROOT) + path])
        except RuntimeError:
            return None

    def setting(self, login, path, key):
        """The value behind "key=" in a file of such lines."""
        lines = (self.read(login, path) or b"").decode(errors="replace").splitlines()
        return next((line[len(key) + 1:] for line in lines if line.startswith(key + "=")), "")


def fault_of(path):
    """Why nothing in the archive is found, in words that follow "the archive"; "" when there is no such reason."""
    try:
        archive = Archive(path)
    except zipfile.BadZipFile:
        return "cannot be read: it is cut short, or no zip"
    except (OSError, ValueError, NotImplementedError):
        return "cannot be read"
    names = (name_of(entry) for entry in archive.zip.infolist())
    return "" if any(name.startswith(ROOT) for name in names) else "has no folder Brindle at its top"


def name_of(entry):
    """Its bytes, as a file name; where the entry does not say UTF-8, zipfile has taken them for code page 437."""
    return os.fsdecode(entry.filename.encode("utf-8" if entry.flag_bits & 0x800 else "cp437"))
