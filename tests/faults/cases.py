"""Every fault that the wizard is put through, and what must come of it: one row a run.

What holds for each row, and is looked at in each (judge.py): the run ends in time; nothing that was there before is
lost; no process of the wizard's is left, and no folder of its own in /tmp; a next start migrates to the end.
"""
import dataclasses

PASSWORD = "harbour"

# Files that servers and useradd rewrite; what of them is whose is looked at elsewhere.
CHANGING = {"/etc/passwd", "/etc/shadow", "/etc/group", "/etc/gshadow", "/etc/subuid", "/etc/subgid",
            "/etc/cups/printers.conf", "/etc/cups/classes.conf", "/etc/cups/subscriptions.conf", "/etc/mtab"}

DONE, LEFT = "done", "left"  # by the done dialog and Done; by the person, before that


@dataclasses.dataclass(frozen=True)
class Case:
    """`faults` are there from the start (putting.py has their words), `then` are (moment, fault or order) in their
    order (inside.py has the moments, hands.py the orders). `ends` is DONE, LEFT, "exit N" or "signal N"; `crosses`
    are the marks that show a cross where the same run without a fault shows a tick, None where nobody looks, and
    `either` those that may show one as well, by the kernel; `says` is found in standard error; `within` the seconds from the last order or signal to the end."""
    name: str
    system: str = "redflag"
    archive: str = "one"
    user: str = "root"
    faults: tuple = ()
    then: tuple = ()
    ends: str = DONE
    crosses: frozenset = frozenset()
    either: frozenset = frozenset()
    says: str = ""
    within: float = 20
    seconds: float = 240
    again: bool = False
    bare: bool = False
    killed: bool = False  # by signal 9: its work folder stays
    scenario: str = ""
    homes: str = "fresh"
    short: bool = False  # among the default tests


CASES = []

# What shows a cross, by the beginning of the case's name; the longest one counts. Where a command fails or cannot be
# started, the mark is a tick as a rule: only what the wizard has to write itself, or could not keep first, is crossed.
NOTHING_UNPACKED = set(range(1, 13)) - {11}
CROSSED = {
    # Unpacking is stopped when there is next to no room. In a full home nothing can be kept, so nothing is changed.
    "full.tmp.unzip": NOTHING_UNPACKED, "full.tmp.gnome": set(range(1, 13)), "full.both": NOTHING_UNPACKED,
    "full.tmp.documents": {3}, "full.home.documents": NOTHING_UNPACKED - {10, 12}, "full.tmp.mail": {3}, "full.tmp.printers": {3},
    "full.home.unzip": NOTHING_UNPACKED, "full.home.gnome": NOTHING_UNPACKED, "full.home.printers": NOTHING_UNPACKED,
    "full.home.mail": {3, 4, 5, 6, 7, 8, 9}, "full.home.profiles": {0, 8},
    "read-only.home.unzip": {3, 6, 8, 9, 10, 12}, "read-only.home.": {3, 6, 8, 9}, "read-only.home.profiles": {0, 8},
    "no-fork.": {3, 4, 9}, "no-fork.unzip": {3, 4, 5, 6, 9}, "no-fork.useradd": {3, 4, 8, 9},
    "missing.unzip": NOTHING_UNPACKED, "killed.unzip": NOTHING_UNPACKED, "missing.sh": NOTHING_UNPACKED,
    "missing.iconv": {3}, "killed.iconv": {3}, "missing.cat": {3}, "killed.cat": {3},
    "missing.cp": {3, 4, 5, 6, 9}, "missing.mkdir": {3, 5, 6}, "killed.mkdir": {3, 5, 6},
    "missing.tar": {5, 6}, "killed.tar": {5, 6},  # no browser profile
}


# From a broken disk on: a kernel may tell of it when it is asked, and then a command fails, or only when something is to
# be kept, and then the command is not run.
# While the documents are copied the disk may break just before or behind the first look at the desktop.
EITHER = {"read-only.home.unzip": {1, 2, 4, 5, 7}, "read-only.home.Documents": {2, 4, 5, 7},
          "read-only.home.kmailrc": {4, 5, 7}}


def images(numbers):
    return frozenset(f"image_{number}" for number in numbers)


def crosses_of(name):
    fitting = [start for start in CROSSED if name.startswith(start)]
    return CROSSED[max(fitting, key=len)] if fitting else ()


def case(name, **row):
    row.setdefault("homes", "full" if name.startswith(("full.", "read-only.", "second.", "power.mark")) else "fresh")
    if row.setdefault("crosses", crosses_of(name)) is not None:
        row["crosses"] = images(row["crosses"])
    CASES.append(Case(name, either=images(EITHER.get(name, ())), **row))


def left(name, order, *moments, **row):
    """A run that is left at that moment, and a next start."""
    ends = "signal 15" if order == "term" else LEFT
    row = {"ends": ends, "crosses": None, "again": True, **row}
    case(name, then=(*moments[:-1], (moments[-1], order)), **row)


# ---- A run without a fault -------------------------------------------------------------------------------

for system in ("gnome", "linspire", "redflag", "xandros"):
    case(f"none.{system}", system=system, archive="two")

# ---- Full and read-only disks ----------------------------------------------------------------------------

for folder, word in (("/tmp", "tmp"), ("/root", "home")):
    for moment, at in (("unzip", "filled-by:unzip:-o"), ("documents", "filled-by:mkdir:mydocument"),
                       ("printers", "filled-by:dos2unix:Printers"), ("mail", "filled-by:iconv:email-accounts")):
        case(f"full.{word}.{moment}", faults=(f"disk:{folder}:65536", f"{at}:{folder}"),
             says="No space left|not enough room|disk full")
    case(f"full.{word}.gnome", system="gnome", faults=(f"disk:{folder}:65536", f"filled-by:unzip:-o:{folder}"),
         says="No space left|not enough room|disk full")
case("full.both", faults=("disk:/tmp:65536", "disk:/root:65536", "filled-by:unzip:-o:/tmp", "filled-by:dos2unix::/root"),
     says="No space left|not enough room|disk full")
case("full.home.profiles", archive="two", faults=("disk:/home:65536", "filled-by:useradd::/home"),
     says="No space left")
case("full.tmp.start", faults=("disk:/tmp:64",), ends=LEFT, crosses=None)
case("full.home.start", faults=("disk:/root:0", "fill:/root"), ends=DONE, crosses=None)

case("read-only.home.start", faults=("read-only:/root",), ends="exit 1", crosses=None)
for moment in ("window:page-2", "unzip -o", "Documents", "kmailrc"):
    name = "read-only.home." + moment.split(":")[-1].split()[0]
    case(name, faults=("ext4:/root",), then=((moment, "read-only:/root"),), says="Read-only file system",
         crosses=None if moment == "window:page-2" else crosses_of(name))
case("read-only.home.profiles", archive="two", faults=("ext4:/home",), then=(("useradd", "read-only:/home"),), says="Read-only file system")

# ---- No new process --------------------------------------------------------------------------------------

for moment in ("unzip -o", "Documents", "Printers", "useradd"):
    case("no-fork." + moment.split()[0], archive="two" if moment == "useradd" else "one",
         then=((moment, "no-fork"),), says="Resource temporarily unavailable")
# Page 2 stays for another try.
case("no-fork.page-1", then=(("window:page-1", "no-fork"), ("+8", "cancel")), ends=LEFT,
     crosses=None, says="no room for another thread")

# ---- Each program: not there, ended by a signal, hanging -------------------------------------------------

PROGRAMS = (
    ("redflag", "one", "unzip dos2unix iconv perl cp mkdir rm cat hostname fc-cache tar foomatic-configure "
                       "foomatic-ppdfile-bd dcop lpoptions file df awk tail sh"),
    ("gnome", "one", "gconftool-2 evolution lpinfo lpadmin lpoptions grep date"),
    ("redflag", "two", "useradd groupadd chpasswd chown su chmod"),
    ("xandros", "one", "kmail kaddressbook killall"),
    ("linspire", "one", "mozilla"),
    ("linspire", "two", "mv"),
)
BY_THE_WINDOWS = {"file", "df", "awk", "tail"}  # run while page 2 waits
AT_START = {"cp": "Documents", "gconftool-2": "--spawn", "grep": "-i", "unzip": "-o", "rm": "-rf /tmp/brind", "tail": "-n 1"}

for system, archive, names in PROGRAMS:
    for name in names.split():
        text = ":" + AT_START[name] if name in AT_START else ""
        # Without its room in /tmp an archive is refused.
        ends = LEFT if name == "df" else DONE
        more = {"crosses": None} if name == "df" else {}
        case(f"missing.{name}.{system}", ends=ends, **more, system=system, archive=archive, faults=(f"missing:{name}",),
             says=r"not found|No such file", bare=name == "sh")
        if name == "sh":
            continue
        case(f"killed.{name}.{system}", ends=ends, **more, system=system, archive=archive, faults=(f"killed:{name}{text}",),
             says="Segmentation fault")
        for order in ("cancel",) if name not in ("cp", "unzip", "foomatic-configure", "file") else (
                "cancel", "close", "term"):
            left(f"hanging.{name}.{system}.{order}", order, "hung", system=system, archive=archive,
                 faults=(f"hanging:{name}{text}",), again=False)

# At the start no window is there, after the end none any more: of the script around the wizard.
left("hanging.cp.start.term", "term", "hung", faults=("hanging:cp:/etc/skel",), again=False)
for name in ("brindle-account", "gconftool-2", "grep", "cksum", "sed", "id"):
    case(f"missing.{name}.script", system="gnome", faults=(f"missing:{name}",), crosses=None)

# ---- Two wizards -----------------------------------------------------------------------------------------

for moment in ("window:page-2", "unzip -o", "kmailrc"):
    case("second." + moment.split(":")[-1].split()[0], then=((moment, "second"),))

# ---- Left, and killed, at every stage --------------------------------------------------------------------

STAGES = (
    ("page-1", "redflag", "one", "window:page-1"),
    ("page-2", "redflag", "one", "window:page-2"),
    ("checking", "redflag", "one", "unzip -l"),
    ("password", "redflag", "locked", "window:password"),
    ("unzipping", "redflag", "one", "unzip -o"),
    ("skeleton", "redflag", "one", "tar -jxf"),
    ("first-start", "xandros", "one", "kmail"),
    ("evolution", "gnome", "one", "evolution"),
    ("driver", "gnome", "one", "window:printer-driver"),
    ("share", "redflag", "one", "window:credentials"),
    ("confirmation", "redflag", "one", "window:credentials-confirmation"),
    ("several-users", "redflag", "two", "useradd"),
    ("no-login-name", "redflag", "two", "window:user-error"),
    ("password-file", "redflag", "two", "chpasswd"),
    ("owner", "redflag", "two", "chown -R"),
    ("printers-without-root", "redflag", "one", "window:printer-error"),
    ("removal", "redflag", "one", "rm -rf /tmp/brind"),
    ("done", "redflag", "one", "window:done"),
)
# What a run does behind these marks takes less time than a person's hand: the first command there is held. So are those
# that a run is at near its end.
BEHIND_MARKS = {12: "mkdir:mydocument", 1: "cp:Brindle/Desktop/", 3: "cp:Wallpaper/option.txt",
                5: "dos2unix:Cookies.txt", 9: "rm:-rf /tmp/brind"}
AT_STAGES = {"several-users": "useradd:", "password-file": "chpasswd:", "owner": "chown:-R",
             "removal": "rm:-rf /tmp/brind"}
HELD = {stage: (f"held:{command}",) for stage, command in
        (*AT_STAGES.items(), *((f"mark-{number}", command) for number, command in BEHIND_MARKS.items()))}
STAGES += tuple((f"mark-{number}", "redflag", "one", f"mark:image_{number}") for number in BEHIND_MARKS)

for stage, system, archive, moment in STAGES:
    row = {"system": system, "archive": archive, "user": "ada" if stage == "printers-without-root" else "root",
           "faults": HELD.get(stage, ())}
    for order in ("cancel", "close", "term"):
        if (stage, order) in (("done", "cancel"), ("removal", "cancel"), ("removal", "close")):
            continue  # the button cannot be pressed any more; the end comes first
        left(f"left.{stage}.{order}", order, moment, again=order == "term", **row,
             **({"ends": DONE} if (stage, order) == ("done", "close") else {}))
    case(f"power.{stage}", then=((moment, "kill"),), ends="signal 9", crosses=None, killed=True, again=True, **row)

# ---- Both threads at every dialog ------------------------------------------------------------------------

DIALOGS = (  # the archives and people that see them
    ("gnome", "locked", "root", ("password", "printer-driver", "credentials", "credentials-confirmation", "done")),
    ("redflag", "two", "root", ("user-error",)),
    ("redflag", "one", "ada", ("printer-error",)),
)
for system, archive, user, dialogs in DIALOGS:
    for manner in ("early", "late", "twice"):
        case(f"threads.{manner}.{dialogs[0]}", system=system, archive=archive, user=user, scenario="manner:" + manner)
    for dialog in dialogs:
        if dialog == "done":
            continue
        left(f"threads.both.{dialog}", "both", "window:" + dialog, system=system, archive=archive, user=user,
             again=False)

SHORT = {"full.home.unzip", "no-fork.Documents", "hanging.file.redflag.cancel",
         "hanging.foomatic-configure.redflag.term"}
CASES = [dataclasses.replace(each, short=each.name in SHORT) for each in CASES]
BY_NAME = {each.name: each for each in CASES}
assert len(BY_NAME) == len(CASES)
