"""Makes what bench/run measures with: always the same bytes for the same size.

Each maker takes a folder and how many times smaller than usual its content is to be, and makes one file or folder.
"""
import base64
import os
import random
import shutil
import subprocess
import zipfile

LETTERS = "abcdefghijklmnopqrstuvwxyz"


class Words:
    """A text that looks like one, of as many lines as are asked for."""

    def __init__(self, seed):
        self.random = random.Random(seed)
        self.words = ["".join(self.random.choices(LETTERS, k=self.random.randint(2, 9))) for _ in range(2000)]
        self.pool = [self.text(4000) for _ in range(200)]

    def line(self):
        return " ".join(self.random.choices(self.words, k=self.random.randint(6, 11))) + "\n"

    def text(self, size):
        lines = []
        while size > 0:
            lines.append(self.line())
            size -= len(lines[-1])
        return "".join(lines)

    def part(self, size):
        """About `size` bytes, cut anywhere: cheaper than a new text."""
        parts = []
        while size > 0:
            parts.append(self.random.choice(self.pool)[:size])
            size -= len(parts[-1])
        return "".join(parts)


# ---- Mailboxes ---------------------------------------------------------------------------------------------


def mailbox(path, messages, message):
    words = Words(1)
    with open(path, "w", encoding="ascii") as file:
        for number in range(messages):
            file.write(message_head(number) + message(words))


def message_head(number):
    return ("From - Mon Jan  1 00:00:00 2001\nReceived: from a by b\nFrom: ann%d@home.example\n"
            "To: bob@home.example\nSubject: %d\nMessage-ID: <%d@home.example>\nMIME-Version: 1.0\n"
            % (number, number, number))


def plain_message(size):
    return lambda words: "Content-Type: text/plain\n\n" + words.part(size - 200) + "\n\n"


def message_with_attachment(size):
    encoded = base64.encodebytes(random.Random(2).randbytes(size * 3 // 4)).decode("ascii")

    def message(words):
        return ('Content-Type: multipart/mixed; boundary="abc"\n\n--abc\nContent-Type: text/plain\n\n' + words.text(4000) +
                "--abc\nContent-Transfer-Encoding: base64\n\n" + encoded[:size - 5000] + "\n--abc--\n\n")
    return message


def mailbox_200mb(path, smaller):
    mailbox(path, 20000 // smaller, plain_message(10000))


def mailbox_attachments(path, smaller):
    mailbox(path, 2000 // smaller, message_with_attachment(100000))


def mailbox_tiny(path, smaller):
    mailbox(path, 25000 // smaller, plain_message(2000))


def mailbox_3gb(path, smaller):
    part = path + ".part"
    mailbox_attachments(part, smaller)
    with open(path, "wb") as file:
        for _ in range(15):
            with open(part, "rb") as again:
                shutil.copyfileobj(again, file, 1 << 20)
    os.unlink(part)


# ---- Texts: each makes an archive folder, or a home ----------------------------------------------------------

ZONE = "/brindle.example/Olson_20011030_5/Europe/Stockholm"
CALENDAR_HEAD = "BEGIN:VCALENDAR\nCALSCALE:GREGORIAN\nPRODID:-//Ximian//NONSGML Evolution Calendar//EN\nVERSION:2.0\n"


def event(number, words):
    day = "2005%02d%02d" % (number % 12 + 1, number % 28 + 1)
    lines = ["BEGIN:VEVENT\nUID:%sT070000Z-612-1000-1-%d@home\nDTSTAMP:%sT070000Z\n" % (day, number, day),
             "DTSTART;TZID=%s:\n %sT180000\nDTEND;TZID=%s:\n %sT193000\n" % (ZONE, day, ZONE, day),
             "SUMMARY:" + words.line()]
    if number % 5 == 0:
        lines.append("RRULE:FREQ=MONTHLY;UNTIL=20081231T235959Z;BYDAY=TU;BYSETPOS=2\n")
    if number % 3 == 0:
        lines.append("BEGIN:VALARM\nACTION:DISPLAY\nDESCRIPTION:x\nTRIGGER;VALUE=DURATION:-PT2H\nEND:VALARM\n")
    lines.append("END:VEVENT\n")
    return "".join(lines)


def task(number, words):
    day = "2005%02d%02d" % (number % 12 + 1, number % 28 + 1)
    done = "COMPLETED:%sT120000\nSTATUS:COMPLETED\n" % day if number % 4 == 0 else ""
    return ("BEGIN:VTODO\nUID:%sT073000Z-612-1000-2-%d@home\nDTSTAMP:%sT073000Z\nSUMMARY:%s"
            "DUE;TZID=%s:%s\nPRIORITY:%d\n%sEND:VTODO\n" % (day, number, day, words.line(), ZONE, day, number % 10, done))


def write(path, lines):
    os.makedirs(os.path.dirname(path), exist_ok=True)
    with open(path, "w", encoding="ascii") as file:
        file.writelines(lines)


def calendar(root, smaller):
    words = Words(3)
    events = (event(number, words) for number in range(100000 // smaller))
    write(root + "/ImapMail/Calendar/calendar.ics", [CALENDAR_HEAD, *events, "END:VCALENDAR\n"])


def tasks(root, smaller):
    words = Words(4)
    todos = (task(number, words) for number in range(100000 // smaller))
    write(root + "/ImapMail/Calendar/calendar.ics", [CALENDAR_HEAD, "END:VCALENDAR\n"])
    write(root + "/ImapMail/Tasks/tasks.ics", [CALENDAR_HEAD, *todos, "END:VCALENDAR\n"])


def notes(root, smaller):
    """Few and long: each note costs a command, whatever it holds."""
    words = Words(5)
    for number in range(50):
        write("%s/Notes/note%d.txt" % (root, number), ["Subject: note %d\n" % number, words.text(400000 // smaller)])


def cookies(root, smaller):
    words = Words(6)
    lines = ("www.%s.example\tTRUE\t/\tFALSE\t1999999999\tvisit\t%d\n" % (words.line().split()[0], number)
             for number in range(200000 // smaller))
    write(root + "/Cookies.txt", ["# Netscape HTTP Cookie File\n\n", *lines])


def bookmarks(home, smaller):
    words = Words(7)
    lines = ('<bookmark href="http://www.home.example/%d"><title>%s</title></bookmark>\n' % (number, words.line()[:-1])
             for number in range(100000 // smaller))
    write(home + "/.kde/share/apps/konqueror/bookmarks.xml", ["<!DOCTYPE xbel>\n<xbel>\n", *lines, "</xbel>\n"])


def settings(root, smaller):
    words = Words(8)
    lines = ("Key %d=%s" % (number, words.line()) for number in range(200000 // smaller))
    write(root + "/settings.txt", [*lines, "Very Last Key=yes\n"])


# ---- Address books and archives ------------------------------------------------------------------------------


def address_book(path, smaller):
    words = Words(9)
    records = [" PAS-DB-VERSION\\00\n 0.2\\00\n"]
    for number in range(50000 // smaller):
        first, last, street, city = words.line().title().split()[:4]
        card = ("BEGIN:VCARD\\0d\\0aVERSION:3.0\\0d\\0aUID:pas-id-%08X\\0d\\0aFN:%s %s\\0d\\0aN:%s;%s;;;\\0d\\0a"
                "EMAIL;TYPE=INTERNET:%s%d@home.example\\0d\\0aTEL;TYPE=HOME:960 %06d\\0d\\0a"
                "ADR;TYPE=HOME:;;%s 5;%s;;12345;\\0d\\0aEND:VCARD\\00"
                % (number, first, last, last, first, first.lower(), number, number, street, city))
        records.append(" pas-id-%08X\\00\n %s\n" % (number, card))
    head = "VERSION=3\nformat=print\ntype=hash\ndb_pagesize=4096\nHEADER=END\n"
    subprocess.run(["db5.3_load", path], input=(head + "".join(records) + "DATA=END\n").encode("ascii"), check=True)


def archive(folder, smaller):
    """An archive and the home in which everything of it has arrived."""
    words = Words(10)
    os.makedirs(folder)
    with zipfile.ZipFile(folder + "/old-pc.zip", "w", zipfile.ZIP_DEFLATED, compresslevel=1) as file:
        for number in range(20000 // smaller):
            name = "folder %d/letter %d.txt" % (number % 100, number)
            text = "%d\n%s" % (number, words.part(52000))
            entry = zipfile.ZipInfo("Brindle/My Documents/" + name, (2005, 5, 10, 9, 0, 0))
            entry.compress_type = zipfile.ZIP_DEFLATED
            file.writestr(entry, text)
            write("%s/home/Documents/%s" % (folder, name), [text])


# ---- Windows disks -------------------------------------------------------------------------------------------


def disk(folder, files, size, compressed_part):
    """A copy of a partition with the documents of one person: texts, and pictures that no program makes smaller."""
    words, noise = Words(11), random.Random(12).randbytes(1 << 20)
    documents = folder + "/Users/Ann/Documents"
    for number in range(files):
        place = "%s/folder %d" % (documents, number % 200)
        os.makedirs(place, exist_ok=True)
        if number % 100 < compressed_part:
            begin = number * 4096 % (len(noise) // 2)
            name, content = "picture %d.jpg" % number, noise[begin:begin + size]
        else:
            name, content = "letter %d.txt" % number, words.part(size).encode("ascii")
        with open(place + "/" + name, "wb") as file:
            file.write(content)


def large_disk(folder, smaller):
    """2 GB in 20,000 files, half of it pictures: a fiftieth part of what a person may have."""
    disk(folder, 20000 // smaller, 100000, 50)


def disk_of_small_files(folder, smaller):
    disk(folder, 200000 // smaller, 2000, 10)


def disk_of_many_names(folder, smaller):
    """500,000 files with names of 200 bytes, all in one folder."""
    documents = folder + "/Users/Ann/Documents"
    os.makedirs(documents)
    for number in range(500000 // smaller):
        with open("%s/%06d%s" % (documents, number, "n" * 194), "wb"):
            pass
