#!/usr/bin/python3
"""Starts the wizard and uses it as a person would: presses Next, names the archive, answers every dialog that
comes up, and presses Done. Runs in the view, as the previewed user, in the session that `prepare` started.

  driver.py --work DIR --archive PATH [--driver NAME] [--share USER:PASSWORD] [--password WORD]
            [--timeout S] [--watch] [--scenario NAME] -- PROGRAM [ARGUMENT...]

Leaves in DIR: stdout and stderr of the program, screens/NN-name.png, and result.json: whether the done dialog
came (done), how it ended (reason, status), the marks as last seen, and the windows in their order.

With --watch a person uses the windows, and the driver only looks on.

Scenarios are for tests; each departs from the usual run at one place:
  cancel-before   Cancel on page 1 and on page 2, "No" each time, then a usual run
  leave           Cancel on page 2 and "Yes"
  cancel-run      Cancel on the progress page as soon as a mark is set
  cancel-unpacking    Cancel on the progress page once unzip has begun
  close-1, close-2, close-3   closes that page by the window manager
  leave-out:TEXT  closes driver windows that have TEXT in them, and windows that ask for the user of a share
  empty, missing  types nothing, or the name of a file that is not there
  type:PATH       types this path instead of the archive's
  wrong-password  types another password first, then the archive's
  full-tmp        a usual run; the view has next to no room in /tmp
  small-tmp       a usual run; the view has 300 MB and places for 20000 files in /tmp
  kill-at:TEXT    ends the wizard by signal 9 as soon as it starts a command that has TEXT in it
"""
import argparse
import json
import os
import signal
import subprocess
import sys
import threading
import time

import marks
import windows
from texts import Texts

# Title keys of the windows that are told by their title, each with the name of its picture.
TITLES = {
    "window1": "page-1", "window2": "page-2", "window3": "page-3",
    "createdialogdone": "done", "createdialogprintererror": "printer-error",
    "createdialogusererror": "user-error", "createdialogmultiusererror": "several-users",
    "createdialog1": "quit", "createdialogcancel": "cancelled",
    "nofilespecified": "no-file-given", "nofilefound": "no-file-found", "notzipfile": "no-zip",
    "notenoughspace": "no-space", "dialog_specify_username_password": "credentials-missing",
    "zippassword": "password", "zipwrongpassword": "wrong-password", "zipotherencryption": "other-encryption",
    "unpackingstopped": "unpacking-stopped",
}

RECORD = "/run/brindle/record/started"  # the commands that were started

# Scenarios that press something at a certain moment of the run.
PROMPT = ("cancel-run", "cancel-unpacking", "close-3")

REFUSALS = ("no-file-given", "no-file-found", "no-zip", "no-space", "wrong-password", "other-encryption")

POLL_SECONDS = 0.1
PROGRESS_POLL_SECONDS = 0.5  # each look asks for all that page 3 shows
SECONDS_FOR_DIALOG = 5
SECONDS_FOR_PRESS = 2
KILL_SECONDS = 0.005
SETTLE_SECONDS = 0.25  # until a window that has just come up is drawn


def has_begun(text):
    """Whether a command with this text was started."""
    with open(RECORD, encoding="utf-8", errors="replace") as commands:
        return text in commands.read()


class Driver:
    def __init__(self, options):
        self.options = options
        self.texts = Texts(os.environ.get("LANG", ""))
        self.application = windows.Application()
        self.deadline = time.monotonic() + options.timeout
        self.marks = {number: (self.texts[key], "empty") for number, key in marks.read().items()}
        self.open_before = set()
        self.seen = []
        self.pictures = 0
        self.done = False
        self.end_is_shown = False
        self.reason = ""
        self.refused = False
        self.noes = 0
        self.closed = set()
        self.pressed_at = {}
        self.done_usable_since = None
        self.program = None

    # ---- The run -----------------------------------------------------------------------------------------

    def run(self):
        self.start()
        if self.options.scenario.startswith("kill-at:"):
            threading.Thread(target=self.kill_at, args=(self.options.scenario[len("kill-at:"):],), daemon=True).start()
        while self.program.poll() is None and time.monotonic() < self.deadline:
            self.look()
            time.sleep(self.pause())
        self.end()

    def pause(self):
        """Until the next look. Nothing but marks changes while the progress page is alone."""
        is_under_way = self.open_before == {"page-3"} and self.options.scenario not in PROMPT
        return PROGRESS_POLL_SECONDS if is_under_way and not self.options.watch else POLL_SECONDS

    def start(self):
        work = self.options.work
        os.makedirs(work + "/screens", exist_ok=True)
        with open(work + "/stdout", "wb") as output, open(work + "/stderr", "wb") as errors:
            environment = dict(os.environ, GTK_MODULES="gail:atk-bridge")
            self.program = subprocess.Popen(self.options.command, stdin=subprocess.DEVNULL, stdout=output,
                                            stderr=errors, env=environment)

    def kill_at(self, text):
        """Looked at often, so that the command has hardly begun."""
        while self.program.poll() is None:
            if has_begun(text):
                self.kill_wizard()
            time.sleep(KILL_SECONDS)

    def kill_wizard(self):
        """Itself, not the script that has started it and ends as it has ended."""
        with open(f"/proc/{self.program.pid}/task/{self.program.pid}/children", encoding="ascii") as children:
            for child in children.read().split():
                if os.path.basename(os.readlink(f"/proc/{child}/exe")) == "brindle-wizard":
                    os.kill(int(child), signal.SIGKILL)

    def look(self):
        opened = [(self.name_of(window), window) for window in self.application.windows()]
        for name, window in opened:
            if name not in self.open_before:
                self.notice(name, window)
        self.open_before = {name for name, _ in opened}
        for name, window in opened:
            if name == "page-3":
                self.read_marks(window)
        self.show_end(opened)
        if not self.options.watch:
            self.answer_topmost(opened)

    def notice(self, name, window):
        time.sleep(SETTLE_SECONDS)
        self.seen.append({"name": name, "title": window.title, "texts": window.labels()})
        self.take_picture(name, window)
        if name == "done":
            self.done = True
        if name in REFUSALS or name in ("several-users", "cancelled"):
            self.reason = f'the wizard said "{window.title}"'

    def take_picture(self, name, window):
        self.pictures += 1
        path = f"{self.options.work}/screens/{self.pictures:02d}-{name}.png"
        windows.take_picture(path, window.title, not self.options.watch)

    def show_end(self, opened):
        """The progress page once more, with all its rows, when no dialog lies over it any longer."""
        if self.done and not self.end_is_shown and [name for name, _ in opened] == ["page-3"]:
            self.end_is_shown = True
            time.sleep(SETTLE_SECONDS)
            self.take_picture("page-3-end", opened[0][1])

    def name_of(self, window):
        if window.radio(self.texts["window_select_driver-skip"]):
            return "printer-driver"
        if self.texts["smb_username_password_window2-label_header"] in window.labels():
            return "credentials-confirmation"
        if self.texts["smb_username_password_window-label_header"] in window.labels():
            return "credentials"
        key = self.texts.key_of(window.title, TITLES)
        return TITLES.get(key, "other")

    def read_marks(self, window):
        for image in window.images():
            for number, (label, _) in self.marks.items():
                for key, what in (("window3-moved", "apply"), ("window3-notmoved", "cancel")):
                    if image.name == self.texts[key].replace("%s", label):
                        self.marks[number] = (label, what)

    def end(self):
        status = self.program.poll()
        if status is None:
            self.program.kill()
            self.program.wait()
            self.reason = self.reason or f"it was not over after {self.options.timeout:.0f} seconds"
        elif status < 0:
            self.reason = f"the wizard was ended by signal {-status}"
        elif status > 0:
            self.reason = f"the wizard ended with exit status {status}"
        elif not self.done:
            self.reason = self.reason or "the wizard ended without the done dialog"
        self.write_result(status)

    def write_result(self, status):
        complete = self.done and status == 0
        result = {
            "done": self.done, "complete": complete, "status": status,
            "reason": "" if complete else self.reason,
            "marks": [(number, label, what) for number, (label, what) in self.marks.items()],
            "windows": self.seen,
        }
        with open(self.options.work + "/result.json", "w", encoding="utf-8") as file:
            json.dump(result, file, indent=1)

    # ---- Answers -----------------------------------------------------------------------------------------

    def answer_topmost(self, opened):
        """A dialog first: what lies under it waits."""
        for name, window in sorted(opened, key=lambda pair: pair[0].startswith("page-")):
            answer = getattr(self, "answer_" + name.replace("-", "_"), self.press_only_button)
            if answer(window):
                return

    def press_only_button(self, window):
        buttons = window.buttons()
        return len(buttons) == 1 and self.press(buttons[0])

    def press_stock(self, window, name):
        """A button that has its label from the toolkit, in its language."""
        return self.press(window.button(self.texts.stock(name)) or window.button(name))

    def press_named(self, window, key):
        return self.press(window.button(self.texts[key]))

    def press(self, part):
        """The program takes its time until a press does something: the same part is not pressed again at once."""
        if not windows.is_usable(part):
            return False
        last = self.pressed_at.get(part.place, -SECONDS_FOR_PRESS)
        if time.monotonic() - last < SECONDS_FOR_PRESS:
            return False
        self.pressed_at[part.place] = time.monotonic()
        return windows.press(part)

    def answer_page_1(self, window):
        if self.options.scenario == "close-1":
            return self.close()
        if self.options.scenario == "cancel-before" and self.noes == 0:
            return self.press_named(window, "window1-cancel")
        return self.press_named(window, "window1-next")

    def answer_page_2(self, window):
        scenario = self.options.scenario
        if scenario == "close-2":
            return self.close()
        if self.refused or scenario == "leave" or (scenario == "cancel-before" and self.noes == 1):
            return self.press_named(window, "window2-cancel")
        return self.name_archive(window) and self.press_named(window, "window2-next")

    def name_archive(self, window):
        local = window.radio(self.texts["window2-localdrives"])
        if local is None or not local.has_state(windows.CHECKED):
            self.press(local)
            return False
        scenario = self.options.scenario
        archive = {"empty": "", "missing": "/media/no such archive.zip"}.get(scenario, self.options.archive)
        if scenario.startswith("type:"):
            archive = scenario[len("type:"):]
        entries = window.entries()  # the one for local drives is the lower one
        return windows.type_into(entries[-1], archive) if entries else False

    def answer_page_3(self, window):
        if self.options.scenario == "close-3":
            return self.close()
        if self.options.scenario == "cancel-unpacking":
            return has_begun("unzip -o ") and self.press_named(window, "window3-cancel")
        if self.options.scenario == "cancel-run" and any(what != "empty" for _, what in self.marks.values()):
            return self.press_named(window, "window3-cancel")
        return self.is_told_the_end(window) and self.press_named(window, "window3-done")

    def is_told_the_end(self, window):
        """Done can be pressed a moment before the dialog comes that a person would wait for."""
        if not windows.is_usable(window.button(self.texts["window3-done"])):
            return False
        self.done_usable_since = self.done_usable_since or time.monotonic()
        told = any(entry["name"] in ("done", "several-users") for entry in self.seen)
        return told or time.monotonic() - self.done_usable_since > SECONDS_FOR_DIALOG

    def answer_quit(self, window):
        if self.options.scenario == "cancel-before" and self.noes < 2:
            pressed = self.press_stock(window, "No")
            self.noes += 1 if pressed else 0
            return pressed
        return self.press_stock(window, "Yes")

    def answer_no_zip(self, window):
        self.refused = True
        return self.press_only_button(window)

    answer_no_file_given = answer_no_file_found = answer_no_space = answer_other_encryption = answer_no_zip

    def answer_password(self, window):
        """Without a password, or with one that did not open the archive, it is left."""
        if "wrong-password" in self.open_before:
            return False
        told_wrong = any(entry["name"] == "wrong-password" for entry in self.seen)
        wrong_first = self.options.scenario == "wrong-password"
        if not self.options.password or (told_wrong and not wrong_first):
            self.refused = True
            self.reason = self.reason or "the archive has a password, to be given with --password"
            return self.press_stock(window, "Cancel")
        word = "not the word" if wrong_first and not told_wrong else self.options.password
        entries = window.entries()
        return bool(entries) and windows.type_into(entries[0], word) and self.press_stock(window, "OK")

    def answer_printer_driver(self, window):
        text = self.left_out()
        if text and any(text in label for label in window.labels()):
            return self.close_once(window)
        choice = window.radio(self.texts["window_select_driver-" + self.options.driver])
        if choice is None:
            return False
        # Pressed even if it is chosen: the program takes the answer from the press.
        if choice.place not in self.pressed_at or not choice.has_state(windows.CHECKED):
            return self.press(choice)
        return self.press_named(window, "window_select_driver-next")

    def left_out(self):
        name, _, text = self.options.scenario.partition(":")
        return text if name == "leave-out" else ""

    def answer_credentials(self, window):
        if self.left_out():
            return self.close_once(window)
        user, _, password = self.options.share.partition(":")
        entries = window.entries()
        if len(entries) < 2:
            return False
        typed = windows.type_into(entries[0], user) and windows.type_into(entries[1], password)
        return typed and self.press_named(window, "smb_username_password_window-next")

    def answer_credentials_confirmation(self, window):
        return self.press_named(window, "smb_username_password_window2-next")

    def close_once(self, window):
        """A second press could meet the page below."""
        if window.title not in self.closed:
            self.closed.add(window.title)
            self.close()
        return True

    def close(self):
        windows.close_window()
        return True


def read_options():
    parser = argparse.ArgumentParser()
    parser.add_argument("--work", required=True)
    parser.add_argument("--archive", required=True)
    parser.add_argument("--driver", default="skip")
    parser.add_argument("--share", default="")
    parser.add_argument("--password", default="")
    parser.add_argument("--timeout", type=float, default=600)
    parser.add_argument("--watch", action="store_true")
    parser.add_argument("--scenario", default="")
    parser.add_argument("command", nargs="+")
    return parser.parse_args()


if __name__ == "__main__":
    Driver(read_options()).run()
    sys.exit(0)
