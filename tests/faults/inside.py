#!/usr/bin/python3
"""One run with one fault, inside the view: inside.py --out DIR --case NAME --archive PATH

Leaves in DIR result.json: how the wizard ended and when, its marks, what is missing afterwards, what still runs.
"""
import argparse
import glob
import json
import os
import shutil
import subprocess
import sys
import threading
import time

HERE = os.path.dirname(os.path.abspath(__file__))
TOOLS = os.path.join(HERE, "..", "..", "tools")
sys.path += [TOOLS, TOOLS + "/preview"]

import cases
import main as preview
import putting
import snapshot
import tables
import traces
from system_log import SystemLog

WORK = "/run/brindle/work"
STARTED = "/run/brindle/record/started"
WIZARD = "/usr/local/libexec/brindle/brindle-wizard"
PLACES = ("/root", "/home", "/tmp", "/Share", "/etc", "/srv", "/usr/share/fonts")
POLL_SECONDS = 0.01
SECONDS_FOR_PROCESSES = 3

# Servers of the desktop that live on after a program that has asked for them.
SERVERS = {"gconfd-2", "at-spi-bus-laun", "at-spi2-registr", "dbus-daemon", "cupsd", "cups-deviced", "dconf-service",
           "dbus", "ipp", "notifier", "socket", "lpd", "parallel", "smb", "usb", "http", "import"}


def processes():
    """Name and words of each by its id, without those that have ended and those of this program."""
    found = {}
    for name in os.listdir("/proc"):
        try:
            if not name.isdigit():
                continue
            with open(f"/proc/{name}/stat", encoding="utf-8", errors="replace") as file:
                comm, _, rest = file.read().partition("(")[2].rpartition(")")
            with open(f"/proc/{name}/cmdline", encoding="utf-8", errors="replace") as file:
                words = file.read().replace("\0", " ").strip()
            if rest.split()[0] != "Z" and words:
                found[int(name)] = (comm, words)
        except OSError:
            pass
    return found


def is_of_a_stand_in(words):
    """The child of one for KMail, which killall does not know."""
    return words == "sleep 30"


class Watcher(threading.Thread):
    """Puts the case's later faults in at their moments, and notes when."""

    def __init__(self, case, out):
        super().__init__(daemon=True)
        self.case, self.out = case, out
        self.left = list(case.then)
        self.times = {}
        self.second = None

    def run(self):
        while self.left:
            moment, what = self.left[0]
            if self.has_come(moment):
                self.left.pop(0)
                self.act(what)
            else:
                time.sleep(POLL_SECONDS)

    @staticmethod
    def has_come(moment):
        """`TEXT` in a command that was started, "window:NAME", "mark:NAME", "hung", or "+SECONDS"."""
        if moment.startswith("+"):
            time.sleep(float(moment[1:]))
            return True
        if moment == "hung":
            return os.path.exists(putting.HUNG) and os.path.getsize(putting.HUNG) > 0
        if moment.startswith(("window:", "mark:")):
            return moment in lines_of(WORK + "/moments")
        return any(moment in line for line in lines_of(STARTED))

    def act(self, what):
        self.times[what] = time.monotonic()
        if what in ("cancel", "close", "both"):
            with open(WORK + "/order.new", "w", encoding="utf-8") as order:
                order.write(what)
            os.rename(WORK + "/order.new", WORK + "/order")
        elif what == "second":
            self.second = start_second(self.out)
        else:
            putting.put(what)


def lines_of(path):
    try:
        with open(path, encoding="utf-8", errors="replace") as file:
            return file.read().splitlines()
    except FileNotFoundError:
        return []


def start_second(out):
    """Another wizard of the same person. It is let run for as long as it wants to."""
    with open(out + "/second-stderr", "wb") as errors, open(out + "/second-stdout", "wb") as output:
        return subprocess.Popen([WIZARD], stdin=subprocess.DEVNULL, stdout=output, stderr=errors,
                                env=preview.session_environment())


class Options:
    def __init__(self, case, archive, timeout):
        self.user, self.archive, self.system = case.user, archive, case.system
        self.rest = ["--driver", "laserjet", "--share", "guest:guest", "--timeout", str(timeout), "--scenario",
                     case.scenario, "--password=" + (cases.PASSWORD if case.archive == "locked" else "")]


def drive(options, program):
    for name in ("moments", "order"):
        if os.path.exists(f"{WORK}/{name}"):
            os.unlink(f"{WORK}/{name}")
    preview.as_user(options, sys.executable, HERE + "/hands.py", "--work", WORK, "--archive", options.archive,
                    *options.rest, "--", *program)
    with open(WORK + "/result.json", encoding="utf-8") as file:
        return json.load(file)


def new_processes(before):
    return [f"{name}: {words}" for id_, (name, words) in processes().items()
            if id_ not in before and name not in SERVERS and "/tests/faults/" not in words and "strace" not in name and not is_of_a_stand_in(words)]


def wait_for_processes(before):
    """Those that are still there after a moment."""
    deadline = time.monotonic() + SECONDS_FOR_PROCESSES
    while time.monotonic() < deadline and new_processes(before):
        time.sleep(0.1)
    return new_processes(before)


def is_changing(path):
    return path in cases.CHANGING or path.startswith("/etc/cups/ppd/")


def lost(before, after):
    """Paths whose content of before is nowhere any more: neither where it was nor with what the run has kept."""
    kept = {}
    for path, entry in after.items():
        if "/.brindle_before/" in path and "/files/" in path:
            kept.setdefault("/" + path.split("/files/", 1)[1], set()).add(entry.content)
    homes = ["/root"] + [path for path in before if path.count("/") == 2 and path.startswith("/home/")]
    for difference in snapshot.differences(before, after):
        old = before.get(difference.path)
        if old is None or old.type == "folder" and difference.path in after:
            continue
        if not difference.what & {"missing", "content", "type"} or is_changing(difference.path):
            continue
        if difference.path.endswith(putting.FILLER):
            continue
        if old.content in kept.get(difference.path, ()) or traces.reason(difference, homes):
            continue
        yield f"{difference.path}: {' '.join(sorted(difference.what))}"


def look():
    """Once more when a server has exchanged a file meanwhile."""
    for _ in range(10):
        try:
            return snapshot.look(PLACES)
        except FileNotFoundError:
            time.sleep(0.5)
    return snapshot.look(PLACES)


def work_folders():
    return sorted(glob.glob("/tmp/brind??????") + glob.glob("/tmp/*root*"))


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("--out", required=True)
    parser.add_argument("--case", required=True)
    parser.add_argument("--archive", required=True)
    given = parser.parse_args()
    case = cases.BY_NAME[given.case]
    log = SystemLog(given.out + "/syslog")
    log.start()
    for fault in case.faults:
        putting.put(fault)
    before, running = look(), processes()
    watcher = Watcher(case, given.out)
    watcher.start()
    began = time.monotonic()
    program = [WIZARD] if case.bare else [preview.WIZARD]
    if "TSAN_OPTIONS" in os.environ:
        program = ["setarch", "-R", *program]
    result = drive(Options(case, given.archive, case.seconds), program)
    ended = time.monotonic()
    result.update(seconds=ended - began, times={what: ended - when for what, when in watcher.times.items()},
                  left=wait_for_processes(running), not_come=[moment for moment, _ in watcher.left])
    result["second"] = None if watcher.second is None else watcher.second.poll()
    result["folders"] = work_folders()
    for _, fault in (*case.then, *((None, fault) for fault in case.faults)):
        putting.take_out(fault)
    result["lost"] = list(lost(before, look()))
    for name in ("stdout", "stderr"):
        shutil.copyfile(f"{WORK}/{name}", f"{given.out}/{name}")
    if case.again:
        again = drive(Options(case, given.archive, 300), [preview.WIZARD])
        result["again"] = {"done": again["done"], "status": again["status"], "marks": again["marks"],
                           "folders": work_folders()}
        shutil.copyfile(WORK + "/stderr", given.out + "/stderr-again")
    preview.copy_sanitizer_reports(given.out)
    tables.write(given.out + "/commands.tsv", ("number", "thread", "command"), tables.read_record(STARTED))
    with open(given.out + "/result.json", "w", encoding="utf-8") as file:
        json.dump(result, file, indent=1)
    log.stop()


if __name__ == "__main__":
    main()
