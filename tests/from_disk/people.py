"""The people on the disks of made_disk.cpp: what each has, and where it lies there and shall lie below a new home.

What programs nobody here wrote can read on the disk is counted there (`counting`): files, Thunderbird's messages,
Firefox's bookmarks and cookies. The rest is listed here by hand, and the numbers of all. Times are those of a clock in
Berlin.
"""
import collections

import counting

Person = collections.namedtuple(
    "Person", "name login home files hosts mailboxes letters empty firefox favorites contacts planner notes counts")

# From a folder of the disk into one of the new home.
SEVEN = {"Documents": "Documents", "Desktop": "Desktop", "Pictures": "Documents/My Pictures",
         "Eigene Musik": "Documents/My Music", "Videos": "Documents/My Videos", "Downloads": "Documents/Downloads",
         "Rezepte": "Documents/Other files/Rezepte", "Contacts": "Documents/Other files/Contacts"}
XP = {"My Documents": "Documents", "Desktop": "Desktop"}

JORG = Person(
    name="Jörg", login="root", home="Users/Jörg/", files=SEVEN,
    hosts=["imap.work.example", "pop.post.example"],
    # Folders of servers, in their order: what has the same name becomes one, and a message is not packed twice.
    mailboxes=["AppData/Roaming/Thunderbird/Profiles/x.default/Mail/pop.post.example",
               "AppData/Roaming/Thunderbird/Profiles/x.default/Mail/Local Folders",
               "AppData/Roaming/Thunderbird/Profiles/x.default/ImapMail/imap.work.example"],
    letters=[], empty=["Archives"], firefox="AppData/Roaming/Mozilla/Firefox/Profiles/abc.default/", favorites=[],
    contacts=[("Bob Lee", "bob@home.example bob@work.example"), ("Amélie Größe; Dr.", "amelie@laurent.example"),
              ("李美兰", "li@meilan.example"), ("Иван Петров", ""), ("Zoë Żak", "zoe@zak.example"),
              ("shop@orders.example", "shop@orders.example"), ("Klaus Übel", "")],
    planner="""\
2024-02-05 09:00:00 Zahnarzt
2024-03-11 09:00:00 Monatsrunde
2024-03-25 09:00:00 Standup
2024-04-01 09:00:00 Standup
2024-04-08 09:00:00 Monatsrunde
2024-04-08 09:00:00 Standup
2024-05-10 Geburtstag Amélie
2024-07-01 09:00:00 Größe messen – 日本
2024-07-03 09:00:00 Call New York
2024-08-05 Urlaub
2024-10-15 09:00:00 Chor
2024-10-29 10:00:00 Chor um zehn
2024-11-05 09:00:00 Chor
2025-05-10 Geburtstag Amélie
due - done - Fenster putzen
due 2024-04-30 09:00:00 done - Versicherung
due 2024-05-10 done 2024-03-14 09:00:00 Belege für Größe
""",
    notes={"Müller anrufen": "Müller anrufen\n030, (heute)", "Shopping: milk": "Shopping: milk", "购物": "购物"},
    counts={"documents": 9, "pictures": 2, "music": 1, "videos": 1, "downloads": 1, "others": 2, "desktop": 2,
            "accounts": 2, "mail": 21,
            "contacts": 7, "events": 9, "tasks": 3, "notes": 3, "bookmarks": 3, "cookies": 2})

ANN = Person(
    name="Ann", login="ann", home="Documents and Settings/Ann/", files=XP, hosts=[],
    mailboxes=["Application Data/Thunderbird/Profiles/y.default/Mail/Local Folders"], letters=[], empty=[],
    firefox="Application Data/Mozilla/Firefox/Profiles/abc.default/", favorites=[],
    contacts=[("Zoë Lee", "zoe@home.example"), ("Bob", "bob@home.example")],
    planner="2005-07-05 09:00:00 Elternabend\ndue 2005-08-15 done - Hefte kaufen\n", notes={},
    counts={"documents": 10, "desktop": 1, "mail": 10, "contacts": 2, "events": 1, "tasks": 1, "bookmarks": 3,
            "cookies": 2})

BOB = Person(
    name="Bob", login="bob", home="Documents and Settings/Bob/", files=XP, hosts=[], mailboxes=[],
    letters=[("Inbox", "Angebot – Größe", "Sehr geehrter Herr Lee\nFrom here on"), ("Inbox", "second", "From the start"),
             ("Inbox/Kunden", "client", "text"), ("Inbox/_NET", "dot", "text"), ("Sent", "sent by Bob", "text")],
    empty=[], firefox="", favorites=[],
    contacts=[("Ann Lee", "ann@home.example"), ("Jürgen Größe", "j@work.example")],
    planner="2005-01-11 09:00:00 Winter\n2005-07-05 09:00:00 Messe\ndue 2005-04-30 done - Steuer\n",
    notes={"Reifen": "Reifen\n195/65, (Winter)"},
    counts={"documents": 1, "mail": 5, "contacts": 2, "events": 2, "tasks": 1, "notes": 1})

ZOE = Person(
    name="Zoë", login="zoe", home="Documents and Settings/Zoë/", files=XP, hosts=[], mailboxes=[],
    letters=[("Inbox", "one", "line\nFrom me\n" + 1500 * "x"), ("Inbox", "two", "Text"), ("Sent", "three", "Text"), ("Imported/Old", "imported", "From afar")],
    empty=["Imported"], firefox="", favorites=["http://bridge.example/", "http://start.example/?a=1&b=2"], contacts=[], planner="", notes={},
    counts={"documents": 1, "mail": 4, "bookmarks": 2})

ON_DISK = {"one-person": [JORG], "family": [ANN, BOB, ZOE]}

# What Windows makes for itself.
OF_WINDOWS = {"desktop.ini", "Thumbs.db"}

KINDS_OF_FILES = ("documents", "pictures", "music", "videos", "downloads", "others", "desktop")


def files_of(person, disk):
    """The person's files on the disk, by where they shall lie: path below the new home, digest of the content."""
    found = {}
    for folder, place in person.files.items():
        for path, digest in counting.files_below(disk + "/" + person.home + folder):
            if path.split("/")[-1] in OF_WINDOWS:
                continue
            # A run does not copy what begins with a dot at the top, so it lies one folder below.
            hidden = path.startswith(".") and place in ("Documents", "Desktop")
            found[place + ("/Dot files/" if hidden else "/") + path] = digest
    return found


def messages_of(person, disk):
    """The messages that shall arrive from Thunderbird's folders: those that are not deleted, each once."""
    found = []
    for folder in person.mailboxes:
        for message in counting.mailboxes_below(disk + "/" + person.home + folder):
            name = "Inbox" if message.folder == "INBOX" else message.folder
            message = message._replace(folder=name)
            if not message.is_deleted and message not in found:
                found.append(message)
    return found


def bookmarks_of(person, disk):
    if person.firefox:
        return counting.bookmarks_of_firefox(disk + "/" + person.home + person.firefox + "places.sqlite")
    return person.favorites


def cookies_of(person, disk):
    return counting.cookies_of_firefox(disk + "/" + person.home + person.firefox + "cookies.sqlite") if person.firefox else []
