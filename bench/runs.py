"""Whole runs of the wizard, each in a view of its own (tools/view, dressed by tools/preview/prepare): rows of bench/run.

A run is compared with a shell script of the commands that a recorded run of the same archive on the same system has
started from the click on page 2's Next on, in their order. What the wizard's worker sleeps because it must (after it has
started a program, until a question is answered) is measured in it and taken off; the script does not sleep.
"""
import os
import shlex
import shutil
import subprocess
import sys
import tempfile
from dataclasses import dataclass

import archives
from measure import Failed, Goal, median, median_ratio

sys.path.append(os.path.dirname(os.path.dirname(os.path.realpath(__file__))) + "/tools")

import tables

SOURCE = archives.SOURCE
SYSTEMS = ("gnome", "nld", "linspire", "xandros", "redflag", "redflag-plus")
TIMEOUT = 3600  # seconds for a run with its view
SCRIPT, SHELLS = "script", "a shell each"
MOST_MEMORY = 40
LONGEST_ANSWER = 50  # milliseconds
WITHIN = 1.1


# ---- A run ---------------------------------------------------------------------------------------------------


@dataclass
class Took:
    """Seconds without what was slept, what was slept, megabytes, and seconds of the processor: in the worker itself, and with
    its commands."""
    seconds: float
    slept: float = 0
    megabytes: float = 0
    own: float = 0
    processor: float = 0


@dataclass
class Run:
    """What a view is made with; `folder` receives what a run leaves."""
    build: str
    folder: str
    system: str
    archive: str

    def once(self, what):
        """One of bench/whole-run's kinds of run."""
        inside = "/run/brindle"
        archive = inside + "/archive/" + os.path.basename(self.archive)
        binds = {self.build + "/stage": "/stage", self.build + "/tools/brindle-shell-recorder": "/recorder",
                 self.build + "/bench/libbench-driven.so": "/driven", self.build + "/bench/bench-answers": "/answers",
                 self.build + "/bench/bench-empty": "/empty",
                 self.archive: "/archive/" + os.path.basename(self.archive)}
        prepare = [inside + "/source/tools/preview/prepare", "--stage", inside + "/stage", "--system", self.system,
                   "--archive", archive]
        command = [SOURCE + "/tools/view", "--share", self.folder + "=" + inside + "/out", "--env", "PYTHONDONTWRITEBYTECODE=1"]
        for outside, place in binds.items():
            command += ["--bind", outside + "=" + inside + place]
        try:
            ended = subprocess.run([*command, "--prepare", shlex.join(prepare), "--", SOURCE + "/bench/whole-run", what],
                                   stdin=subprocess.DEVNULL, stdout=subprocess.PIPE, stderr=subprocess.STDOUT,
                                   timeout=TIMEOUT, check=False)
        except subprocess.TimeoutExpired as late:
            raise Failed("a run (%s) has not ended in %d seconds" % (what, TIMEOUT)) from late
        if ended.returncode != 0:
            words = ended.stdout.decode("utf-8", "replace")[-500:]
            raise Failed("a run (%s) ended with %d: %s" % (what, ended.returncode, words))

    def report(self):
        with open(self.folder + "/report", encoding="ascii") as file:
            return [float(word) for word in file.read().split()]

    def wizard(self):
        self.once("wizard")
        seconds, slept, kilobytes, _, own, of_commands = self.report()
        return Took(seconds - slept, slept, kilobytes / 1024, own, own + of_commands)

    def script(self, text):
        with open(self.folder + "/script", "w", encoding="utf-8", errors="surrogateescape") as file:
            file.write(text)
        self.once("script")
        seconds, processor = self.report()
        return Took(seconds, processor=processor)

    def record(self):
        self.once("record")
        return [row[2] for row in tables.read(self.folder + "/commands.tsv")]


def stands_alone(command):
    """Whether a command can stand as a line of a script among others."""
    words = ["/bin/sh", "-n", "-c", os.fsencode(command.encode("utf-8", "surrogateescape"))]
    return subprocess.run(words, stderr=subprocess.DEVNULL, check=False).returncode == 0


def in_one_shell(commands):
    return "".join((each if stands_alone(each) else in_own_shell(each)) + "\n" for each in commands)


def in_own_shell(command):
    return "/bin/sh -c " + shlex.quote(command)


def in_shells(commands):
    """As system() starts them."""
    return "".join(in_own_shell(each) + "\n" for each in commands)


# ---- Rows: each returns cells of bench/run's table by their names ---------------------------------------------


def verdict(value, most, goals_count):
    return "-" if not goals_count else "yes" if value <= most else "no"


def against_script(row, system, archive):
    def measure(make_run, options):
        run = make_run(system, archive)
        commands = run.record()
        scripts = {SCRIPT: in_one_shell(commands), SHELLS: in_shells(commands)}
        took = {name: [] for name in ("wizard", *scripts)}
        for number in range(options["rounds"]):
            order = list(took)
            for name in reversed(order) if number % 2 else order:
                took[name].append(run.script(scripts[name]) if name in scripts else run.wizard())
        ours = took["wizard"]
        seconds = [each.seconds for each in ours]
        for name, goal in ((SCRIPT, Goal(ratio=1.05)), (SHELLS, Goal())):
            ratio = median_ratio(seconds, [each.seconds for each in took[name]])
            processor = median_ratio([each.processor for each in ours], [each.processor for each in took[name]])
            yield {"name": row, "ours": "%.3f s" % median(seconds), "other": name,
                   "theirs": "%.3f s" % median(each.seconds for each in took[name]), "ratio": "%.2f" % ratio,
                   "user": "%.2f" % processor, "memory": "%.1f" % max(each.megabytes for each in ours),
                   "goal": "%g" % goal.ratio if goal.ratio else "-",
                   "met": verdict(ratio, goal.ratio, goal.ratio and not options["quick"])}
        print("    %d commands, %.1f s slept, %.2f s of the processor in the worker, of %.2f s" %
              (len(commands), median(each.slept for each in ours), median(each.own for each in ours),
               median(each.processor for each in ours)), file=sys.stderr)
    return measure


def growth(row, system, folder, none, one, more):
    """Runs of archives that are so many times as large, without what the run of one without anything takes."""
    def measure(make_run, options):
        took = {number: [] for number in (none, one, *more)}
        for number in range(options["rounds"]):
            order = list(took)
            for size in reversed(order) if number % 2 else order:
                took[size].append(make_run(system, "%s/%d.zip" % (folder, size)).wizard())
        took = {size: median(each.seconds for each in of_size) for size, of_size in took.items()}
        fixed, of_one = took[none], took[one] - took[none]
        for times in more:
            ours = took[times] - fixed
            ratio = ours / max(times * of_one, 0.001)
            yield {"name": "%s-%d" % (row, times), "ours": "%.3f s" % ours, "other": "%d times 1" % times,
                   "theirs": "%.3f s" % (times * of_one), "ratio": "%.2f" % ratio, "goal": "%g" % WITHIN,
                   "met": verdict(ratio, WITHIN, not options["quick"])}
    return measure


def read_answers(path):
    """Milliseconds and what ran, the longest last."""
    with open(path, encoding="utf-8", errors="replace") as file:
        found = sorted((float(took), what) for took, _, what in (line.rstrip("\n").partition("\t") for line in file))
    if len(found) < 10:
        raise Failed("there were %d answers" % len(found))
    return found


def answers(system, archive):
    def measure(make_run, options):
        run = make_run(system, archive)
        run.once("clicks")
        ours, theirs = (read_answers(run.folder + "/" + name) for name in ("answers", "answers-of-empty"))
        for name, share in (("click", 1), ("click, 99 of 100", 0.99)):
            took, other = (found[int((len(found) - 1) * share)][0] for found in (ours, theirs))
            yield {"name": name, "ours": "%.1f ms" % took, "other": "empty window", "theirs": "%.1f ms" % other,
                   "ratio": "%.2f" % (took / other), "goal": "%d ms" % LONGEST_ANSWER,
                   "met": verdict(took, LONGEST_ANSWER, not options["quick"])}
        for took, what in ours[-8:]:
            print("    %.1f ms behind: %s" % (took, what.replace("\t", " ")[:100]), file=sys.stderr)
    return measure


def memory(row, systems, archive):
    def measure(make_run, options):
        most = max((make_run(system, archive).wizard().megabytes, system) for system in systems)
        yield {"name": row, "ours": "-", "other": "on " + most[1], "memory": "%.1f" % most[0], "goal": "%d MB" % MOST_MEMORY,
               "met": verdict(most[0], MOST_MEMORY, not options["quick"])}
    return measure


@dataclass
class Row:
    """One or several lines of the table. `gigabytes` on disk or in memory for the input, `in_view` in memory for what is
    made of it."""
    name: str
    make: object
    gigabytes: float
    in_view: float
    measure_with: object  # of the input's folder


def rows():
    for system in SYSTEMS:
        for sample in ("one-person", "family"):
            name = "run-%s-%s" % (system, sample)
            yield Row(name, archives.samples, 0.1, 0.5,
                      lambda folder, n=name, y=system, a=sample: against_script(n, y, "%s/%s.zip" % (folder, a)))
        name = "run-%s-1gb" % system
        yield Row(name, archives.one_gigabyte, 1.5, 3,
                  lambda folder, n=name, y=system: against_script(n, y, folder + "/documents.zip"))
    yield Row("size", archives.sizes, 1, 3, lambda folder: growth("size", "gnome", folder, 0, 1, (4, 16)))
    yield Row("family", archives.families, 1, 3, lambda folder: growth("family", "gnome", folder, 0, 1, (20,)))
    yield Row("click", archives.one_gigabyte, 1.5, 3, lambda folder: answers("gnome", folder + "/everything.zip"))
    for name, make, gigabytes, in_view, file, systems in (
            ("memory-1gb", archives.one_gigabyte, 1.5, 3, "everything", ("gnome",)),
            ("memory-family", archives.families, 1, 3, "20", ("gnome", "redflag")),
            ("memory-texts", archives.large_texts, 0.3, 1, "texts", ("gnome", "linspire", "redflag")),
            ("memory-mailbox", archives.large_mailbox, 6, 10, "mailbox", ("redflag",))):
        yield Row(name, make, gigabytes, in_view,
                  lambda folder, n=name, f=file, s=systems: memory(n, s, "%s/%s.zip" % (folder, f)))


ROWS = {row.name: row for row in rows()}
USUAL_SYSTEMS = ("gnome", "redflag")
ONLY_BY_NAME = {"run-%s-%s" % (system, what) for system in SYSTEMS if system not in USUAL_SYSTEMS
                for what in ("one-person", "family", "1gb")}


def install_stage(build):
    """What a view installs."""
    stage = build + "/stage"
    shutil.rmtree(stage, ignore_errors=True)
    for words, more in ((["--build", build], {}), (["--install", build], {"DESTDIR": stage})):
        ended = subprocess.run(["cmake", *words], env=dict(os.environ, **more), stdout=subprocess.PIPE,
                               stderr=subprocess.STDOUT, check=False)
        if ended.returncode != 0:
            sys.stderr.buffer.write(ended.stdout[-4000:])
            raise Failed("the program could not be installed")


def measure(row, build, place, options):
    """The lines of a row."""
    with tempfile.TemporaryDirectory(prefix="brindle-bench-run-") as folder:
        def make_run(system, archive):
            return Run(build, folder, system, archive)
        yield from row.measure_with(place)(make_run, options)
