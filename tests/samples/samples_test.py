"""The sample archives, read by programs nobody here wrote.

    samples_test.py [TestCase...]

Runs in the source folder, inside a private view of the machine: archives are made and unpacked below /tmp.
"""
import contextlib
import email.policy
import http.cookiejar
import mailbox
import os
import re
import shutil
import sqlite3
import subprocess
import unittest
import zipfile
from pathlib import Path

import icalendar
import vobject

SOURCES = Path("samples").resolve()
MADE = Path("/tmp/made")
SAMPLES = ["one-person", "family"]
PROFILES = ["oskar", "nora", "meilan"]

FOR_EVERYBODY = [
    "Desktop/", "ImapMail/brindle-email-accounts/", "ImapMail/Calendar/calendar.ics", "ImapMail/Tasks/tasks.ics",
    "ImapMail/Contacts/addressbook.db", "Mail/Inbox", "Notes/", "Wallpaper/option.txt", "Bookmark.htm", "Cookies.txt",
    "File Extensions/", "Mapped_Drives/", "Printers/Default.txt", "Groupwise/.gwuser.xml", "Groupwise/gwremote/",
]
FOR_THE_PC = ["users.txt", "Fonts/"]

SERVER_KEYS = ["Server", "Prompt for Password", "User Name", "User", "Port", "Secure Connection", "Use SSL"]
ACCOUNT_KEYS = [
    "Account Name", "SMTP Display Name", "Display Name", "SMTP Email Address", "Email", "SMTP Reply To Email Address",
    "Reply Email", "SMTP Organization Name", "Organization", *(f"POP3 {key}" for key in SERVER_KEYS),
    *(f"IMAP {key}" for key in SERVER_KEYS), "Leave Mail On Server", "Leave on Server", "SMTP Use Sicily",
    "SMTP Use Auth", "SMTP Prompt for Password", "SMTP Server", "SMTP Secure Connection",
]


def run(*words, **options):
    return subprocess.run(words, check=True, capture_output=True, **options).stdout


def pack(folder, out):
    done = subprocess.run([SOURCES / "pack", folder, out], capture_output=True, text=True)
    return done.returncode, done.stderr


def setUpModule():
    run(SOURCES / "make", MADE)
    for sample in SAMPLES:
        run("unzip", "-q", MADE / f"{sample}.zip", "-d", MADE / sample)


def accounts():
    """(sources, unpacked) of everybody in the samples."""
    for sample in SAMPLES:
        yield SOURCES / sample, MADE / sample / "Brindle"
    for profile in PROFILES:
        yield SOURCES / "family/Profiles" / profile, MADE / "family/Brindle/Profiles" / profile


def files_of(pattern):
    return sorted(path for _, unpacked in accounts() for path in unpacked.glob(pattern))


class Archives(unittest.TestCase):
    def test_they_are_zip_files_with_one_folder(self):
        for sample in SAMPLES:
            path = MADE / f"{sample}.zip"
            self.assertIn("Zip", run("file", path, text=True))
            with zipfile.ZipFile(path) as archive:
                self.assertIsNone(archive.testzip())
                self.assertEqual({name.split("/")[0] for name in archive.namelist()}, {"Brindle"})

    def test_every_name_of_the_layout_is_there(self):
        for _, unpacked in accounts():
            for name in FOR_EVERYBODY + (FOR_THE_PC if unpacked.name == "Brindle" else []):
                path = unpacked / name
                self.assertTrue(path.is_dir() if name.endswith("/") else path.is_file(), path)
                if name.endswith("/"):
                    self.assertNotEqual(list(path.iterdir()), [], path)
            self.assertEqual(len([name for name in ("My Documents", "Personal") if (unpacked / name).is_dir()]), 1)
        self.assertEqual(sorted(os.listdir(MADE / "family/Brindle/Profiles")), sorted(PROFILES))
        self.assertFalse((MADE / "one-person/Brindle/Profiles").exists())

    def test_the_description_names_everything(self):
        described = Path("docs/archive.md").read_text()
        keys = [line.split("=")[0] for line in (SOURCES / "one-person/Printers/Default.txt").read_text().splitlines()]
        for name in FOR_EVERYBODY + FOR_THE_PC + keys + [key for key in ACCOUNT_KEYS if not key.startswith("IMAP ")]:
            for part in filter(None, name.split("/")):
                self.assertIn(part, described)

    def test_nothing_readable_is_left_that_should_have_become_something_else(self):
        left = [path for sample in SAMPLES for path in (MADE / sample).rglob("*")
                if path.name == ".pack" or path.suffix in (".messages", ".drawing", ".list", ".vcf")]
        self.assertEqual(left, [])

    def test_pictures_and_fonts_are_what_they_say(self):
        pictures = [path for sample in SAMPLES for path in (MADE / sample).rglob("*.bmp")]
        self.assertEqual(len(pictures), 9)
        for path in pictures:
            self.assertIn("PC bitmap, Windows 3.x format", run("file", path, text=True))
        for path in files_of("Fonts/*"):
            self.assertIn("TrueType", run("file", path, text=True))
        self.assertEqual({path.read_bytes()[:1] for path in files_of("Wallpaper/option.txt")}, {b"C", b"S", b"T"})
        for _, unpacked in accounts():
            self.assertEqual(len(list((unpacked / "Wallpaper").glob("*.bmp"))), 1)

    def test_names_with_blanks_and_from_other_scripts_come_out(self):
        names = {path.name for sample in SAMPLES for path in (MADE / sample).rglob("*")}
        self.assertLessEqual({"Réponse à Amélie.txt", "Mum & Dad's anniversary (draft).txt", "西湖.bmp", "家人"}, names)
        for sample in SAMPLES:
            shutil.rmtree("/tmp/again", ignore_errors=True)
            run("unzip", "-q", MADE / f"{sample}.zip", "-d", "/tmp/again", env={"PATH": os.environ["PATH"], "LC_ALL": "C"})
            run("diff", "-r", MADE / sample, "/tmp/again")


class Mail(unittest.TestCase):
    def messages(self, path):
        box = mailbox.mbox(path, factory=lambda file: email.message_from_binary_file(file, policy=email.policy.default))
        with contextlib.closing(box):
            return list(box)

    def boxes(self):
        """Of every mailbox: whose it is, what it is made from, and its messages."""
        for sources, unpacked in accounts():
            for path in sorted((sources / "Mail").rglob("*.messages")):
                yield unpacked, path.read_text(), self.messages(unpacked / path.relative_to(sources).with_suffix(""))

    def test_every_message_is_found(self):
        total = 0
        for _, source, box in self.boxes():
            wanted = len(re.findall(r"^@@ ", source, re.M))
            self.assertEqual(len(box), wanted)
            total += wanted
        self.assertEqual(total, 25 + 8 + 6 + 5 + 5)

    def test_messages_are_sound(self):
        seen = set()
        for _, source, box in self.boxes():
            subjects = re.findall(r"^Subject: (.*)$", source, re.M)
            for message, subject in zip(box, subjects):
                self.assertEqual(message["Subject"], subject)
                self.assertEqual([part.defects for part in message.walk() if part.defects], [])
                self.assertNotIn(message["Message-ID"], seen)
                self.assertIsNotNone(message["Date"].datetime)
                seen.add(message["Message-ID"])
                self.assertTrue(message.get_body(("plain",)).get_content().strip())

    def test_every_encoding_and_a_nested_multipart_occur(self):
        parts = [part for _, _, box in self.boxes() for message in box for part in message.walk()]
        self.assertLessEqual({"7bit", "8bit", "quoted-printable", "base64"},
                             {str(part["Content-Transfer-Encoding"]) for part in parts})
        self.assertLessEqual({"us-ascii", "utf-8", "iso-8859-1", "gb2312"}, {part.get_content_charset() for part in parts})
        self.assertLessEqual({"multipart/mixed", "multipart/alternative", "text/html", "image/bmp", "text/csv"},
                             {part.get_content_type() for part in parts})

    def test_text_in_chinese_is_read(self):
        box = self.messages(MADE / "family/Brindle/Profiles/meilan/Mail/Inbox")
        self.assertEqual(str(box[0]["From"]), "陈志远 <zhiyuan@youjian.example>")
        self.assertIn("西湖边的花开了", box[0].get_content())
        self.assertIn("请带毛笔和宣纸", box[1].get_content())

    def test_attachments_are_the_documents(self):
        count = 0
        for home, source, box in self.boxes():
            wanted = re.findall(r"^Attach: (.*)$", source, re.M)
            found = [part for message in box for part in message.walk() if part.get_content_disposition() == "attachment"]
            self.assertEqual([Path(name).name for name in wanted], [part.get_filename() for part in found])
            for name, part in zip(wanted, found):
                self.assertEqual(part.get_payload(decode=True), (home / name).read_bytes())
                count += 1
        self.assertEqual(count, 12)

    def test_lines_that_look_like_a_new_message_are_escaped(self):
        inbox = (MADE / "one-person/Brindle/Mail/Inbox").read_text("latin-1")
        self.assertIn("\n>From what I hear", inbox)
        self.assertEqual(len(re.findall("^From ", inbox, re.M)), len(re.findall("^From - [A-Z]", inbox, re.M)))

    def test_folders_are_nested(self):
        self.assertTrue((MADE / "one-person/Brindle/Mail/Inbox.sbd/Work.sbd/New slipway").is_file())
        self.assertTrue((MADE / "family/Brindle/Profiles/oskar/Mail/Inbox.sbd/Customers.sbd/2004").is_file())


class Calendars(unittest.TestCase):
    def read(self, path):
        text = path.read_bytes()
        return icalendar.Calendar.from_ical(text.decode("gb2312" if "meilan" in path.parts else "ascii"))

    def test_events_and_tasks_are_read(self):
        counts = {}
        for kind, pattern in (("VEVENT", "ImapMail/Calendar/calendar.ics"), ("VTODO", "ImapMail/Tasks/tasks.ics")):
            for path in files_of(pattern):
                found = self.read(path).walk(kind)
                self.assertEqual([part.errors for part in found if part.errors], [], path)
                counts.setdefault(kind, []).append(len(found))
        self.assertEqual({kind: sorted(each) for kind, each in counts.items()},
                         {"VEVENT": [2, 3, 3, 4, 7], "VTODO": [2, 3, 3, 3, 5]})

    def test_times_with_a_zone_stand_on_a_line_of_their_own(self):
        for path in files_of("ImapMail/Calendar/calendar.ics"):
            lines = path.read_bytes().split(b"\n")
            heads = [n for n, line in enumerate(lines) if re.match(rb"DT(START|END);TZID", line)]
            self.assertTrue(heads)
            for n in heads:
                self.assertRegex(lines[n], rb"^DT(START|END);TZID=[^:]*:$")
                self.assertRegex(lines[n + 1], rb"^ \d{8}T\d{6}$")

    def test_lines_end_without_a_carriage_return(self):
        for path in files_of("ImapMail/*/*.ics"):
            self.assertNotIn(b"\r", path.read_bytes())

    def test_shapes_that_are_rewritten_occur(self):
        text = b"".join(path.read_bytes() for path in files_of("ImapMail/*/*.ics"))
        for shape in (rb"TRIGGER;VALUE=DURATION:-PT15M\n", rb"TRIGGER;VALUE=DURATION:-PT2H\n",
                      rb"RRULE:FREQ=WEEKLY;UNTIL=\d{8}T\d{6}Z;BYDAY=TU\n", rb"RRULE:FREQ=MONTHLY;INTERVAL=1;BYDAY=MO;BYSETPOS=1\n",
                      rb"RRULE:FREQ=DAILY;COUNT=5\n", rb"RRULE:FREQ=YEARLY;INTERVAL=1\n", rb"DUE;TZID=[^:]*:\d{8}\n",
                      rb"DTSTART;TZID=[^:]*:\d{8}\n", rb"COMPLETED:\d{8}T\d{6}\n", rb"COMPLETED:\d{8}T\d{6}Z\n",
                      rb"PRIORITY:1\n", rb"PRIORITY:4\n", rb"PRIORITY:5\n", rb"PRIORITY:9\n"):
            self.assertRegex(text, shape)
        # a day list or an end that closes its line loses what follows it, so no sample has one
        self.assertNotRegex(text, rb"UNTIL=[^;\n]*\n|BYSETPOS=[^\n]*;")


class Contacts(unittest.TestCase):
    def records(self, path):
        dump = run("db5.3_dump", "-p", path, text=True).split("HEADER=END\n")[1].split("DATA=END")[0]
        lines = [re.sub(rb"\\([0-9a-f]{2}|\\)", lambda hit: b"\\" if hit[1] == b"\\" else bytes.fromhex(hit[1].decode()),
                        line[1:].encode("latin-1")) for line in dump.splitlines()]
        return dict(zip(lines[::2], lines[1::2]))

    def test_they_are_sound_databases_with_trailing_zeros_and_a_version(self):
        for path in files_of("ImapMail/Contacts/addressbook.db"):
            run("db5.3_verify", path)
            self.assertIn("Berkeley DB", run("file", path, text=True))
            records = self.records(path)
            self.assertEqual(records.pop(b"PAS-DB-VERSION\0"), b"0.2\0")
            for key, value in records.items():
                self.assertTrue(key.endswith(b"\0") and value.endswith(b"\r\nEND:VCARD\0"))
                self.assertIn(b"\r\nUID:" + key[:-1] + b"\r\n", value)

    def test_every_card_is_read(self):
        total = 0
        for sources, unpacked in accounts():
            records = self.records(unpacked / "ImapMail/Contacts/addressbook.db")
            del records[b"PAS-DB-VERSION\0"]
            charset = "gb2312" if unpacked.name == "meilan" else "ascii"
            names = {vobject.readOne(value[:-1].decode(charset)).fn.value for value in records.values()}
            self.assertEqual(names, set(re.findall(r"^FN:(.*)$", (sources / "ImapMail/Contacts/contacts.vcf").read_text(), re.M)))
            total += len(names)
        self.assertEqual(total, 17)

    def test_evolution_data_server_imports_them(self):
        store = Path("/root/.evolution/addressbook/local/system")
        store.mkdir(parents=True)
        shutil.copy(MADE / "one-person/Brindle/ImapMail/Contacts/addressbook.db", store)
        name = "org.gnome.evolution.dataserver"
        run("dbus-run-session", "--", "bash", "-c",
            f"for try in $(seq 50); do gdbus call --session --dest {name}.AddressBook10 "
            "--object-path /org/gnome/evolution/dataserver/AddressBookFactory "
            f"--method {name}.AddressBookFactory.OpenAddressBook system-address-book && break; sleep 0.2; done; "
            "for try in $(seq 50); do [ -e /root/.local/share/evolution/addressbook/system/addressbook.db.old ] && break; "
            "sleep 0.2; done")
        with sqlite3.connect("/root/.local/share/evolution/addressbook/system/contacts.db") as database:
            self.assertEqual(database.execute("select count(*) from folder_id").fetchone(), (6,))


class Settings(unittest.TestCase):
    def lines(self, *patterns):
        for pattern in patterns:
            for path in files_of(pattern):
                yield from ((path, line) for line in path.read_bytes().splitlines(keepends=True))

    def test_lines_end_as_windows_ends_them_and_fit(self):
        for path, line in self.lines("users.txt", "ImapMail/brindle-email-accounts/*", "Printers/*", "Mapped_Drives/*",
                                     "Notes/*", "Cookies.txt", "Wallpaper/option.txt"):
            self.assertTrue(line.endswith(b"\r\n"), path)
            self.assertLessEqual(len(line) - 1, 127, path)  # the carriage return goes before it is read

    def test_every_key_of_an_account_occurs(self):
        keys = {line.split(b"=")[0].decode() for _, line in self.lines("ImapMail/brindle-email-accounts/*")}
        self.assertEqual(keys, set(ACCOUNT_KEYS))

    def test_no_key_is_found_in_a_line_before_its_own(self):
        for path in files_of("ImapMail/brindle-email-accounts/*") + files_of("Printers/*"):
            lines = path.read_bytes().splitlines()
            for number, line in enumerate(lines):
                key = line.split(b"=")[0]
                self.assertEqual([other for other in lines[:number] if key in other], [], path)

    def test_texts_of_the_chinese_account_are_in_gb2312(self):
        home = MADE / "family/Brindle/Profiles/meilan"
        account = (home / "ImapMail/brindle-email-accounts/00000001.txt").read_bytes()
        self.assertTrue(account.startswith("Account Name=陈美兰\r\n".encode("gb2312")))
        self.assertIn("标题: 购物\r\n".encode("gb2312"), (home / "Notes/note1.txt").read_bytes())
        self.assertIn("SUMMARY:太极拳\n".encode("gb2312"), (home / "ImapMail/Calendar/calendar.ics").read_bytes())
        for other in ("oskar", "nora"):
            for path in (MADE / "family/Brindle/Profiles" / other / "ImapMail").rglob("*.*"):
                if path.suffix != ".db":
                    path.read_bytes().decode("ascii")

    def test_printers_of_every_port_kind(self):
        ports = {line.strip().split(b"=")[1].decode() for _, line in self.lines("Printers/*") if line.startswith(b"Port Name=")}
        kinds = {"USB001", "LPT1", "LPT2", "http:", "//", "FILE:", "SHRFAX", "192.0.2.17:"}
        self.assertEqual({kind for kind in kinds if any(port.startswith(kind) for port in ports)}, kinds)

    def test_drives_have_a_share_and_a_name(self):
        for path in files_of("Mapped_Drives/*"):
            share, name = path.read_text().splitlines()
            self.assertRegex(share, "^//[^/]+/")
            self.assertNotIn("/", name)

    def test_notes_have_a_title(self):
        for path in files_of("Notes/*"):
            self.assertRegex(path.read_bytes().splitlines()[0], rb"^[^:]+:\s*\S")

    def test_cookies_are_read_with_a_dot_before_their_hosts(self):
        total = 0
        for path in files_of("Cookies.txt"):
            text = re.sub(r"^(?=[^#\n])", ".", path.read_text(), flags=re.M)
            Path("/tmp/cookies.txt").write_text(text)
            jar = http.cookiejar.MozillaCookieJar("/tmp/cookies.txt")
            jar.load(ignore_discard=True)
            total += len(jar)
        self.assertEqual(total, 12)

    def test_groupwise_settings_name_the_mailbox_once(self):
        for path in files_of("Groupwise/.gwuser.xml"):
            run("xmllint", "--noout", path)
            self.assertEqual(path.read_text().count("<_default reg='sz'>gwremote</_default>"), 1)


class Packing(unittest.TestCase):
    def test_the_same_folder_gives_the_same_bytes(self):
        run("cp", "-R", SOURCES, "/tmp/elsewhere")
        os.umask(0o077)
        for sample in SAMPLES:
            self.assertEqual(pack(f"/tmp/elsewhere/{sample}", "/tmp/again.zip"), (0, ""))
            self.assertEqual(Path("/tmp/again.zip").read_bytes(), (MADE / f"{sample}.zip").read_bytes())

    def test_an_unpacked_archive_is_packed_as_it_is(self):
        for sample in SAMPLES:
            self.assertEqual(pack(MADE / sample / "Brindle", "/tmp/again.zip"), (0, ""))
            self.assertEqual(Path("/tmp/again.zip").read_bytes(), (MADE / f"{sample}.zip").read_bytes())

    def folder(self, files):
        folder = Path("/tmp/folder")
        shutil.rmtree(folder, ignore_errors=True)
        for name, text in files.items():
            (folder / name).parent.mkdir(parents=True, exist_ok=True)
            (folder / name).write_text(text)
        return folder

    def test_settings_that_would_be_cut_are_pointed_out(self):
        folder = self.folder({"Printers/a.txt": "Port Name=" + "x" * 116 + "\n", "Printers/b.txt": "Port Name=" + "x" * 117 + "\n"})
        status, said = pack(folder, "/tmp/new.zip")
        self.assertEqual(status, 0)
        self.assertIn("Printers/b.txt: longer than 126 bytes", said)
        self.assertNotIn("a.txt", said)

    def test_a_last_line_without_an_end_and_an_odd_login_are_pointed_out(self):
        status, said = pack(self.folder(
            {"users.txt": "MultiUser Migration=0", "Profiles/_x/Notes/n": "a:b\n", "Profiles/_x/Notes/m": "a:b\n"}), "/tmp/new.zip")
        self.assertEqual(status, 0)
        self.assertIn("users.txt: the last line does not end", said)
        self.assertEqual(1, said.count("Profiles/_x: a login name begins with a letter or a digit\n"))

    def test_a_font_that_is_not_installed_is_left_out(self):
        status, said = pack(self.folder({"Fonts/fonts.list": "No Such Font.ttf\nDejaVuSans.ttf\n"}), "/tmp/new.zip")
        self.assertEqual((status, said), (0, "pack: font No Such Font.ttf is not installed, left out\n"))
        with zipfile.ZipFile("/tmp/new.zip") as archive:
            self.assertEqual(archive.namelist(), ["Brindle/", "Brindle/Fonts/", "Brindle/Fonts/DejaVuSans.ttf"])

    def packed(self, files):
        """What was said, and the archive."""
        status, said = pack(self.folder(files), "/tmp/new.zip")
        self.assertEqual(0, status, said)
        return said.splitlines(), zipfile.ZipFile("/tmp/new.zip")

    def test_empty_folders_are_packed(self):
        folder = self.folder({"ImapMail/brindle-email-accounts/a.txt": "Account Name=A\n", "Notes/n": "a: b\n"})
        for name in ("Desktop", "Profiles/ann", "My Documents/To do/later", "Profiles/bob/ImapMail/brindle-email-accounts"):
            (folder / name).mkdir(parents=True)
        self.assertEqual((0, ""), pack(folder, "/tmp/new.zip"))
        with zipfile.ZipFile("/tmp/new.zip") as archive:
            names = archive.namelist()
        self.assertLessEqual({"Brindle/Desktop/", "Brindle/Profiles/ann/", "Brindle/My Documents/To do/", "Brindle/Profiles/",
                              "Brindle/My Documents/To do/later/",
                              "Brindle/Profiles/bob/ImapMail/brindle-email-accounts/"}, set(names))
        self.assertEqual(sorted(names), names)
        self.assertEqual(len(set(names)), len(names))

    def test_dates_are_kept_by_whoever_unpacks_it_wherever(self):
        folder = self.folder({"My Documents/old.txt": "a", "My Documents/older/b": "b", "Notes/n": "a: b\n", "ImapMail/.keep": "",
                              "Mail/In.messages": "@@ 2005-01-01 00:00:00 +0000\nFrom: a\n\nb\n"})
        dates = {"My Documents/old.txt": 920_523_967, "My Documents/older/b": 1_000_000_001, "Notes/n": 1_100_000_000,
                 "Mail/In.messages": 1_200_000_000, "Mail": 1_300_000_000, "My Documents/older": 1_400_000_000}
        for name, date in dates.items():
            os.utime(folder / name, (date, date))
        pack(folder, "/tmp/new.zip")
        run("env", "TZ=Asia/Tokyo", "unzip", "-q", "/tmp/new.zip", "-d", "/tmp/dates")
        found = {name: int((Path("/tmp/dates/Brindle") / name.replace(".messages", "")).stat().st_mtime) for name in dates}
        self.assertEqual(dates, found)

    def test_one_date_for_all(self):
        _, archive = self.packed({".pack": "date=2001-02-03 04:05:06 +0000\n", "Notes/n": "a: b\n", "Desktop/a": "x"})
        self.assertEqual({(2001, 2, 3, 4, 5, 6)}, {entry.date_time for entry in archive.infolist()})

    def test_names_of_any_bytes(self):
        folder = self.folder({})
        names = [b"caf\xe9", b"two\nlines", b"-rf", b"[a]*?", "Gr\u00fc\u00dfe".encode(), b"back\\slash", b"\xbc\xd2/\xff"]
        for name in names:
            path = os.path.join(os.fsencode(folder), b"My Documents", name)
            os.makedirs(os.path.dirname(path), exist_ok=True)
            with open(path, "wb") as file:
                file.write(name)
        self.assertEqual((0, ""), pack(folder, "/tmp/new.zip"))
        with open("/tmp/new.zip", "rb") as file:
            whole = file.read()
        with zipfile.ZipFile("/tmp/new.zip") as archive:
            found = {os.fsencode(entry.orig_filename.encode("cp437")): archive.read(entry) for entry in archive.infolist()
                     if not entry.is_dir() and not entry.flag_bits & 0x800}
        self.assertEqual({b"Brindle/My Documents/" + name: name for name in names}, found)
        self.assertIn(b"two\nlines", whole)

    def test_names_that_nobody_looks_for_are_told_once_a_folder(self):
        accounts = {"ImapMail/brindle-email-accounts/a": "", "ImapMail/notes.txt": "x"}
        said, archive = self.packed({**accounts, "mail/Inbox": "", "mail/Sent": "", "bookmarks.html": "", "calendar.ics": "",
                                     "Fonts/a.ttf": "", "Groupwise/other": "", "Groupwise/gwremote/a/b": "",
                                     "Profiles/ann/users.txt": "", "Profiles/ann/Fonts/a": "", "Profiles/ann/my documents/a": "",
                                     "profiles/bob/a": ""})
        told = [line.removeprefix("pack: ").replace("nothing is looked for under this name", "-") for line in said]
        self.assertEqual(["Groupwise/other: -", "ImapMail/notes.txt: -", "Profiles/ann/Fonts/: -",
                          "Profiles/ann/my documents/: -; My Documents/ is", "Profiles/ann/users.txt: -",
                          "bookmarks.html: -; Bookmark.htm is", "calendar.ics: -; ImapMail/Calendar/calendar.ics is",
                          "mail/: -; Mail/ is", "profiles/: -; Profiles/ is"], told)
        self.assertIn("Brindle/mail/Inbox", archive.namelist())

    def test_what_waits_for_a_folder_is_told(self):
        said, _ = self.packed({"Mail/Inbox": "", "Notes/n": "a: b\n", "Personal/a": "", "My Documents/a": "",
                               "Profiles/ann/ImapMail/Calendar/calendar.ics": "", "Profiles/bob/Mail/Inbox": ""})
        self.assertEqual(["Mail, Notes: only looked at when there is a folder ImapMail, if only an empty one",
                          "Personal/: only looked at without My Documents/",
                          "Profiles/ann/ImapMail/: calendar and tasks are not looked at on GNOME without a folder Contacts in it",
                          "Profiles/ann/ImapMail/: not looked at on GNOME without a folder brindle-email-accounts in it, if only "
                          "an empty one",
                          "Profiles/bob/Mail: only looked at when there is a folder ImapMail, if only an empty one"],
                         sorted(line.removeprefix("pack: ") for line in said))

    CARDS = {"whole": "BEGIN:VCARD\nUID:1\nFN:Ann\nEND:VCARD\n", "without": "BEGIN:VCARD\nFN:Bob\nEND:VCARD\n",
             "like the first": "BEGIN:VCARD\nUID;X=y:1\nFN:Cleo\nEND:VCARD\n", "small": "begin:vcard\nuid:4\nfn:Dan\nend:vcard\n",
             "long": "BEGIN:VCARD\nUID:12\n 34\nFN:Eve\nEND:VCARD\n", "empty": "BEGIN:VCARD\nUID:\nFN:Fay\nEND:VCARD\n"}

    def cards(self, text):
        said, archive = self.packed({"ImapMail/Contacts/contacts.vcf": text, "ImapMail/brindle-email-accounts/a": ""})
        archive.extractall("/tmp/cards")
        records = Contacts().records(Path("/tmp/cards/Brindle/ImapMail/Contacts/addressbook.db"))
        del records[b"PAS-DB-VERSION\0"]
        for key, value in records.items():
            self.assertEqual(1, len(re.findall(rb"(?i)^UID[:;]", value, re.M)))
            self.assertIn(key[:-1], value.replace(b"\r\n ", b""))
            self.assertRegex(value, rb"\ABEGIN:VCARD\r\n(?s:.*)\r\nEND:VCARD\0\Z")
        return said, sorted(vobject.readOne(value[:-1].decode()).fn.value for value in records.values())

    def test_every_card_arrives_whatever_its_uid(self):
        said, names = self.cards("".join(self.CARDS.values()))
        self.assertEqual(["Ann", "Bob", "Cleo", "Dan", "Eve", "Fay"], names)
        self.assertEqual(["pack: ImapMail/Contacts/contacts.vcf: the card of Cleo has the UID of another one, 1, and gets a new one"],
                         said)

    def test_doubled_cards_are_told_and_packed_once(self):
        said, names = self.cards(self.CARDS["whole"] * 2 + self.CARDS["without"] * 2)
        self.assertEqual(["Ann", "Bob"], names)
        self.assertEqual([f"pack: ImapMail/Contacts/contacts.vcf: the card of {name} is there twice, and packed once"
                          for name in ("Ann", "Bob")], said)

    def test_cards_that_are_not_whole_are_told_and_take_no_other_along(self):
        said, names = self.cards("BEGIN:VCARD\nFN:Cut\n" + self.CARDS["whole"] + "x BEGIN:VCARD\n" + self.CARDS["without"]
                                 + "BEGIN:VCARD\nFN:End\n")
        self.assertEqual(["Ann", "Bob"], names)
        self.assertEqual(["pack: ImapMail/Contacts/contacts.vcf: 3 of 5 cards are left out: they have no END:VCARD, or no line of "
                          "their own"], said)

    def test_lines_end_as_their_readers_want_them(self):
        _, archive = self.packed({"Notes/n": "a: b\nc\r\nd\n", "users.txt": "Default=a\n", "ImapMail/Tasks/tasks.ics": "A\nB\r\n",
                                  "Bookmark.htm": "a\n", "Mail/In": "From a\n\nb\n", "My Documents/a.txt": "a\nb\r\n"})
        self.assertEqual([b"a: b\r\nc\r\nd\r\n", b"Default=a\r\n", b"A\nB\r\n", b"a\r\n", b"From a\n\nb\n", b"a\nb\r\n"],
                         [archive.read("Brindle/" + name) for name in ("Notes/n", "users.txt", "ImapMail/Tasks/tasks.ics",
                                                                       "Bookmark.htm", "Mail/In", "My Documents/a.txt")])

    def test_texts_of_two_bytes_a_letter_stay_whole(self):
        folder = self.folder({"Notes/m": "a: b\n"})
        (folder / "Notes/n").write_bytes("a: b\nc\n".encode("utf-16"))
        pack(folder, "/tmp/new.zip")
        with zipfile.ZipFile("/tmp/new.zip") as archive:
            self.assertEqual("a: b\nc\n", archive.read("Brindle/Notes/n").decode("utf-16"))

    def test_texts_that_were_written_on_windows_are_read(self):
        _, archive = self.packed({"Mail/In.messages": "@@ 2005-01-01 00:00:00 +0000\nFrom: a\n\nb\n".replace("\n", "\r\n"),
                                  "My Documents/a.bmp.drawing": "size 2 2\r\nbox 0 0 2 2 ff0000\r\n",
                                  ".pack": "charset=GB2312\r\n", "ImapMail/brindle-email-accounts/a": ""})
        self.assertIn(b"\nFrom: a\n", archive.read("Brindle/Mail/In"))
        self.assertNotIn(b"\r", archive.read("Brindle/Mail/In"))
        self.assertIn("Brindle/My Documents/a.bmp", archive.namelist())

    def test_a_persons_own_drawings_stay(self):
        files = {"My Documents/plan.drawing": "size 2 2\n", "My Documents/b.bmp.drawing": "a plan of the house\n",
                 "Wallpaper/c.drawing": "x", "My Documents/d.bmp.drawing": "gradient 000000 ffffff\n"}
        said, archive = self.packed(files)
        self.assertEqual([], said)
        self.assertEqual({name: text.encode() for name, text in files.items()},
                         {name: archive.read("Brindle/" + name) for name in files})

    def test_mail_folders_that_are_none_are_told(self):
        accounts = {"ImapMail/brindle-email-accounts/a": ""}
        said, archive = self.packed({**accounts, "Mail/a": "From a\r\n\r\nb\r\n", "Mail/b": "From a\n\nb\n", "Mail/c": "Hello\n",
                                     "Mail/d": ""})
        self.assertEqual(["pack: Mail/a: lines of a mail folder end with LF alone, and these with CR LF",
                          'pack: Mail/c: a mail folder begins with a line "From ", and this does not'], said)
        self.assertEqual(b"From a\r\n\r\nb\r\n", archive.read("Brindle/Mail/a"))

    def test_what_cannot_be_packed_stops_it(self):
        for files, reason in (({"Mail/In.messages": "@@ yesterday\nFrom: a\n\nb\n"}, "no date"),
                              ({"Mail/In.messages": "@@ 2005-01-01 00:00:00 +0000\nFrom a\n\nb\n"}, "no header"),
                              ({".pack": "charset=GB2312\n", "Notes/n": "a:\U0001f600\n"}, "cannot be written in GB2312"),
                              ({"My Documents/a.bmp.drawing": "size 2 2\nspray 1\n"}, "no stroke: spray 1")):
            Path("/tmp/bad.zip").unlink(missing_ok=True)
            status, said = pack(self.folder(files), "/tmp/bad.zip")
            self.assertNotEqual(status, 0)
            self.assertIn(reason, said)
            self.assertFalse(Path("/tmp/bad.zip").exists())
        self.assertNotEqual(pack("/tmp/nowhere", "/tmp/bad.zip")[0], 0)


if __name__ == "__main__":
    unittest.main(verbosity=2)
