"""The interface texts in data/texts as a checker reads them, and the list of languages beside them.

Faults are tuples: file, number of the line or 0, key or "", what is wrong.
"""
import os
import re
from collections import Counter, namedtuple

Fault = namedtuple("Fault", "file line key what")
Line = namedtuple("Line", "number key text")

ENGLISH = "en_US"
LONGEST_LINE = 510  # bytes, with the line end: the program reads them in pieces of so many
CODE = re.compile(r"[A-Za-z_.]{5}")
ACCESS_LETTER = re.compile("_(.?)")


def told(fault):
    place = fault.file + (f":{fault.line}" if fault.line else "")
    return ": ".join(part for part in (place, fault.key, fault.what) if part)


class TextFile:
    def __init__(self, path):
        self.path = path
        with open(path, "rb") as file:
            content = file.read()
        self.ends = content.endswith(b"\n")
        self.bytes = content.split(b"\n")[:-1] if self.ends else content.split(b"\n")
        self.lines = [Line(number, *line.decode(errors="replace").partition("=")[::2])
                      for number, line in enumerate(self.bytes, 1)]
        self.by_key = {}
        for line in self.lines:
            self.by_key.setdefault(line.key, line)

    def fault(self, line, what):
        return Fault(self.path, line.number, line.key, what)

    def line_of(self, shown, beginning):
        """The line whose text is `shown` in a window whose keys begin so; None for the toolkit's own words."""
        found = [line for line in self.lines
                 if line.key.partition("-")[0] == beginning and pattern_of(line.text).fullmatch(shown)]
        return min(found, key=lambda line: "%s" in line.text, default=None)


def pattern_of(text):
    """Matches what the program shows of a text: with a value for each %s, and without the mark of the access letter."""
    return re.compile(".*".join(re.escape(part) for part in text.replace("_", "").split("%s")), re.DOTALL)


# ---- One file ------------------------------------------------------------------------------------------------


def faults_of_bytes(file):
    if file.bytes and file.bytes[0].startswith(b"\xef\xbb\xbf"):
        yield file.fault(file.lines[0], "begins with a byte order mark")
    if not file.ends:
        yield file.fault(file.lines[-1], "has no line end")
    for line, content in zip(file.lines, file.bytes):
        try:
            content.decode()
        except UnicodeDecodeError:
            yield file.fault(line, "is not UTF-8")
        if len(content) + 1 > LONGEST_LINE:
            yield file.fault(line, f"has {len(content) + 1} bytes, of {LONGEST_LINE} at most")
        if re.search(rb"[\x00-\x1f\x7f]", content):
            yield file.fault(line, "holds a control character")
        if b"=" not in content:
            yield file.fault(line, "has no \"=\"")
        elif not line.text.strip():
            yield file.fault(line, "has no text")


def faults_of_keys(file, english):
    for key, count in Counter(line.key for line in file.lines).items():
        if key not in english.by_key:
            yield file.fault(file.by_key[key], "is no key of the English file")
        elif count > 1:
            yield file.fault([line for line in file.lines if line.key == key][-1], "is there twice")
    for key in english.by_key:
        if key not in file.by_key:
            yield Fault(file.path, 0, key, "is missing")
            continue
        first = next(line for line in file.lines if key in line.key + "=" + line.text)
        if first.key != key:
            yield Fault(file.path, first.number, key, f"is not found, because this line of {first.key} holds it before")


def faults_of_marks(file, english):
    for line in file.lines:
        if line.key not in english.by_key:
            continue
        model = english.by_key[line.key].text
        values, wanted = line.text.count("%s"), model.count("%s")
        if values != wanted:
            yield file.fault(line, f"has %s {values} times, in English {wanted}")
        letters, wanted = ACCESS_LETTER.findall(line.text), ACCESS_LETTER.findall(model)
        if len(letters) != len(wanted):
            yield file.fault(line, f"has \"_\" {len(letters)} times, in English {len(wanted)}")
        for letter in letters:
            if not letter.isalnum():
                yield file.fault(line, "has a \"_\" that no letter follows")


def faults_of_access_letters(file):
    """Keys of one window have the same beginning."""
    taken = {}
    for line in file.lines:
        for letter in ACCESS_LETTER.findall(line.text):
            first = taken.setdefault((line.key.partition("-")[0], letter.lower()), line)
            if first.number != line.number:
                yield file.fault(line, f"has the access letter \"{letter}\", as has {first.key}")


def faults_of_file(path, english):
    file = TextFile(path)
    for faults in (faults_of_bytes(file), faults_of_keys(file, english), faults_of_marks(file, english),
                   faults_of_access_letters(file)):
        yield from faults


# ---- The list of languages -----------------------------------------------------------------------------------


def read_languages(path):
    """Lists of codes, one a line of the list, each with the number of its line."""
    with open(path, encoding="utf-8") as file:
        return [(number, line.split()) for number, line in enumerate(file, 1)
                if line.strip() and not line.startswith("#")]


def faults_of_languages(path, files):
    """`files` are the names in data/texts."""
    languages = read_languages(path)
    taken = {}
    for number, codes in languages:
        if codes[0] not in files:
            yield Fault(path, number, codes[0], "has no text file")
        for code in codes:
            if not CODE.fullmatch(code):
                yield Fault(path, number, code, "is not the beginning of a locale's name, five characters of it")
            if taken.setdefault(code, number) != number or codes.count(code) > 1:
                yield Fault(path, number, code, "is there twice")
    for name in sorted(set(files) - {codes[0] for _, codes in languages}):
        yield Fault(path, 0, name, "is a text file that the list does not begin a line with")


# ---- All -----------------------------------------------------------------------------------------------------


def names_of_files(data):
    return sorted(name for name in os.listdir(data + "/texts") if name != "CMakeLists.txt")


def faults_of_all(data):
    names = names_of_files(data)
    english = TextFile(f"{data}/texts/{ENGLISH}")
    faults = list(faults_of_languages(data + "/languages.txt", names))
    for name in names:
        faults += faults_of_file(f"{data}/texts/{name}", english)
    return faults
