"""The rooms of the source: an #include against the picture finds no file, and HACKING.md shows that picture."""
import os
import re
import shlex
import subprocess
import sys
import tempfile
import unittest
from pathlib import Path

SOURCE = Path(os.environ["BRINDLE_SOURCE"])
BUILD = Path(os.environ["BRINDLE_BUILD"])
SRC = SOURCE / "src"
sys.path.append(str(SOURCE / "tools"))

from compile_commands import commands_of

ROW = re.compile(r"\| `src/([^`]+)` \| [^|]+ \| ([^|]*) \| ([^|]*) \|")
TYPE = re.compile(r"^(?:class|struct|enum class) (\w+)[^;]*?\{", re.MULTILINE)
INCLUDE = re.compile(r'^\s*#\s*include\s+"([^"]+)"', re.MULTILINE)


def sources(top=SRC):
    """Everything that is compiled or included."""
    return sorted(path for path in top.rglob("*") if path.suffix in (".cpp", ".h", ".def"))


def compile_commands():
    """The words that compile each source, by its path; without the source and where the result goes."""
    commands = {}
    for path, command in commands_of(BUILD).items():
        words = shlex.split(command)
        commands[Path(path)] = words[:words.index("-o")]
    return commands


def picture():
    """The rooms a room sees and uses, as (sees, uses) by its folder below src/."""
    rows = {}
    for folder, sees, uses in ROW.findall((BUILD / "rooms.md").read_text()):
        rows[folder] = (sees.split(", ") if sees.strip() else [], uses.split(", ") if uses.strip() else [])
    return rows


def name_of_room(row):
    """A room is called by the last part of its folder, those of the account and of packing by both; "layout" is a single header."""
    return row.replace("/", "_") if row.startswith(("account/", "pack/")) else os.path.basename(row).removesuffix(".h")


def rooms_with_sources():
    return [row for row in picture() if not row.endswith(".h")]


class Compiler:
    """Compiles texts as if they stood in a room."""

    def __init__(self):
        self.commands = compile_commands()

    def run(self, folder, text, *options):
        words = next(words for path, words in self.commands.items() if path.parent == SRC / folder)
        with tempfile.TemporaryDirectory() as place:
            file = Path(place) / "room.cpp"
            file.write_text(text)
            return subprocess.run([*words, *options, file], capture_output=True, text=True, check=False,
                                  env=dict(os.environ, LC_ALL="C"))

    def includes(self, folder, header):
        """None when a source of the room compiles with that header, otherwise what the compiler says."""
        result = self.run(folder, f"#include {header}\n", "-fsyntax-only")
        return None if result.returncode == 0 else result.stderr

    def finds(self, folder, headers):
        """Those of the headers that a source of the room finds."""
        asked = "".join(f'#if __has_include({header})\nfound {header}\n#endif\n' for header in headers)
        lines = self.run(folder, asked, "-E", "-P").stdout.splitlines()
        return {line.removeprefix("found ") for line in lines if line.startswith("found ")}


class Picture(unittest.TestCase):
    """The whole table."""

    def visible_from(self, folder):
        """Folders of the rooms whose headers a room may include."""
        rows = picture()
        names = {name_of_room(row): row for row in rows}
        seen, waiting = {folder}, [name for part in rows[folder] for name in part]
        while waiting:
            room = names[waiting.pop()]
            if room not in seen:
                seen.add(room)
                waiting += rows[room][0]
        return seen

    def test_hacking_shows_it(self):
        section = (SOURCE / "HACKING.md").read_text().partition("## Rooms\n")[2].partition("\n## ")[0]
        shown = [line for line in section.splitlines() if line.startswith("|")]
        self.assertEqual((BUILD / "rooms.md").read_text().splitlines(), shown)

    def test_the_drawing_has_each_room_above_what_it_may_include(self):
        section = (SOURCE / "HACKING.md").read_text().partition("## Rooms\n")[2].partition("\n## ")[0]
        drawing = re.sub(r":.*?(?=   |$)", "", section.split("```")[1], flags=re.M).splitlines()
        height = [(name, at) for at, line in enumerate(drawing) for name in re.findall(r"[a-z_]+", line)]
        rooms = picture()
        self.assertEqual(sorted(map(name_of_room, rooms)), sorted(name for name, _ in height))
        height = dict(height)
        side_by_side = {"interface", "callbacks"}
        for row, (sees, uses) in rooms.items():
            for other in sees + uses:
                if not {name_of_room(row), other} <= side_by_side:
                    self.assertLess(height[name_of_room(row)], height[other], f"{row} stands above {other}")

    def test_each_room_finds_the_headers_it_may_see_and_no_others(self):
        compiler = Compiler()
        headers = [path.relative_to(SRC) for path in sources() if path.suffix != ".cpp"]
        for folder in rooms_with_sources():
            with self.subTest(folder):
                visible = self.visible_from(folder)
                permitted = {f'"{path}"' for path in headers if str(path.parent) in visible or str(path) in visible}
                self.assertNotEqual(set(), permitted)
                self.assertEqual(permitted, compiler.finds(folder, [f'"{path}"' for path in headers]))

    def test_only_the_windows_find_the_toolkit(self):
        compiler = Compiler()
        found = {folder for folder in rooms_with_sources() if compiler.finds(folder, ["<gtk/gtk.h>", "<gdk/gdk.h>"])}
        self.assertEqual({"support", "interface", "callbacks", "main"}, found)


class Sources(unittest.TestCase):
    """No source is outside the picture."""

    def test_every_folder_with_sources_is_a_room(self):
        named = re.findall(r"\bFOLDER (\S+)", (SRC / "CMakeLists.txt").read_text())
        self.assertEqual(sorted({str(path.relative_to(SRC).parent) for path in sources()}), sorted(set(named)))

    def test_every_source_is_compiled(self):
        compiled = [path for path in compile_commands() if SRC in path.parents]
        self.assertEqual([path for path in sources() if path.suffix == ".cpp"], sorted(compiled))

    def test_what_is_loaded_late_is_not_linked(self):
        found = subprocess.run(["readelf", "--dynamic", BUILD / "src/brindle-wizard"], capture_output=True, text=True, check=True)
        linked = re.findall(r"\(NEEDED\).*\[(lib[^.]+)", found.stdout)
        self.assertIn("libglib-2", linked)
        self.assertEqual(set(), {"libcups", "libgconf-2", "libzip"} & set(linked))

    def test_includes_go_down_from_the_top(self):
        """Neither through ".." nor from the folder of the source itself, past what its room shows."""
        wrong = [f"{path.relative_to(SRC)} includes {header}" for path in sources()
                 for header in INCLUDE.findall(path.read_text()) if ".." in header or not (SRC / header).is_file()]
        self.assertEqual([], wrong)

    def test_nothing_beside_the_program_includes_through_dots(self):
        wrong = [f"{path.relative_to(SOURCE)} includes {header}" for folder in ("tests", "tools", "bench")
                 for path in sources(SOURCE / folder) for header in INCLUDE.findall(path.read_text()) if ".." in header]
        self.assertEqual([], wrong)


    def test_a_type_is_defined_in_one_header(self):
        """A program that links two of one name takes the functions of either for both."""
        programs = {}
        for path in sources():
            if path.suffix == ".h":
                top = path.relative_to(SRC).parts[0]
                programs.setdefault(top if top in ("account", "pack") else "wizard", []).append(path)
        self.assertEqual(3, len(programs))
        for program in programs.values():
            found = [name for path in program for name in TYPE.findall(path.read_text())]
            self.assertNotEqual([], found)
            self.assertEqual([], sorted({name for name in found if found.count(name) > 1}))


FAMILIES = ("evolution", "kde", "mozilla")
MAIL = "process/mail/"

# What must stay forbidden whatever src/CMakeLists.txt comes to say: a room's folder and a header.
BREACHES = [
    *((MAIL + one, f'"{MAIL}{other}/accounts.h"') for one in FAMILIES for other in FAMILIES if one != other),
    *((folder, "<gtk/gtk.h>") for folder in ("process/desktop", *(MAIL + family for family in FAMILIES),
                                             "process/printers", "process/run")),
    ("process/run", '"interface/windows.h"'),
    ("process/run", '"support/widgets.h"'),
    ("process/run", '"callbacks/navigation.h"'),
    ("interface", '"process/run/process.h"'),
    ("interface", '"process/archive/checks.h"'),
    ("interface", '"process/printers/queue.h"'),
    ("shell", '"system/target.h"'),
]

PERMITTED = [
    (MAIL + "kde", f'"{MAIL}account.h"'),
    ("process/run", f'"{MAIL}kde/accounts.h"'),
    ("interface", "<gtk/gtk.h>"),
    ("interface", '"support/widgets.h"'),
    ("system", '"shell/home.h"'),
]


class Breaches(unittest.TestCase):
    """A source that includes one header."""

    def test_they_do_not_compile(self):
        compiler = Compiler()
        for folder, header in BREACHES:
            with self.subTest(f"{folder} includes {header}"):
                said = compiler.includes(folder, header)
                self.assertIsNotNone(said, "it compiles")
                self.assertIn(f'fatal error: {header.strip("<>" + chr(34))}: No such file or directory', said)

    def test_what_is_permitted_compiles(self):
        compiler = Compiler()
        for folder, header in PERMITTED:
            with self.subTest(f"{folder} includes {header}"):
                self.assertIsNone(compiler.includes(folder, header))

    def test_the_headers_are_there(self):
        """A breach by a name that nothing has would prove nothing."""
        own = [header.strip('"') for _, header in BREACHES + PERMITTED if header.startswith('"')]
        self.assertEqual([], [header for header in own if not (SRC / header).is_file()])


if __name__ == "__main__":
    unittest.main()
