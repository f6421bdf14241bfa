"""A whole run of the wizard through ./preview with what the build has installed, and its tables.

    run = preview_run.run("gnome", "family", user="ada", scenario="cancel-run", undo="back again")
    run.marks["image_1"] == "apply"
    run.faults("back") == []
"""
import atexit
import os
import shutil
import subprocess
import sys
import tempfile

SOURCE = os.path.abspath(os.path.join(os.path.dirname(__file__), "..", ".."))
sys.path.append(SOURCE + "/tools")

import tables

BUILD = os.environ.get("BRINDLE_BUILD", SOURCE + "/build/debug")
SECONDS = 400
SKIPPED = 77

# Where the sanitizers of an instrumented build report: a folder of the view that the preview brings out.
REPORTS = "log_path=/run/brindle/work/sanitizer"


class Run:
    """What a preview left. Tables are parsed; `text(name)` gives the other files."""

    def __init__(self, folder, process):
        self.folder = folder
        self.status = process.returncode
        self.output = process.stdout + process.stderr
        self.marks = {mark: result for mark, _, result in self.table("marks.tsv")}
        self.labels = {mark: label for mark, label, _ in self.table("marks.tsv")}
        self.commands = self.table("commands.tsv")  # status, thread, text
        self.texts = [text for _, _, text in self.commands]
        self.programs = self.table("programs.tsv")  # name, arguments
        self.changes = {path: (what, mode, owner, size) for what, path, mode, owner, size, _ in self.table("changes.tsv")}
        self.screens = sorted(name.split("-", 1)[1][:-4] for name in os.listdir(folder + "/screens"))

    def table(self, name):
        return tables.read(self.folder + "/" + name)

    def text(self, name):
        with open(self.folder + "/" + name, encoding="utf-8", errors="replace") as file:
            return file.read()

    def changed_file(self, path):
        return self.text("files" + path)

    def accounts(self):
        """Login names that the view's /etc/passwd has and the machine's has not."""
        if "/etc/passwd" not in self.changes:
            return []
        with open("/etc/passwd", encoding="utf-8") as file:
            known = {line.split(":")[0] for line in file}
        names = [line.split(":")[0] for line in self.changed_file("/etc/passwd").splitlines()]
        return [name for name in names if name not in known]

    def faults(self, step):
        """(path, what differs) after this step of the undo, without logs and caches."""
        return [(path, what) for name, path, what, *_, reason in self.table("undo.tsv") if name == step and not reason]

    def sanitizer_reports(self):
        return [self.text(name) for name in os.listdir(self.folder) if name.startswith("sanitizer")]


def sanitizer_options():
    suppressions = "/run/brindle/source/tests/sanitizers"
    kind = os.environ.get("BRINDLE_SANITIZE", "")
    if kind == "thread":
        return {"TSAN_OPTIONS": f"{REPORTS}:suppressions={suppressions}/thread.txt:second_deadlock_stack=1",
                # GLib's own allocator hands memory from thread to thread under locks that are not seen.
                "G_SLICE": "always-malloc"}
    if kind:
        return {"ASAN_OPTIONS": f"{REPORTS}:detect_leaks=1:fast_unwind_on_malloc=0:malloc_context_size=40",
                "LSAN_OPTIONS": f"suppressions={suppressions}/leak.txt:print_suppressions=0",
                "UBSAN_OPTIONS": f"{REPORTS}:print_stacktrace=1"}
    return {}


def run(system, archive, *options, user="root", scenario="", undo="", stage=BUILD + "/stage", files=()):
    """Previews `archive`, a path or the name of a sample, and takes it back by the steps of `undo`. Ends the test as
    skipped where no view is to be had. `stage` is what the view installs; programs of it may write into `files`,
    which lie in /run/brindle/out there and in the run's folder here."""
    folder = tempfile.mkdtemp(prefix="brindle-run-")
    atexit.register(shutil.rmtree, folder, ignore_errors=True)
    for name in files:
        open(os.path.join(folder, name), "wb").close()
    if "/" not in archive:
        archive = f"{BUILD}/samples/{archive}.zip"
    environment = dict(os.environ, **sanitizer_options(), BRINDLE_PREVIEW_STAGE=stage,
                       BRINDLE_PREVIEW_RECORDER=BUILD + "/tools/brindle-shell-recorder",
                       BRINDLE_PREVIEW_SCENARIO=scenario, BRINDLE_PREVIEW_UNDO=undo)
    words = [SOURCE + "/preview", *(["--system", system] if system else []), "--user", user, "--out", folder,
             "--timeout", str(SECONDS), *([] if "--homes" in options else ["--homes", "fresh"]), *(["--undo"] if undo else []), *options, archive]
    process = subprocess.run(words, capture_output=True, text=True, errors="replace", env=environment, check=False,
                             stdin=subprocess.DEVNULL)
    if process.returncode == 2 and "neither an overlay nor a chroot" in process.stderr:
        print(process.stderr)
        raise SystemExit(SKIPPED)
    if process.returncode == 2:
        raise AssertionError(process.stderr)
    return Run(folder, process)
