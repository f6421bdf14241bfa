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


class Tidy(unittest.TestCase):
    def setUp(self):
        self.folder = tempfile.mkdtemp(dir="/tmp")
        self.addCleanup(shutil.rmtree, self.folder)
        for name in ("tools", "programs", "build"):
            os.mkdir(f"{self.folder}/{name}")
        shutil.copy(SOURCE + "/tools/tidy", self.folder + "/tools/tidy")
        shutil.copy(SOURCE + "/.clang-tidy", self.folder + "/.clang-tidy")
        self.put("programs/clang-tidy-16", NOTING)
        os.chmod(self.folder + "/programs/clang-tidy-16", 0o755)
        self.defined = {}

    def put(self, name, text):
        os.makedirs(os.path.dirname(f"{self.folder}/{name}"), exist_ok=True)
        with open(f"{self.folder}/{name}", "w", encoding="ascii") as file:
            file.write(text)

    def tidy(self, *words):
        """The exit status, what was said, and the files that were looked at."""
        sources = [os.path.join(place, name) for place, _, names in os.walk(self.folder)
                   for name in names if name.endswith(".cpp")]
        commands = [{"directory": self.folder, "file": path,
                     "command": f"ccache g++ -I{self.folder}/src {self.defined.get(os.path.basename(path), '')} "
                                f"-fsanitize=address -fpch-preprocess -o x.o -c {path}"} for path in sources]
        self.put("build/compile_commands.json", json.dumps(commands))
        environment = {**os.environ, "PATH": f"{self.folder}/programs:{os.environ['PATH']}", "PLACE": self.folder,
                       "XDG_CACHE_HOME": self.folder + "/cache"}
        result = run(self.folder + "/tools/tidy", self.folder + "/build", *words, env=environment, cwd=self.folder)
        looked_at = []
        if os.path.exists(self.folder + "/looked-at"):
            with open(self.folder + "/looked-at", encoding="ascii") as file:
                looked_at = sorted(os.path.relpath(line.strip(), self.folder) for line in file)
            os.remove(self.folder + "/looked-at")
        return result.returncode, result.stdout + result.stderr, looked_at

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


if __name__ == "__main__":
    unittest.main()
