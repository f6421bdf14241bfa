"""tools/batches: files that have a name for themselves are compiled apart from those that say it as well."""
import json
import os
import re
import shutil
import sys
import tempfile
import unittest

from tool import SOURCE, run

sys.path.append(SOURCE + "/tools")

from compile_commands import commands_of

LINE = re.compile(r'set_property\(SOURCE "(.+)" PROPERTY BATCH (\w+)\)')


def nameless(text):
    return "namespace {\n" + text + "\n}\n"


class Batches(unittest.TestCase):
    def setUp(self):
        self.folder = tempfile.mkdtemp(dir="/tmp")
        self.addCleanup(shutil.rmtree, self.folder)

    def batches(self, **texts):
        """The files of each batch, of sources in one folder; name_h is a header."""
        shutil.rmtree(self.folder + "/src", ignore_errors=True)
        for name, text in texts.items():
            self.put("src/room/" + (name[:-2] + ".h" if name.endswith("_h") else name + ".cpp"), text)
        found = {}
        for path, group in LINE.findall(self.said("src")):
            found.setdefault(group, []).append(os.path.basename(path).removesuffix(".cpp"))
        return sorted(found.values())

    def put(self, name, text):
        os.makedirs(os.path.dirname(f"{self.folder}/{name}"), exist_ok=True)
        with open(f"{self.folder}/{name}", "w", encoding="ascii") as file:
            file.write(text)

    def said(self, *folders):
        result = run(SOURCE + "/tools/batches", self.folder, *folders)
        self.assertEqual((0, ""), (result.returncode, result.stderr))
        return result.stdout

    def test_what_has_nothing_for_itself_is_together(self):
        self.assertEqual([["a", "b", "c"]], self.batches(a="int one();\n", b="int one() { return 1; }\n", c="int three;\n"))

    def test_each_kind_of_name_parts(self):
        for own in ("int limit = 3;", "constexpr int limit = 3;", "const char* const limit[] = {nullptr};",
                    "std::array<int, 2> limit{1, 2};", "struct limit {\n  int x;\n};", "class limit : public other {};",
                    "enum class limit { none };", "using limit = int;", "int limit(int number) {\n  return number;\n}",
                    "template <typename T>\nT limit(T it) { return it; }", "int before = 1;\nint limit(const char* path);",
                    "namespace limit {\nint x = 1;\n}"):
            with self.subTest(own):
                self.assertEqual([["a"], ["b"]], self.batches(a=nameless(own), b="int two() { return limit(3); }\n"))
                self.assertEqual([["a"], ["b"]], self.batches(a=nameless(own), b=nameless(own)))

    def test_macros_part(self):
        self.assertEqual([["a"], ["b"]], self.batches(a="#define LIMIT 3\n", b="int two() { return LIMIT; }\n"))

    def test_a_header_that_says_the_name_parts(self):
        parts = {"a": nameless("struct Entry {};"), "b": '#include "room/other.h"\n', "other_h": "struct Entry;\n"}
        self.assertEqual([["a"], ["b"]], self.batches(**parts))
        self.assertEqual([["a", "b"]], self.batches(**{**parts, "a": '#include "room/other.h"\n' + parts["a"]}))

    def test_what_is_no_name_of_the_file(self):
        for text in ("using testing::HasSubstr;", "namespace fs = std::filesystem;", "TEST(Room, Does) { check(); }",
                     "int one(int path) {\n  int limit = 3;\n  return limit + path;\n}", "// int limit = 3;",
                     'const char* text = "int limit = 3;";'):
            with self.subTest(text):
                other = "using testing::HasSubstr;\nnamespace fs = std::filesystem;\nint limit(int path);\nTEST(Other, Does) {}\n"
                self.assertEqual([["a", "b"]], self.batches(a=nameless(text), b=other))

    def test_names_of_members_do_not_part(self):
        other = "int two(It it, It* p) { return it.limit + p->limit + Other::limit; }\n"
        self.assertEqual([["a", "b"]], self.batches(a=nameless("int limit = 3;"), b=other))

    def test_a_third_file_goes_where_it_fits(self):
        own = nameless("int limit = 3;")
        self.assertEqual([["a", "c"], ["b"]], self.batches(a=own, b=own, c="int three;\n"))

    def test_batches_have_an_end(self):
        many = {f"file{number:02}": f"int number{number};\n" for number in range(72)}
        self.assertEqual([12, 30, 30], sorted(map(len, self.batches(**many))))
        self.assertEqual([["a"], ["b", "c"]], self.batches(a="\n" * 5999, b="\n" * 3000, c="\n" * 3000))
        self.assertEqual([["a"], ["b"]], self.batches(a="\n" * 7000, b="int two;\n"))

    def test_folders_are_apart(self):
        for name in ("src/a/x.cpp", "src/a/y.cpp", "src/a/deeper/z.cpp", "tests/a/x.cpp", "other/a/x.cpp"):
            self.put(name, "int number;\n")
        place = self.folder
        self.assertEqual([(f"{place}/src/a/x.cpp", "src_a_0"), (f"{place}/src/a/y.cpp", "src_a_0"),
                          (f"{place}/src/a/deeper/z.cpp", "src_a_deeper_0"), (f"{place}/tests/a/x.cpp", "tests_a_0")],
                         LINE.findall(self.said("src", "tests")))

    def test_the_command_of_a_batch_is_that_of_its_files(self):
        batch = self.folder + "/build/batches/room/src_room_0.cpp"
        self.put("build/batches/room/src_room_0.cpp", '#include "../../../src/room/a.cpp"\n#include "../../../src/b.cpp"\n')
        self.put("build/compile_commands.json", json.dumps([
            {"directory": "/", "command": f"g++ -Ione -c {batch}", "file": batch},
            {"directory": "/", "command": "g++ -Itwo -c /s/c.cpp", "file": "/s/c.cpp"}]))
        together = f"g++ -Ione -c {batch}"
        self.assertEqual({batch: together, f"{self.folder}/src/room/a.cpp": together, f"{self.folder}/src/b.cpp": together,
                          "/s/c.cpp": "g++ -Itwo -c /s/c.cpp"},
                         commands_of(self.folder + "/build"))


if __name__ == "__main__":
    unittest.main()
