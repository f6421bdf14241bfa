"""Runs programs against each other and keeps what they took."""
import os
import statistics
import subprocess
from dataclasses import dataclass
from typing import Callable


def nothing():
    pass


@dataclass
class Program:
    """A command; `before` makes the ground it needs and is not measured."""
    name: str
    command: list
    before: Callable = nothing
    stdin: str = os.devnull
    stdout: str = os.devnull


@dataclass
class Goal:
    """At most so many times the other's time and its time of the processor in the program, and megabytes."""
    ratio: float = 0
    user: float = 0
    memory: float = 0


@dataclass
class Took:
    seconds: float
    user: float
    system: float
    memory: float = 0  # megabytes

    @property
    def processor(self):
        return self.user + self.system


class Failed(Exception):
    pass


def run_once(program, once, report):
    """Once, by bench-once `once`. A program that measures itself tells of it in the file `report`."""
    program.before()
    if os.path.exists(report):
        os.unlink(report)
    with open(program.stdin, "rb") as stdin, open(program.stdout, "wb") as stdout:
        ended = subprocess.run([once, *program.command], stdin=stdin, stdout=stdout, stderr=subprocess.PIPE,
                               env=dict(os.environ, BRINDLE_BENCH_REPORT=report), check=False)
    lines = ended.stderr.decode("utf-8", "replace").splitlines()
    if ended.returncode != 0 or not lines:
        raise Failed("%s ended with %d: %s" % (program.name, ended.returncode, " ".join(lines[-4:-1])))
    seconds, user, system, kilobytes = map(float, lines[-1].split())
    if os.path.exists(report):
        with open(report, encoding="ascii") as file:
            seconds, user, system, kilobytes = map(float, file.read().split())
    return Took(seconds, user, system, kilobytes / 1024)


def run_rounds(programs, rounds, once, report):
    """What each program took in each round, a list a program. Every second round goes backwards."""
    taken = [[] for _ in programs]
    for number in range(rounds):
        order = list(enumerate(programs))
        for at, program in reversed(order) if number % 2 else order:
            taken[at].append(run_once(program, once, report))
    return taken


def median(values):
    return statistics.median(list(values))


SMALLEST = 0.001  # seconds: what the kernel's clock can tell


def median_ratio(ours, theirs):
    """Of pairs. A time too short to be told counts as the shortest that can."""
    return median(max(our, SMALLEST) / max(their, SMALLEST) for our, their in zip(ours, theirs))
