"""Commands of the wizard that fail where there is nothing to do, or nothing to be found, each with the reason.

    failures.reason("9", "groupadd users")

Only failures of which the status and the command leave no doubt: whatever else fails is shown as it is.
"""
import re

USUAL = (
    (r"9", r"groupadd users", "the group is there already"),
    (r"9", r"useradd .*", "the account is there already, and keeps its password"),
    (r"1", r"mkdir /Share", "the folder is there already"),
    (r"1", r'grep -i ".*" \S+/ppdlist\.txt > \S+/ppd\.txt',
     "no driver has all these words in its name; fewer are tried next"),
    (r"1", r"rm \S+/ppd\.txt", "no list of drivers is there yet"),
    (r"1", r"cp \S+/firefox\.desktop \S+/\.gnome2/panel2\.d/default/launchers/",
     "no button for Firefox: only a panel of GNOME 2 has a place for it, and this home has none"),
    (r"1", r"cp (\S+)/%gconf\.xml \1/%gconftemp\.xml", "no list of Evolution's that would have to be mended"),
    (r"1", r"rm \S+/\.nautilus/bookmarks\.xml", "no older list of the file manager is there"),
)


def reason(status, command):
    """"" for what is none of these."""
    for wanted, pattern, why in USUAL:
        if status == wanted and re.fullmatch(pattern, command):
            return why
    return ""
