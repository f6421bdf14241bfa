"""The skeleton homes as the build packed them, unpacked as the wizard unpacks them.

    skeleton_test.py --tarballs FOLDER --source FOLDER [TestCase.test...]

Runs inside a private view of the machine, as root: homes are unpacked over /root.
"""
import argparse
import configparser
import os
import re
import subprocess
import sys
import tarfile
import unittest
import xml.etree.ElementTree as ElementTree
from pathlib import Path

parser = argparse.ArgumentParser(allow_abbrev=False)
parser.add_argument("--tarballs", required=True, type=Path)
parser.add_argument("--source", required=True, type=Path)
OPTIONS, REST = parser.parse_known_args()
TARBALLS, SOURCE = OPTIONS.tarballs, OPTIONS.source
HOME = Path("/root")
GNOME, LINSPIRE, REDFLAG = "nldroot.tar.bz2", "linspireroot.tar", "redflagroot.tar.bz2"
RECIPES = {
    GNOME: (".", "common", "gnome"),
    LINSPIRE: ("root", "common", "kde", "linspire"),
    REDFLAG: (".", "common", "kde", "redflag"),
}

BROWSERS = [
    ".mozilla/appreg",
    ".mozilla/default/d5hq1zk3.slt/prefs.js",
    ".mozilla/firefox/p8c4m2vx.default/prefs.js",
    ".mozilla/firefox/pluginreg.dat",
    ".mozilla/firefox/profiles.ini",
    "Desktop/",
]
KDE = [
    ".kde/share/apps/kabc/std.vcf",
    ".kde/share/apps/kcookiejar/cookies",
    ".kde/share/apps/kmail/imap/",
    ".kde/share/apps/knotes/",
    ".kde/share/apps/konqueror/bookmarks.xml",
    ".kde/share/apps/korganizer/",
    ".kde/share/config/kdesktoprc",
    ".kde/share/config/kmailrc",
    ".kde/share/config/konsolerc",
]
GCONF_FOLDERS = [
    "",
    "/apps",
    "/apps/evolution",
    "/apps/evolution/addressbook",
    "/apps/evolution/calendar",
    "/apps/evolution/tasks",
    "/apps/nautilus",
    "/apps/panel",
    "/apps/panel/profiles",
    "/apps/panel/profiles/default",
    "/apps/panel/profiles/default/objects",
    "/apps/panel/profiles/default/objects/webbrowser_launcher",
    "/desktop",
    "/desktop/gnome",
]
EVOLUTION = [
    ".evolution/addressbook/local/system/",
    ".evolution/calendar/local/system/",
    ".evolution/mail/local/",
    ".evolution/tasks/local/system/",
]
CONTENTS = {
    GNOME: BROWSERS + EVOLUTION
    + [f".gconf{folder}/%gconf.xml" for folder in GCONF_FOLDERS]
    + [".gnome2/panel2.d/default/launchers/", ".nautilus/bookmarks.xml"],
    LINSPIRE: BROWSERS + KDE,
    # "friends" in GB2312, as bytes that are no UTF-8
    REDFLAG: BROWSERS + KDE + [b".kde/share/apps/kabc/std.vcf_\xc5\xf3\xd3\xd1".decode("utf-8", "surrogateescape")],
}


def run(*words, **options):
    return subprocess.run(words, check=True, capture_output=True, **options).stdout


def with_bus(script):
    """What a shell script prints that runs on a session bus of its own."""
    return subprocess.run(["dbus-run-session", "--", "bash", "-c", script], check=True, text=True,
                          stdout=subprocess.PIPE, stderr=subprocess.PIPE).stdout


def unpack(tarball, home):
    """As the wizard does it for a new account."""
    if tarball == LINSPIRE:
        run("tar", "-xf", TARBALLS / tarball, "-C", home.parent)
    else:
        run("tar", "-jxf", TARBALLS / tarball, "-C", home)


def ends_of(names):
    """Every file, and every folder that holds nothing else."""
    names = {name.rstrip("/") for name in names}
    folders = {parent for name in names for parent in map(str, Path(name).parents)}
    return names - folders


class Layout(unittest.TestCase):
    def members(self, tarball):
        with tarfile.open(TARBALLS / tarball) as tar:
            return tar.getmembers()

    def names(self, tarball):
        top = "root/" if tarball == LINSPIRE else ""
        members = [member for member in self.members(tarball) if member.name != "root"]
        for member in members:
            self.assertTrue(member.name.startswith(top), member.name)
        return {member.name[len(top):] + ("/" if member.isdir() else "") for member in members}

    def test_each_holds_what_the_migrators_assume_and_nothing_else(self):
        for tarball, contents in CONTENTS.items():
            with self.subTest(tarball):
                self.assertEqual(ends_of(self.names(tarball)), ends_of(contents))
                self.assertLessEqual({name for name in contents if name.endswith("/")}, self.names(tarball))

    def test_the_plain_one_holds_the_folder_root_the_others_the_home_itself(self):
        tops = {tarball: {name.name.split("/")[0] for name in self.members(tarball)} for tarball in CONTENTS}
        self.assertEqual(tops[LINSPIRE], {"root"})
        self.assertIn(".mozilla", tops[GNOME])
        self.assertIn(".mozilla", tops[REDFLAG])
        with open(TARBALLS / LINSPIRE, "rb") as plain:
            self.assertNotEqual(plain.read(3), b"BZh")

    def test_all_belongs_to_root_with_one_time_and_private_folders_are_private(self):
        for tarball in CONTENTS:
            for member in self.members(tarball):
                with self.subTest(f"{tarball} {member.name}"):
                    self.assertEqual((member.uid, member.gid, member.uname, member.gname), (0, 0, "root", "root"))
                    self.assertEqual(member.mtime, 1115761140)
                    self.assertEqual(member.mode & 0o077, 0 if "/." in "/" + member.name and
                                     ".nautilus" not in member.name else (0o055 if member.isdir() else 0o044))

    def test_one_profile_stands_in_each_browser_folder(self):
        for tarball in CONTENTS:
            names = self.names(tarball)
            in_default = {name.split("/")[2] for name in names if name.startswith(".mozilla/default/") and
                          name != ".mozilla/default/"}
            in_firefox = {name.split("/")[2] for name in names if name.startswith(".mozilla/firefox/") and
                          name != ".mozilla/firefox/"}
            self.assertEqual(in_default, {"d5hq1zk3.slt"})
            self.assertEqual(in_firefox - {"profiles.ini", "pluginreg.dat"}, {"p8c4m2vx.default"})

    def test_packing_again_gives_the_same_bytes(self):
        os.umask(0o077)
        for tarball, (top, *layers) in RECIPES.items():
            copy = Path("/tmp/again") / tarball
            copy.parent.mkdir(exist_ok=True)
            run("cp", "-R", SOURCE / "data/skeleton", "/tmp/sources")  # with times of its own
            run("/tmp/sources/pack", copy, top, *(f"/tmp/sources/{layer}" for layer in layers))
            run("rm", "-r", "/tmp/sources")
            self.assertEqual(copy.read_bytes(), (TARBALLS / tarball).read_bytes(), tarball)


class Readers(unittest.TestCase):
    """Programs nobody here wrote read what lies in the homes."""

    def test_files_are_well_formed(self):
        for tarball in CONTENTS:
            home = Path("/tmp") / tarball / "root"
            home.mkdir(parents=True)
            unpack(tarball, home)
            xml = [path for path in home.rglob("*.xml")]
            run("xmllint", "--noout", *xml)
            profiles = configparser.ConfigParser()
            profiles.read(home / ".mozilla/firefox/profiles.ini")
            profile = home / ".mozilla/firefox" / profiles["Profile0"]["Path"]
            self.assertTrue((profile / "prefs.js").is_file())

    def test_konqueror_bookmarks_are_one_empty_element(self):
        unpack(REDFLAG, HOME)
        lines = (HOME / ".kde/share/apps/konqueror/bookmarks.xml").read_text().splitlines()
        self.assertEqual([line for line in lines if "<xbel" in line], ["<xbel/>"])

    def test_konsole_settings_are_read_by_kde(self):
        for tarball, encoding in ((LINSPIRE, ""), (REDFLAG, "GB18030")):
            unpack(tarball, HOME)
            value = run("kreadconfig5", "--file", HOME / ".kde/share/config/konsolerc", "--group", "Desktop Entry",
                        "--key", "EncodingName", env={**os.environ, "QT_QPA_PLATFORM": "offscreen"})
            self.assertEqual(value.decode().strip(), encoding)

    def test_useradd_makes_a_home_from_each(self):
        for number, tarball in enumerate(CONTENTS):
            skeleton = Path("/tmp") / f"skeleton{number}" / "root"
            skeleton.mkdir(parents=True)
            unpack(tarball, skeleton)
            run("useradd", f"user{number}", "-d", f"/home/user{number}", "-m", "-k", skeleton, "-g", "users")
            made = Path(f"/home/user{number}")
            self.assertEqual({path.relative_to(made) for path in made.rglob("*")},
                             {path.relative_to(skeleton) for path in skeleton.rglob("*")})
            self.assertEqual({path.owner() for path in made.rglob("*")}, {f"user{number}"})


class GConf(unittest.TestCase):
    """A real daemon reads the values that migrators write below the parents the skeleton brings."""

    VALUE = ('<?xml version="1.0"?>\n<gconf>\n<entry name="probe" mtime="1114470984" type="string">\n'
             "<stringvalue>here</stringvalue>\n</entry>\n</gconf>")

    def setUp(self):
        unpack(GNOME, HOME)

    def test_values_below_every_parent_are_read(self):
        made_by_migrators = ["/desktop/gnome/background", "/apps/nautilus/preferences", "/apps/evolution/mail",
                             "/apps/evolution/calendar/display", "/apps/evolution/calendar/tasks",
                             "/apps/panel/profiles/default/objects/webbrowser_launcher"]
        for folder in made_by_migrators:
            path = Path(f"{HOME}/.gconf{folder}")
            path.mkdir(exist_ok=True)  # fails where the parent is missing, as the wizard's mkdir does
            (path / "%gconf.xml").write_text(self.VALUE)
        asked = "; ".join(f"gconftool-2 --get {folder}/probe" for folder in made_by_migrators)
        self.assertEqual(with_bus(asked).split(), ["here"] * len(made_by_migrators))

    def test_a_missing_parent_would_be_noticed(self):
        (HOME / ".gconf/apps/nautilus/preferences").mkdir()
        (HOME / ".gconf/apps/nautilus/preferences/%gconf.xml").write_text(self.VALUE)
        (HOME / ".gconf/apps/nautilus/%gconf.xml").unlink()
        self.assertEqual(with_bus("gconftool-2 --get /apps/nautilus/preferences/probe").strip(), "")


SOURCES = {  # list: group, source and where its store lies in the home
    "addressbook": ("1", "2", "/.evolution/addressbook/local"),
    "calendar": ("4", "5", "/.evolution/calendar/local/"),
    "tasks": ("9", "10", "/.evolution/tasks/local"),
}


class SourceLists(unittest.TestCase):
    """Evolution's lists, as the administrator's home has them and repaired for another home."""

    def setUp(self):
        unpack(GNOME, HOME)

    def path(self, kind):
        return HOME / ".gconf/apps/evolution" / kind / "%gconf.xml"

    def groups(self):
        """The first source group of each list as the daemon has it."""
        read = with_bus("; ".join(f"gconftool-2 --get /apps/evolution/{kind}/sources; echo ---" for kind in SOURCES))
        return [ElementTree.fromstring(re.match(r"\[(.*?</group>)", text.strip(), re.DOTALL)[1])
                for text in read.split("---\n")[:len(SOURCES)]]

    def assert_groups(self, home):
        for (group_uid, source_uid, store), group in zip(SOURCES.values(), self.groups()):
            self.assertEqual(group.attrib, {"uid": f"1115761140.10532.{group_uid}@linux", "name": "On This Computer",
                                            "base_uri": f"file://{home}{store}", "readonly": "no"})
            self.assertEqual(group[0].attrib, {"uid": f"1115761140.10532.{source_uid}@linux", "name": "Personal",
                                               "relative_uri": "system"})

    def repair(self, home):
        """The line of the group gives way to another without a line end, as for a new account."""
        for kind, (group_uid, source_uid, store) in SOURCES.items():
            line = (f"&lt;group uid=&quot;1115761140.10532.{group_uid}@linux&quot; name=&quot;On This Computer&quot; "
                    f"base_uri=&quot;file://{home}{store}&quot; readonly=&quot;no&quot;&gt;&lt;source "
                    f"uid=&quot;1115761140.10532.{source_uid}@linux&quot; name=&quot;Personal&quot; "
                    "relative_uri=&quot;system&quot;/&gt;&lt;/group&gt;")
            lines = self.path(kind).read_text().splitlines(keepends=True)
            self.assertEqual(sum("file:///root" in old for old in lines), 1)
            self.assertLess(max(map(len, lines)), 1023)
            self.path(kind).write_text("".join(line if "file:///root" in old else old for old in lines))

    def test_they_point_at_the_administrators_home(self):
        self.assert_groups("/root")

    def test_repaired_they_are_still_read(self):
        self.repair("/home/ann")
        self.assert_groups("/home/ann")

    def test_evolution_data_server_takes_the_home(self):
        """It reads the lists (a second calendar becomes a source) and takes the stores over."""
        lists = self.path("calendar")
        lists.write_text(lists.read_text().replace(
            "&lt;/group&gt;", "&lt;source uid=&quot;probe@linux&quot; name=&quot;Club&quot; "
            "relative_uri=&quot;club&quot;/&gt;&lt;/group&gt;", 1))
        (HOME / ".evolution/calendar/local/system/calendar.ics").write_text("BEGIN:VCALENDAR\nEND:VCALENDAR\n")
        uids = with_bus("for try in $(seq 100); do uids=$(gdbus introspect --session --recurse "  # starts it
                        "--dest org.gnome.evolution.dataserver.Sources5 "
                        "--object-path /org/gnome/evolution/dataserver/SourceManager | grep ' UID = '); "
                        "[[ $uids != *sendmail* ]] || break; sleep 0.1; done; echo \"$uids\"")
        for uid in ("system-calendar", "system-address-book", "system-task-list"):
            self.assertIn(f"UID = '{uid}'", uids)
        source = configparser.ConfigParser(interpolation=None, strict=False)
        source.read(HOME / ".config/evolution/sources/probe@linux.source")
        self.assertEqual(source["Data Source"]["DisplayName"], "Club")
        self.assertTrue((HOME / ".local/share/evolution/calendar/system/calendar.ics").is_file())


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1] + REST, verbosity=2)
