#!/usr/bin/python3
"""Lets the real evolution-data-server take over the old Evolution home at $HOME and prints what it found.

Run it on a session bus of its own: dbus-run-session -- read_data_server.py accounts|contacts|events|tasks
"""
import configparser
import glob
import os
import subprocess
import sys

from gi.repository import Gio, GLib

PREFIX = "org.gnome.evolution.dataserver."
bus = Gio.bus_get_sync(Gio.BusType.SESSION)


def call(name, path, interface, method, arguments=None):
    return bus.call_sync(name, path, interface, method, arguments, None, Gio.DBusCallFlags.NONE, 60000, None)


def start_registry():
    call(PREFIX + "Sources5", "/org/gnome/evolution/dataserver/SourceManager",
         "org.freedesktop.DBus.Peer", "Ping")


def accounts():
    sources = {}
    for path in glob.glob(os.path.expanduser("~/.config/evolution/sources/*.source")):
        source = configparser.ConfigParser(interpolation=None)
        source.read(path)
        sources[os.path.basename(path)[: -len(".source")]] = source
    mail_accounts = [source for source in sources.values() if source.has_option("Mail Account", "IdentityUid")
                     and source.get("Authentication", "Host", fallback="")]
    for account in sorted(mail_accounts, key=lambda source: source["Data Source"]["DisplayName"]):
        identity = sources[account["Mail Account"]["IdentityUid"]]
        sender = identity["Mail Identity"]
        transport = sources[identity["Mail Submission"]["TransportUid"]]
        kind = account["Mail Account"]["BackendName"]
        print("account", account["Data Source"]["DisplayName"])
        print(" ", kind, account["Authentication"]["User"], account["Authentication"]["Host"],
              account["Security"]["Method"])
        if kind == "pop":
            print("  keep on server", account.get("Pop Backend", "KeepOnServer", fallback="false"))
        print("  sender", sender["Name"], sender["Address"], sender["ReplyTo"], sender["Organization"])
        print("  sends with", transport["Authentication"]["User"], transport["Authentication"]["Host"],
              transport.get("Authentication", "Method", fallback="none"), transport["Security"]["Method"])


def contacts():
    subprocess.run(["/usr/libexec/evolution-data-server/addressbook-export", "system-address-book"], check=True)


def calendar_objects(opener, source):
    factory = PREFIX + "CalendarFactory"
    path, name = call(PREFIX + "Calendar8", "/" + factory.replace(".", "/"), factory, opener,
                      GLib.Variant("(s)", (source,))).unpack()
    call(name, path, PREFIX + "Calendar", "Open")
    objects = call(name, path, PREFIX + "Calendar", "GetObjectList", GLib.Variant("(s)", ("#t",))).unpack()[0]
    for summary in sorted(line for text in objects for line in text.splitlines() if line.startswith("SUMMARY")):
        print(summary)


start_registry()
{
    "accounts": accounts,
    "contacts": contacts,
    "events": lambda: calendar_objects("OpenCalendar", "system-calendar"),
    "tasks": lambda: calendar_objects("OpenTaskList", "system-task-list"),
}[sys.argv[1]]()
