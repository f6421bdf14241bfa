"""The recorder in the place of /bin/sh: the real shell's behaviour, and one exact line for each command."""
import json
import os
import shutil
import signal
import subprocess
import sys
import tempfile
import unittest

from tool import SOURCE

sys.path.append(SOURCE + "/tools")

import tables

RECORDER = os.environ.get("BRINDLE_RECORDER", "")

# Run by a program named brindle-wizard: starts the commands it is given, each from a thread of that name.
STARTER = """
import ctypes, json, os, sys, threading
def start(name, text, results, at):
    if name != "main":
        ctypes.CDLL(None).prctl(15, name.encode(), 0, 0, 0)
    process = os.posix_spawn(sys.argv[1], ["sh", "-c", text], os.environ)
    results[at] = os.waitpid(process, 0)[1]
commands = json.loads(sys.argv[2])
results = [None] * len(commands)
for at, (name, text) in enumerate(commands):
    if name == "main":
        start(name, text, results, at)
    else:
        thread = threading.Thread(target=start, args=(name, text, results, at))
        thread.start()
        if sys.argv[3] == "in turn":
            thread.join()
for thread in threading.enumerate():
    if thread is not threading.main_thread():
        thread.join()
print(json.dumps(results), file=sys.stderr)
"""


class Recorder(unittest.TestCase):
    def setUp(self):
        self.folder = tempfile.mkdtemp(dir="/tmp")
        self.addCleanup(shutil.rmtree, self.folder)
        os.environ["BRINDLE_RECORD_FOLDER"] = self.folder
        self.starter = shutil.copy(os.path.realpath(sys.executable), self.folder + "/brindle-wizard")

    def start(self, *commands, how="in turn"):
        """Wait statuses and output of the commands, given as (thread, text)."""
        result = subprocess.run([self.starter, "-c", STARTER, RECORDER, json.dumps(commands), how], text=True,
                                capture_output=True, check=False, timeout=60)
        return json.loads(result.stderr.splitlines()[-1]), result.stdout

    def rows(self, name):
        return tables.read_record(self.folder + "/" + name)

    def test_passwords_of_shares_are_not_noted(self):
        self.start(("worker", "echo ' smb://u:p@s/hp' > /dev/null"), ("worker", "true 'smb://u:a@b:c@s/hp' -n x"),
                   ("worker", "true smb://s/hp ann@home.example"))
        self.assertEqual([row[2] for row in self.rows("started")],
                         ["echo ' smb://u:********@s/hp' > /dev/null", "true 'smb://u:********@s/hp' -n x",
                          "true smb://s/hp ann@home.example"])
        subprocess.run([RECORDER, "--note-call", "lpadmin", "-v", "smb://u:p@s/hp", "-m", "x@y"], check=True)
        self.assertEqual(self.rows("programs"), [["lpadmin", "-v", "smb://u:********@s/hp", "-m", "x@y"]])

    def test_exit_statuses_pass_and_are_noted(self):
        statuses, _ = self.start(("main", "true"), ("main", "exit 3"), ("main", "no-such-program 2>/dev/null"))
        self.assertEqual([0, 3 << 8, 127 << 8], statuses)
        self.assertEqual([["1", "0"], ["2", "3"], ["3", "127"]], self.rows("ended"))

    def test_dies_of_the_shells_signal(self):
        statuses, _ = self.start(("main", "kill -9 $$"), ("main", "kill -TERM $$"), ("main", "kill -SEGV $$"))
        self.assertEqual([signal.SIGKILL, signal.SIGTERM, signal.SIGSEGV], [status & 0x7f for status in statuses])
        self.assertEqual([["1", "signal 9"], ["2", "signal 15"], ["3", "signal 11"]], self.rows("ended"))

    def test_text_is_exact_and_one_line(self):
        text = "printf '%s' 'a\\\tb\nc  ' \"ä$HOME\""
        _, output = self.start(("main", text))
        self.assertEqual("a\\\tb\nc  ä" + os.environ["HOME"], output)
        self.assertEqual([["1", "main", text]], self.rows("started"))
        with open(self.folder + "/started", encoding="utf-8") as file:
            self.assertEqual("1\tmain\tprintf '%s' 'a\\\\\\tb\\nc  ' \"ä$HOME\"\n", file.read())

    def test_noted_calls_are_exact_and_one_line_each(self):
        calls = [["dcop", "kdesktop", "", "a b"], ["x", "tab\there", "line\nend", "back\\slash\\n", "\r", "é"], ["mozilla"]]
        for call in calls:
            subprocess.run([RECORDER, "--note-call", *call], check=True)
        self.assertEqual(calls, self.rows("programs"))
        self.assertEqual([], self.rows("started"))

    def test_bytes_that_are_no_utf_8_are_kept(self):
        subprocess.run([RECORDER, "--note-call", b"\xc5\xf3"], check=True)
        self.assertEqual([[os.fsdecode(b"\xc5\xf3")]], self.rows("programs"))

    def test_call_that_cannot_be_noted_is_told_by_the_status(self):
        os.environ["BRINDLE_RECORD_FOLDER"] = self.folder + "/missing"
        self.assertEqual(1, subprocess.run([RECORDER, "--note-call", "x"], check=False).returncode)

    def test_order_and_threads(self):
        self.start(("main", "echo one"), ("worker", "echo two"), ("evolution", "echo three"), ("main", "echo four"))
        self.assertEqual([["1", "main", "echo one"], ["2", "worker", "echo two"], ["3", "evolution", "echo three"],
                          ["4", "main", "echo four"]], self.rows("started"))

    def test_commands_at_the_same_time_are_each_noted_once(self):
        self.start(*[("worker", f"sleep 0.0{i % 10}; exit {i}") for i in range(40)], how="at once")
        started, ended = self.rows("started"), dict(self.rows("ended"))
        self.assertEqual([str(i + 1) for i in range(40)], [line[0] for line in started])
        for number, _, text in started:
            self.assertEqual(text.split()[-1], ended[number])

    def test_command_in_the_background_does_not_hold_it_up(self):
        self.start(("main", "sleep 20 >/dev/null 2>&1 &"))
        self.assertEqual([["1", "0"]], self.rows("ended"))

    def test_other_programs_shells_are_not_noted(self):
        result = subprocess.run([RECORDER, "-c", "echo $0 $1; exit 4", "zero", "one"], capture_output=True, text=True,
                                check=False)
        self.assertEqual((4, "zero one\n"), (result.returncode, result.stdout))
        self.assertEqual([], self.rows("started"))

    def test_scripts_run_as_they_are(self):
        script = self.folder + "/script"
        with open(script, "w", encoding="ascii") as file:
            file.write('echo "$0 $#"; read line; echo "$line"\n')
        result = subprocess.run([RECORDER, script, "a", "b"], input="typed\n", capture_output=True, text=True,
                                check=False)
        self.assertEqual(f"{script} 2\ntyped\n", result.stdout)

    def test_record_that_cannot_be_written_stops_no_command(self):
        os.environ["BRINDLE_RECORD_FOLDER"] = self.folder + "/missing"
        statuses, output = self.start(("main", "echo still; exit 2"))
        self.assertEqual(([2 << 8], "still\n"), (statuses, output))


if __name__ == "__main__":
    unittest.main()
