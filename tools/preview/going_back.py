"""Runs brindle-undo in the view after the wizard, and finds out what is not as it was before.

The steps are words, of which a preview takes "back" alone; the others are for tests:

  back            everything back; compared with the machine before the wizard
  again           the same once more; compared with the machine before this step
  forth           takes the last "back" or "only" back; compared with the machine after the wizard
  killed:N        "back", ended by signal 9 at its Nth change; not compared
  change:PATH     a person writes another line behind the file; not compared
  only:PATH       this path back; compared with the machine before the wizard, in this path alone
  list            only tells what "back" would do; compared with the machine before this step

What differs is written as a table: step, path, what differs, what was there, what is there, the reason where it is a
log or a cache.
"""
import os
import pwd
import re
import subprocess
import xml.etree.ElementTree
import zipfile

import snapshot
import tables
import traces

UNDO = "/usr/local/bin/brindle-undo"
PRINT_SERVER = os.path.join(os.path.dirname(os.path.dirname(os.path.abspath(__file__))), "print-server")
FOLDERS = ("/root", "/home", "/Share", "/etc", "/usr/share/fonts", "/opt/gnome", "/var/mail")
CHANGES = "renameat2,renameat,rename,unlinkat,unlink,mkdirat,mkdir,fchmod,fchown"


class GoingBack:
    """`as_user` runs a command as the person of the preview: as_user(*words, stdout=, stderr=) -> status."""

    def __init__(self, user, archive, work, as_user):
        self.home = pwd.getpwnam(user).pw_dir
        self.as_user = as_user
        self.work = work
        self.words = ["--yes", *(["--accounts"] if has_several_users(archive) else [])]
        self.before = self.look()
        self.after = {}
        self.rows = []

    def run(self, steps):
        """True when nothing is left but logs and caches."""
        self.after = self.look()
        with open(self.work + "/undo.txt", "w", encoding="utf-8") as self.text:
            for step in steps:
                name, _, value = step.partition(":")
                print("==", step, file=self.text, flush=True)
                getattr(self, "step_" + name)(step, value)
        tables.write(self.work + "/undo.tsv", ("step", "path", "what", "before", "after", "reason"), self.rows)
        return all(row[-1] for row in self.rows)

    # ---- Steps -------------------------------------------------------------------------------------------

    def step_back(self, step, _):
        self.undo(*self.words)
        self.compare(step, self.before)

    def step_again(self, step, _):
        now = self.look()
        self.undo(*self.words)
        self.compare(step, now)

    def step_list(self, step, _):
        now = self.look()
        self.undo("--list", newest_run(self.home))
        self.compare(step, now)

    def step_forth(self, step, _):
        self.undo(*self.words, newest_run(self.home))
        self.compare(step, self.after)

    def step_killed(self, _, number):
        kill = f"inject={CHANGES}:signal=KILL:when={number}"
        self.undo(*self.words, before=["strace", "-f", "-qq", "-o", "/dev/null", "-e", "trace=" + CHANGES, "-e", kill])

    def step_only(self, step, path):
        self.undo("--yes", "--only", path)
        self.compare(step, self.before, path)

    @staticmethod
    def step_change(_, path):
        with open(path, "a", encoding="utf-8") as file:
            file.write("A line that was written after the migration.\n")

    def undo(self, *words, before=()):
        status = self.as_user(*before, UNDO, *words, stdin=subprocess.DEVNULL, stdout=self.text, stderr=self.text)
        print("== status", status, file=self.text, flush=True)

    # ---- Comparison --------------------------------------------------------------------------------------

    def compare(self, step, wanted, path=None):
        homes = ["/root", *("/home/" + name for name in os.listdir("/home"))]
        for difference in snapshot.differences(wanted, self.look()):
            if path is None or difference.path == path:
                self.rows.append((step, difference.path, ", ".join(sorted(difference.what)), difference.before,
                                  difference.after, traces.reason(difference, homes)))

    def look(self):
        """The servers first, so that what they have not written yet is there to be looked at."""
        subprocess.run([PRINT_SERVER, "--written"], stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL,
                       stderr=subprocess.DEVNULL, check=False)
        return {**self.settings(), **queues(), **snapshot.look(FOLDERS)}

    def settings(self):
        """GConf's keys with their values. Asking makes the folder, so a home without it is not asked."""
        if not os.path.isdir(self.home + "/.gconf"):
            return {}
        path = self.work + "/settings.xml"
        with open(path, "wb") as dump:
            self.as_user("gconftool-2", "--dump", "/", stdout=dump, stderr=subprocess.DEVNULL)
        self.as_user("gconftool-2", "--shutdown", stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
        return settings_in(path)


def settings_in(path):
    try:
        root = xml.etree.ElementTree.parse(path).getroot()
    except xml.etree.ElementTree.ParseError:
        return {"GConf": "its settings cannot be read"}
    settings = {}
    for entries in root.iter("entrylist"):
        for entry in entries.iter("entry"):
            value = entry.find("value")
            if value is not None:
                key = os.path.join(entries.get("base", "/"), entry.findtext("key", ""))
                settings["GConf " + key] = xml.etree.ElementTree.tostring(value, encoding="unicode").strip()
    return settings


def queues():
    """What lpstat tells of each queue, without the times, and the default queue."""
    told = {}
    for line in lines_of("lpstat", "-v"):
        name = line.removeprefix("device for ").partition(": ")[0]
        told["queue " + name] = "\n".join([line, *state_of(name)])
    return {**told, "default queue": "\n".join(lines_of("lpstat", "-d"))}


def state_of(queue):
    lines = lines_of("lpstat", "-l", "-p", queue) + lines_of("lpstat", "-a", queue)
    return [re.sub(r" since .*", "", line) for line in lines]


def lines_of(*command):
    return subprocess.run(command, capture_output=True, text=True, errors="replace", check=False).stdout.splitlines()


def has_several_users(archive):
    try:
        with zipfile.ZipFile(archive) as entries:
            return any(name.startswith("Brindle/Profiles/") for name in entries.namelist())
    except zipfile.BadZipFile:
        return False


def newest_run(home):
    """DATE-TIME of the run that was kept last; a run in the same second as another has "-2" behind it."""
    return max(os.listdir(home + "/.brindle_before"), key=lambda name: (name[:17], int(name[18:] or 0)))
