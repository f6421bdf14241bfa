"""Installs the build into an empty folder and looks where everything went.

    install_test.py --cmake PROGRAM --build FOLDER --source FOLDER [options of unittest]
"""
import argparse
import os
import struct
import subprocess
import sys
import tempfile
import unittest
import zlib
from pathlib import Path
from xml.etree import ElementTree

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

LANGUAGES = {line.split()[0]: line.split() for line in (SOURCE / "data/languages.txt").read_text().splitlines()
             if line and not line.startswith("#")}
LOCALES = [locale for served in LANGUAGES.values() for locale in served]
READ_BY_THE_WIZARD = [
    *(f"brindle/{locale}" for locale in LOCALES),
    *(f"brindle/.gtkrc-{locale}" for locale in LOCALES if locale != "en_US"),
    "brindle/.gtkrc-2.0", "brindle/vcard2vcf.pl", "brindle/vcard2xml.pl", "brindle/AddressBook.pm",
    "bin/foomatic-ppdfile-bd", "bin/brindle", "bin/brindle-account", "bin/brindle-undo",
    *(f"share/man/man1/{page}.1" for page in ("brindle", "brindle-account", "brindle-undo", "foomatic-ppdfile-bd")),
    "libexec/brindle/brindle-wizard",
]
READ_BY_OTHERS = [
    "usr/share/pixmaps/Brindle_Icon.png",
    *(f"usr/share/cups/model/{model}.ppd.gz"
      for model in ("stphoto", "stcolor", "epson24", "epson9", "deskjet", "laserjet")),
]
ICON_SIZES = (16, 22, 24, 32, 48, 64, 128, 256)


def texts(code):
    lines = (SOURCE / "data/texts" / code).read_text(encoding="utf-8").splitlines()
    return dict(line.split("=", 1) for line in lines)


def name_on_desktops(code):
    """Without the country, where one file serves all of a language."""
    return code if sum(other[:2] == code[:2] for other in LANGUAGES) > 1 else code[:2]


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

    def test_each_language_is_there_for_all_its_locales(self):
        self.assertEqual(len(LOCALES), len(set(LOCALES)))
        for code, served in LANGUAGES.items():
            for locale in served:
                self.assertEqual(len(locale), 5)
                self.assertEqual((self.local / "brindle" / locale).read_bytes(),
                                 (SOURCE / "data/texts" / code).read_bytes(), locale)

    def test_the_list_of_languages_names_every_text_file(self):
        files = {path.name for path in (SOURCE / "data/texts").iterdir() if path.name != "CMakeLists.txt"}
        self.assertEqual(set(LANGUAGES), files)
        for code in ("C.UTF", "POSIX", "en_US"):  # of machines on which nobody has chosen a language
            self.assertIn(code, LANGUAGES["en_US"])

    def test_the_menu_entry_is_valid_and_in_every_language(self):
        entry = self.local / "share/applications/brindle.desktop"
        said = subprocess.run(["desktop-file-validate", entry], check=True, capture_output=True, text=True)
        self.assertEqual(said.stdout + said.stderr, "")
        lines = entry.read_text(encoding="utf-8").splitlines()
        self.assertIn("Exec=brindle", lines)
        for code in LANGUAGES:
            name = "" if code == "en_US" else f"[{name_on_desktops(code)}]"
            self.assertIn(f"GenericName{name}=" + texts(code)["menu-generic"], lines)
            self.assertIn(f"Comment{name}=" + texts(code)["menu-comment"], lines)
        self.assertEqual(sum("Comment" in line for line in lines), len(LANGUAGES))

    def test_software_centres_are_told_in_every_language(self):
        told = self.local / "share/metainfo/brindle.metainfo.xml"
        subprocess.run(["appstreamcli", "validate", "--no-net", told], check=True, stdout=subprocess.DEVNULL)
        root = ElementTree.parse(told).getroot()
        language = "{http://www.w3.org/XML/1998/namespace}lang"
        summaries = {each.get(language, ""): each.text for each in root.findall("summary")}
        paragraphs = {each.get(language, ""): each.text for each in root.find("description")}
        names = {code: "" if code == "en_US" else name_on_desktops(code) for code in LANGUAGES}
        self.assertEqual(summaries, {names[code]: texts(code)["menu-comment"] for code in LANGUAGES})
        self.assertEqual(paragraphs, {names[code]: texts(code)["window1-text"] for code in LANGUAGES})
        self.assertEqual(root.find("launchable").text, "brindle.desktop")

    def test_the_icon_is_there_in_every_size(self):
        themes = self.local / "share/icons/hicolor"
        for size in ICON_SIZES:
            head = (themes / f"{size}x{size}/apps/brindle.png").read_bytes()[:24]
            self.assertEqual(struct.unpack(">8x4x4sII", head), (b"IHDR", size, size))
        self.assertTrue((themes / "scalable/apps/brindle.svg").exists())


RGB = 2


def parts_of_png(png):
    at, data = 8, b""
    while at < len(png):
        length, kind = struct.unpack(">I4s", png[at:at + 8])
        if kind == b"IHDR":
            head = struct.unpack(">IIBB", png[at + 8:at + 18])
        if kind == b"IDAT":
            data += png[at + 8:at + 8 + length]
        at += 12 + length
    return *head, data


class Pictures(unittest.TestCase):
    def test_the_pages_pictures_have_no_filters(self):
        """Which take as long to undo as all the rest of reading them."""
        for page in ("step1", "step2", "step3"):
            width, height, bits, colours, data = parts_of_png((BUILD / f"data/icons/{page}.png").read_bytes())
            self.assertEqual((width, height, bits, colours), (640, 434, 8, RGB), page)
            rows = zlib.decompress(data)
            self.assertEqual({0}, set(rows[::1 + 3 * width]), page)


class OtherPlaces(unittest.TestCase):
    def setUp(self):
        stage = tempfile.TemporaryDirectory()
        self.addCleanup(stage.cleanup)
        self.stage = Path(stage.name)

    def install(self, *options):
        return subprocess.run([OPTIONS.cmake, "--install", BUILD, *options], stdout=subprocess.DEVNULL, text=True,
                              stderr=subprocess.PIPE, env={**os.environ, "DESTDIR": str(self.stage)})

    def test_another_prefix_installs_nothing_and_says_why(self):
        for prefix in ("/opt/brindle", "/opt/usr", "/usr/locally", str(self.stage / "prefix")):
            done = self.install("--prefix", prefix)
            self.assertNotEqual(done.returncode, 0, prefix)
            self.assertIn(f"the prefix {prefix}. To put", " ".join(done.stderr.split()))
            self.assertEqual(list(self.stage.rglob("*")), [], prefix)

    def test_the_usual_prefix_may_be_named(self):
        self.assertEqual(self.install("--prefix", "/usr/local").returncode, 0)
        self.assertTrue((self.stage / "usr/local/brindle/en_US").exists())
        start = (self.stage / "usr/local/bin/brindle").read_text()
        self.assertIn("\nwizard=/usr/local/libexec/brindle/brindle-wizard\naccount=/usr/local/bin/brindle-account\n", start)

    def test_a_package_has_its_programs_in_usr_and_its_data_where_they_are_read(self):
        self.assertEqual(self.install("--prefix", "/usr").returncode, 0)
        for name in READ_BY_THE_WIZARD:
            place = "usr/local" if name.startswith("brindle/") else "usr"
            self.assertTrue((self.stage / place / name).exists(), name)
        self.assertEqual([path.name for path in (self.stage / "usr/local").iterdir()], ["brindle"])
        start = (self.stage / "usr/bin/brindle").read_text()
        self.assertIn("\nwizard=/usr/libexec/brindle/brindle-wizard\naccount=/usr/bin/brindle-account\n", start)

    def test_the_icon_lies_where_novell_has_its_pictures(self):
        pictures = self.stage / "opt/gnome/share/pixmaps"
        pictures.mkdir(parents=True)
        self.assertEqual(self.install().returncode, 0)
        self.assertEqual((pictures / "Brindle_Icon.png").read_bytes(),
                         (BUILD / "data/icons/Brindle_Icon.png").read_bytes())
        self.assertTrue((self.stage / "usr/share/pixmaps/Brindle_Icon.png").exists())


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1] + REST, verbosity=2)
