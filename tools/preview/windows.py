"""The wizard's windows, seen and used as a screen reader sees and uses them.

Speaks to the accessibility bus itself, each call with a time limit: the usual library handles events while it
waits for an answer, and then waits for itself when windows come and go as quickly as a wizard's.
"""
import subprocess
import time

import gi

gi.require_version("Gio", "2.0")
from gi.repository import Gio, GLib

PROGRAM = "brindle"  # the name it gives itself

REGISTRY = ("org.a11y.atspi.Registry", "/org/a11y/atspi/accessible/root")
INTERFACE = "org.a11y.atspi."
CHECKED, SENSITIVE, SHOWING = 4, 24, 25  # numbers of states
WAIT_MILLISECONDS = 5000


class Bus:
    """The accessibility bus of the session."""

    def __init__(self):
        session = Gio.bus_get_sync(Gio.BusType.SESSION)
        answer = session.call_sync("org.a11y.Bus", "/org/a11y/bus", "org.a11y.Bus", "GetAddress", None, None,
                                   Gio.DBusCallFlags.NONE, WAIT_MILLISECONDS, None)
        flags = Gio.DBusConnectionFlags.AUTHENTICATION_CLIENT | Gio.DBusConnectionFlags.MESSAGE_BUS_CONNECTION
        self.connection = Gio.DBusConnection.new_for_address_sync(answer.unpack()[0], flags, None, None)

    def call(self, place, interface, method, arguments=None):
        """The first value of the answer. GLib.Error when there is none in time."""
        answer = self.connection.call_sync(place[0], place[1], interface, method, arguments, None,
                                           Gio.DBusCallFlags.NONE, WAIT_MILLISECONDS, None)
        values = answer.unpack()
        return values[0] if values else None

    def property(self, place, interface, name):
        return self.call(place, "org.freedesktop.DBus.Properties", "Get",
                         GLib.Variant("(ss)", (interface, name)))


class Part:
    """A window, or something in one, as it was when it was looked at."""

    def __init__(self, bus, place):
        self.bus = bus
        self.place = place
        self.name = bus.property(place, INTERFACE + "Accessible", "Name")
        self.role = self.ask("Accessible", "GetRoleName")
        self.states = self.ask("Accessible", "GetState")

    def ask(self, interface, method, arguments=None):
        return self.bus.call(self.place, INTERFACE + interface, method, arguments)

    def has_state(self, number):
        return bool(self.states[number // 32] >> number % 32 & 1)

    def children(self):
        return [Part(self.bus, place) for place in self.ask("Accessible", "GetChildren")]

    def top(self):
        """Distance from the upper edge of the window."""
        answer = self.bus.connection.call_sync(
            *self.place, INTERFACE + "Component", "GetPosition", GLib.Variant("(u)", (1,)), None,
            Gio.DBusCallFlags.NONE, WAIT_MILLISECONDS, None)
        return answer.unpack()[1]


def below(part):
    """Everything in a window, depth first."""
    for child in part.children():
        yield child
        yield from below(child)


class Window:
    def __init__(self, part):
        self.title = part.name
        self.parts = [child for child in below(part) if child.has_state(SHOWING)]

    def of_role(self, *roles):
        return [part for part in self.parts if part.role in roles]

    def named(self, name, role):
        return next((part for part in self.of_role(role) if part.name == name), None)

    def radio(self, name):
        return self.named(name, "radio button")

    def button(self, name):
        return self.named(name, "push button")

    def buttons(self):
        return self.of_role("push button")

    def entries(self):
        """From top to bottom."""
        return sorted(self.of_role("text", "password text", "entry"), key=lambda entry: entry.top())

    def labels(self):
        return [label.name for label in self.of_role("label")]

    def images(self):
        return self.of_role("icon", "image")


def is_usable(part):
    return part is not None and part.has_state(SENSITIVE)


def press(part):
    """Presses a button, or chooses a radio button; False when it cannot be pressed now."""
    if not is_usable(part):
        return False
    try:
        return part.ask("Action", "DoAction", GLib.Variant("(i)", (0,)))
    except GLib.Error:
        return False


def type_into(entry, text):
    """Types the text unless it is there already; True once it is, which may be at the next look."""
    try:
        if entry.ask("Text", "GetText", GLib.Variant("(ii)", (0, -1))) == text:
            return True
        entry.ask("EditableText", "SetTextContents", GLib.Variant("(s)", (text,)))
        return entry.role == "password text"  # whose text nobody is told
    except GLib.Error:
        return False


class Application:
    """The running wizard; it has no windows until it is found on the accessibility bus."""

    def __init__(self):
        self.bus = Bus()
        self.place = None

    def find(self):
        for place in self.bus.call(REGISTRY, INTERFACE + "Accessible", "GetChildren"):
            if self.bus.property(place, INTERFACE + "Accessible", "Name") == PROGRAM:
                return place
        return None

    def windows(self):
        """The windows that are open now; none while the program is busy or gone, or they are changing."""
        try:
            self.place = self.place or self.find()
            if self.place is None:
                return []
            places = self.bus.call(self.place, INTERFACE + "Accessible", "GetChildren")
            parts = [Part(self.bus, place) for place in places]
            return [Window(part) for part in parts if part.has_state(SHOWING)]
        except GLib.Error:
            return []


def take_picture(path, title, whole_screen):
    """A picture of the display, or of one window where the display is a person's own."""
    target = "root" if whole_screen else find_window(title)
    if target is None:
        return
    subprocess.run(["import", "-silent", "-window", target, path], stderr=subprocess.DEVNULL, check=False)


def find_window(title):
    listing = subprocess.run(["xwininfo", "-root", "-tree"], capture_output=True, text=True, check=False).stdout
    for line in listing.splitlines():
        if f'"{title}"' in line:
            return line.split()[0]
    return None


def close_window():
    """Closes the window that has the keyboard, by way of the window manager."""
    time.sleep(0.3)
    subprocess.run(["xdotool", "key", "alt+F4"], check=False)
