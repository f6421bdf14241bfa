"""tools/lint: every script is looked at, whatever it is called."""
import os
import shutil
import tempfile
import unittest

from tool import SOURCE, run

FAULTS = {
    "one/named.sh": "# shellcheck shell=bash\necho $1\n",
    "one/bash-by-its-first-line": "#!/bin/bash\necho $1\n",
    ".hidden/sh-by-its-first-line": "#!/bin/sh\necho $1\n",
    "found.in": "#!/usr/bin/env bash\necho $1\n",
    "two/named.py": "import os\n",
    "two/python-by-its-first-line": "#!/usr/bin/python3\nprint(name)\n",
    "three/named.pl": "print 'no strict';\n$x = eval 'system 1';\n",
    "three/named.pm": "package Named;\nsub new { my $name = shift }\n",
    "three/perl-by-its-first-line": "#!/usr/bin/perl\n$x = 1;\n",
    "four/words": "This is recie" + "ved.\n",
    "four/words.cpp": "// It occ" + "ured.\n",
    "data/texts/en_US": "key=T" + "eh end\n",
}


class Lint(unittest.TestCase):
    def setUp(self):
        self.folder = tempfile.mkdtemp(dir="/tmp")
        self.addCleanup(shutil.rmtree, self.folder)
        self.put("tools/good.sh", "#!/bin/bash\necho \"$1\"\n")
        self.put("tools/good.py", "import os\nprint(os.name)\n")
        self.put("tools/good.pl", "#!/usr/bin/perl\nuse strict;\nuse warnings;\nprint 1;\n")
        for name in ("tools/lint", "tools/spelling-exceptions.txt", ".perlcriticrc"):
            shutil.copy(SOURCE + "/" + name, self.folder + "/" + name)

    def put(self, name, text):
        path = self.folder + "/" + name
        os.makedirs(os.path.dirname(path), exist_ok=True)
        with open(path, "w", encoding="ascii") as file:
            file.write(text)

    def lint(self):
        result = run(self.folder + "/tools/lint")
        return result.returncode, result.stdout + result.stderr

    def test_clean_scripts(self):
        self.assertEqual((0, "2 shell scripts\n1 Python files\n1 perl files\n6 files with English\n"), self.lint())

    def test_each_fault_is_found(self):
        for name, text in FAULTS.items():
            with self.subTest(name):
                self.put(name, text)
                status, said = self.lint()
                self.assertEqual(1, status)
                self.assertIn(name, said)
                os.remove(self.folder + "/" + name)

    def test_exceptions_are_words_alone(self):
        self.put("four/words", "The noes have it.\nDas ist \\nIn.\n")
        self.assertEqual(0, self.lint()[0])

    def test_other_languages_and_what_fuzzers_made_are_left_alone(self):
        for name in ("data/texts/de_DE", "fuzz/found/mbox/1", "fuzz/seeds/mbox/1"):
            self.put(name, FAULTS["four/words"])
        self.assertEqual(0, self.lint()[0])

    def test_what_was_built_and_what_is_no_script_is_left_alone(self):
        for name in ("build/debug/x.sh", "out/files/x.sh", ".git/hooks/x", "text"):
            self.put(name, FAULTS["one/named.sh"])
        self.assertEqual(0, self.lint()[0])

    def test_finding_nothing_is_a_fault(self):
        os.remove(self.folder + "/tools/good.py")
        status, said = self.lint()
        self.assertEqual(1, status)
        self.assertIn("no Python files found", said)


if __name__ == "__main__":
    unittest.main()
