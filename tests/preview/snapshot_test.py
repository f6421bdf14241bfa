"""What differs between two looks at a tree, one thing at a time, and which differences are logs and caches."""
import os
import shutil
import struct
import sys
import tempfile
import unittest

from tool import SOURCE

sys.path.append(SOURCE + "/tools/preview")

import snapshot
import traces

GCONF = '<?xml version="1.0"?>\n<gconf>\n<entry name="a" mtime="{}" type="string">\n<stringvalue>{}</stringvalue></entry></gconf>\n'


class Tree(unittest.TestCase):
    def setUp(self):
        self.top = tempfile.mkdtemp(dir="/var/tmp")
        self.addCleanup(shutil.rmtree, self.top)
        os.makedirs(self.top + "/folder/inner")
        self.write("one", "1")
        self.write("folder/two", "22")
        os.symlink("one", self.top + "/link")
        os.link(self.top + "/one", self.top + "/one again")
        os.mkfifo(self.top + "/pipe")

    def path(self, name):
        return os.path.join(self.top, name)

    def write(self, name, text):
        """In place, and without a sign of it in the time."""
        path = self.path(name)
        made = not os.path.exists(path)
        times = (0, 0) if made else (os.stat(path).st_atime_ns, os.stat(path).st_mtime_ns)
        with open(path, "w", encoding="utf-8") as file:
            file.write(text)
        os.utime(path, ns=times)

    def differences_after(self, change):
        before = snapshot.look([self.top])
        change()
        return {os.path.relpath(difference.path, self.top): set(difference.what)
                for difference in snapshot.differences(before, snapshot.look([self.top]))}


class Look(Tree):
    def test_nothing_differs_without_a_change(self):
        self.assertEqual({}, self.differences_after(lambda: None))

    def test_every_path_is_looked_at(self):
        found = {os.path.relpath(path, self.top) for path in snapshot.look([self.top, self.top + "/missing"])}
        self.assertEqual({".", "one", "one again", "folder", "folder/inner", "folder/two", "link", "pipe"}, found)

    def test_a_link_to_a_folder_is_not_followed(self):
        os.symlink("folder", self.path("shortcut"))
        os.symlink(".", self.path("folder/round"))
        found = {os.path.relpath(path, self.top) for path in snapshot.look([self.top, self.path("shortcut")])}
        self.assertEqual({"shortcut", "folder/round"}, {path for path in found if "shortcut" in path or "round" in path})

    def test_content_of_the_same_length_and_time(self):
        self.assertEqual({"folder/two": {"content"}}, self.differences_after(lambda: self.write("folder/two", "33")))

    def test_mode(self):
        self.assertEqual({"one": {"mode"}, "one again": {"mode"}},
                         self.differences_after(lambda: os.chmod(self.path("one"), 0o4644)))
        self.assertEqual({"folder": {"mode"}}, self.differences_after(lambda: os.chmod(self.path("folder"), 0o2755)))

    def test_owner_and_group(self):
        self.assertEqual({"folder/two": {"owner"}}, self.differences_after(lambda: os.chown(self.path("folder/two"), 7, -1)))
        self.assertEqual({"link": {"group"}}, self.differences_after(lambda: os.lchown(self.path("link"), -1, 7)))

    def test_a_nanosecond(self):
        self.assertEqual({"folder/two": {"time"}}, self.differences_after(lambda: os.utime(self.path("folder/two"), ns=(0, 1))))

    def test_time_of_a_link(self):
        change = lambda: os.utime(self.path("link"), ns=(5, 5), follow_symlinks=False)
        self.assertEqual({"link": {"time"}}, self.differences_after(change))

    def test_attributes(self):
        change = lambda: os.setxattr(self.path("folder/two"), "user.note", b"x")
        self.assertEqual({"folder/two": {"attributes"}}, self.differences_after(change))

    def test_access_list(self):
        path = self.path("folder/two")
        os.chmod(path, 0o640)
        entries = ((1, 6, -1), (2, 4, 7), (4, 4, -1), (16, 4, -1), (32, 0, -1))
        data = struct.pack("<I", 2) + b"".join(struct.pack("<HHi", *entry) for entry in entries)
        change = lambda: os.setxattr(path, "system.posix_acl_access", data)
        self.assertEqual({"folder/two": {"attributes"}}, self.differences_after(change))

    def test_target_of_a_link(self):
        def change():
            time = os.lstat(self.path("link")).st_mtime_ns
            os.unlink(self.path("link"))
            os.symlink("two", self.path("link"))
            os.utime(self.path("link"), ns=(time, time), follow_symlinks=False)
            os.utime(self.top, ns=(0, 0))
        os.utime(self.top, ns=(0, 0))
        self.assertEqual({"link": {"content"}}, self.differences_after(change))

    def test_broken_and_made_hard_links(self):
        def break_it():
            shutil.copy2(self.path("one"), self.path("copy"))
            os.replace(self.path("copy"), self.path("one again"))
            os.utime(self.top, ns=(0, 0))
        os.utime(self.top, ns=(0, 0))
        self.assertEqual({"one": {"links"}, "one again": {"links"}}, self.differences_after(break_it))

    def test_another_type(self):
        def change():
            os.unlink(self.path("pipe"))
            os.mkdir(self.path("pipe"))
            os.utime(self.top, ns=(0, 0))
        os.utime(self.top, ns=(0, 0))
        self.assertEqual({"pipe": {"type"}}, self.differences_after(change))

    def test_new_and_missing(self):
        def change():
            os.rename(self.path("folder/two"), self.path("folder/three"))
            os.rmdir(self.path("folder/inner"))
            os.utime(self.path("folder"), ns=(0, 0))
        os.utime(self.path("folder"), ns=(0, 0))
        self.assertEqual({"folder/two": {"missing"}, "folder/three": {"new"}, "folder/inner": {"missing and empty"}},
                         self.differences_after(change))

    def test_names_that_are_no_text(self):
        name = os.fsdecode(b"d\xe9j\xe0\n\t")
        self.assertIn(name, self.differences_after(lambda: self.write(name, "x")))

    def test_texts_tell_both_sides(self):
        before = snapshot.look([self.top])
        os.chmod(self.path("folder/two"), 0o600)
        difference, = snapshot.differences(before, snapshot.look([self.top]))
        self.assertRegex(difference.before, r"^file 0644 0:0 0\.000000000 [0-9a-f]{12}$")
        self.assertRegex(difference.after, r"^file 0600 0:0 ")

    def test_things_that_are_no_paths(self):
        found = {difference.path: (difference.what, difference.before, difference.after) for difference in
                 snapshot.differences({"queue a": "x", "queue b": "y", "c": "z"}, {"queue a": "x", "queue b": "Y", "d": ""})}
        self.assertEqual({"queue b": ({"content"}, "y", "Y"), "c": ({"missing"}, "z", "nothing"), "d": ({"new"}, "nothing", "")},
                         found)


class Rewritten(Tree):
    def test_settings_with_another_time_mean_the_same(self):
        self.write("%gconf.xml", GCONF.format(1, "x"))
        self.assertEqual({"%gconf.xml": {"rewritten"}},
                         self.differences_after(lambda: self.write("%gconf.xml", GCONF.format(222, "x"))))
        self.assertEqual({"%gconf.xml": {"content"}},
                         self.differences_after(lambda: self.write("%gconf.xml", GCONF.format(222, "y"))))

    def test_the_settings_that_differ_are_told(self):
        self.write("%gconf.xml", GCONF.format(1, "x"))
        before = snapshot.look([self.top])
        self.write("%gconf.xml", GCONF.format(1, "y"))
        difference, = snapshot.differences(before, snapshot.look([self.top]))
        self.assertRegex(difference.before, "\nentry .* \\[stringvalue \\[\\] x \\[\\]\\]$")
        self.assertRegex(difference.after, "\nentry .* y ")

    def test_a_list_in_another_order_does_not(self):
        text = '<gconf><entry name="a" type="list" ltype="string">{}</entry></gconf>'
        items = "<li><stringvalue>x</stringvalue></li>", "<li><stringvalue>y</stringvalue></li>"
        self.write("%gconf.xml", text.format("".join(items)))
        change = lambda: self.write("%gconf.xml", text.format("".join(reversed(items))))
        self.assertEqual({"%gconf.xml": {"content"}}, self.differences_after(change))

    def test_damaged_and_empty_settings(self):
        self.write("%gconf.xml", "<gconf>")
        self.assertEqual({"%gconf.xml": {"content"}}, self.differences_after(lambda: self.write("%gconf.xml", "<gconf>>")))
        self.write("%gconf.xml", "")
        self.assertEqual({"%gconf.xml": {"rewritten"}},
                         self.differences_after(lambda: self.write("%gconf.xml", '<?xml version="1.0"?><gconf/>')))

    def test_other_files_have_their_bytes_alone(self):
        self.write("other.xml", GCONF.format(1, "x"))
        self.assertEqual({"other.xml": {"content"}},
                         self.differences_after(lambda: self.write("other.xml", GCONF.format(222, "x"))))

    def test_queues(self):
        text = "# Written by cupsd on {}\nNextPrinterId {}\n<Printer a>\nPrinterId 1\nUUID urn:{}\nInfo {}\nStateTime {}\n"
        meaning = lambda *values: snapshot.meaning_of("/etc/cups/printers.conf", text.format(*values).encode())
        self.assertEqual(meaning("Monday", 1, "u", "Attic", 5), meaning("Friday", 7, "v", "Attic", 6))
        self.assertEqual("nothing in it", snapshot.meaning_of("/etc/cups/classes.conf", b"# Written by cupsd\n"))
        self.assertEqual("", snapshot.meaning_of("/etc/cups/cupsd.conf", b"# Written by cupsd\n"))
        self.assertNotEqual(meaning("Monday", 1, "u", "Attic", 5), meaning("Monday", 1, "u", "Cellar", 5))


class Traces(unittest.TestCase):
    HOMES = ("/root", "/home/ann")

    def reason(self, path, *what):
        return traces.reason(snapshot.Difference(path, frozenset(what), "", ""), self.HOMES)

    def test_named(self):
        for path, *what in (("/root/.brindle_before", "new"), ("/home/ann/.brindle_before/x/list.tsv", "content", "time"),
                            ("/root/.brindle_log", "content"), ("/root/Brindle account.html", "new"),
                            ("/root/.gconfd/saved_state", "missing"), ("/root/.gconf/apps/x", "new and empty"),
                            ("/root/.gconf/%gconf.xml", "rewritten", "time"), ("/root/.gconf/apps", "time"),
                            ("/etc/passwd-", "content"), ("/etc/group", "time"), ("/etc", "time"),
                            ("/etc/cups/printers.conf", "rewritten"), ("/etc/cups/classes.conf", "time"),
                            ("/etc/cups/printers.conf", "new and empty"), ("/home", "time"),
                            ("/etc/cups/printers.conf.O", "new"),
                            ("/root/.cache/fontconfig/a-le64.cache-7", "new"), ("/home/ann/.cache", "new and empty")):
            with self.subTest(path):
                self.assertNotEqual("", self.reason(path, *what))

    def test_faults(self):
        for path, *what in (("/root", "time"), ("/root/a", "new"), ("/root/sub/.brindle_log", "new"),
                            ("/root/.brindle_beforehand", "new"), ("/home/bob/.brindle_log", "new"),
                            ("/root/.gconf/apps/%gconf.xml", "content"), ("/root/.gconf/apps/%gconf.xml", "new"),
                            ("/root/.gconf/apps/%gconf.xml", "rewritten", "owner"), ("/root/.gconf/apps/%gconf.xml", "missing"),
                            ("/root/.gconf/apps", "missing and empty"), ("/root/Documents", "new and empty"),
                            ("/etc/passwd", "content"), ("/etc/passwd", "time", "mode"), ("/etc", "mode"),
                            ("/etc/cups/printers.conf", "content"), ("/etc/cups/classes.conf", "content", "time"),
                            ("/etc/cups/ppd/a.ppd", "content"),
                            ("/etc/cups/lpoptions", "new"), ("/etc/cups/printers.conf", "new"), ("/home", "mode"),
                            ("/root/.cache/x", "new"), ("/home/ann", "time"), ("queue a", "missing"),
                            ("GConf /apps/x", "content")):
            with self.subTest(path):
                self.assertEqual("", self.reason(path, *what))


if __name__ == "__main__":
    unittest.main()
