"""Installs the build into an empty folder and looks where everything went.

    install_test.py --cmake PROGRAM --build FOLDER --source FOLDER [options of unittest]
"""
import argparse
import os
import subprocess
import sys
import tempfile
import unittest
from pathlib import Path

parser = argparse.ArgumentParser(allow_abbrev=False)
parser.add_argument("--cmake", required=True)
parser.add_argument("--build", required=True, type=Path)
parser.add_argument("--source", required=True, type=Path)
OPTIONS, REST = parser.parse_known_args()
BUILD, SOURCE = OPTIONS.build, OPTIONS.source

SAME_AS = {
    "brindle/nldroot.tar.bz2": BUILD / "data/skeleton/nldroot.tar.bz2",
    "brindle/linspireroot.tar": BUILD / "data/skeleton/linspireroot.tar",
    "brindle/redflagroot.tar.bz2": BUILD / "data/skeleton/redflagroot.tar.bz2",
    "brindle/firefox.desktop": SOURCE / "data/firefox.desktop",
}

LANGUAGES = ["en_US", "en_GB", "en_CA", "en_AU", "C.UTF", "POSIX"]
READ_BY_THE_WIZARD = [
    *(f"brindle/{language}" for language in LANGUAGES),
    *(f"brindle/.gtkrc-{language}" for language in LANGUAGES if language != "en_US"),
    "brindle/.gtkrc-2.0", "brindle/vcard2vcf.pl", "brindle/vcard2xml.pl", "brindle/AddressBook.pm",
    "bin/foomatic-ppdfile-bd", "bin/brindle", "bin/brindle-account", "bin/brindle-undo",
    "share/man/man1/brindle-undo.1",
    "libexec/brindle/brindle-wizard",
]
READ_BY_OTHERS = [
    "usr/share/pixmaps/Brindle_Icon.png",
    *(f"usr/share/cups/model/{model}.ppd.gz"
      for model in ("stphoto", "stcolor", "epson24", "epson9", "deskjet", "laserjet")),
]


class Install(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.stage = tempfile.TemporaryDirectory()
        subprocess.run([OPTIONS.cmake, "--install", BUILD], check=True, stdout=subprocess.DEVNULL,
                       env={**os.environ, "DESTDIR": cls.stage.name})
        cls.local = Path(cls.stage.name) / "usr/local"

    @classmethod
    def tearDownClass(cls):
        cls.stage.cleanup()

    def test_skeleton_homes_and_the_launcher_lie_where_the_wizard_reads_them(self):
        for name, original in SAME_AS.items():
            self.assertEqual((self.local / name).read_bytes(), original.read_bytes(), name)
            self.assertEqual((self.local / name).stat().st_mode & 0o777, 0o644, name)

    def test_everything_that_is_read_is_there(self):
        for name in READ_BY_THE_WIZARD:
            self.assertGreater((self.local / name).stat().st_size, 0, name)
        for name in READ_BY_OTHERS:
            self.assertGreater((Path(self.stage.name) / name).stat().st_size, 0, name)

    def test_nothing_goes_anywhere_else(self):
        strays = [path for path in Path(self.stage.name).rglob("*")
                  if not path.is_dir() and self.local not in path.parents and Path(self.stage.name) / "usr/share" not in path.parents]
        self.assertEqual(strays, [])

    def test_the_launcher_is_a_valid_one(self):
        subprocess.run(["desktop-file-validate", self.local / "brindle/firefox.desktop"], check=True)


class OtherPlaces(unittest.TestCase):
    def setUp(self):
        stage = tempfile.TemporaryDirectory()
        self.addCleanup(stage.cleanup)
        self.stage = Path(stage.name)

    def install(self, *options):
        return subprocess.run([OPTIONS.cmake, "--install", BUILD, *options], stdout=subprocess.DEVNULL, text=True,
                              stderr=subprocess.PIPE, env={**os.environ, "DESTDIR": str(self.stage)})

    def test_another_prefix_installs_nothing_and_says_why(self):
        for prefix in ("/usr", "/opt/brindle", str(self.stage / "prefix")):
            done = self.install("--prefix", prefix)
            self.assertNotEqual(done.returncode, 0, prefix)
            self.assertIn(f"the prefix {prefix}. To put", " ".join(done.stderr.split()))
            self.assertEqual(list(self.stage.rglob("*")), [], prefix)

    def test_the_usual_prefix_may_be_named(self):
        self.assertEqual(self.install("--prefix", "/usr/local").returncode, 0)
        self.assertTrue((self.stage / "usr/local/brindle/en_US").exists())

    def test_the_icon_lies_where_novell_has_its_pictures(self):
        pictures = self.stage / "opt/gnome/share/pixmaps"
        pictures.mkdir(parents=True)
        self.assertEqual(self.install().returncode, 0)
        self.assertEqual((pictures / "Brindle_Icon.png").read_bytes(),
                         (BUILD / "data/icons/Brindle_Icon.png").read_bytes())
        self.assertTrue((self.stage / "usr/share/pixmaps/Brindle_Icon.png").exists())


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1] + REST, verbosity=2)
