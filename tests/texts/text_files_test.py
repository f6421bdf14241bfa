"""tools/text_files.py: each rule of the text files and of their list has a fault planted against it."""
import os
import shutil
import subprocess
import sys
import tempfile
import unittest

SOURCE = os.path.abspath(os.path.join(os.path.dirname(__file__), "..", ".."))
TOOL = SOURCE + "/tools/check-texts"
sys.path.append(SOURCE + "/tools")

import text_files

ENGLISH = """\
window1=Welcome
window1-next=_Next
window1-cancel=_Cancel
window1-help=_Help
window2=Where is it?
window2-next=_Next
window3-now=Now: %s
window3-forperson=%s (for %s)
"""
GERMAN = """\
window1=Willkommen
window1-next=_Weiter
window1-cancel=_Abbrechen
window1-help=_Hilfe
window2=Wo ist es?
window2-next=_Weiter
window3-now=Jetzt: %s
window3-forperson=%s (für %s)
"""
LANGUAGES = "# The list.\nen_US C.UTF en_PH\nde_DE de_AT\n"

# What is put for what in the German file, and the fault that is told then.
FAULTS = {
    "a key is missing": ("window1-help=_Hilfe\n", "", ": window1-help: is missing"),
    "a key is new": ("window1=W", "other=x\nwindow1=W", ":1: other: is no key of the English file"),
    "a key is there twice": ("window3-now", "window1-help=_Hilfe\nwindow3-now", ":7: window1-help: is there twice"),
    "a longer key hides its beginning":
        ("window2=Wo ist es?\nwindow2-next=_Weiter\n", "window2-next=_Weiter\nwindow2=Wo ist es?\n",
         ":5: window2: is not found, because this line of window2-next holds it before"),
    "a text hides a key": ("Willkommen", "window1-help", ":1: window1-help: is not found, because this line of window1 "
                                                         "holds it before"),
    "no text": ("=Wo ist es?", "= ", ":5: window2: has no text"),
    "no sign": ("window2=Wo ist es?", "window2", ":5: window2: has no \"=\""),
    "a value less": ("=%s (für %s)", "=(für %s)", ":8: window3-forperson: has %s 1 times, in English 2"),
    "a value more": ("Wo ist", "Wo ist %s", ":5: window2: has %s 1 times, in English 0"),
    "an access letter less": ("_Hilfe", "Hilfe", ":4: window1-help: has \"_\" 0 times, in English 1"),
    "an access letter more": ("Willkommen", "Will_kommen", ":1: window1: has \"_\" 1 times, in English 0"),
    "two in a text": ("_Hilfe", "_Hi_lfe", ":4: window1-help: has \"_\" 2 times, in English 1"),
    "no letter behind the mark": ("_Hilfe", "Hilfe_", ":4: window1-help: has a \"_\" that no letter follows"),
    "a sign behind the mark": ("_Hilfe", "Hilfe_!", ":4: window1-help: has a \"_\" that no letter follows"),
    "an access letter twice in a window":
        ("_Hilfe", "Hilfe_w", ":4: window1-help: has the access letter \"w\", as has window1-next"),
    "a carriage return": ("Willkommen", "Willkommen\r", ":1: window1: holds a control character"),
    "no line end": ("(für %s)\n", "(für %s)", ":8: window3-forperson: has no line end"),
    "a byte order mark": ("window1=W", "\ufeffwindow1=W", ":1: \ufeffwindow1: begins with a byte order mark"),
}

FAULTS_OF_LIST = {
    "a file is not named": ("de_DE de_AT\n", "", ": de_DE: is a text file that the list does not begin a line with"),
    "a file is only a further locale": ("\nde_DE de_AT", " de_DE",
                                        ": de_DE: is a text file that the list does not begin a line with"),
    "there is no such file": ("de_DE de_AT", "de_DE de_AT\nfr_FR", ":4: fr_FR: has no text file"),
    "a file is named twice": ("de_DE de_AT", "de_DE de_AT\nde_DE", ":4: de_DE: is there twice"),
    "a locale is named twice": ("de_AT", "en_PH", ":3: en_PH: is there twice"),
    "a locale is named twice in a line": ("de_AT", "de_AT de_AT", ":3: de_AT: is there twice"),
    "a name has more than five characters": ("de_AT", "de_AT.UTF-8", ":3: de_AT.UTF-8: is not the beginning of a "
                                                                     "locale's name, five characters of it"),
}


class Planted(unittest.TestCase):
    def setUp(self):
        self.data = tempfile.mkdtemp()
        self.addCleanup(shutil.rmtree, self.data)
        os.mkdir(self.data + "/texts")
        self.put("texts/CMakeLists.txt", "# no text file\n")
        self.put("texts/en_US", ENGLISH)
        self.put("texts/de_DE", GERMAN)
        self.put("languages.txt", LANGUAGES)

    def put(self, name, content):
        with open(f"{self.data}/{name}", "wb") as file:
            file.write(content if isinstance(content, bytes) else content.encode())

    def faults(self):
        return [text_files.told(fault).removeprefix(self.data) for fault in text_files.faults_of_all(self.data)]


class Files(Planted):
    def test_good_files_have_no_fault(self):
        self.assertEqual([], self.faults())

    def test_each_fault_is_told_with_file_line_and_key(self):
        for name, (old, new, told) in FAULTS.items():
            with self.subTest(name):
                self.assertIn(old, GERMAN)
                self.put("texts/de_DE", GERMAN.replace(old, new, 1))
                self.assertIn("/texts/de_DE" + told, self.faults())

    def test_text_that_is_no_utf_8(self):
        self.put("texts/de_DE", GERMAN.encode("latin-1"))
        self.assertEqual(["/texts/de_DE:8: window3-forperson: is not UTF-8"], self.faults())

    def test_a_line_may_have_510_bytes_with_its_end(self):
        room = 510 - len("window2=\n")
        self.put("texts/de_DE", GERMAN.replace("Wo ist es?", "ä" * (room // 2) + "x" * (room % 2)))
        self.assertEqual([], self.faults())
        self.put("texts/de_DE", GERMAN.replace("Wo ist es?", "ä" * (room // 2) + "x" * (room % 2 + 1)))
        self.assertEqual(["/texts/de_DE:5: window2: has 511 bytes, of 510 at most"], self.faults())

    def test_other_windows_may_have_the_same_access_letter(self):
        self.assertIn("window2-next=_Weiter", GERMAN)
        self.assertIn("window1-next=_Weiter", GERMAN)
        self.assertEqual([], self.faults())

    def test_access_letters_are_the_same_in_capitals(self):
        self.put("texts/de_DE", GERMAN.replace("_Hilfe", "Hilfe_a"))
        self.assertEqual(["/texts/de_DE:4: window1-help: has the access letter \"a\", as has window1-cancel"],
                         self.faults())

    def test_the_english_file_is_looked_at_as_well(self):
        self.put("texts/en_US", ENGLISH.replace("_Help", "Help_"))
        self.assertIn("/texts/en_US:4: window1-help: has a \"_\" that no letter follows", self.faults())


class List(Planted):
    def test_each_fault_is_told_with_its_line(self):
        for name, (old, new, told) in FAULTS_OF_LIST.items():
            with self.subTest(name):
                self.assertIn(old, LANGUAGES)
                self.put("languages.txt", LANGUAGES.replace(old, new, 1))
                self.assertIn("/languages.txt" + told, self.faults())


class ShownTexts(Planted):
    def line_of(self, shown, beginning):
        line = text_files.TextFile(self.data + "/texts/de_DE").line_of(shown, beginning)
        return line and line.number

    def test_are_found_without_marks_and_with_values(self):
        self.assertEqual(3, self.line_of("Abbrechen", "window1"))
        self.assertEqual(7, self.line_of("Jetzt: Dokumente", "window3"))
        self.assertEqual(8, self.line_of("Dokumente (für anna)", "window3"))

    def test_are_those_of_their_window(self):
        self.assertEqual(2, self.line_of("Weiter", "window1"))
        self.assertEqual(6, self.line_of("Weiter", "window2"))
        self.assertIsNone(self.line_of("Weiter", "window3"))


class Tool(Planted):
    def check(self):
        done = subprocess.run([TOOL, "--files", "--data", self.data], capture_output=True, text=True, check=False)
        return done.returncode, done.stdout.replace(self.data, "")

    def test_tells_by_its_status_whether_there_are_faults(self):
        self.assertEqual((0, ""), self.check())
        self.put("languages.txt", LANGUAGES + "fr_FR\n")
        self.assertEqual((1, "/languages.txt:4: fr_FR: has no text file\n"), self.check())


class Shipped(unittest.TestCase):
    def test_files_have_no_fault(self):
        self.assertEqual([], [text_files.told(fault) for fault in text_files.faults_of_all(SOURCE + "/data")])


if __name__ == "__main__":
    unittest.main(verbosity=2)
