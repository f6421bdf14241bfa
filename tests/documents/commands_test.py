"""Runs every command of every document as it is written, and holds what else the documents name against the source.

    commands_test.py BUILD [options of unittest]

Runs in a private view, in a copy of the source. What would take long (a whole build, a whole run, a search for inputs)
is stood in for; WAYS below says for each command how it is tried and, where it is not run itself, why. A command that
no line of WAYS knows fails.
"""
import fnmatch
import os
import re
import shutil
import socket
import struct
import subprocess
import sys
import unittest
from pathlib import Path

BUILD = Path(sys.argv.pop(1)).resolve()
SOURCE = Path.cwd()
TREE = Path("/tmp/tree")
STANDINS = Path("/tmp/standins")
OLD_DISK, PARTITION = Path("/tmp/disk.img"), Path("/tmp/partition.img")
DOCUMENTS = [Path("README.md"), Path("HACKING.md"), *sorted(Path("docs").rglob("*.md"))]

# ---- The documents ---------------------------------------------------------------------------------------

# What a text between backquotes begins with when it is a command for people to type.
TYPED = re.compile(
    r"(?:[A-Z_]+=\S+ )*"
    r"(?:\./[a-z]|(?:(?:tools|samples|fuzz|bench|build/\w+/tests)/[a-z_./-]+|tests/[a-z]+/run) |brindle(?:-\w+)? |"
    r"(?:ctest|cmake|cp|rm|zip|unzip|lp\w+|foomatic-\S+|apt-get|dpkg\S*|firefox\S*|db5\S*|du|cd) )")


class Document:
    """One file: its indented lines, each a command; its fenced blocks; its texts between backquotes."""

    def __init__(self, path):
        self.path, self.commands, self.blocks, self.quoted = path, [], [], []
        block, before, source = None, "", ""
        for line in path.read_text(encoding="utf-8").splitlines():
            if line.startswith("```"):
                if block is None:
                    block = []
                else:
                    self.blocks.append((source, block))
                    block = None
            elif block is not None:
                block.append(line)
            elif re.match(r" {4}\S", line) and (not before.strip() or before.startswith("    ")):
                self.commands.append(line.split("  #")[0].strip())
            else:
                self.quoted += [text.replace(r"\|", "|") for text in re.findall(r"`([^`]+)`", line)]
            if line.strip() and block is None:
                source = line
            before = line

    def typed(self):
        """All commands, and those between backquotes that have more than one word."""
        inside = (line.strip() for _, block in self.blocks for line in block)
        return self.commands + [text for text in (*self.quoted, *inside)
                                if TYPED.match(text + " ") and " " in text.strip()]


def of_manual(path):
    """The examples of a page for man."""
    found = re.findall(r"^\.B (brindle-\w+ .+)$", path.read_text(encoding="utf-8").replace("\\-", "-"), re.M)
    return {(str(path), command) for command in found}


def all_commands():
    found = {(str(document.path), command) for document in map(Document, DOCUMENTS) for command in document.typed()}
    return found.union(*map(of_manual, Path("data/man").glob("*.1")))


# ---- The ways to try a command ---------------------------------------------------------------------------

def sh(command, **environment):
    """As a person would run it in the source folder, after the stand-ins that were asked for."""
    path = f"{STANDINS}:/usr/local/bin:{os.environ['PATH']}"
    environment = {**os.environ, "PATH": path, "HOME": "/root", **environment}
    return subprocess.run(["bash", "-c", command], cwd=TREE, capture_output=True, text=True, errors="replace",
                          check=False, stdin=subprocess.DEVNULL, env=environment)


def put(path, text, mode=0o755):
    path.parent.mkdir(parents=True, exist_ok=True)
    path.unlink(missing_ok=True)
    path.write_text(text)
    path.chmod(mode)


def filled(command):
    """With something for each word that stands for one."""
    for word, value in (("FOLDER", "/tmp/old-pc"), ("OUT.zip", "/tmp/packed.zip"), ("--home DIR", "--home /etc"),
                        ("DIR", "/tmp/made"), ("WORD", "word"), ("FILE", "/tmp/table.tsv"), ("QUEUE", "office"),
                        ("NAME=VALUE", "sides=one-sided"), ("/dev/sdb2", str(PARTITION)), ("/dev/sdb", str(OLD_DISK))):
        command = command.replace(word, value)
    return command


class Ways(unittest.TestCase):
    """Each way is a method that gets the command as it is written."""

    def succeeds(self, command, *statuses, **environment):
        done = sh(filled(command), **environment)
        self.assertIn(done.returncode, statuses or (0,), f"{command}\n{done.stdout[-2000:]}{done.stderr[-2000:]}")
        return done.stdout

    def run_it(self, command):
        self.succeeds(command)

    def account(self, command):
        """The home has all that the archive holds, so each ends with 0."""
        said = "usage:" if "--help" in command else r"Documents +1 +1|Nothing stands in the way"
        self.assertRegex(self.succeeds(command), said)
        for table in re.findall(r"--(?:missing|replaced) (\S+)", filled(command)):
            self.assertTrue((TREE / table).exists(), command)

    def preview(self, command):
        """A whole run takes a minute: the view, and with it the wizard, is stood in for; all before it is real."""
        put(TREE / "tools/view", '#!/bin/bash\nprintf "%s\\n" "$@" >>/tmp/viewed\n'
            'for word in "$@"; do case $word in *=/run/brindle/out) echo x >"${word%=*}/marks.tsv" ;; esac; done\n')
        put(TREE / "tools/preview/summary.py", "print('told')\n")
        put(TREE / "samples/make", '#!/bin/sh\ncp old-pc.zip "$1/one-person.zip"\n')
        Path("/tmp/viewed").unlink(missing_ok=True)
        with socket.socket(socket.AF_UNIX) as display:
            Path("/tmp/.X11-unix").mkdir(exist_ok=True)
            Path("/tmp/.X11-unix/X77").unlink(missing_ok=True)
            display.bind("/tmp/.X11-unix/X77")
            said = self.succeeds(command, DISPLAY=":77", BRINDLE_PREVIEW_STAGE="/tmp",
                                 BRINDLE_PREVIEW_RECORDER="/bin/true")
        if "--help" not in command:
            self.assertIn("told", said)
            viewed = Path("/tmp/viewed").read_text()
            for option, value in re.findall(r"--(system|user|homes|language) ([a-z_A-Z-]+)", command):
                self.assertIn(f"--{option} {value} ", viewed)

    def checks(self, command):
        """Builds and tests everything, this test too: cmake, ctest and what looks at the source are stood in for."""
        for name in ("tools/install-packages", "tools/lint", "tools/tidy"):
            put(TREE / name, "#!/bin/sh\n")
        for name in ("cmake", "clang-format"):
            put(STANDINS / name, "#!/bin/sh\n")
        put(STANDINS / "ctest", '#!/bin/bash\nwhile [ "$1" != --output-junit ]; do shift; done\n'
            'echo \'<testsuite tests="1" failures="0" skipped="0">\' >"$2"\n')
        self.assertIn("passed, 0 failed", self.succeeds(command))

    def builds(self, command):
        """Configures for real; what would compile is only planned, and where nothing was built nothing is installed."""
        put(STANDINS / "cmake", '#!/bin/sh\ncase $1 in\n--build) exec /usr/bin/cmake "$@" -- -n ;;\n'
            '--install) test -f "$2/cmake_install.cmake" ;;\n*) exec /usr/bin/cmake "$@" ;;\nesac\n')
        put(STANDINS / "ctest", '#!/bin/sh\n/usr/bin/ctest -N "$@" | tee /dev/stderr | grep -q "Total Tests: [1-9]"\n')
        if "ctest" in command and not (TREE / "build/debug").exists():
            self.builds("cmake --preset debug")
        if command.startswith("ctest") and "--test-dir" not in command:
            command = command.replace("ctest", "ctest --test-dir build/debug", 1)
        self.succeeds(command)

    def in_a_test_program(self, command):
        """Not built here: the filter must find tests in the source."""
        program, name = re.fullmatch(r"build/debug/tests/(\w+)_tests --gtest_filter='(.*)'", command).groups()
        self.assertTrue(tests_like(program, name), command)

    def faults(self, command):
        """Whole runs with a fault each: listed only."""
        self.assertTrue(self.succeeds(command + " --list").strip(), command)

    def hostile(self, command):
        """Two thousand values by system: the option is read, and the tests of that name are there."""
        self.assertIn('"${1:-}" = --system', (TREE / "tests/hostile/run").read_text())
        self.builds("ctest -R hostile/values.gnome")

    def fuzz(self, command):
        """Needs clang and minutes: each reader that is named must have its harness."""
        for name in re.sub(r"MINUTES \[NAME...\]", "1", command).split()[2:]:
            self.assertTrue((TREE / f"fuzz/readers/{name}.cpp").exists(), name)

    def bench(self, command):
        """Measures for minutes: the rows that are named must be known."""
        known = self.succeeds("bench/run --help")
        for name in command.split()[1:]:
            if name != "NAME":
                self.assertIn(name, known)

    def samples(self, command):
        """Paints pictures for ten seconds: samples_test.py does it once for all its tests."""
        self.assertEqual("samples/make DIR", command)
        self.assertIn('run(SOURCES / "make", MADE)', Path("tests/samples/samples_test.py").read_text())

    def mutate(self, command):
        """Takes hours: the mutants that are named are only listed; --verify is a test of its own."""
        if "--verify" in command:
            self.assertIn("--verify", Path("tests/mutants/mutants_test.py").read_text())
        else:
            self.succeeds(command + " --list")

    def undo(self, command):
        """undo_test.py runs each of these in a home that a migration has changed."""
        listed = Path("tests/documents/undo_test.py").read_text()
        self.assertIn(re.sub(r"\d{4}-\d\d-\d\d-\d+", "{RUN}", command), listed)

    def pack(self, command):
        """With two people on a disk: in a folder, and as images of the disk and of its partition."""
        for name in ("Ann", "Bob"):
            put(Path(f"/mnt/windows/Users/{name}/Documents/Letter.txt"), "Dear Ann\n", 0o644)
        if not OLD_DISK.exists():
            make_old_disk("/mnt/windows")
        shutil.copy(BUILD / "src/brindle-pack", "/usr/local/bin/brindle-pack")
        # The archive of that name is one that other commands are tried with; this one replaces none.
        archive, kept = TREE / Path(command.split()[-1]).name, TREE / "kept.zip"
        if archive.exists():
            archive.rename(kept)
        self.assertIn("usage:" if "--help" in command else "Ann, account ann", self.succeeds(command))
        archive.unlink(missing_ok=True)
        if kept.exists():
            kept.rename(archive)

    def installs(self, command):
        """Done once for all tests; here the lists that are named must be there."""
        for name in command.split()[1:]:
            self.assertTrue(Path(f"tools/packages/{name}.txt").exists(), name)

    def tidies(self, command):
        """Reads the source for many minutes: the build that is named must be one."""
        tool, *options, build = command.split()
        self.assertTrue(os.access(tool, os.X_OK))
        for option in options:
            self.assertIn(f'"{option}"', Path(tool).read_text())
        self.assertIn(f'"name": "{Path(build).name}"', Path("CMakePresets.json").read_text())

    def windows(self, command):
        """Builds and shows all windows: windows_test.py does it with this build; here the options are read."""
        tool, *words = command.split()
        texts = Path("tests/texts/windows_test.py").read_text()
        for word in words:
            if word.startswith("--"):
                self.assertIn(f'"{word}"', texts)
                self.assertIn(word, self.succeeds(tool + " --help"))

    def translating(self, command):
        """For a new language, whose file the step before has made."""
        put(TREE / "data/texts/da_DK", Path("data/texts/en_US").read_text(), 0o644)
        (self.preview if "preview" in command else self.windows)(command)
        (TREE / "data/texts/da_DK").unlink()

    def makes_a_file(self, command):
        self.succeeds(command)
        made = TREE / command.split()[-1]
        self.assertTrue(made.exists())
        made.unlink()

    def package(self, command):
        """Takes minutes: the package's own tests build, install, run and remove it."""
        tests = "".join(path.read_text() for path in Path("tests/package").glob("*"))
        self.assertIn("make-package", tests)
        tool = Path("tools/make-package").read_text()
        for word in command.split()[1:] if command.startswith("tools/") else command.split()[:1]:
            self.assertIn(word, tool + tests)

    def printing(self, command):
        """Changes a queue, which is not there: the tool must take the words and miss nothing but a print server."""
        done = sh(filled(command))
        self.assertNotIn("Unknown option", done.stderr)
        self.assertRegex(done.stderr, "scheduler|Bad file descriptor|add-printer|not responding|refused|No such file")

    def shown(self, _):
        """Not for people to type: a command that the wizard runs, or that something was measured by."""

    def tried_by_hand(self, command):
        """Needs a program that is no part of the tests; docs/today.md says when it was tried, with which version."""
        self.assertIn("docs/today.md", {path for path, one in all_commands() if one == command})


# Each command of the documents, with "*" for anything, and its way. The first that fits counts.
WAYS = (
    ("./preview --language da_DK", Ways.translating),
    ("./preview*", Ways.preview),
    ("./check*", Ways.checks),
    ("brindle-account*", Ways.account),
    ("brindle-undo*", Ways.undo),
    ("brindle-pack*", Ways.pack),
    ("cmake*", Ways.builds),
    ("ctest*", Ways.builds),
    ("build/debug/tests/*", Ways.in_a_test_program),
    ("*tests/faults/run *", Ways.faults),
    ("tests/hostile/run *", Ways.hostile),
    ("fuzz/run *", Ways.fuzz),
    ("bench/run*", Ways.bench),
    ("tools/screens --language da_DK", Ways.translating),
    ("tools/check-texts --language da_DK", Ways.translating),
    ("tools/check-texts --files", Ways.run_it),
    ("tools/screens --documents", Ways.windows),
    ("tools/mutate *", Ways.mutate),
    ("tools/install-packages *", Ways.installs),
    ("tools/tidy *", Ways.tidies),
    ("tools/make-package --install", Ways.package),
    ("tools/make-package --host i386", Ways.package),
    ("dpkg-buildpackage -us -uc", Ways.package),
    ("apt-get install ./brindle_*.deb", Ways.package),
    ("samples/make DIR", Ways.samples),
    ("samples/pack FOLDER OUT.zip", Ways.run_it),
    ("cp data/texts/en_US data/texts/da_DK", Ways.makes_a_file),
    ("foomatic-ppdfile-bd -P\"HP LaserJet 4050\"", Ways.run_it),
    ("lpadmin -p QUEUE *", Ways.printing),
    ("du -sh ~/.brindle_before", Ways.run_it),
    ("rm -r ~/.brindle_before", Ways.run_it),
    ("firefox --profile DIR", Ways.tried_by_hand),
    ("lpinfo -m", Ways.shown),
    ("zip -r", Ways.shown),
    ("unzip -t", Ways.shown),
    ("db5.3_dump -p", Ways.shown),
    ("zip -1", Ways.shown),
    ("cp -a", Ways.shown),
    ("rm -rf ", Ways.shown),
    ("cp -f", Ways.shown),
    ("cp FROM/[*] TO", Ways.shown),
    ("cp -a/-rf FROM/[*]", Ways.shown),
    ("cp -a X HOME", Ways.shown),
)


def way_of(command):
    return next((way for pattern, way in WAYS if fnmatch.fnmatchcase(command, pattern)), None)


def copy_of_source():
    shutil.copytree(SOURCE, TREE, symlinks=True, ignore=shutil.ignore_patterns("build", ".git", "__pycache__"))


def a_home_and_an_archive():
    """What the examples of the account name: a run of an archive old-pc.zip, and the home it has filled."""
    shutil.copy(BUILD / "src/brindle-account", "/usr/local/bin/brindle-account")
    shutil.copy(TREE / "data/foomatic/foomatic-ppdfile-bd", "/usr/local/bin/foomatic-ppdfile-bd")
    put(Path("/tmp/old-pc/My Documents/Letter.txt"), "Dear Ann\n", 0o644)
    put(Path("/tmp/old-pc/users.txt"), "Default=ann\nMultiUser Migration=0\n", 0o644)
    subprocess.run([TREE / "samples/pack", "/tmp/old-pc", TREE / "old-pc.zip"], check=True)
    shutil.copy(TREE / "old-pc.zip", TREE / "family.zip")
    put(Path("/root/Documents/Letter.txt"), "Dear Ann\n", 0o644)
    put(Path("/root/.brindle_run"), f"archive={TREE}/old-pc.zip\nsystem=gnome\nperson=root\nhome=/root\n"
        "begun=1\nover=2\nending=ended\nkept=/root/.brindle_before/2026-11-22-014530\n", 0o600)
    kept = Path("/root/.brindle_before/2026-11-22-014530")
    put(kept / "list.tsv", "kind\tname\tbefore\tbecame\nrun\tmigration\t-\tover\n", 0o600)


def make_old_disk(folder):
    """NTFS with all that lies in the folder, alone and as the second partition of a disk."""
    sector, begin, size = 512, 4096, 16384
    PARTITION.write_bytes(bytes(size * sector))
    # Unmounting does not wait until all is written; the end of the program does.
    subprocess.run(["bash", "-e", "-c", f"""mkfs.ntfs -F -Q -q -s 512 -p 0 -H 0 -S 0 {PARTITION} 2>/tmp/mkfs
        mkdir -p /mnt/made
        ntfs-3g -o no_detach {PARTITION} /mnt/made &
        until mountpoint -q /mnt/made; do kill -0 $! && sleep 0.1; done
        cp -r {folder}/. /mnt/made
        umount /mnt/made
        wait"""], check=True)
    parts = struct.pack("<16x4xB3xII", 7, begin, size).ljust(64, b"\0")
    table = bytes(446) + parts + b"\x55\xaa"
    OLD_DISK.write_bytes(table.ljust(begin * sector, b"\0") + PARTITION.read_bytes())


class Commands(Ways):
    @classmethod
    def setUpClass(cls):
        copy_of_source()
        a_home_and_an_archive()

    def setUp(self):
        shutil.rmtree(STANDINS, ignore_errors=True)
        STANDINS.mkdir()

    def tearDown(self):
        """The source is whole again for the next one."""
        for name in ("tools/view", "tools/preview/summary.py", "samples/make", "tools/install-packages", "tools/lint",
                     "tools/tidy"):
            shutil.copy(SOURCE / name, TREE / name)

    def test_each_is_known(self):
        self.assertEqual([], sorted(one for one in all_commands() if way_of(one[1]) is None))


def add_tests_of_ways():
    """A test for each way, so that a failure says which."""
    for way in sorted({way for _, way in WAYS}, key=lambda one: one.__name__):
        def test(self, way=way):
            for command in sorted({one for _, one in all_commands() if way_of(one) is way}):
                with self.subTest(command):
                    self.setUp()
                    way(self, command)
                    self.tearDown()
        setattr(Commands, "test_commands_that_" + way.__name__, test)


add_tests_of_ways()


# ---- What else the documents name ------------------------------------------------------------------------

def folder_of_room(name):
    folders = (path for path in Path("tests").rglob("*") if path.is_dir())
    return next((path for path in folders if str(path.relative_to("tests")).replace("/", "_") == name), None)


def tests_like(room, name):
    """Tests of tests/.../ROOM whose name is like that, as a filter of the test programs."""
    text = "".join(path.read_text() for path in (folder_of_room(room) or Path("/none")).glob("*.cpp"))
    found = re.findall(r"^TEST(?:_[FP])?\((\w+),\s+(\w+)\)", text, re.M)
    names = [f"{suite}.{test}" for suite, test in found]
    for prefix, suite in re.findall(r"^INSTANTIATE_TEST_SUITE_P\(\s*(\w+),\s+(\w+)", text, re.M):
        names += [f"{prefix}/{suite}.{test}/0" for of, test in found if of == suite]
    return [one for one in names for pattern in name.split(":") if fnmatch.fnmatchcase(one, pattern)]


class Named(unittest.TestCase):
    def test_tests_of_a_room_are_there(self):
        found = 0
        for document in map(Document, DOCUMENTS):
            for text in document.quoted:
                room, _, name = text.partition(" ")
                if folder_of_room(room) and re.fullmatch(r"[\w*.:]*\*[\w*.:]*|[A-Z]\w+\.\w+", name):
                    found += 1
                    self.assertTrue(tests_like(room, name), f"{text} in {document.path}")
        self.assertGreater(found, 15)

    def test_paths_of_the_source_are_there(self):
        """Also those that are named from src/ on, and with {h,cpp} at their end."""
        tops = {path.name for path in Path(".").iterdir() if path.is_dir() and path.name not in ("build", ".git")}
        tops |= {path.name for path in Path("src").iterdir() if path.is_dir()}
        found = 0
        for document in map(Document, DOCUMENTS):
            for text in document.quoted:
                if not re.fullmatch(r"[a-z_]+/[\w./{},-]*\w[}]?", text) or text.partition("/")[0] not in tops:
                    continue
                for end in re.sub(r".*\{(.*)\}", r"\1", text).split(",") if "{" in text else [None]:
                    path = text if end is None else re.sub(r"\{.*\}", end, text)
                    if re.search(r"ROOM|KIND|NAME|CODE", path):
                        continue
                    found += 1
                    places = [Path(top, path + end) for top in (".", "src") for end in ("", ".cpp")]
                    self.assertTrue(any(place.exists() for place in places), f"{path} in {document.path}")
        self.assertGreater(found, 80)

    def test_links_lead_somewhere(self):
        for document in DOCUMENTS:
            for link in re.findall(r"\]\(([^)\s]+)\)", document.read_text(encoding="utf-8")):
                path, _, part = link.partition("#")
                target = document.parent / path if path else document
                self.assertTrue(target.exists(), f"{link} in {document}")
                if part:
                    heads = re.findall(r"^#+ (.*)$", target.read_text(encoding="utf-8"), re.M)
                    known = {re.sub(r"[^\w\- ]", "", head.lower()).replace(" ", "-") for head in heads}
                    self.assertIn(part, known, f"{link} in {document}")


def section_of_hacking(title):
    return Path("HACKING.md").read_text().partition(f"## {title}\n")[2].partition("\n## ")[0]


class Examples(unittest.TestCase):
    """A block in docs/formats, and what it says it comes from."""

    def test_come_from_the_file_that_they_name(self):
        for document in map(Document, Path("docs/formats").glob("*.md")):
            self.assertTrue(document.blocks, document.path)
            for source, block in document.blocks:
                path = re.fullmatch(r"From `([^`]+)`:", source)
                self.assertIsNotNone(path, f"a block of {document.path} comes from nowhere")
                text = Path(path[1]).read_bytes().decode("utf-8", "replace")
                at = 0
                for line in block:
                    found = text.find(line.strip(), at)
                    self.assertGreaterEqual(found, 0, f"{line} of {document.path} is not in {path[1]}, or not there")
                    at = found + len(line.strip())

    def test_each_page_is_in_the_table_of_contents(self):
        contents = Path("docs/README.md").read_text()
        for page in Path("docs").rglob("*.md"):
            if page.name != "README.md":
                self.assertIn(f"({page.relative_to('docs')})", contents)

    def test_the_value_that_is_followed_passes_by_what_is_named(self):
        section = section_of_hacking("One value from the archive to a file")
        source = "".join(path.read_text() for path in Path("src").rglob("*") if path.suffix in (".h", ".cpp", ".def"))
        names = [name for name in re.findall(r"`(@?[A-Za-z_:]+@?)`", section) if name not in ("ann@home.example",)]
        self.assertGreater(len(names), 12)
        for name in names:
            self.assertIn(name.split("::")[-1], source)


class Checklist(unittest.TestCase):
    """HACKING's list of what a new kind of data touches, held against a kind that is there."""
    EXAMPLES = ("tests/shell/template_test.cpp", "fuzz/composer/fuzz.cpp")  # try the composer with a command of it

    def places_of(self, kind):
        tops = ("src", "tests", "tools", "samples", "fuzz", "data/skeleton", "data/man", "debian")
        for path in sorted(path for top in tops for path in Path(top).rglob("*") if path.is_file()):
            if kind in path.read_text(encoding="utf-8", errors="replace").lower() and "documents" not in path.parts:
                yield path

    def test_names_each_place_of_the_wallpaper(self):
        section = section_of_hacking("Add a migrator")
        places = [path for path in self.places_of("wallpaper")
                  if str(path) not in self.EXAMPLES and not {"mutants", "tidy-support"} & {*path.parts}]
        self.assertGreater(len(places), 35)
        for path in places:
            stem = path.stem.replace("wallpaper", "KIND")
            names = (stem if "KIND" in stem else path.name, f"`{path.parts[0]}/{path.parts[1]}`")
            with self.subTest(path):
                self.assertTrue(any(name in section for name in names))


class Replaced(unittest.TestCase):
    def test_readme_names_what_a_run_writes_anew(self):
        source = Path("src/account/before/replaced.cpp").read_text()
        spots = source.partition("constexpr Spot spots[]")[2].partition("};\n\n")[0]
        files = [file for file in re.findall(r'"([^"]+)"', spots) if not file.startswith("ImapMail/")]
        table = Path("README.md").read_text().partition("**What is replaced.**")[2].partition("\n## ")[0]
        self.assertGreater(len(files), 15)
        for file in files:
            self.assertIn(re.sub(r"^@\w+@/", "", file), table)


if __name__ == "__main__":
    unittest.main(verbosity=2)
