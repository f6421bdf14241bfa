"""tools/check-texts and tools/screens with the wizard's own windows.

    windows_test.py BUILD [options of unittest]
"""
import os
import re
import shutil
import struct
import subprocess
import sys
import tempfile
import unittest

SOURCE = os.path.abspath(os.path.join(os.path.dirname(__file__), "..", ".."))
BUILD = os.path.abspath(sys.argv.pop(1))
NO_VIEW = 77


def run(tool, *words):
    done = subprocess.run([f"{SOURCE}/tools/{tool}", "--build", BUILD, *words], capture_output=True, text=True,
                          stdin=subprocess.DEVNULL, check=False)
    if done.returncode == NO_VIEW:
        raise unittest.SkipTest(done.stderr.strip())
    return done


def read(name):
    with open(f"{SOURCE}/{name}", encoding="utf-8") as file:
        return file.read()


def size_of_picture(path):
    with open(path, "rb") as file:
        return struct.unpack(">II", file.read(24)[16:])


class InFolder(unittest.TestCase):
    def setUp(self):
        self.folder = tempfile.mkdtemp()
        self.addCleanup(shutil.rmtree, self.folder)


class Faults(InFolder):
    def test_a_text_that_does_not_fit_is_told_with_file_line_and_key(self):
        data = self.folder + "/data"
        shutil.copytree(SOURCE + "/data", data)
        path = data + "/texts/de_DE"
        text = read("data/texts/de_DE")
        number = text[:text.index("\nwindow3-fonts=")].count("\n") + 2
        with open(path, "w", encoding="utf-8") as file:
            file.write(re.sub("(?m)^window3-fonts=.*", "window3-fonts=" + "Schriften " * 20, text))
        done = run("check-texts", "--data", data, "--language", "de_DE", "--language", "en_US", "--dpi", "96")
        told = [line for line in done.stdout.splitlines() if "label_7 of page3-gnome," in line]
        self.assertEqual(1, done.returncode, done.stderr)
        self.assertTrue(told, done.stdout)
        for line in told:
            self.assertTrue(line.startswith(f"{path}:{number}: window3-fonts: \"Schriften "), line)


class Windows(unittest.TestCase):
    def test_every_builder_is_shown(self):
        builders = set()
        for header in ("pages", "dialogs", "printer_windows"):
            builders |= set(re.findall(r"^GtkWidget\* (create_\w+)\(", read(f"src/interface/{header}.h"), re.M))
        shown = set(re.findall(r"\bcreate_\w+", read("tools/screens-support/windows.cpp")))
        self.assertGreater(len(builders), 20)
        self.assertEqual(builders, shown)


class Pictures(InFolder):
    def test_are_made_of_each_window_wanted(self):
        done = run("screens", "--out", self.folder, "--language", "de_DE", "--language", "ja_JP", "--dpi", "96", "--dpi",
                   "144", "page2", "leave")
        self.assertEqual((0, self.folder + "\n"), (done.returncode, done.stdout), done.stderr)
        with open(self.folder + "/index.html", encoding="utf-8") as file:
            index = file.read()
        for language in ("de_DE", "ja_JP"):
            for dpi in ("96", "144"):
                self.assertGreater(size_of_picture(f"{self.folder}/{language}-{dpi}.png")[1], 434)
                for name in ("page2", "leave"):
                    self.assertIn(f"\"{language}/{dpi}-{name}.png\"", index)
                    self.assertTrue(os.path.exists(f"{self.folder}/{language}/{dpi}-{name}.png"))
        self.assertEqual((640, 434 + 2 * 24), size_of_picture(self.folder + "/de_DE/96-page2.png"))
        self.assertEqual(["96-leave.png", "96-page2.png"], sorted(
            name for name in os.listdir(self.folder + "/de_DE") if name.startswith("96-") and "part" not in name))

    def test_differ_by_language_and_resolution(self):
        run("screens", "--out", self.folder, "--language", "de_DE", "--language", "ja_JP", "--dpi", "96", "--dpi", "144",
            "leave")
        pictures = set()
        for language in ("de_DE", "ja_JP"):
            for dpi in ("96", "144"):
                with open(f"{self.folder}/{language}/{dpi}-leave.png", "rb") as file:
                    pictures.add(file.read())
        self.assertEqual(4, len(pictures))


class OfDocuments(InFolder):
    """The pictures in docs/pictures are those that the command makes; a font may differ, so bytes may."""

    def test_are_those_that_the_command_makes(self):
        done = run("screens", "--documents", "--out", self.folder)
        self.assertEqual((0, self.folder + "\n"), (done.returncode, done.stdout), done.stderr)
        made = {name: size_of_picture(f"{self.folder}/{name}") for name in os.listdir(self.folder)}
        kept = {name: size_of_picture(f"{SOURCE}/docs/pictures/{name}") for name in os.listdir(SOURCE + "/docs/pictures")}
        self.assertEqual(made, kept)
        self.assertGreaterEqual(len(made), 4)

    def test_are_small_and_shown(self):
        for name in os.listdir(SOURCE + "/docs/pictures"):
            self.assertLess(os.path.getsize(f"{SOURCE}/docs/pictures/{name}"), 60_000, name)
            self.assertIn(f"docs/pictures/{name}", read("README.md"))


if __name__ == "__main__":
    unittest.main(verbosity=2)
