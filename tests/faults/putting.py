"""The faults that can be put into a view, and taken out of it. All as root, in the view.

A fault is a word with its parts behind colons:

  missing:NAME          the program is not there
  killed:NAME[:TEXT]    it ends itself by SIGSEGV at once, when TEXT is among its arguments
  hanging:NAME[:TEXT]   it never ends, minds no SIGTERM and has a child that does not either
  held:NAME:TEXT        it waits until the wizard was told to end (give, hands.py), and does its work after that
  disk:FOLDER:KIB       FOLDER is a disk of its own, with KIB KiB of room beside what it has
  fill:FOLDER           no room is left on that disk
  ext4:FOLDER           FOLDER is a disk of its own that the kernel makes read-only when it finds a fault on it
  read-only:FOLDER      nothing can be written there any more: such a disk has a fault, or another one is mounted
  no-fork               the wizard can start nothing any more
  filled-by:NAME:TEXT:FOLDER   no room is left on that disk from the moment that the program is called so
  term, kill            the wizard gets that signal
"""
import os
import shutil
import signal
import stat
import subprocess

PATH = "/usr/local/sbin:/usr/local/bin:/usr/sbin:/usr/bin"
REAL = "/run/brindle/real"
HUNG = "/run/brindle/record/hung"  # a line when a program begins to hang
GIVEN = "/run/brindle/work/given"  # there once the wizard was told to end
FILLER = ".filler"

STAND_IN = """#!/bin/bash
case "$*" in
  *'{text}'*) {what} ;;
esac
exec {real} "$@"
"""
HANGS = f"trap '' TERM HUP; echo {{name}} >>{HUNG}; (trap '' TERM; exec sleep 3000); exit 1"
ENDS_ITSELF = "kill -SEGV $$"
# The second is for the wizard to take the order in: it has a click or a signal then, and nothing done with it yet.
IS_HELD = f"if [ ! -e {GIVEN} ]; then for _ in {{{{1..1200}}}}; do [ -e {GIVEN} ] && break; sleep 0.05; done; sleep 1; fi"


def run(*words):
    subprocess.run(words, check=True, stdin=subprocess.DEVNULL)


# ---- Programs --------------------------------------------------------------------------------------------

def places_of(name):
    if name == "sh":  # a recorder stands there
        return ["/usr/bin/sh"]
    found = [os.path.join(folder, name) for folder in PATH.split(":")]
    return [path for path in found if os.path.lexists(path)]


def put_missing(name):
    for path in places_of(name):
        os.unlink(path)


def put_stand_in(name, text, what):
    """In the place of every program of that name; the real one is kept for other arguments."""
    os.makedirs(REAL, exist_ok=True)
    for number, path in enumerate(places_of(name)):
        real = f"{REAL}/{number}/{name}"
        os.makedirs(os.path.dirname(real), exist_ok=True)
        shutil.copy2(path, real)
        os.unlink(path)
        with open(path, "w", encoding="utf-8") as script:
            script.write(STAND_IN.format(text=text, what=what.format(name=name), real=real))
        os.chmod(path, 0o755)


def put_killed(name, text=""):
    put_stand_in(name, text, ENDS_ITSELF)


def put_filled_by(name, text, folder):
    """The disk is full from the moment that it is called."""
    # By a process that is nobody's child: what a program's children write counts as written by itself.
    fill = f"head -c 1G /dev/zero 2>/dev/null >{folder}/{FILLER}"
    put_stand_in(name, text, f"rm -f /run/filled; ( ({fill}; echo >/run/filled) & ); "
                             "until [ -e /run/filled ]; do sleep 0.05; done")


def put_held(name, text):
    put_stand_in(name, text, IS_HELD)


def put_hanging(name, text=""):
    with open(HUNG, "a", encoding="utf-8"):
        os.chmod(HUNG, 0o666)
    put_stand_in(name, text, HANGS)


# ---- Disks -----------------------------------------------------------------------------------------------

def used_kib(folder):
    return int(subprocess.run(["du", "-sk", "--apparent-size", folder], capture_output=True, text=True,
                              check=True).stdout.split()[0])


def move_to_disk(folder, *words):
    """`words` are mount's, for a new and empty disk. What is in `folder` comes along."""
    place = "/run/brindle/new-disk"
    os.makedirs(place, exist_ok=True)
    run("mount", *words, place)
    run("cp", "-a", folder + "/.", place)
    run("mount", "--move", place, folder)


def put_disk(folder, kib):
    """tmpfs counts whole pages: a file of one byte takes 4 KiB."""
    count = sum(len(files) + len(folders) for _, folders, files in os.walk(folder))
    size = used_kib(folder) + 4 * count + int(kib)
    move_to_disk(folder, "-t", "tmpfs", "-o", f"size={size}k", "small")


def put_ext4(folder):
    """On a loop device, which goes with the view."""
    for number, path in ((os.makedev(10, 237), "/dev/loop-control"),
                         *((os.makedev(7, each), f"/dev/loop{each}") for each in range(16))):
        if not os.path.exists(path):
            os.mknod(path, 0o600 | (stat.S_IFBLK if path[-1].isdigit() else stat.S_IFCHR), number)
    image = "/run/brindle/disk.image"
    run("truncate", "-s", "64M", image)
    run("mkfs.ext4", "-q", "-O", "^has_journal", "-e", "remount-ro", image)
    move_to_disk(folder, "-o", "loop", image)
    os.rmdir(folder + "/lost+found")


def ext4_device(folder):
    with open("/proc/mounts", encoding="utf-8") as mounts:
        for device, place, kind, *_ in map(str.split, mounts):
            if (place, kind) == (folder, "ext4"):
                return os.path.basename(device)
    return None


def put_fill(folder):
    with open(os.path.join(folder, FILLER), "ab", buffering=0) as filler:
        for size in (1 << 20, 4096, 1):
            try:
                while filler.write(b"\0" * size):
                    pass
            except OSError:
                pass


def put_read_only(folder):
    """A disk on top is no fault for what is open beneath it: whoever opens something anew meets it."""
    device = ext4_device(folder)
    if device is None:
        run("mount", "--bind", folder, folder)
        run("mount", "-o", "remount,ro,bind", folder)
        return
    os.makedirs("/run/sys", exist_ok=True)
    run("mount", "-t", "sysfs", "sys", "/run/sys")
    run("sync", "-f", folder)  # what was written before the fault is on the disk
    with open(f"/run/sys/fs/ext4/{device}/trigger_fs_error", "w", encoding="ascii") as trigger:
        trigger.write("a fault")


def take_out(fault):
    """Only of those that a next start may not meet."""
    name, _, rest = fault.partition(":")
    filler = os.path.join(rest.split(":")[-1], FILLER)
    if name in ("fill", "filled-by") and os.path.exists(filler):
        os.unlink(filler)
    elif name == "read-only" and ext4_device(rest) is None:
        run("umount", rest)


# ---- Processes -------------------------------------------------------------------------------------------

def wizard_ids():
    found = []
    for name in os.listdir("/proc"):
        try:
            if name.isdigit() and os.path.basename(os.readlink(f"/proc/{name}/exe")) == "brindle-wizard":
                found.append(int(name))
        except OSError:
            pass
    return found


CALLS = "clone,clone3,fork,vfork"


def put_no_fork():
    """The kernel refuses each of the wizard's calls for a new process or thread."""
    for wizard in wizard_ids():
        subprocess.Popen(["strace", "-f", "-qq", "-o", "/dev/null", "-e", "trace=" + CALLS, "-e",
                          f"inject={CALLS}:error=EAGAIN", "-p", str(wizard)],
                         stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)


def send(number):
    for wizard in wizard_ids():
        os.kill(wizard, number)
    with open(GIVEN, "w", encoding="utf-8"):
        pass


FAULTS = {"missing": put_missing, "filled-by": put_filled_by, "killed": put_killed, "hanging": put_hanging,
          "held": put_held, "disk": put_disk, "ext4": put_ext4, "fill": put_fill, "read-only": put_read_only, "no-fork": put_no_fork,
          "term": lambda: send(signal.SIGTERM), "kill": lambda: send(signal.SIGKILL)}


def put(fault):
    limits = {"killed": 2, "hanging": 2, "held": 2, "disk": 2, "filled-by": 3}
    name, *parts = fault.split(":", limits.get(fault.partition(":")[0], 1))
    FAULTS[name](*parts)
