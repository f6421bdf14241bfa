"""Counts what lies on a disk and in a new home, by readers that nobody here wrote: python's mailbox, email, sqlite3,
html.parser, http.cookiejar and configparser, vobject, icalendar, db5.3_dump.
"""
import collections
import configparser
import email.header
import glob
import hashlib
import html.parser
import http.cookiejar
import mailbox
import os
import re
import sqlite3
import subprocess
import tempfile
import xml.etree.ElementTree

import icalendar
import vobject

OCCURRENCES = os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "pack", "occurrences.py")

# `digest` is of the whole message but for what a mailbox and its program add.
Message = collections.namedtuple("Message", "folder subject text digest is_deleted")


def files_below(folder):
    """(path below the folder, digest of the content) of each file."""
    for path, _, names in os.walk(folder):
        for name in names:
            whole = os.path.join(path, name)
            with open(whole, "rb") as file:
                yield os.path.relpath(whole, folder), hashlib.sha256(file.read()).hexdigest()


# ---- Messages --------------------------------------------------------------------------------------------

def read_message(folder, content):
    """A message by its bytes, which may begin with the line "From " of a mailbox."""
    content = content.replace(b"\r\n", b"\n")
    if content.startswith(b"From "):
        content = content.partition(b"\n")[2]
    content = re.sub(rb"(?m)^>(?=>*From )", b"", content).rstrip(b"\n")
    parsed = email.message_from_bytes(content)
    status = int(parsed.get("X-Mozilla-Status", "0"), 16)
    body = parsed.get_payload(decode=True) or b""
    subject = str(email.header.make_header(email.header.decode_header(parsed.get("Subject", ""))))
    return Message(folder, subject, body.decode("utf-8", "replace").replace("\r\n", "\n").strip("\n"),
                   hashlib.sha256(content).hexdigest(), bool(status & 8))


def messages_in(path, folder):
    """The messages of a file of Thunderbird's, which may have the line "From " within a text: python's reader would
    take it for the next message, so it gets a copy where such a line is quoted."""
    with open(path, "rb") as file, tempfile.NamedTemporaryFile(suffix=".mbox") as copy:
        copy.write(re.sub(rb"(?m)^From (?!- )", b">From ", file.read()))
        copy.flush()
        box = mailbox.mbox(copy.name, create=False)
        try:
            return [read_message(folder, box.get_bytes(key)) for key in box.keys()]
        finally:
            box.close()


def mailboxes_below(folder, name=""):
    """The messages of a tree of folders as Mozilla's programs have it: a file each, what is below it in NAME.sbd."""
    found = []
    for entry in sorted(os.listdir(folder)):
        path = os.path.join(folder, entry)
        if os.path.isdir(path):
            if entry.endswith(".sbd"):
                found += mailboxes_below(path, name + entry[:-len(".sbd")] + "/")
        elif not entry.endswith((".msf", ".dat", ".html")):
            found += messages_in(path, name + entry)
    return found


def names_of_mailboxes(folder):
    """All folders of such a tree, empty ones as well."""
    for path, _, names in os.walk(folder):
        for name in names:
            if not name.endswith((".msf", ".dat", ".html")):
                yield os.path.relpath(os.path.join(path, name), folder).replace(".sbd/", "/")


def maildirs_below(folder, name=""):
    """The same of KMail's: a maildir each, what is below it in .NAME.directory."""
    found = []
    for entry in sorted(os.listdir(folder)):
        path = os.path.join(folder, entry)
        if entry.startswith(".") and entry.endswith(".directory"):
            found += maildirs_below(path, name + entry[1:-len(".directory")] + "/")
        elif os.path.isdir(path + "/cur"):
            box = mailbox.Maildir(path, create=False)
            found += [read_message(name + entry, box.get_bytes(key)) for key in box.keys()]
    return found


# ---- Mail accounts ---------------------------------------------------------------------------------------

def hosts_of_kmail(path):
    """The servers from which mail comes."""
    settings = configparser.RawConfigParser(strict=False)
    settings.read(path, encoding="utf-8")
    return sorted(settings[section]["host"] for section in settings.sections() if section.startswith("Account "))


def hosts_of_evolution(path):
    texts = [text.text or "" for text in xml.etree.ElementTree.parse(path).getroot().iter("stringvalue")]
    return sorted(host for text in texts for host in re.findall(r"<source[^>]*>\s*<url>\w+://[^@<]*@([^/:;<]+)", text))


def hosts_of_mozilla(path):
    with open(path, encoding="utf-8") as file:
        hosts = re.findall(r'"mail\.server\.server\d+\.hostname", "([^"]*)"', file.read())
    return sorted(host for host in hosts if host != "Local Folders")


# ---- Browsers --------------------------------------------------------------------------------------------

def rows(path, question):
    """What a database on the disk says, without a change to it."""
    with tempfile.NamedTemporaryFile() as copy:
        with open(path, "rb") as file:
            copy.write(file.read())
        copy.flush()
        base = sqlite3.connect(copy.name)
        try:
            return base.execute(question).fetchall()
        finally:
            base.close()


def bookmarks_of_firefox(path):
    return sorted(url for url, in rows(path, "SELECT url FROM moz_bookmarks b JOIN moz_places p ON p.id = b.fk "
                                             "WHERE b.type = 1 AND url NOT LIKE 'place:%'"))


def cookies_of_firefox(path):
    return sorted((host.lstrip("."), name, value) for host, name, value in
                  rows(path, "SELECT host, name, value FROM moz_cookies WHERE originAttributes = ''"))


class Links(html.parser.HTMLParser):
    def __init__(self):
        super().__init__()
        self.found = []

    def handle_starttag(self, tag, attrs):
        self.found += [value for name, value in attrs if tag == "a" and name == "href"]


def bookmarks_in(path):
    links = Links()
    with open(path, encoding="utf-8") as file:
        links.feed(file.read())
    return sorted(links.found)


def cookies_in(path):
    jar = http.cookiejar.MozillaCookieJar()
    with tempfile.NamedTemporaryFile("w", encoding="utf-8") as copy, open(path, encoding="utf-8") as file:
        copy.write("# Netscape HTTP Cookie File\n" + file.read())  # a program may leave out the head
        copy.flush()
        jar.load(copy.name, ignore_discard=True, ignore_expires=True)
    return sorted((cookie.domain.lstrip("."), cookie.name, cookie.value) for cookie in jar)


# ---- Contacts --------------------------------------------------------------------------------------------

def contact(card):
    """Its name, and its addresses with blanks between."""
    return card.fn.value, " ".join(line.value for line in card.contents.get("email", []))


def contacts_in_vcards(text):
    return [contact(card) for card in vobject.readComponents(text)]


def contacts_in_database(path):
    """Those of Evolution's address book."""
    dump = subprocess.run(["db5.3_dump", "-p", path], capture_output=True, check=True, text=True).stdout
    values = [re.sub(rb"\\([0-9a-f]{2})", lambda byte: bytes([int(byte[1], 16)]), line[1:].encode().replace(b"\\\\", b"\\5c"))
              for line in dump.splitlines() if line.startswith(" BEGIN:VCARD")]
    return contacts_in_vcards("\r\n".join(value.decode("utf-8").rstrip("\0") for value in values))


def contacts_in_mork(path):
    """Those of the Mozilla suite, for whose format there is no reader but its own: names and values by their numbers."""
    with open(path, encoding="ascii") as file:
        text = file.read()
    values = {number: re.sub(r"\$(..)|\\(.)", lambda sign: chr(int(sign[1], 16)) if sign[1] else sign[2], value)
              .encode("latin-1").decode("utf-8")
              for number, value in re.findall(r"\((\w+)=((?:[^\\)]|\\.)*)\)", text)}
    found = []
    for row in re.findall(r"(?m)^  \[\d+((?:\(\^\w+\^\w+\))+)\]", text):
        cells = {values[name]: values[value] for name, value in re.findall(r"\(\^(\w+)\^(\w+)\)", row)}
        found.append((cells["DisplayName"],
                      " ".join(cells[name] for name in ("PrimaryEmail", "SecondEmail") if name in cells)))
    return found


# ---- Calendars and notes ---------------------------------------------------------------------------------

def planner_in(*paths):
    """Lines, sorted: when each appointment is by a clock in Berlin, and when each task is due and was done."""
    lines = []
    for path in paths:
        if os.path.exists(path):
            shown = subprocess.run(["/usr/bin/python3", OCCURRENCES, path], capture_output=True, text=True, check=False)
            if shown.returncode != 0:
                raise AssertionError(shown.stderr)
            lines += [line for line in shown.stdout.splitlines() if line]
    return sorted(lines)


def notes_in(path):
    """The notes of KNotes: title and text."""
    if not os.path.exists(path):
        return {}
    with open(path, encoding="utf-8") as file:
        calendars = icalendar.Calendar.from_ical(file.read(), multiple=True)
    entries = [entry for calendar in calendars for entry in calendar.walk("VJOURNAL")]
    # An escaped bracket is KNotes' own.
    return {str(entry["SUMMARY"]): re.sub(r"\\([()])", r"\1", str(entry["DESCRIPTION"])).rstrip("\n") for entry in entries}


def one_of(pattern):
    """The file or folder of that pattern, None when there is none."""
    found = glob.glob(pattern)
    return found[0] if len(found) == 1 else None
