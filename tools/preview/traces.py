"""The logs and caches that a migration and its undo leave, each with the reason why nobody misses what was there.

    traces.reason(difference, homes=["/root", "/home/ann"])

Short on purpose, and each line as narrow as it can be: whatever else differs after an undo is a fault.
"""
import re

ANYTHING = None
REWRITTEN = {"rewritten", "time"}

# What lies in a home, below it, and what may differ there.
IN_A_HOME = (
    (r"\.brindle_before(/.*)?", ANYTHING, "what the run and the undo have kept"),
    (r"\.brindle_(log|run|first_run)", ANYTHING, "the wizard's own log, notes and mark of its first run"),
    (r"Brindle account\.html", ANYTHING, "the wizard's own page"),
    (r"\.gconfd(/.*)?", ANYTHING, "the state of the settings' server"),
    (r"\.gconf(/.*)?", {"new and empty"}, "the settings' server makes folders that hold no settings"),
    (r"\.gconf(/.*)?", {"time"}, "the settings' server writes its files anew"),
    (r"\.gconf/(.*/)?%gconf\.xml", REWRITTEN, "the settings' server has written the same settings anew"),
    (r"\.(cache/)?fontconfig(/.*)?", ANYTHING, "the list of fonts that fc-cache keeps"),
    (r"\.cache", {"new and empty"}, "the folder of fc-cache's list"),
    (r"\.cache", {"time"}, "the folder of fc-cache's list"),
)

ON_THE_MACHINE = (
    (r"/etc", {"time"}, "the lists of accounts and cupsd's files are exchanged in it"),
    (r"/etc/(passwd|shadow|group|gshadow|subuid|subgid)-", ANYTHING, "the list before the last change of accounts"),
    (r"/etc/(passwd|shadow|group|gshadow|subuid|subgid)", {"time"}, "the list of accounts is written anew"),
    (r"/etc/\.pwd\.lock", ANYTHING, "the lock of the lists of accounts"),
    (r"/etc/cups(/ppd)?", {"time"}, "cupsd exchanges its files in it"),
    (r"/etc/cups/(printers|classes)\.conf", REWRITTEN, "cupsd writes its queues anew"),
    (r"/etc/cups/(printers|classes)\.conf", {"new and empty"}, "cupsd writes a file without queues"),
    (r"/home", {"time"}, "homes come and go in it"),
    (r"/etc/cups/ppd/.*\.ppd", {"time"}, "cupsd writes its descriptions anew"),
    (r"/etc/cups/(printers|subscriptions|classes)\.conf\.O|/etc/cups/subscriptions\.conf|/etc/cups/ppd/.*\.ppd\.O",
     ANYTHING, "cupsd's own state"),
)


def reason(difference, homes):
    """"" for what is no log and no cache."""
    for path, table in [(difference.path, ON_THE_MACHINE), *below(difference.path, homes)]:
        for pattern, what, why in table:
            if re.fullmatch(pattern, path, re.DOTALL) and (what is ANYTHING or difference.what <= what):
                return why
    return ""


def below(path, homes):
    """Where in which home the path lies."""
    return [(path[len(home) + 1:], IN_A_HOME) for home in homes if path.startswith(home + "/")]
