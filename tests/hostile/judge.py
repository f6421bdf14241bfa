"""Judges a whole run with a hostile archive from outside: by the programs that were started, the files that differ
afterwards, and what readers nobody here wrote find in them. Each function returns what is wrong, as texts."""
import os
import re
import struct
import xml.etree.ElementTree

SHELLS = ("sh", "dash", "bash", "sh.recorder")

# All that a run starts, its servers and what looks at it afterwards included. Nothing of a value is a name here.
PROGRAMS = set()
for line in """
awk mawk cat chmod chown chpasswd cp dash df dos2unix du echo env fc-cache file find gconfd-2 gconftool-2 grep groupadd head
iconv kill killall killall5 ln ls lsof mkdir mktemp mount mv passwd perl ps rm rmdir sed setpriv sleep sort su tail tar bzip2
test touch tr uname unzip useradd wc which zipinfo sh bash sh.recorder python3.11 nscd sss_cache userdel pwck runuser
lpadmin lpinfo lpoptions lpstat foomatic-configure foomatic-ppdfile foomatic-ppdfile-bd foomatic-combo-xml
foomatic-compiledb foomatic-printjob foomatic-perl-data
cupsd cups-deviced cups-driverd cups-exec backend usb parallel serial socket lpd ipp http https smb snmp dnssd driverless
brindle brindle-wizard brindle-account brindle-undo brindle-suite-import standin setarch locale openbox import
import-im6.q16 dbus-daemon at-spi2-registryd at-spi-bus-launcher Xvfb gvfsd dconf-service xdotool logger localedef
mail-session ldconfig timeout db5.3_dump dpkg hostname id gzip gs basename dirname cut cksum date whoami setsid
""".splitlines():
    PROGRAMS.update(line.split())

# Where a run may change something; what each is stands in docs/robustness.md.
PLACES = [re.compile(pattern) for pattern in (
    r"/root(/.*)?", r"/home(/.*)?", r"/Share(/.*)?",
    r"/etc/(passwd|group|shadow|gshadow|subuid|subgid)-?", r"/etc/skel(/.*)?", r"/etc/cups(/.*)?",
    r"/usr/share/fonts/zh_CN(/.*)?", r"/var/(lib|log|mail|spool|cache)(/.*)?", r"/tmp/nldroot.*", r"/tmp/\.X.*",
    r"/etc/printcap", r"/etc/foomatic(/.*)?", r"/var")]


class Process:
    def __init__(self, record):
        words = record.split(b"\0")[:-1]
        self.id, self.parent, self.file = int(words[0]), int(words[1]), words[2].decode(errors="replace")
        self.words = words[3:]

    def name(self):
        return os.path.basename(self.file)

    def text(self):
        return " ".join(repr(word)[1:][:120] for word in self.words)[:400]


def processes(path):
    """Those that were started from the wizard's start on."""
    with open(path, "rb") as file:
        data = file.read()
    found, at = [], 0
    while at + 4 <= len(data):
        size = struct.unpack_from("<I", data, at)[0]
        found.append(Process(data[at + 4:at + 4 + size]))
        at += 4 + size
    first = next((at for at, process in enumerate(found) if process.name() == "brindle-wizard"), None)
    return [] if first is None else found[first:]


def canaries(run):
    """Files that a value has made."""
    return [path for path in run.changes if re.search(r"(^|/)>?canary-\d+$", path)]


def foreign_programs(started):
    return sorted({f"{process.name()}: {process.text()}" for process in started if process.name() not in PROGRAMS})


def torn_values(started, plan, cut=()):
    """Values that are spread over several words, or of which a word has an end without a beginning. A word may hold
    a value up to a cut for the programs of `cut`."""
    faults = []
    for process in started:
        for word in process.words[1:]:
            if process.name() in SHELLS and process.words[1:2] == [b"-c"]:
                continue  # what the shell is given is looked at in the programs that it starts
            for mark in set(re.findall(rb"q(\d+)[be]", word)):
                planted = plan.planted.get(int(mark))
                if planted is None:
                    continue
                if planted.kind == "nul":
                    continue  # what is behind it is gone before
                begins, ends = word.count(planted.begin()), word.count(planted.end())
                if begins != ends and not (begins > ends and process.name() in cut):
                    faults.append(f"{planted.kind} of {planted.place}: {process.name()} {word[:200]!r}")
    return sorted(set(faults))


def changed_elsewhere(run):
    return [path for path in run.changes if not any(place.fullmatch(path) for place in PLACES)]


def damaged_accounts(run):
    """Lines of the machine's account files that are no more as they were; a group may have more members."""
    faults = []
    for file in ("passwd", "group"):
        if "/etc/" + file not in run.changes:
            continue
        after = bytes_of(run, "/etc/" + file).splitlines()
        with open("/etc/" + file, "rb") as machine:
            before = machine.read().splitlines()
        faults += [f"{file}: {line!r}" for line in after if line.endswith(b"\\")]
        for line in before:
            same = [other for other in after if other.startswith(line)] if file == "group" else [line] * (line in after)
            if not same:
                faults.append(f"{file}: {line!r} is gone")
    return faults


def work_left(run):
    return [path for path in run.changes if path.startswith("/tmp/brind")]


# ---- What has arrived ------------------------------------------------------------------------------------

def names_in(run, folder):
    place = os.fsencode(run.folder + "/files" + folder)
    return set(os.listdir(place)) if os.path.isdir(place) else set()


def bytes_of(run, path):
    try:
        with open(os.fsencode(run.folder + "/files") + (path if isinstance(path, bytes) else os.fsencode(path)), "rb") as file:
            return file.read()
    except (FileNotFoundError, NotADirectoryError):
        return b""


def as_unpacked(name):
    """A file's name as it is after unzip: what is no UTF-8 has been read in the code page of the language, American."""
    try:
        name.decode()
        return name
    except UnicodeDecodeError:
        return name.decode("cp437").encode()


def missing_names(run, plan, place, folder):
    """Planted names of `place` that do not lie in `folder`."""
    there = names_in(run, folder)
    planted = [each for each in plan.planted.values() if each.place == place]
    return [f"{each.kind}: {each.value!r}" for each in planted if as_unpacked(each.value) not in there] if planted else [
        "nothing was planted"]


def missing_drives(run, plan, place, desktop):
    """Drives without their link, or whose link names another share."""
    faults = []
    for each in plan.planted.values():
        if each.place == place:
            share = each.beside.split(b"\0")[0]
            text = bytes_of(run, os.fsencode(desktop) + b"/" + each.value)
            # What a NUL ends has lost its line end as well: such a drive has no second line.
            if b"\nURL=smb://server/" + share + b"\n" not in text and b"\0" not in each.beside:
                faults.append(f"{each.kind}: {each.value!r}: {text[-200:]!r}")
    return faults


def missing_settings(text, plan, keys, readable, kinds=None):
    """Values of these keys of mail accounts that `text` has not; `readable` is what becomes of a value."""
    faults = []
    for each in plan.planted.values():
        if each.place.rpartition("- ")[2] in keys and "mail-accounts" in each.place and (not kinds or each.kind in kinds):
            if readable(each.value.split(b"\0")[0]) not in text:
                faults.append(f"{each.kind} of {each.place}: {each.value!r}")
    return faults


def strings_of_settings(data, by_client):
    """All texts of a file of GConf settings: as an XML reader finds them when the client has written it. The file of
    a profile is none when a text has an ampersand."""
    if not by_client:
        return data.replace(b"&quot;", b'"').replace(b"&lt;", b"<").replace(b"&gt;", b">")
    return "\n".join(part.text or "" for part in xml.etree.ElementTree.fromstring(data).iter("stringvalue")).encode()


def without_controls(value):
    """As a text that XML can hold."""
    return bytes(byte for byte in value if byte >= ord(" ") or byte in b"\t\n\r")
