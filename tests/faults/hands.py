#!/usr/bin/python3
"""Uses the wizard as the preview's driver does, tells others how far it is, and lets them order an end.

  hands.py [options of tools/preview/driver.py] -- PROGRAM [ARGUMENT...]

Adds a line to WORK/moments for each window that comes up ("window:NAME") and each mark that is set
("mark:image_N"). Does what the file WORK/order says as soon as it is there:

  cancel   presses Cancel of the page that is shown, and what comes after it, and answers nothing else
  close    asks the page to close, as window managers do
  both     answers the dialog that is open, and presses Cancel of the page in the same moment

makes the file WORK/given as soon as the page has its click or its message,

and answers in the manner of --scenario manner:NAME: "early" before a window is fully there, "late" after some seconds,
"twice" by pressing everything once more at once.
"""
import ctypes
import os
import sys
import time

HERE = os.path.dirname(os.path.abspath(__file__))
sys.path.append(os.path.join(HERE, "..", "..", "tools", "preview"))
sys.path.append(os.path.join(HERE, "..", "..", "tools"))

import driver
import windows
from windows import GLib

CLIENT_MESSAGE = 33
SECONDS_LATE = 3


class Display:
    """Just enough of Xlib to send a window what a window manager's close button sends."""

    def __init__(self):
        self.library = ctypes.CDLL("libX11.so.6")
        self.library.XOpenDisplay.restype = ctypes.c_void_p
        self.library.XInternAtom.restype = ctypes.c_ulong
        self.place = ctypes.c_void_p(self.library.XOpenDisplay(None))

    def atom(self, name):
        return self.library.XInternAtom(self.place, name, 0)

    def ask_to_close(self, title):
        number = windows.find_window(title)
        if number is None:
            return
        number = int(number, 16)
        event = (ctypes.c_long * 24)()
        event[0], event[4], event[6] = CLIENT_MESSAGE, number, 32
        event[5], event[7] = self.atom(b"WM_PROTOCOLS"), self.atom(b"WM_DELETE_WINDOW")
        self.library.XSendEvent(self.place, ctypes.c_ulong(number), 0, ctypes.c_long(0), event)
        self.library.XFlush(self.place)


class Hands(driver.Driver):
    def __init__(self, options):
        super().__init__(options)
        windows.take_picture = lambda *_: None  # nobody looks at them, and each takes its half second
        self.display = Display()
        self.told = set()
        self.manner = options.scenario.partition("manner:")[2]
        self.seen_at = {}
        if self.manner == "early":
            driver.SETTLE_SECONDS = 0
            driver.POLL_SECONDS = 0.01

    def tell(self, moment):
        if moment not in self.told:
            self.told.add(moment)
            with open(self.options.work + "/moments", "a", encoding="utf-8") as moments:
                moments.write(moment + "\n")

    def notice(self, name, window):
        self.seen_at[name] = time.monotonic()
        super().notice(name, window)
        self.tell("window:" + name)

    def press(self, part):
        pressed = super().press(part)
        if pressed and self.manner == "twice":
            windows.press(part)
        return pressed

    def is_too_early(self, opened):
        """Whoever is late lets each window stand for a while."""
        latest = max((self.seen_at.get(name, 0) for name, _ in opened), default=0)
        return self.manner == "late" and time.monotonic() - latest < SECONDS_LATE

    def read_marks(self, window):
        super().read_marks(window)
        for number, (_, what) in self.marks.items():
            if what != "empty":
                self.tell(f"mark:image_{number}")

    def look(self):
        """The wizard may go in the middle of a look."""
        try:
            super().look()
        except GLib.Error:
            pass

    def order(self):
        try:
            with open(self.options.work + "/order", encoding="utf-8") as order:
                return order.read()
        except FileNotFoundError:
            return ""

    def give(self):
        with open(self.options.work + "/given", "w", encoding="utf-8"):
            pass

    def answer_topmost(self, opened):
        order = self.order()
        if order == "cancel":
            self.cancel(dict(opened))
        elif order == "close":
            self.close_page(dict(opened))
        elif order == "both":
            super().answer_topmost(opened)
            self.cancel(dict(opened))
        elif not self.is_too_early(opened):
            super().answer_topmost(opened)

    def cancel(self, opened):
        if self.done and "cancelled" not in opened:  # too late: the run is over, and no button can cancel it
            return super().answer_topmost(list(opened.items()))
        for name in ("cancelled", "quit"):
            if name in opened:
                return getattr(self, "answer_" + name, self.press_only_button)(opened[name])
        if "password" in opened:
            return self.press(opened["password"].button("Cancel"))
        for page in ("1", "2", "3"):
            if "page-" + page in opened:
                return self.press_named(opened["page-" + page], f"window{page}-cancel") and self.give()
        return False

    def close_page(self, opened):
        """GTK lets no page be closed under a window that asks something: that one is answered first."""
        if any(not name.startswith("page-") for name in opened):
            super().answer_topmost(list(opened.items()))
        for name, window in opened.items():
            if name.startswith("page-"):
                self.display.ask_to_close(window.title)
                self.give()


if __name__ == "__main__":
    Hands(driver.read_options()).run()
    sys.exit(0)
