"""The stand-in for a desktop program: each call is one line with the exact arguments."""
import os
import shutil
import subprocess
import tempfile
import unittest

from tool import SOURCE


class Standin(unittest.TestCase):
    def setUp(self):
        self.folder = tempfile.mkdtemp(dir="/tmp")
        self.addCleanup(shutil.rmtree, self.folder)

    def call(self, name, *words):
        program = self.folder + "/" + name
        shutil.copy(SOURCE + "/tools/standins/standin", program)
        subprocess.run([program, *words], check=True, env=dict(os.environ, BRINDLE_RECORD_FOLDER=self.folder))

    def read(self):
        with open(self.folder + "/programs", encoding="utf-8") as file:
            return file.read()

    def test_arguments_are_exact(self):
        self.call("dcop", "kdesktop", "", "a b", "tab\there", "line\nend", "back\\slash", "$(x) 'q'")
        self.assertEqual("dcop\tkdesktop\t\ta b\ttab\\there\tline\\nend\tback\\\\slash\t$(x) 'q'\n", self.read())

    def test_calls_are_in_order(self):
        self.call("mozilla")
        self.call("firefox", "x")
        self.assertEqual("mozilla\nfirefox\tx\n", self.read())

    def test_it_runs_where_nothing_can_be_noted(self):
        program = shutil.copy(SOURCE + "/tools/standins/standin", self.folder + "/firefox")
        result = subprocess.run([program], check=False, env=dict(os.environ, BRINDLE_RECORD_FOLDER="/no such"))
        self.assertEqual(0, result.returncode)

    def test_mail_programs_stay_to_be_ended(self):
        self.call("kmail")
        self.assertEqual("kmail\n", self.read())
        found = subprocess.run(["pgrep", "-f", f"{self.folder}/kmail"], capture_output=True, text=True, check=False)
        self.assertEqual(1, len(found.stdout.split()))
        os.kill(int(found.stdout), 9)


if __name__ == "__main__":
    unittest.main()
