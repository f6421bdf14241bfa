"""Values that would do harm if anybody ran, split or followed them, in every place of an archive.

    plan = one_person("build/samples/one-person.zip", "/tmp/hostile.zip")
    plan.planted[7].place, plan.planted[7].value

Each value stands between two marks with its number, so that one that was torn apart is found, and would make a file
`canary-NUMBER` if a shell read it.
"""
import dataclasses
import zipfile

import zips

ROOT = "Brindle/"

# What stands between the marks; N becomes the number of the value. Those that run something need no program for it.
LINES = {
    "command": b"$(>/canary-N)", "backquotes": b"`>/canary-N`", "semicolon": b";>/canary-N;", "pipe": b"|>/canary-N",
    "and": b"&&>/canary-N&", "single-quote": b"';>/canary-N;'", "double-quote": b'";>/canary-N;"',
    "both-quotes": b"'\"';>/canary-N", "backslash": b"\\\";>/canary-N;\\", "end": b"\\", "variable": b"$HOME${IFS}x",
    "glob": b"*?[a-z]{a,b}", "home": b"~root ~", "percent": b"%s%n%d%%", "blanks": b"  two  blanks ", "tab": b"a\tb",
    "invalid": b"\xff\xfe\x80 \xc3", "gb2312": "中文".encode("gb2312"), "redirect": b"> /canary-N < /etc/passwd",
    "comment": b"# x //", "history": b"!! ^a^b", "xml": b"<a b='&amp;'>]]></", "nul": b"a\0b>/canary-N", "esc": b"\x1b[2J\x07",
    "bidi": "\u202etxt".encode(), "subst": b"${x:=$(>/canary-N)}", "math": b"$((1))", "equals": b"=a=b",
}
# A value that begins so, with no mark in front.
BEGINNINGS = {"dash": b"-rf", "dashes": b"--help", "tilde": b"~", "at": b"@file", "plus": b"+x", "hash": b"#x"}

MAIL_KEYS = ("Account Name", "SMTP Display Name", "SMTP Email Address", "SMTP Reply To Email Address",
             "SMTP Organization Name", "{} Server", "{} Prompt for Password", "{} User Name", "{} Port",
             "{} Secure Connection", "Leave Mail On Server", "SMTP Server", "SMTP Use Sicily", "SMTP Use Auth",
             "SMTP Prompt for Password", "SMTP Secure Connection")
PRINTER_KEYS = ("Orientation", "Paper Size", "Paper Width", "Paper Length", "Scale", "Print Quality", "Color", "Duplex",
                "Y-Resolution")


@dataclasses.dataclass(frozen=True)
class Planted:
    number: int
    kind: str
    place: str    # the file of the archive, and the key in it
    value: bytes  # with its marks
    beside: bytes = b""  # of a drive: its share

    def begin(self):
        return b"q%db" % self.number

    def end(self):
        return b"q%de" % self.number


class Plan:
    """An archive in the making: `files` by name, `planted` by number."""

    def __init__(self, sample):
        with zipfile.ZipFile(sample) as packed:
            self.files = {name.filename.encode("utf-8" if name.flag_bits & 0x800 else "cp437"): packed.read(name)
                          for name in packed.infolist() if not name.is_dir()}
        self.planted = {}

    def value(self, kind, place):
        """A new value of this kind for `place`."""
        number = len(self.planted) + 1
        mark = str(number).encode()
        if kind in BEGINNINGS:
            text = BEGINNINGS[kind] + b"q%sbq%se" % (mark, mark)
        else:
            text = b"q%sb" % mark + LINES[kind].replace(b"N", mark) + b"q%se" % mark
        self.planted[number] = Planted(number, kind, place, text)
        return text

    def name(self, kind, place):
        """For a file: without a slash, and what unzip drops."""
        text = self.value(kind, place)
        number = len(self.planted)
        for mark in b"/\0\t\x1b\x07":
            text = text.replace(bytes([mark]), b"")
        self.planted[number] = dataclasses.replace(self.planted[number], value=text)
        return text

    def put(self, name, content):
        self.files[name if isinstance(name, bytes) else name.encode()] = content

    def write(self, path):
        made = zips.Zip()
        made.list.clear()
        made.body.clear()
        for name, content in self.files.items():
            made.unix(name, content)
        with open(path, "wb") as file:
            file.write(made.whole())


# Enough to find a place where a value is not taken as one word.
FEW = ("command", "backquotes", "semicolon", "single-quote", "double-quote", "backslash", "glob", "percent", "blanks",
       "invalid", "dash", "tilde")

chosen = [*LINES, *BEGINNINGS]
ports = [b"http://h/%s", b"%s:queue", b"LPT1%s", b"//%s/p"]


def kinds():
    return chosen


def take_few():
    """Printers cost seconds each."""
    chosen[:] = FEW
    ports[:] = ports[-1:]


# ---- Places ----------------------------------------------------------------------------------------------

def plant_mail_accounts(plan, top):
    for number, kind in enumerate(kinds()):
        lines = []
        place = f"{top}ImapMail/brindle-email-accounts/h{number:02}-"
        protocol = "POP3" if number % 2 else "IMAP"
        for key in MAIL_KEYS:
            key = key.format(protocol)
            lines.append(key.encode() + b"=" + plan.value(kind, f"{place} {key}") + b"\r\n")
        name = place.encode() + plan.name(kind, place)
        plan.put(name, b"".join(lines))
    long = b"x" * 65536 + b"$(>/canary-0)"
    plan.put(f"{top}ImapMail/brindle-email-accounts/long.txt",
             b"".join(key.format("POP3").encode() + b"=" + long + b"\n" for key in MAIL_KEYS))
    plan.put(f"{top}ImapMail/brindle-email-accounts/none.txt", b"\0\n=\n==\n" + b"\xff" * 4096)


def plant_files(plan, top, folder):
    """File names and folder names of each kind, with something in them."""
    for kind in kinds():
        name = plan.name(kind, f"{top}{folder} file")
        plan.put(f"{top}{folder}/".encode() + name, b"file " + kind.encode() + b"\n")
        inner = plan.name(kind, f"{top}{folder} folder")
        plan.put(f"{top}{folder}/".encode() + inner + b"/" + plan.name(kind, f"{top}{folder} below"), b"below\n")


def plant_mail_folders(plan, top):
    message = b"From - Tue Mar  1 08:41:12 2005\nFrom: a@b.example\nSubject: %s\n\nText %s\n\n"
    for kind in kinds():
        name = plan.name(kind, f"{top}Mail folder")
        plan.put(f"{top}Mail/".encode() + name, message % (plan.value(kind, f"{top}Mail subject"), name))
        if kind not in ("end",):
            plan.put(f"{top}Mail/".encode() + name + b".sbd/" + plan.name(kind, f"{top}Mail subfolder"),
                     message % (b"s", b"t"))
    hostile = b"From $(>/canary-0)`>/canary-0`\nX: " + b"y" * 65536 + b"\n\n\0\0\xff\n>From x\nFrom \n"
    plan.put(f"{top}Mail/odd", hostile)


def plant_drives(plan, top):
    for number, kind in enumerate(kinds()):
        name = f"{top}Mapped_Drives/".encode() + b"%02d" % number + plan.name(kind, f"{top}Mapped_Drives file")
        share = plan.value(kind, f"{top}Mapped_Drives share")
        drive = plan.name(kind, f"{top}Mapped_Drives name")
        number = len(plan.planted)
        plan.planted[number] = dataclasses.replace(plan.planted[number], beside=share)
        plan.put(name, b"//server/" + share + b"\r\n" + drive + b"\r\n")


def plant_bad_drives(plan, top):
    """A name that leads out of the desktop, and one that is too long; the first of them ends the item."""
    plan.put(f"{top}Mapped_Drives/climb", b"//server/share\r\n../../../../canary-0\r\n")
    plan.put(f"{top}Mapped_Drives/long", b"//s/" + b"x" * 65536 + b"\n" + b"n" * 200 + b"\n")


def plant_printers(plan, top, some):
    for kind in some:
        for port in ports:
            place = f"{top}Printers {kind}"
            name = f"{top}Printers/".encode() + plan.name(kind, place + " file")
            # Without a slash: the tools look at these names before they give them to a shell of their own.
            lines = [b"Port Name=" + port % plan.name(kind, place + " port"),
                     b"Driver Name=HP LaserJet 4050 " + plan.value(kind, place + " driver"),  # a driver that is found
                     b"Driver Name Wo Spaces=" + plan.name(kind, place + " queue"),
                     b"Printer Name=" + plan.value(kind, place + " name")]
            lines += [key.encode() + b"=" + plan.value(kind, f"{place} {key}") for key in PRINTER_KEYS]
            plan.put(name, b"\r\n".join(lines) + b"\r\n")


def plant_wallpaper(plan, top, kind):
    pictures = [name for name in plan.files if name.startswith(f"{top}Wallpaper/".encode())]
    for name in pictures:
        del plan.files[name]
    plan.put(f"{top}Wallpaper/".encode() + plan.name(kind, f"{top}Wallpaper picture") + b".bmp", b"BM")
    plan.put(f"{top}Wallpaper/option.txt", b"C" + plan.value(kind, f"{top}Wallpaper option"))


def plant_browser(plan, top):
    titles = b"".join(b'<DT><A HREF="http://h/%s">%s</A>\r\n' % (plan.value(kind, "bookmark"), plan.value(kind, "title"))
                      for kind in kinds())
    plan.put(f"{top}Bookmark.htm", plan.files.get(f"{top}Bookmark.htm".encode(), b"") + titles)
    cookies = b"".join(b"h.example\tTRUE\t/\tFALSE\t1999999999\t%s\t%s\r\n" % (plan.value(kind, "cookie"), kind.encode())
                       for kind in kinds())
    plan.put(f"{top}Cookies.txt", plan.files.get(f"{top}Cookies.txt".encode(), b"") + cookies + b"x" * 65536 + b"\r\n")


def plant_calendar(plan, top):
    for folder, part in (("Calendar/calendar.ics", b"VEVENT"), ("Tasks/tasks.ics", b"VTODO")):
        lines = [b"BEGIN:" + part]
        for kind in kinds():
            lines += [key + plan.value(kind, f"{top}{folder}") for key in
                      (b"SUMMARY:", b"DTSTART;TZID=/x/", b"RRULE:FREQ=DAILY;UNTIL=", b"DUE;TZID=:", b"PRIORITY:",
                       b"COMPLETED:", b"TRIGGER;VALUE=DURATION:-PT", b"UID:")]
        name = f"{top}ImapMail/{folder}".encode()
        plan.put(name, plan.files.get(name, b"") + b"\n".join([*lines, b"SUMMARY:" + b"x" * 65536, b"END:" + part]))


def plant_notes(plan, top):
    for kind in kinds():
        name = f"{top}Notes/".encode() + plan.name(kind, f"{top}Notes file")
        plan.put(name, b"Subject: " + plan.value(kind, f"{top}Notes title") + b"\r\n" +
                 plan.value(kind, f"{top}Notes text") + b"\r\n")
    plan.put(f"{top}Notes/long", b"S: " + b"x" * 65536 + b"\n")


def plant_groupwise(plan, top):
    lines = b"".join(b"<_default reg='sz'>gwremote</_default>" + plan.value(kind, "gwuser") + b"\r\n" for kind in kinds())
    plan.put(f"{top}Groupwise/.gwuser.xml", lines)
    plant_files(plan, top, "Groupwise/gwremote")


def plant_all(plan, top, printers, wallpaper):
    plant_mail_accounts(plan, top)
    for folder in ("My Documents", "Desktop", "File Extensions", "Fonts"):
        if folder != "Fonts" or top == ROOT:
            plant_files(plan, top, folder)
    plant_mail_folders(plan, top)
    plant_drives(plan, top)
    plant_printers(plan, top, printers)
    plant_wallpaper(plan, top, wallpaper)
    plant_browser(plan, top)
    plant_calendar(plan, top)
    plant_notes(plan, top)
    plant_groupwise(plan, top)


# ---- Archives --------------------------------------------------------------------------------------------

def one_person(sample, path):
    plan = Plan(sample)
    printers = ("command", "double-quote")[:1 if chosen == list(FEW) else 2]
    for name in [name for name in plan.files if name.startswith(b"Brindle/Printers/")]:
        del plan.files[name]
    plant_all(plan, ROOT, printers, "command")
    plan.put("Brindle/users.txt",
             b"Default=" + plan.value("command", "users.txt Default") + b"\r\nMultiUser Migration=0\r\n")
    plan.write(path)
    return plan


# Names of folders in Profiles. useradd takes none of the later ones; those that begin otherwise than with a letter or
# a digit raise a dialog.
LOGINS = (b"x$(>canary-0)", b"x`>canary-0`", b"x;>canary-0", b"x|>canary-0", b"x y", b"x'y", b'x"y', b"x\\", b"x*",
          b"x~", b"x%s%n", b"x:y:0:0", b"x=y", b"x&>canary-0", b"x\xff\xfe", "xé".encode(), b"x" * 64, b"x" * 200, b"x-rf")
REFUSED_LOGINS = (b"-rf", b"~root", b"$(>canary-0)")


def family(sample, path):
    plan = Plan(sample)
    for name in [name for name in plan.files if b"Printers/" in name]:
        del plan.files[name]
    plant_all(plan, ROOT + "Profiles/nora/", (), "single-quote")
    plant_wallpaper(plan, ROOT + "Profiles/oskar/", "double-quote")
    plant_bad_drives(plan, ROOT + "Profiles/oskar/")
    for kind in kinds():
        plan.put(f"{ROOT}Profiles/nora/Printers/".encode() + plan.name(kind, "Profiles printer"),
                 b"Printer Name=" + plan.value(kind, "Profiles printer") + b"\r\n")
    for login in (*LOGINS, *REFUSED_LOGINS):
        top = b"Brindle/Profiles/" + login + b"/"
        plan.put(top + b"My Documents/a.txt", b"text")
        plan.put(top + b"Bookmark.htm", b"<DL></DL>\r\n")
        plan.put(top + b"Wallpaper/a.bmp", b"BM")
        plan.put(top + b"Wallpaper/option.txt", b"C")
    plan.put("Brindle/users.txt", b"Default=" + plan.value("backquotes", "users.txt Default") +
             b"\r\nMultiUser Migration=1\r\n")
    plan.write(path)
    return plan
