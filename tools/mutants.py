"""The mutants of tests/mutants: small faults planted in the source, each of which a test has to notice.

A file there holds the mutants of one room:

    tests: shell                        the folder below tests/ whose tests are meant, until the next such line

    mutant: status-126-for-127          a name of its own
    file: src/shell/run.cpp
    kill: Run.Unknown*:Runner.*         the tests that should notice: a filter of GoogleTest, or where the folder holds
                                        no C++ the names of CTest's tests behind "FOLDER/", joined by "|"
    -  if (status == 127) {             what goes, a part of a line or several; it stands in the file exactly once
    +  if (status == 126) {             what comes instead, maybe nothing
    lives: why no test can notice       only of a mutant that is left alive

One blank behind "-" and "+" belongs to the mark. A line that begins with "#" is a comment.
"""
import fnmatch
import glob
import os
import re
from dataclasses import dataclass, field


class Mistake(Exception):
    """Something in a list of mutants that cannot be meant so."""


@dataclass
class Mutant:
    name: str
    room: str   # the list's file name, without its end
    tests: str  # a folder below tests/
    file: str = ""
    kill: str = ""
    lives: str = ""
    old: list = field(default_factory=list)
    new: list = field(default_factory=list)

    def applied(self, text):
        """The file's `text` with the fault in it."""
        old, new = "\n".join(self.old), "\n".join(self.new)
        if not old or old == new:
            raise Mistake("changes nothing")
        if text.count(old) != 1:
            raise Mistake(f"does not apply: what goes stands there {text.count(old)} times")
        return text.replace(old, new)


def read_list(path):
    room = os.path.splitext(os.path.basename(path))[0]
    mutants, tests = [], ""
    with open(path, encoding="utf-8") as lines:
        for number, line in enumerate(lines, 1):
            line = line.rstrip("\n")
            key, _, value = line.partition(": ")
            if line.startswith("#") or not line:
                continue
            if key == "tests":
                tests = value
            elif key == "mutant":
                mutants.append(Mutant(value, room, tests))
            elif mutants and key in ("file", "kill", "lives"):
                setattr(mutants[-1], key, value)
            elif mutants and line[0] in "-+":
                (mutants[-1].old if line[0] == "-" else mutants[-1].new).append(line[2:])
            else:
                raise Mistake(f"{path}:{number}: {line}")
    return mutants


def read_all(source):
    """All mutants, room by room."""
    return [mutant for path in sorted(glob.glob(source + "/tests/mutants/*.list")) for mutant in read_list(path)]


def is_of_googletest(source, tests):
    return bool(glob.glob(f"{source}/tests/{tests}/*_test.cpp"))


def googletest_names(source, tests):
    """Suite.Name of each test in a folder, those with parameters as a filter finds them."""
    names = []
    for path in glob.glob(f"{source}/tests/{tests}/*.cpp"):
        with open(path, encoding="utf-8") as code:
            for kind, suite, name in re.findall(r"^TEST(|_F|_P)\((\w+),\s*(\w+)\)", code.read(), re.M):
                names.append(f"All/{suite}.{name}/0" if kind == "_P" else f"{suite}.{name}")
    return names


def faults(source, mutants):
    """A line for each mutant that is not what it should be."""
    found, seen, tests_of = [], set(), {}
    for mutant in mutants:
        try:
            with open(os.path.join(source, mutant.file), encoding="utf-8") as file:
                mutant.applied(file.read())
        except (Mistake, OSError) as error:
            found.append(f"{mutant.room}/{mutant.name}: {error}")
        if mutant.name in seen:
            found.append(f"{mutant.room}/{mutant.name}: there are two of that name")
        seen.add(mutant.name)
        if not mutant.kill or not os.path.isdir(f"{source}/tests/{mutant.tests}"):
            found.append(f"{mutant.room}/{mutant.name}: names no tests")
        elif is_of_googletest(source, mutant.tests):
            if mutant.tests not in tests_of:
                tests_of[mutant.tests] = googletest_names(source, mutant.tests)
            found += [f"{mutant.room}/{mutant.name}: no test is called {pattern}"
                      for pattern in mutant.kill.split(":") if not fnmatch.filter(tests_of[mutant.tests], pattern)]
    return found
