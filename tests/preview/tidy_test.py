"""tools/tidy: every source is read with clang-tidy as .clang-tidy says, and again when anything in it has changed."""
import json
import os
import shutil
import tempfile
import unittest

from tool import SOURCE, run

# A fault, and the check that finds it.
FAULTS = {
    "bugprone-use-after-move": "#include <string>\n#include <utility>\nstd::string twice(std::string text) {\n"
                               "  std::string other = std::move(text);\n  return other + text;\n}\n",
    "bugprone-suspicious-string-compare": "#include <cstring>\nbool same(const char* a, const char* b) {\n"
                                          "  return std::strcmp(a, b) == 1;\n}\n",
    "bugprone-string-constructor": "#include <string>\nstd::string line() { return std::string('-', 50); }\n",
    "performance-for-range-copy": "#include <string>\n#include <vector>\nstd::size_t length(const std::vector<std::string>& all)"
                                  " {\n  std::size_t sum = 0;\n  for (const auto each : all) sum += each.size();\n"
                                  "  return sum;\n}\n",
    "modernize-use-nullptr": "int* nothing() { return 0; }\n",
    "misc-throw-by-value-catch-by-reference": "#include <stdexcept>\nint caught(void (*call)()) {\n  try {\n    call();\n"
                                              "  } catch (std::runtime_error error) {\n    return 1;\n  }\n  return 0;\n}\n",
    "readability-string-compare": "#include <string>\nbool same(const std::string& one, const std::string& other) {\n"
                                  "  return one.compare(other) == 0;\n}\n",
}

# Stands before the real one and notes what it is asked to read.
NOTING = '#!/bin/sh\nfor word; do case $word in *.cpp) echo "$word" >>"$PLACE/looked-at" ;; esac; done\n' \
         'exec /usr/bin/clang-tidy-16 "$@"\n'


class Place(unittest.TestCase):
    """A source of its own, with the tool, and a note of what clang-tidy reads."""

    def setUp(self):
        self.folder = tempfile.mkdtemp(dir="/tmp")
        self.addCleanup(shutil.rmtree, self.folder)
        for name in ("tools/tidy-support", "programs", "build"):
            os.makedirs(f"{self.folder}/{name}")
        for name in ("tools/tidy", "tools/compile_commands.py", "tools/tables.py", "tools/tidy-support/clean_list.py", ".clang-tidy"):
            shutil.copy(f"{SOURCE}/{name}", f"{self.folder}/{name}")
        self.put("programs/clang-tidy-16", NOTING)
        os.chmod(self.folder + "/programs/clang-tidy-16", 0o755)
        self.defined = {}

    def put(self, name, text):
        os.makedirs(os.path.dirname(f"{self.folder}/{name}"), exist_ok=True)
        with open(f"{self.folder}/{name}", "w", encoding="ascii") as file:
            file.write(text)

    def tidy(self, *files, mode=()):
        """The exit status, what was said, and the files that were looked at."""
        sources = [os.path.join(place, name) for place, _, names in os.walk(self.folder)
                   for name in names if name.endswith(".cpp")]
        commands = [{"directory": self.folder, "file": path,
                     "command": f"ccache g++ -I{self.folder}/src {self.defined.get(os.path.basename(path), '')} "
                                f"-fsanitize=address -fpch-preprocess -o x.o -c {path}"} for path in sources]
        self.put("build/compile_commands.json", json.dumps(commands))
        environment = {**os.environ, "PATH": f"{self.folder}/programs:{os.environ['PATH']}", "PLACE": self.folder,
                       "XDG_CACHE_HOME": self.folder + "/cache"}
        result = run(self.folder + "/tools/tidy", *mode, self.folder + "/build", *files, env=environment, cwd=self.folder)
        looked_at = []
        if os.path.exists(self.folder + "/looked-at"):
            with open(self.folder + "/looked-at", encoding="ascii") as file:
                looked_at = sorted(os.path.relpath(line.strip(), self.folder) for line in file)
            os.remove(self.folder + "/looked-at")
        return result.returncode, result.stdout + result.stderr, looked_at


class Tidy(Place):
    def test_clean_files(self):
        self.put("src/room/one.cpp", '#include "room/one.h"\nint one() { return 1; }\n')
        self.put("src/room/one.h", "int one();\n")
        self.assertEqual((0, "1 files, 0 with faults\n", ["src/room/one.cpp"]), self.tidy())

    def test_each_fault_is_found(self):
        for check, text in FAULTS.items():
            with self.subTest(check):
                self.put("src/room/one.cpp", text)
                status, said, _ = self.tidy()
                self.assertEqual(1, status)
                self.assertIn(check, said)
                self.assertIn("src/room/one.cpp:", said)
                self.assertTrue(said.endswith("1 files, 1 with faults\n"), said)

    def test_a_fault_in_a_header_is_found(self):
        self.put("src/room/one.h", FAULTS["modernize-use-nullptr"].replace("int*", "inline int*"))
        self.put("src/room/one.cpp", '#include "room/one.h"\n')
        status, said, _ = self.tidy()
        self.assertEqual(1, status)
        self.assertIn("src/room/one.h:1", said)

    def test_what_does_not_compile_is_a_fault(self):
        for text in ("std::string text;\n", '#include "room/missing.h"\n', "int one(\n"):
            with self.subTest(text):
                self.put("src/room/one.cpp", text)
                self.assertEqual(1, self.tidy()[0])

    def test_what_was_clean_is_looked_at_once(self):
        self.put("src/room/one.cpp", "int one() { return 1; }\n")
        self.tidy()
        self.assertEqual((0, "1 files, 0 with faults\n", []), self.tidy())

    def test_what_had_a_fault_is_looked_at_again(self):
        self.put("src/room/one.cpp", FAULTS["modernize-use-nullptr"])
        self.tidy()
        status, said, looked_at = self.tidy()
        self.assertEqual((1, ["src/room/one.cpp"]), (status, looked_at))
        self.assertIn("modernize-use-nullptr", said)

    def test_each_change_is_looked_at(self):
        self.put("src/room/one.cpp", '#include "room/one.h"\nint one() { return two(); }\n')
        self.put("src/room/one.h", '#include "other/two.h"\n')
        self.put("src/other/two.h", 'inline int two() {\n  return\n#include "list.def"\n      ;\n}\n')
        self.put("src/other/list.def", "2\n")
        self.put("src/other/three.cpp", "int three() { return 3; }\n")
        self.assertEqual(0, self.tidy()[0])
        self.put("src/other/list.def", "3\n")
        self.assertEqual(["src/room/one.cpp"], self.tidy()[2])
        self.put("src/other/two.h", "inline int two() { return 4; }\n")
        self.assertEqual(["src/room/one.cpp"], self.tidy()[2])
        self.defined["three.cpp"] = "-DTHREE=3"
        self.assertEqual(["src/other/three.cpp"], self.tidy()[2])
        with open(self.folder + "/.clang-tidy", "a", encoding="ascii") as file:
            file.write("# other\n")
        self.assertEqual(["src/other/three.cpp", "src/room/one.cpp"], self.tidy()[2])

    def test_definitions_count(self):
        self.put("src/room/one.cpp", "#ifdef WRONG\nint* one() { return 0; }\n#endif\n")
        self.assertEqual(0, self.tidy()[0])
        self.defined["one.cpp"] = "-DWRONG"
        self.assertEqual(1, self.tidy()[0])

    def test_the_source_alone_is_read(self):
        self.put("src/room/one.cpp", "int one() { return 1; }\n")
        self.put("tests/room/one_test.cpp", FAULTS["modernize-use-nullptr"])
        self.put("build/made.cpp", FAULTS["modernize-use-nullptr"])
        self.assertEqual((0, "1 files, 0 with faults\n", ["src/room/one.cpp"]), self.tidy())

    def test_files_that_are_named_are_read_alone(self):
        self.put("src/room/one.cpp", "int one() { return 1; }\n")
        self.put("src/room/two.cpp", FAULTS["modernize-use-nullptr"])
        self.assertEqual((0, "1 files, 0 with faults\n", ["src/room/one.cpp"]), self.tidy("src/room/one.cpp"))

    def test_nothing_to_read_is_a_fault(self):
        self.assertEqual((1, "tidy: nothing to look at\n", []), self.tidy())

    def test_other_words_are_refused(self):
        self.put("src/room/one.cpp", "int one() { return 1; }\n")
        status, _, looked_at = self.tidy(mode=["--all"])
        self.assertEqual((2, []), (status, looked_at))


class List(Place):
    """What is written down as clean, in tools/tidy-support/clean.txt, and read again when it is not so any more."""

    CLEAN = "int {0}() {{ return 1; }}\n"
    FAULT = FAULTS["modernize-use-nullptr"]

    def setUp(self):
        super().setUp()
        for name in ("one", "two", "three"):
            self.put(f"src/room/{name}.cpp", f'#include "room/{name}.h"\n' + self.CLEAN.format(name))
            self.put(f"src/room/{name}.h", f"int {name}();\n")

    def tidy(self, *files, mode=()):
        """As on a machine that has read nothing yet."""
        shutil.rmtree(self.folder + "/cache", ignore_errors=True)
        return super().tidy(*files, mode=mode)

    def record(self, *files):
        return self.tidy(*files, mode=["--record"])

    def changed(self):
        return self.tidy(mode=["--changed"])

    def listed(self):
        with open(self.folder + "/tools/tidy-support/clean.txt", encoding="ascii") as file:
            return [line.split("\t")[0] for line in file][1:]

    def files(self, *names):
        return sorted(f"src/room/{name}.{end}" for name in names for end in ("cpp", "h"))

    def test_without_a_list_all_is_read(self):
        status, said, looked_at = self.changed()
        self.assertEqual((0, "3 files, 0 with faults\n"), (status, said))
        self.assertEqual(["src/room/one.cpp", "src/room/three.cpp", "src/room/two.cpp"], looked_at)

    def test_what_is_written_down_is_not_read(self):
        self.assertEqual((0, "3 files, 0 with faults\n"), self.record()[:2])
        self.assertEqual(self.files("one", "three", "two"), self.listed())
        self.assertEqual((0, "0 files, 0 with faults\n", []), self.changed())

    def test_what_has_changed_is_read_and_its_fault_told(self):
        self.record()
        self.put("src/room/two.cpp", self.CLEAN.format("other"))
        self.assertEqual((0, "1 files, 0 with faults\n", ["src/room/two.cpp"]), self.changed())
        self.put("src/room/two.cpp", self.FAULT)
        status, said, looked_at = self.changed()
        self.assertEqual((1, ["src/room/two.cpp"]), (status, looked_at))
        self.assertIn("src/room/two.cpp:1:25: error: use nullptr", said)
        self.assertTrue(said.endswith("1 files, 1 with faults\n"), said)

    def test_what_is_new_is_read(self):
        self.record()
        self.put("src/other/four.cpp", self.FAULT)
        status, _, looked_at = self.changed()
        self.assertEqual((1, ["src/other/four.cpp"]), (status, looked_at))

    def test_to_read_is_not_to_write_down(self):
        for mode in ((), ["--changed"]):
            self.tidy(mode=mode)
            self.assertFalse(os.path.exists(self.folder + "/tools/tidy-support/clean.txt"))

    def test_what_has_faults_is_not_written_down(self):
        self.record()
        self.put("src/room/two.cpp", self.FAULT)
        self.assertEqual(1, self.record()[0])
        self.assertEqual(sorted(set(self.files("one", "three", "two")) - {"src/room/two.cpp"}), self.listed())
        self.assertEqual((1, ["src/room/two.cpp"]), self.changed()[::2])

    def test_a_header_that_has_faults_is_not_written_down(self):
        self.record()
        self.put("src/room/two.h", "inline " + self.FAULT)
        self.assertEqual(1, self.record()[0])
        self.assertNotIn("src/room/two.h", self.listed())
        self.assertEqual((1, ["src/room/two.cpp"]), self.changed()[::2])

    def test_what_is_gone_leaves_the_list(self):
        self.record()
        for name in self.files("one"):
            os.remove(f"{self.folder}/{name}")
        self.assertEqual((0, "0 files, 0 with faults\n", []), self.record())
        self.assertEqual(self.files("three", "two"), self.listed())

    def test_named_files_are_written_down_beside_the_others(self):
        self.record("src/room/one.cpp")
        self.assertEqual(self.files("one"), self.listed())
        self.record("src/room/two.cpp")
        self.assertEqual(self.files("one", "two"), self.listed())
        self.assertEqual(["src/room/three.cpp"], self.changed()[2])

    def test_a_file_that_a_header_has_spoilt_is_read_by_hand_alone_and_loses_its_line(self):
        self.put("src/room/one.cpp", '#include "room/one.h"\n#include "room/three.h"\nint one() { return three(); }\n')
        self.record()
        self.put("src/room/three.h", "")
        self.assertEqual((0, "1 files, 0 with faults\n", ["src/room/three.cpp"]), self.changed())
        self.assertEqual(1, self.tidy()[0])
        self.assertEqual(1, self.record("src/room/one.cpp")[0])
        self.assertNotIn("src/room/one.cpp", self.listed())

    def test_a_header_is_read_with_the_file_of_its_name(self):
        for name in ("one", "two"):
            self.put(f"src/room/{name}.cpp", '#include "room/two.h"\n' + self.CLEAN.format(name))
        self.put("src/room/one.h", "")
        self.put("src/room/three.cpp", '#include "room/one.h"\n#include "room/three.h"\n' + self.CLEAN.format("three"))
        self.record()
        self.put("src/room/two.h", "inline " + self.FAULT)
        status, said, looked_at = self.changed()
        self.assertEqual((1, ["src/room/two.cpp"]), (status, looked_at))
        self.assertIn("src/room/two.h:1", said)

    def test_a_header_alone_is_read_with_a_file_that_includes_it(self):
        self.put("src/room/alone.h", '#include "room/list.def"\n')
        self.put("src/room/list.def", "int five();\n")
        self.put("src/room/two.cpp", '#include "room/alone.h"\n' + self.CLEAN.format("two"))
        os.remove(self.folder + "/src/room/two.h")
        self.record()
        self.assertIn("src/room/list.def", self.listed())
        self.put("src/room/list.def", "int six();\n")
        self.assertEqual((0, "1 files, 0 with faults\n", ["src/room/two.cpp"]), self.changed())

    def test_one_file_is_enough_for_several_headers(self):
        for name in ("one", "three"):
            self.put(f"src/room/{name}.cpp", '#include "room/one.h"\n#include "room/three.h"\n' + self.CLEAN.format(name))
        self.record()
        for name in ("one", "three"):
            self.put(f"src/room/{name}.h", f"int {name}();\nint seven();\n")
        self.assertEqual((0, "1 files, 0 with faults\n", ["src/room/one.cpp"]), self.changed())

    def test_what_nothing_compiles_is_told(self):
        self.record()
        self.put("src/room/lost.h", "int lost();\n")
        status, said, looked_at = self.record()
        self.assertEqual((1, []), (status, looked_at))
        self.assertEqual(self.folder + "/src/room/lost.h: nothing that is compiled has it\n0 files, 1 with faults\n", said)
        self.assertNotIn("src/room/lost.h", self.listed())

    def test_what_is_included_has_any_name_and_rooms_have_their_build_files(self):
        self.put("src/room/words.inc", "int words();\n")
        self.put("src/CMakeLists.txt", "brindle_room(room)\n")
        self.put("src/room/room.cmake", "set(room room)\n")
        self.put("src/room/two.cpp", '#include "room/words.inc"\n#include "room/two.h"\n')
        self.assertEqual(0, self.record()[0])
        self.assertEqual(sorted([*self.files("one", "three", "two"), "src/room/words.inc"]), self.listed())

    def test_what_is_looked_for_makes_all_lines_old_and_its_reasons_none(self):
        self.record()
        with open(self.folder + "/.clang-tidy", encoding="ascii") as file:
            before = file.read()
        self.put(".clang-tidy", before + "# another reason\n")
        self.assertEqual([], self.changed()[2])
        self.put(".clang-tidy", before.replace("  modernize-use-nullptr,\n", ""))
        self.assertEqual(3, len(self.changed()[2]))

    def test_lines_of_two_branches_are_joined(self):
        self.record()
        with open(self.folder + "/tools/tidy-support/clean.txt", encoding="ascii") as file:
            here = file.read()
        self.put("src/room/two.cpp", self.CLEAN.format("other"))
        self.record()
        with open(self.folder + "/tools/tidy-support/clean.txt", "a", encoding="ascii") as file:
            file.write(here)
        self.assertEqual([], self.changed()[2])
        self.record()
        self.assertEqual(self.files("one", "three", "two"), self.listed())

    def test_two_branches_may_change_neighbours(self):
        def git(*words):
            result = run("git", "-c", "user.name=Ann", "-c", "user.email=ann@home.example", *words, cwd=self.folder)
            self.assertEqual(0, result.returncode, result.stdout + result.stderr)

        shutil.copy(SOURCE + "/.gitattributes", self.folder)
        self.record()
        git("init", "--quiet", "--initial-branch=main")
        git("add", ".gitattributes", "src", "tools/tidy-support/clean.txt")
        git("commit", "--quiet", "--message=all")
        git("branch", "other")
        for branch, changed, compiled in (("main", "one.h", "one.cpp"), ("other", "three.cpp", "three.cpp")):
            git("checkout", "--quiet", branch)
            self.put("src/room/" + changed, self.CLEAN.format("other").replace("int", "inline int"))
            self.record("src/room/" + compiled)
            git("commit", "--quiet", "--all", "--message=" + changed)
        git("merge", "--quiet", "--no-edit", "main")
        self.assertEqual((0, "0 files, 0 with faults\n", []), self.changed())


if __name__ == "__main__":
    unittest.main()
