#!/usr/bin/python3
"""A preview's run inside the view: the wizard under the driver, then the tables.

  main.py --out DIR --user NAME --archive PATH [--system NAME] [--undo STEPS] [--homes KIND] [--home DIR]...
          [options of driver.py]

Before the wizard runs, brindle-account looks ahead; afterwards it says what has arrived. With --undo,
brindle-undo then takes it all back (going_back.py has the steps, words as in a shell). Each --home is one of the
machine that the view was to show.

Exit status: 0; 1 when the run did not reach its end; 3 when something is left that the undo should have given back.
"""
import argparse
import functools
import json
import os
import pwd
import shlex
import shutil
import subprocess
import sys
import time

HERE = os.path.dirname(os.path.abspath(__file__))
sys.path.append(os.path.dirname(HERE))

import tables
import archive_names
from going_back import GoingBack
from people import People
from system_log import SystemLog

WORK = "/run/brindle/work"
RECORD = "/run/brindle/record"
SHOWN_HOMES = "/run/brindle/homes"
WIZARD = "/usr/local/bin/brindle"  # which starts it in a language that is installed
ACCOUNT = "/usr/local/bin/brindle-account"
PATH = "/usr/local/sbin:/usr/local/bin:/usr/sbin:/usr/bin:/sbin:/bin"
SANITIZERS = ("ASAN_OPTIONS", "UBSAN_OPTIONS", "TSAN_OPTIONS", "LSAN_OPTIONS", "G_SLICE")
SECONDS_FOR_THE_END = 15
DIFFERENCES_LEFT = 3


def session_environment():
    environment = {"PATH": PATH, "SHELL": "/bin/bash", "TERM": "dumb", "PYTHONDONTWRITEBYTECODE": "1"}
    with open("/run/brindle/session", encoding="utf-8") as lines:
        environment.update(line.rstrip("\n").split("=", 1) for line in lines)
    environment.update((name, os.environ[name]) for name in SANITIZERS if name in os.environ)
    return environment


def as_user(options, *command, **more):
    """Everything runs as the previewed user; only this program is always root."""
    user = pwd.getpwnam(options.user)
    words = ["setpriv", "--reuid", options.user, "--regid", str(user.pw_gid), "--init-groups", "--pdeathsig", "KILL"]
    return subprocess.run([*words, *command], env=session_environment(), cwd=user.pw_dir, check=False, **more).returncode


def drive(options, rest):
    """The driver and the wizard."""
    return as_user(options, sys.executable, HERE + "/driver.py", "--work", WORK, "--archive", options.archive, *rest,
                   "--", *program())


def account(options, name, *words):
    """brindle-account, its plain text in NAME.txt. Returns its exit status."""
    system = ["--system", options.system] if options.system else []
    with open(f"{WORK}/{name}.txt", "w", encoding="utf-8") as text:
        return as_user(options, ACCOUNT, *system, *words, options.archive, stdout=text, stderr=text)


def look_ahead(options):
    account(options, "before", "--before", "--tsv", WORK + "/before.tsv")


def look_back(options):
    """What the settings' daemon has not written yet would be missed, so it is ended first."""
    as_user(options, "gconftool-2", "--shutdown", stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
    return account(options, "account", "--tsv", WORK + "/account.tsv", "--missing", WORK + "/missing.tsv",
                   "--html", WORK + "/account.html")


def program():
    # Addresses the same in every process: the thread checker cannot be started otherwise on some kernels.
    return ["setarch", "-R", WIZARD] if "TSAN_OPTIONS" in os.environ else [WIZARD]


def wait_for_commands():
    """Commands in the background may outlive the wizard."""
    deadline = time.monotonic() + SECONDS_FOR_THE_END
    while time.monotonic() < deadline:
        if len(tables.read_record(RECORD + "/started")) == len(tables.read_record(RECORD + "/ended")):
            return
        time.sleep(0.2)


def write_result(options, result):
    """With what the driver cannot know: whether anything could arrive at all."""
    result["archive"] = archive_names.fault_of(options.archive)
    with open(options.out + "/result.json", "w", encoding="utf-8") as file:
        json.dump(result, file, indent=1)


def write_marks(result, path):
    rows = ((f"image_{number}", label, what) for number, label, what in result["marks"])
    tables.write(path, ("mark", "label", "result"), rows)


def write_commands(path):
    ended = dict(tables.read_record(RECORD + "/ended"))
    rows = ((ended.get(number, "running"), thread, text)
            for number, thread, text in tables.read_record(RECORD + "/started"))
    tables.write(path, ("status", "thread", "command"), rows)


def write_programs(path):
    tables.write(path, ("program", "arguments"), tables.read_record(RECORD + "/programs"))


def write_homes(options, path):
    """Which homes are those of the machine, and which are not although the machine has them."""
    with open(SHOWN_HOMES, encoding="utf-8", errors="surrogateescape") as lines:
        shown = [line.rstrip("\n") for line in lines]
    rows = [(home, "as it is" if home in shown else "not shown") for home in options.home]
    if options.homes == "machine" and options.user == "root":
        rows.append(("/root", "fresh"))
    tables.write(path, ("home", "what"), rows)


def collect(options, log):
    with open(WORK + "/result.json", encoding="utf-8") as file:
        result = json.load(file)
    home = pwd.getpwnam(options.user).pw_dir
    write_marks(result, options.out + "/marks.tsv")
    write_commands(options.out + "/commands.tsv")
    write_programs(options.out + "/programs.tsv")
    write_homes(options, options.out + "/homes.tsv")
    write_result(options, result)
    for name in ("stdout", "stderr"):
        shutil.copyfile(WORK + "/" + name, options.out + "/" + name)
    for name in ("before.tsv", "before.txt", "account.tsv", "account.txt", "account.html", "missing.tsv"):
        copy_if_there(WORK + "/" + name, options.out + "/" + name)
    for name in ("undo.tsv", "undo.txt") if options.undo else ():
        copy_if_there(WORK + "/" + name, options.out + "/" + name)
    shutil.copytree(WORK + "/screens", options.out + "/screens", dirs_exist_ok=True)
    copy_if_there(home + "/.brindle_log", options.out + "/log")
    copy_sanitizer_reports(options.out)
    log.stop()
    return result


def copy_if_there(source, target):
    try:
        shutil.copyfile(source, target)
    except FileNotFoundError:
        open(target, "w", encoding="utf-8").close()


def copy_sanitizer_reports(out):
    for name in os.listdir(WORK):
        if name.startswith("sanitizer"):
            shutil.copyfile(WORK + "/" + name, out + "/" + name)


def main():
    parser = argparse.ArgumentParser(add_help=False)
    parser.add_argument("--out", required=True)
    parser.add_argument("--user", default="root")
    parser.add_argument("--archive", required=True)
    parser.add_argument("--system", default="")
    parser.add_argument("--undo", default="")
    parser.add_argument("--homes", default="")
    parser.add_argument("--home", action="append", default=[])
    options, rest = parser.parse_known_args()
    log = SystemLog(options.out + "/syslog")
    log.start()
    undo = GoingBack(options.user, options.archive, WORK, functools.partial(as_user, options)) if options.undo else None
    before = People()
    look_ahead(options)
    status = drive(options, rest)
    if status != 0:
        print(f"preview: the driver of the windows failed with status {status}", file=sys.stderr)
        return 1
    wait_for_commands()
    look_back(options)
    tables.write(options.out + "/people.tsv", ("login", "account", "password"), People().changes_since(before))
    given_back = undo is None or undo.run(shlex.split(options.undo))
    complete = collect(options, log)["complete"]
    return DIFFERENCES_LEFT if not given_back else 0 if complete else 1


if __name__ == "__main__":
    sys.exit(main())
