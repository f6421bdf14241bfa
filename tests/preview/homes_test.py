"""Homes that are full before a run: what is in them, who owns it, and which of its names the archive has."""
import os
import shutil
import sys
import tempfile
import unittest
import zipfile

from tool import SOURCE, shell

sys.path.append(SOURCE + "/tools/preview")

import archive_names
import shown_homes
from archive_names import Archive

LIST = "find /root /home /Share /usr/share/fonts ! -name '*\n*' -printf '%p|%y|%m|%U|%n|%T@\\n'"
FILLED = ("set -e; $BRINDLE_VIEW_SOURCE/tools/print-server; mkdir -p /root/Desktop;"
          " python3 -B $BRINDLE_VIEW_SOURCE/tools/preview/full_homes.py --archive /run/brindle/archive/a.zip --user root ")


def write_archive(path, *files):
    with zipfile.ZipFile(path, "w") as archive:
        for name, content in files:
            archive.writestr(name, content)


class Case(unittest.TestCase):
    def setUp(self):
        self.folder = tempfile.mkdtemp(dir="/tmp")
        self.addCleanup(shutil.rmtree, self.folder)
        self.archive = self.folder + "/a.zip"

    def write(self):
        documents = [(f"Brindle/My Documents/{name}", "from the archive " + name)
                     for name in ("a", "b", "c", "d", "In a folder/e", "f", "g", "h", "z is not there")]
        write_archive(self.archive, *documents, ("Brindle/Desktop/list.txt", "x"), ("Brindle/Mail/Inbox", "x"),
                      ("Brindle/Mail/Inbox.sbd/Work", "x"), ("Brindle/Wallpaper/sea.side.bmp", "x"),
                      ("Brindle/Fonts/One.ttf", "x"), ("Brindle/Mapped_Drives/K.txt", "//server/k\r\nBooks (K)\r\n"),
                      ("Brindle/Printers/Default.txt", "Port Name=LPT1\r\nDriver Name Wo Spaces=Office-5\r\n"),
                      ("Brindle/File Extensions/all.txt", "x"), ("Brindle/Profiles/nora/Personal/n", "x"),
                      ("Brindle/Profiles/oskar/Mail/Inbox", "x"))


class Names(Case):
    def test_by_person_and_folder(self):
        self.write()
        archive = Archive(self.archive)
        self.assertEqual(["nora", "oskar"], archive.logins())
        self.assertEqual(["Inbox", "Inbox.sbd/Work"], archive.names("", "Mail"))
        self.assertEqual(["Inbox"], archive.names("oskar", "Mail"))
        self.assertEqual([], archive.names("nora", "My Documents"))
        self.assertEqual("Office-5", archive.setting("", "Printers/Default.txt", "Driver Name Wo Spaces"))
        self.assertEqual("", archive.setting("", "Printers/Default.txt", "Name"))
        self.assertEqual(b"from the archive a", archive.read("", "My Documents/a"))

    def test_names_that_lead_elsewhere_or_are_no_logins(self):
        write_archive(self.archive, ("Brindle/Mail/../../x", ""), ("Brindle/Mail/a..b", ""), ("Brindle/Profiles/../Mail/y", ""),
                      ("Brindle/Profiles/a b/Mail/y", ""))
        archive = Archive(self.archive)
        self.assertEqual((["a..b"], []), (archive.names("", "Mail"), archive.logins()))

    def test_bytes_of_names_are_kept(self):
        with zipfile.ZipFile(self.archive, "w") as archive:
            archive.writestr("Brindle/Mail/Brief é", "")
        with open(self.archive, "rb") as file:
            data = file.read().replace("é".encode(), b"\xbc\xd2")
        with open(self.archive, "wb") as file:  # the flag that says UTF-8, in both of the name's places
            for mark, at in ((b"PK\3\4", 7), (b"PK\1\2", 9)):
                place = data.index(mark) + at
                data = data[:place] + b"\0" + data[place + 1:]
            file.write(data)
        self.assertEqual(["Brief \udcbc\udcd2"], Archive(self.archive).names("", "Mail"))


class Faults(Case):
    """Why nothing in an archive would be found."""

    def test_it_has_its_folder_or_not(self):
        for names, fault in ((("x/a", "Brindle/a"), ""), (("Brindle/",), ""), (("brindle/a", "My Documents/Brindle/a"), "has no "),
                             (("Brindle",), "has no "), ((), "has no folder Brindle at its top")):
            write_archive(self.archive, *((name, "") for name in names))
            self.assertEqual(fault, archive_names.fault_of(self.archive)[:len(fault) or None], names)

    def test_it_is_no_zip_or_not_whole(self):
        self.write()
        with open(self.archive, "rb") as file:
            whole = file.read()
        for content in (b"", b"no zip", whole[:-30], whole[:len(whole) // 2]):
            with open(self.archive, "wb") as file:
                file.write(content)
            self.assertEqual("cannot be read: it is cut short, or no zip", archive_names.fault_of(self.archive))


class Shown(Case):
    """Which homes of this machine a preview shows."""

    def make_home(self):
        home = tempfile.mkdtemp(dir="/home", prefix="there")
        self.addCleanup(shutil.rmtree, home)
        return home

    def test_those_of_people_that_the_archive_names_and_of_nobody_else(self):
        here, also_here, not_named = self.make_home(), self.make_home(), self.make_home()
        write_archive(self.archive, *((f"Brindle/Profiles/{os.path.basename(home)}/Notes/n", "a: b") for home in (here, also_here)),
                      ("Brindle/Profiles/nobody-of-this-name/Notes/n", ""), ("Brindle/Profiles/../Notes/n", ""),
                      ("Brindle/Profiles/a file", ""), (f"Brindle/{os.path.basename(not_named)}/n", ""))
        self.assertEqual(sorted([here, also_here]), shown_homes.homes(self.archive, "root", "machine"))
        self.assertEqual(["/root", *sorted([here, also_here])], shown_homes.homes(self.archive, "root", "whole-machine"))

    def test_of_a_profile_without_anything(self):
        home = self.make_home()
        write_archive(self.archive, (f"Brindle/Profiles/{os.path.basename(home)}/", ""))
        self.assertEqual([home], shown_homes.homes(self.archive, "root", "machine"))
        self.assertEqual([], shown_homes.homes(self.archive, "nobody-of-this-name", "machine"))

    def test_of_an_archive_that_is_none(self):
        with open(self.archive, "wb") as file:
            file.write(b"PK\3\4 and no more")
        self.assertEqual(["/root"], shown_homes.homes(self.archive, "root", "whole-machine"))


class Filling(Case):
    def fill(self, options, then):
        self.write()
        self.maxDiff = None
        result = shell(FILLED + options + f"; {then}", "--bind", self.folder + "=/run/brindle/archive")
        self.assertEqual((0, ""), (result.returncode, result.stderr))
        return result.stdout

    def listed(self, text):
        """Path -> type, mode, owner, number of names, time."""
        return {path: tuple(rest) for path, *rest in (line.split("|") for line in text.splitlines() if line.count("|") == 5)}

    def test_gnome(self):
        text = self.fill("--kind full --system gnome", LIST + "; echo; lpstat -v; lpstat -d; gconftool-2 --direct"
                         " --config-source xml:readonly:/root/.gconf --get /desktop/gnome/background/picture_options;"
                         " getfattr -d -m - --absolute-names /root/Documents/f; cat /root/Documents/a")
        found = self.listed(text)
        kinds = {name: found["/root/Documents/" + name][0:2] + found["/root/Documents/" + name][3:4] for name in "abcdfgh"}
        self.assertEqual({"a": ("f", "600", "1"), "b": ("f", "644", "2"), "c": ("f", "444", "1"), "d": ("l", "777", "1"),
                          "f": ("f", "640", "1"), "g": ("f", "640", "1"), "h": ("f", "644", "1")}, kinds)
        for path in ("/root/.evolution/mail/local/Inbox.sbd/Work", "/root/.evolution/addressbook/local/system/addressbook.db",
                     "/root/.nautilus/bookmarks.xml", "/root/sea.side.bmp", "/root/Wallpaper1.side.bmp", "/root/.fonts/One.ttf",
                     "/root/Desktop/Books (K)", "/home/oskar/evolution/local/Inbox/mbox", "/Share/all.txt"):
            self.assertEqual("f", found[path][0], path)
        self.assertNotIn("/root/.kde", found)
        modes = {path.rpartition("/")[2]: found[path][1] for path in found if path.startswith("/root/Documents/")}
        self.assertEqual(("2750", "2775", "4755"), tuple(modes[name] for name in ("In a folder", "Together", "run me")))
        self.assertEqual("755", found["/home/nora/Documents/Together/run me"][1])
        self.assertNotIn("/root/Documents/z is not there", found)
        self.assertNotIn("/home/oskar/.evolution", found)
        self.assertEqual("1700", found["/home/nora/Documents/n"][2])
        self.assertIn("device for Office-5: ", text)
        self.assertIn("system default destination: attic\n", text)
        self.assertIn("zoom\n", text)
        self.assertIn('user.origin="scanned in 1999"\n', text)
        self.assertIn("system.posix_acl_access=", text)
        self.assertTrue(text.endswith("from the archive a"))

    def test_for_an_archive_that_is_none(self):
        with open(self.archive, "wb") as file:
            file.write(b"no zip")
        result = shell(FILLED + "--kind full --system gnome; ls /root/Documents /home; lpstat -d",
                       "--bind", self.folder + "=/run/brindle/archive")
        self.assertEqual((0, ""), (result.returncode, result.stderr))
        self.assertIn("Taxes 1999.txt\n", result.stdout)
        self.assertTrue(result.stdout.startswith("/home:\n\n/root/Documents:\n"), result.stdout)
        self.assertTrue(result.stdout.endswith("\nsystem default destination: attic\n"), result.stdout)

    def test_names_of_the_systems_own_accounts(self):
        self.write()
        with zipfile.ZipFile(self.archive, "a") as archive:
            for name in ("nobody", "root"):
                archive.writestr(f"Brindle/Profiles/{name}/Desktop/list.txt", "x")
        result = shell(FILLED + "--kind known --system gnome; getent passwd nobody root oskar | cut -d: -f 1,3;"
                       " stat -c '%U %n' /home/*", "--bind", self.folder + "=/run/brindle/archive")
        self.assertEqual(("nobody:65534\nroot:0\noskar:1702\nnobody /home/nobody\nnora /home/nora\noskar /home/oskar\n"
                          "root /home/root\n", ""), (result.stdout, result.stderr))

    def test_kde(self):
        text = self.fill("--kind known --system redflag-plus", LIST + "; getent passwd nora oskar")
        found = self.listed(text)
        for path in ("/root/.kde/share/config/kmailrc", "/root/Mail/inbox/cur/Inbox2", "/root/Mail/.inbox.index.ids",
                     "/root/.kde/share/apps/korganizer/std.ics", "/root/.kde/share/apps/kabc/std.vcf_\udcc5\udcf3\udcd3\udcd1",
                     "/root/Desktop/mydocument/a", "/usr/share/fonts/zh_CN/TrueType/One.ttf"):
            self.assertEqual("f", found[path][0], path)
        self.assertNotIn("/root/.nautilus", found)
        self.assertIn("nora:x:1700:1700:Known before:/home/nora:/bin/sh\n", text)
        times = [rest[-1] for path, rest in found.items() if path.startswith("/home/nora/") and rest[0] in "fd"]
        self.assertTrue(all(float(time) < 1_100_000_000 for time in times))
        self.assertTrue(any(not time.endswith(".1234567890") and ".0" not in time for time in times))


if __name__ == "__main__":
    unittest.main()
