"""./check: what it does beside each other, what it tells and counts. What builds and tests is stood in for."""
import os
import shutil
import signal
import subprocess
import tempfile
import time
import unittest

from tool import SOURCE, run

# Each notes its call. One that is to fail says why.
STANDIN = """#!/bin/bash
name=${0##*/}
echo "$name $*" >>"$PLACE/calls"
for each in $FAILS; do
  case "$name $*" in ${each//_/ }*) echo "the fault of $name"; exit 1 ;; esac
done
"""

# Of CTest: a report as REPORT_PRESET has it; with WAITS_FOR it ends when another one has begun.
CTEST = STANDIN + """
while [ $# -gt 0 ]; do
  case $1 in
    --test-dir) preset=${2##*/}; shift ;;
    --output-junit) report=$2; shift ;;
  esac
  shift
done
echo >"$PLACE/began-$preset"
if [ "$preset" = "${WAITS:-}" ]; then
  for _ in {1..500}; do [ ! -e "$PLACE/began-$UNTIL" ] || break; sleep 0.02; done
  [ -e "$PLACE/began-$UNTIL" ] || { echo "alone"; exit 1; }
fi
[ "$preset" != "${NONE:-}" ] || exit 1
echo ' 1/39 Test  #5: shell/1 ... Passed'
if [ "$preset" = "${FAULTY:-}" ]; then
  echo "what failed in $preset"
  printf '<testsuite name="x"\\n\\ttests="3"\\n\\tfailures="1"\\n\\tskipped="0"\\n>\\n7 passed, 2 failed, 1 skipped\\n4 passed, 0 failed, 0 skipped\\n' >"$report"
  exit 8
fi
printf '<testsuite name="x"\\n\\ttests="3"\\n\\tfailures="0"\\n\\tskipped="1"\\n>\\n7 passed, 0 failed, 1 skipped\\n' >"$report"
"""

FIRST = ["Installing what is missing", "Configuring", "Formatting", "Faults in scripts"]
EVERYTHING = [*FIRST, "Building as for people", "Building with ThreadSanitizer",
              "Building with AddressSanitizer and UBSan", "Faults in the source"]

# What a fault begins with, and the step that tells of it.
FAULTS = {
    "install-packages": "Installing what is missing",
    "lint": "Faults in scripts",
    "clang-format": "Formatting",
    "tidy": "Faults in the source",
    "cmake_--preset_tsan": "Configuring",
    "cmake_--build_build/runs": "Building as for people",
    "cmake_--build_build/tsan": "Building with ThreadSanitizer",
    "cmake_--build_build/asan": "Building with AddressSanitizer and UBSan",
}


class Steps(unittest.TestCase):
    def setUp(self):
        self.folder = tempfile.mkdtemp(dir="/tmp")
        self.addCleanup(shutil.rmtree, self.folder)
        shutil.copytree(SOURCE + "/tools/check-support", self.folder + "/tools/check-support")
        shutil.copy(SOURCE + "/check", self.folder)
        for name in ("src", "tests", "bench", "fuzz", "programs"):
            os.mkdir(f"{self.folder}/{name}")
        self.put("src/one.cpp", "int one;\n")
        for name in ("tools/install-packages", "tools/lint", "tools/tidy", "programs/cmake"):
            self.put(name, STANDIN)
        self.put("programs/clang-format", STANDIN.replace('"the fault of $name"', '"a.cpp:1:1: warning: spaces"'))
        self.put("programs/ctest", CTEST)

    def put(self, name, text):
        with open(f"{self.folder}/{name}", "w", encoding="ascii") as file:
            file.write(text)
        os.chmod(f"{self.folder}/{name}", 0o755)

    def environment(self, **variables):
        path = f"{self.folder}/programs:{os.environ['PATH']}"
        return {**os.environ, "PATH": path, "PLACE": self.folder, "FAILS": "", **variables}

    def check(self, *words, **variables):
        result = run(self.folder + "/check", *words, env=self.environment(**variables))
        return result.returncode, result.stdout + result.stderr

    def calls(self):
        with open(self.folder + "/calls", encoding="ascii") as file:
            return file.read()

    def steps(self, said):
        return [line[:60].rstrip() for line in said.splitlines() if line[60:].startswith(("ok, ", "FAILED"))]

    def test_everything_goes_well(self):
        status, said = self.check()
        self.assertEqual(0, status, said)
        self.assertCountEqual(EVERYTHING, self.steps(said))
        # A program of three tests each: one of CTest's is left out, and of the program's own eight one.
        self.assertTrue(said.endswith("24 passed, 0 failed, 6 skipped\n"), said)
        for preset in ("runs", "tsan", "asan"):
            self.assertIn(f"Tests of build/{preset}:  10 tests, 0 failed, 2 skipped", said)

    def test_the_tests_that_are_meant_are_run(self):
        self.check()
        calls = [line for line in self.calls().splitlines() if line.startswith("ctest")]
        wanted = {"runs": "--label-exclude ^long$", "tsan": "--label-regex ^(program|threads)$",
                  "asan": "--label-regex ^program$"}
        for preset, words in wanted.items():
            self.assertEqual(1, sum(f"build/{preset} " in line and line.endswith(words) for line in calls), calls)
        self.assertEqual(3, len(calls))
        self.assertIn("tidy --changed build/runs\n", self.calls())

    def test_quick_is_the_functions_alone(self):
        status, said = self.check("--quick")
        self.assertEqual(0, status, said)
        self.assertCountEqual([*FIRST, "Building with AddressSanitizer and UBSan"], self.steps(said))
        self.assertTrue(said.endswith("8 passed, 0 failed, 2 skipped\n"), said)
        self.assertNotIn("runs", self.calls())

    def test_what_sleeps_runs_beside_what_works(self):
        for one, other in (("runs", "asan"), ("runs", "tsan"), ("tsan", "asan")):
            with self.subTest(one):
                for name in os.listdir(self.folder):
                    if name.startswith("began-"):
                        os.remove(f"{self.folder}/{name}")
                status, said = self.check(WAITS=one, UNTIL=other)
                self.assertEqual(0, status, said)

    def test_each_fault_is_told_and_counts(self):
        for fault, title in FAULTS.items():
            with self.subTest(fault):
                status, said = self.check(FAILS=fault)
                self.assertEqual(1, status)
                self.assertIn("FAILED: " + title + "\n", said)
                self.assertIn("1 places" if fault == "clang-format" else "the fault of " + fault.split("_")[0], said)

    def test_without_programs_there_are_no_tests_of_them(self):
        self.check(FAILS="cmake_--build_build/runs")
        self.assertNotIn("build/tsan", self.calls())
        self.assertNotIn("ctest --test-dir build/runs", self.calls())
        self.assertIn("ctest --test-dir build/asan", self.calls())

    def test_tests_that_fail_are_told_and_counted(self):
        for preset in ("runs", "tsan", "asan"):
            with self.subTest(preset):
                status, said = self.check(FAULTY=preset)
                self.assertEqual(1, status)
                self.assertIn("what failed in " + preset, said)
                self.assertNotIn("Passed", said)
                # Three of CTest's: two programs with 14 tests, and one without a word.
                self.assertIn(f"Tests of build/{preset}:  15 tests, 2 failed, 1 skipped", said)
                self.assertIn(f"FAILED: tests of build/{preset}\n", said)
                self.assertTrue(said.endswith("28 passed, 2 failed, 5 skipped\n"), said)

    def test_no_report_is_a_failure_also_when_there_is_an_old_one(self):
        self.check()
        status, said = self.check(NONE="tsan")
        self.assertEqual(1, status)
        self.assertIn("Tests of build/tsan:  1 tests, 1 failed, 0 skipped", said)
        self.assertTrue(said.endswith("16 passed, 1 failed, 4 skipped\n"), said)

    def test_other_words_are_refused(self):
        status, said = self.check("--slow")
        self.assertEqual((2, "usage: ./check [--quick]\n"), (status, said))

    def test_stopped_it_leaves_nothing_behind(self):
        process = subprocess.Popen([self.folder + "/check"], stdout=subprocess.PIPE, stderr=subprocess.STDOUT,
                                   stdin=subprocess.DEVNULL, env=self.environment(WAITS="runs", UNTIL="nothing"))
        while not os.path.exists(self.folder + "/began-runs"):
            time.sleep(0.02)
        process.send_signal(signal.SIGTERM)
        # Whoever still runs holds the other end open.
        process.communicate(timeout=5)
        self.assertEqual(143, process.returncode)


if __name__ == "__main__":
    unittest.main()
