"""What must have become of everything in the two samples: counted by hand in samples/, never by the program.

A row: person, kind, then how many things arrived unchanged, arrived changed, have no place and have not arrived, on
the systems with Evolution, on Linspire, and on those with KMail (Xandros and Red Flag). Most things arrive as they
are; what is rewritten for its new program is changed:

- cookies get a dot in front of their host; GroupWise's settings their mailbox's place, where there is a place at all
- a mail account whose file says more than its new program keeps: ports for Evolution, addresses for KMail
- appointments and tasks with a zone, an end of their repetition, an alarm or a priority that is written otherwise
- contacts in the Mozilla suite that have more than it has places for
- a wallpaper on KDE, which is named Wallpaper1
- printers made by foomatic, whose settings their driver does not offer

Notes have a place with KNotes alone, GroupWise with Evolution's systems alone.
"""

ONE_PERSON = """
documents      8 0 0 0    8 0 0 0    8 0 0 0
desktop        4 0 0 0    4 0 0 0    4 0 0 0
shared-files   3 0 0 0    3 0 0 0    3 0 0 0
mail-accounts  2 2 0 0    0 4 0 0    0 4 0 0
mail          25 0 0 0   25 0 0 0   25 0 0 0
calendar       7 0 0 0    3 4 0 0    2 5 0 0
tasks          5 0 0 0    2 3 0 0    0 5 0 0
contacts       6 0 0 0    1 5 0 0    6 0 0 0
notes          0 0 3 0    0 0 3 0    3 0 0 0
wallpaper      1 0 0 0    0 1 0 0    0 1 0 0
bookmarks      7 0 0 0    7 0 0 0    7 0 0 0
cookies        0 6 0 0    0 6 0 0    0 6 0 0
fonts          2 0 0 0    2 0 0 0    2 0 0 0
drives         3 0 0 0    3 0 0 0    3 0 0 0
printers       0 0 0 8    0 4 0 4    0 4 0 4
groupwise      3 1 0 0    0 0 4 0    0 0 4 0
"""

FAMILY = {
    "root": """
documents      4 0 0 0    4 0 0 0    4 0 0 0
desktop        2 0 0 0    2 0 0 0    2 0 0 0
shared-files   2 0 0 0    2 0 0 0    2 0 0 0
mail-accounts  1 1 0 0    0 2 0 0    0 2 0 0
mail           8 0 0 0    8 0 0 0    8 0 0 0
calendar       4 0 0 0    1 3 0 0    1 3 0 0
tasks          3 0 0 0    2 1 0 0    0 3 0 0
contacts       3 0 0 0    1 2 0 0    3 0 0 0
notes          0 0 1 0    0 0 1 0    1 0 0 0
wallpaper      1 0 0 0    0 1 0 0    0 1 0 0
bookmarks      3 0 0 0    3 0 0 0    3 0 0 0
cookies        0 2 0 0    0 2 0 0    0 2 0 0
fonts          1 0 0 0    1 0 0 0    1 0 0 0
drives         2 0 0 0    2 0 0 0    2 0 0 0
printers       1 0 0 5    0 5 0 1    0 5 0 1
groupwise      1 1 0 0    0 0 2 0    0 0 2 0
""",
    "meilan": """
documents      3 0 0 0    3 0 0 0    3 0 0 0
desktop        1 0 0 0    1 0 0 0    1 0 0 0
shared-files   1 0 0 0    1 0 0 0    1 0 0 0
mail-accounts  2 0 0 0    0 2 0 0    0 2 0 0
mail           5 0 0 0    5 0 0 0    5 0 0 0
calendar       3 0 0 0    0 3 0 0    1 2 0 0
tasks          3 0 0 0    2 1 0 0    0 3 0 0
contacts       3 0 0 0    2 1 0 0    3 0 0 0
notes          0 0 2 0    0 0 2 0    2 0 0 0
wallpaper      1 0 0 0    0 1 0 0    0 1 0 0
bookmarks      2 0 0 0    2 0 0 0    2 0 0 0
cookies        0 1 0 0    0 1 0 0    0 1 0 0
fonts          1 0 0 0    1 0 0 0    1 0 0 0
drives         1 0 0 0    1 0 0 0    1 0 0 0
printers       1 0 0 0    1 0 0 0    1 0 0 0
groupwise      1 1 0 0    0 0 2 0    0 0 2 0
""",
    "nora": """
documents      2 0 0 0    2 0 0 0    2 0 0 0
desktop        1 0 0 0    1 0 0 0    1 0 0 0
shared-files   1 0 0 0    1 0 0 0    1 0 0 0
mail-accounts  0 1 0 0    0 1 0 0    0 1 0 0
mail           5 0 0 0    5 0 0 0    5 0 0 0
calendar       2 0 0 0    0 2 0 0    0 2 0 0
tasks          3 0 0 0    2 1 0 0    1 2 0 0
contacts       3 0 0 0    2 1 0 0    3 0 0 0
notes          0 0 1 0    0 0 1 0    1 0 0 0
wallpaper      1 0 0 0    0 1 0 0    0 1 0 0
bookmarks      3 0 0 0    3 0 0 0    3 0 0 0
cookies        0 2 0 0    0 2 0 0    0 2 0 0
fonts          1 0 0 0    1 0 0 0    1 0 0 0
drives         2 0 0 0    2 0 0 0    2 0 0 0
printers       0 0 0 1    1 0 0 0    1 0 0 0
groupwise      1 1 0 0    0 0 2 0    0 0 2 0
""",
    "oskar": """
documents      2 0 0 0    2 0 0 0    2 0 0 0
desktop        1 0 0 0    1 0 0 0    1 0 0 0
shared-files   1 0 0 0    1 0 0 0    1 0 0 0
mail-accounts  2 0 0 0    0 2 0 0    0 2 0 0
mail           6 0 0 0    6 0 0 0    6 0 0 0
calendar       3 0 0 0    1 2 0 0    0 3 0 0
tasks          2 0 0 0    2 0 0 0    0 2 0 0
contacts       2 0 0 0    2 0 0 0    2 0 0 0
notes          0 0 2 0    0 0 2 0    2 0 0 0
wallpaper      1 0 0 0    0 1 0 0    0 1 0 0
bookmarks      2 0 0 0    2 0 0 0    2 0 0 0
cookies        0 1 0 0    0 1 0 0    0 1 0 0
fonts          1 0 0 0    1 0 0 0    1 0 0 0
drives         1 0 0 0    1 0 0 0    1 0 0 0
printers       0 0 0 1    1 0 0 0    1 0 0 0
groupwise      1 1 0 0    0 0 2 0    0 0 2 0
""",
}

# Printers that do not arrive, by their queues: two ports have no counterpart; where no driver is found by itself the
# previewed person skips the window.
WITHOUT_PORT = {"one-person": ["GenericPostScriptPrinter", "SharedFaxDriver"], "family": ["GenericPostScriptPrinter"]}
EVOLUTION_SKIPS = {
    "one-person": ["ClubHouseLaser2", "EpsonLQ-570+ESCP2", "HPDeskJet690C", "HPLaserJet4000SeriesPS",
                   "HPLaserJet4050SeriesPCL6", "HPLaserJet5M"],
    "family": ["HPDeskJet840C", "HPDeskJet950C", "HPLaserJet4050SeriesPCL6", "HPLaserJet5Si"]}
FOOMATIC_SKIPS = {"one-person": ["ClubHouseLaser2", "EpsonLQ-570+ESCP2"], "family": []}
# Of profiles: the default printer of each, where its queue is there.
PROFILES_SKIP = {"nora": "HPDeskJet840C", "oskar": "HPLaserJet4050SeriesPCL6"}


def column(system):
    """Where a row has the numbers of a system."""
    return {"gnome": 0, "nld": 0, "linspire": 1}.get(system, 2)


def rows(person, text, system, is_root):
    for line in text.strip().splitlines():
        kind, *numbers = line.split()
        counts = [int(number) for number in numbers][4 * column(system):][:4]
        if kind == "printers" and not is_root:  # only root makes queues
            counts = [0, 0, 0, sum(counts)]
        yield [person, kind, str(sum(counts)), *map(str, counts)]


def account(system, sample, user):
    """The rows of account.tsv."""
    people = FAMILY if sample == "family" else {user: ONE_PERSON}
    return [row for person, text in people.items() for row in rows(person, text, system, user == "root")]


def missing(system, sample, user):
    """Person, kind and name of everything that has not arrived, sorted."""
    skips = EVOLUTION_SKIPS if column(system) == 0 or user != "root" else FOOMATIC_SKIPS
    found = [(user, "printers", name) for name in WITHOUT_PORT[sample] + skips[sample]]
    if sample == "family" and column(system) == 0:
        found += [(person, "printers", name) for person, name in PROFILES_SKIP.items()]
    return sorted(found)
