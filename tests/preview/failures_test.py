"""Which failed commands a preview explains. What it explains nobody looks at, so each line is narrow."""
import sys
import unittest

from tool import SOURCE

sys.path.append(SOURCE + "/tools/preview")

import failures

LAUNCHER = "cp /usr/local/brindle/firefox.desktop /home/nora/.gnome2/panel2.d/default/launchers/"


class Usual(unittest.TestCase):
    def test_each_is_explained(self):
        for status, command, word in (
                ("9", "groupadd users", "group"), ("9", "useradd nora -d /home/nora -m -k /tmp/x/root -g users", "password"),
                ("1", "mkdir /Share", "folder"), ("1", LAUNCHER, "panel"), ("1", "rm /root/ppd.txt", "list of drivers"),
                ("1", 'grep -i "HP LaserJet 4" /root/ppdlist.txt > /root/ppd.txt', "fewer"),
                ("1", "rm /root/.nautilus/bookmarks.xml", "older list"),
                ("1", "cp /root/.gconf/a/%gconf.xml /root/.gconf/a/%gconftemp.xml", "Evolution")):
            with self.subTest(command):
                self.assertIn(word, failures.reason(status, command))

    def test_a_loss_is_not_explained_away(self):
        for status, command in (
                ("1", "groupadd users"), ("10", "groupadd users"), ("9", "groupadd users2"), ("1", "useradd nora -m"),
                ("2", "mkdir /Share"), ("1", "mkdir /Share2"), ("1", "mkdir /home/nora/.gconf/apps"),
                ("126", LAUNCHER), ("1", LAUNCHER + "x"), ("1", "cp -a /tmp/a/Desktop/* /home/nora/Desktop"),
                ("2", 'grep -i "HP" /root/ppdlist.txt > /root/ppd.txt'), ("running", "groupadd users"),
                ("1", "cp /root/.gconf/a/%gconf.xml /root/.gconf/b/%gconftemp.xml"),
                ("1", "rm /root/.kde/share/config/kmailrc")):
            with self.subTest(command):
                self.assertEqual("", failures.reason(status, command))


if __name__ == "__main__":
    unittest.main()
