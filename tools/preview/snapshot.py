"""What lies in folders and what the machine's servers know, and how two looks at it differ.

    before = snapshot.look(["/root", "/home"])
    ...
    for difference in snapshot.differences(before, snapshot.look(["/root", "/home"])):
        print(difference.path, difference.what)

Of a path the type, content, mode, owner, group, time (as fine as the file system keeps it), extended attributes
with the access lists among them, a link's target and the names that are the same file are looked at. Links are
not followed.
"""
import dataclasses
import hashlib
import os
import re
import stat
import xml.etree.ElementTree

NOTHING_IN_IT = "nothing in it"
QUEUES = ("/etc/cups/printers.conf", "/etc/cups/classes.conf")
TYPES = {stat.S_IFREG: "file", stat.S_IFDIR: "folder", stat.S_IFLNK: "link", stat.S_IFIFO: "pipe",
         stat.S_IFSOCK: "socket", stat.S_IFCHR: "device", stat.S_IFBLK: "device"}
PARTS = ("mode", "owner", "group", "time", "attributes", "links")


@dataclasses.dataclass(frozen=True)
class Entry:
    """One path. `content` is a digest, a link's target or a device's number, `meaning` what a program reads in a
    file that its server writes anew, `links` the other names of the same file."""
    type: str
    mode: str = ""
    owner: int = 0
    group: int = 0
    time: int = 0
    content: str = ""
    meaning: str = ""
    attributes: tuple = ()
    links: tuple = ()

    def text(self):
        words = [self.type, self.mode, f"{self.owner}:{self.group}", f"{self.time // 10**9}.{self.time % 10**9:09d}"]
        words += [self.content[:12] if self.type == "file" else self.content]
        words += [f"{name}={value}" for name, value in self.attributes]
        words += ["is " + name for name in self.links]
        return " ".join(word for word in words if word)


@dataclasses.dataclass(frozen=True)
class Difference:
    """`what` holds words: new, missing, type, content, rewritten (other bytes that mean the same) and PARTS. A
    path that is new or missing has that word alone; "new and empty" is a folder, or a server's file that says nothing."""
    path: str
    what: frozenset
    before: str
    after: str


# ---- One look --------------------------------------------------------------------------------------------

def look(tops):
    """The paths below `tops`, and these themselves, with their entries; one that is not there has none."""
    paths = {path: os.lstat(path) for top in tops if os.path.lexists(top) for path in walk(top)}
    names = {}
    for path, information in paths.items():
        if information.st_nlink > 1 and not stat.S_ISDIR(information.st_mode):
            names.setdefault((information.st_dev, information.st_ino), []).append(path)
    return {path: entry(path, information, names) for path, information in paths.items()}


def walk(top):
    yield top
    if os.path.isdir(top) and not os.path.islink(top):
        for name in sorted(os.listdir(top)):
            yield from walk(os.path.join(top, name))


def entry(path, information, names):
    kind = TYPES[stat.S_IFMT(information.st_mode)]
    content = meaning = ""
    if kind == "file":
        with open(path, "rb") as file:
            data = file.read()
        content, meaning = hashlib.sha256(data).hexdigest(), meaning_of(path, data)
    elif kind == "link":
        content = os.readlink(path)
    elif kind == "device":
        content = str(information.st_rdev)
    others = names.get((information.st_dev, information.st_ino), [path])
    attributes = sorted((name, os.getxattr(path, name, follow_symlinks=False).hex())
                        for name in os.listxattr(path, follow_symlinks=False))
    return Entry(kind, f"{stat.S_IMODE(information.st_mode):04o}", information.st_uid, information.st_gid,
                 information.st_mtime_ns, content, meaning, tuple(attributes),
                 tuple(other for other in others if other != path))


# ---- Files that a server writes anew ---------------------------------------------------------------------

def meaning_of(path, data):
    """Empty for all but those files."""
    if os.path.basename(path) == "%gconf.xml":
        return settings_in(data)
    if path in QUEUES:
        lines = (line for line in data.decode(errors="replace").splitlines() if not PASSING.match(line))
        return "\n".join(lines) or NOTHING_IN_IT
    return ""


# The server counts and dates its queues.
PASSING = re.compile(r"#|(NextPrinterId|PrinterId|UUID|StateTime|ConfigTime) ")


def settings_in(data):
    """The settings of a GConf file without the times of their last change."""
    try:
        root = xml.etree.ElementTree.fromstring(data or b"<gconf/>")
    except xml.etree.ElementTree.ParseError:
        return "damaged: " + hashlib.sha256(data).hexdigest()
    return "\n".join(sorted(setting(part) for part in root)) or NOTHING_IN_IT


def setting(part):
    attributes = sorted((name, value) for name, value in part.attrib.items() if name not in ("mtime", "muser"))
    text = (part.text or "").strip()
    return f"{part.tag} {attributes} {text} [{' '.join(setting(inner) for inner in part)}]"


# ---- Two looks -------------------------------------------------------------------------------------------

def differences(before, after):
    """By path."""
    for path in sorted(before.keys() | after.keys()):
        old, new = before.get(path), after.get(path)
        what = what_differs(old, new)
        if what:
            yield Difference(path, frozenset(what), text_of(old, new), text_of(new, old))


def what_differs(old, new):
    if old is None or new is None:
        there = new if old is None else old
        return {("missing" if new is None else "new") + (" and empty" if says_nothing(there) else "")}
    if isinstance(old, str):
        return {"content"} if old != new else set()
    if old.type != new.type:
        return {"type"}
    what = {part for part in PARTS if getattr(old, part) != getattr(new, part)}
    if old.content != new.content:
        what.add("rewritten" if old.meaning and old.meaning == new.meaning else "content")
    return what


def says_nothing(there):
    return isinstance(there, Entry) and (there.type == "folder" or there.meaning == NOTHING_IN_IT)


def text_of(there, other):
    """With the lines of its meaning that the other one has not."""
    if not isinstance(there, Entry):
        return "nothing" if there is None else there
    known = other.meaning.splitlines() if isinstance(other, Entry) else []
    return "\n".join([there.text(), *(line for line in there.meaning.splitlines() if line not in known)])
