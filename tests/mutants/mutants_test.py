"""The lists of mutants, and what tools/mutate says of a list that is wrong."""
import os
import subprocess
import sys
import tempfile
import unittest

SOURCE = os.path.dirname(os.path.dirname(os.path.dirname(os.path.abspath(__file__))))
sys.path.append(SOURCE + "/tools")

import mutants


class Lists(unittest.TestCase):
    def test_every_mutant_applies_to_one_place_and_names_tests_that_are_there(self):
        verified = subprocess.run([SOURCE + "/tools/mutate", "--verify"], capture_output=True, text=True, check=False)
        self.assertEqual((0, ""), (verified.returncode, verified.stderr))

    def test_every_room_has_some(self):
        rooms = {mutant.room for mutant in mutants.read_all(SOURCE)}
        self.assertLessEqual({"account", "archive", "desktop", "error", "evolution", "folders", "gconf", "interface", "kde",
                              "keep", "mail", "mozilla", "place", "preview", "printers", "run", "scripts", "shell", "state",
                              "system", "things", "undo"}, rooms)


class Faults(unittest.TestCase):
    def setUp(self):
        place = tempfile.TemporaryDirectory()
        self.addCleanup(place.cleanup)
        self.source = place.name
        os.makedirs(self.source + "/tests/mutants")
        os.makedirs(self.source + "/tests/shell")
        self.write("tests/shell/run_test.cpp", "TEST(Run, Ends) {}\nTEST_P(Each,\n       Word) {}\n")
        self.write("src/run.cpp", "int a = 1;\nint b = 1;\n  return a;\n  return b;\n")

    def write(self, name, text):
        os.makedirs(os.path.dirname(os.path.join(self.source, name)), exist_ok=True)
        with open(os.path.join(self.source, name), "w", encoding="utf-8") as file:
            file.write(text)

    def faults(self, change, kill="Run.*", file="src/run.cpp", name="a-mutant"):
        self.write("tests/mutants/shell.list",
                   f"# a comment\ntests: shell\n\nmutant: {name}\nfile: {file}\nkill: {kill}\n{change}\n")
        return mutants.faults(self.source, mutants.read_all(self.source))

    def test_one_that_applies_is_none(self):
        self.assertEqual([], self.faults("- a = 1\n+ a = 2"))
        self.assertEqual([], self.faults("-   return a;\n-   return b;\n+   return b;\n+   return a;", kill="*Each.Word*"))

    def test_what_stands_nowhere_or_twice_does_not_apply(self):
        self.assertIn("stands there 0 times", self.faults("- a = 3\n+ a = 2")[0])
        self.assertIn("stands there 2 times", self.faults("-  = 1\n+  = 2")[0])

    def test_one_that_changes_nothing(self):
        self.assertIn("changes nothing", self.faults("- a = 1\n+ a = 1")[0])
        self.assertIn("changes nothing", self.faults("+ a = 1")[0])

    def test_a_file_and_tests_that_are_not_there(self):
        self.assertIn("No such file", self.faults("- a = 1\n+ a = 2", file="src/other.cpp")[0])
        self.assertIn("no test is called Other.*", self.faults("- a = 1\n+ a = 2", kill="Run.*:Other.*")[0])

    def test_two_of_one_name(self):
        self.write("tests/mutants/other.list", "tests: shell\nmutant: a-mutant\nfile: src/run.cpp\nkill: Run.*\n- b = 1\n+ b = 2\n")
        self.assertEqual(["shell/a-mutant: there are two of that name"], self.faults("- a = 1\n+ a = 2"))

    def test_a_line_that_is_none(self):
        with self.assertRaises(mutants.Mistake):
            self.faults("a = 1")

    def test_what_is_applied(self):
        self.faults("- a = 1\n+ a = 2")
        mutant, = mutants.read_all(self.source)
        self.assertEqual("int a = 2;\nint b = 1;\n", mutant.applied("int a = 1;\nint b = 1;\n"))
        self.assertEqual(("shell", "shell", "Run.*", ""), (mutant.room, mutant.tests, mutant.kill, mutant.lives))


if __name__ == "__main__":
    unittest.main()
