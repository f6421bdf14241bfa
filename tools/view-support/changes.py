#!/usr/bin/python3
"""Tells what a command changed in a private view: the work of tools/view --changes and --files.

  changes.py remember --state DIR ...      before the command: how far the view differs from the machine
  changes.py list --state DIR --changes FILE --files DIR ...     afterwards: what differs from that

Layers of the view: --layer UPPER LOWER NAME for an overlay (an upper layer holds just what differs),
--copy LOWER NAME for a tree of copies (which has to be compared with what it was copied from, but for the
folders --left-out NAME).

The list is a table (tools/tables.py) with a row for each path: what, path, mode, owner, size, before, sorted by path.
What is "created", "changed", "removed" or "replaced" (something of another kind lies there now). A changed path
has a difference in mode, owner, target or content; a file that was only touched, or written with the bytes it
had, is not listed. Sockets never are. Sizes of folders are left out, and so are mode, owner and size of what was
removed. "before" is of what was changed alone: "other content", "mode 0600", "owner ann:users", as far as these differ.
"""
import argparse
import hashlib
import os
import pickle
import shutil
import stat
import sys

sys.path.append(os.path.dirname(os.path.dirname(os.path.abspath(__file__))))

import tables

HIDDEN = ("/root", "/home", "/tmp")
NEVER_LISTED = ("/proc", "/dev", "/run", "/sys")
LONGEST_PATH = 4095  # in bytes; the kernel takes no longer one, so what lies deeper is left out


class State:
    """One file or folder as it lies there. `content` is a digest, a link's target or a device number."""

    def __init__(self, place, original=None):
        """`original`: what lies on the machine and has the content, where a layer holds the other facts alone."""
        self.place = place
        self.original = original
        information = os.lstat(place)
        self.kind = stat.S_IFMT(information.st_mode)
        self.mode = stat.S_IMODE(information.st_mode)
        self.owner = (information.st_uid, information.st_gid)
        self.size = information.st_size
        self.device = information.st_rdev
        self.digest = None

    def content(self):
        if self.digest is None:
            self.digest = read_content(self)
        return self.digest

    def same(self, other):
        return (self.kind, self.mode, self.owner) == (other.kind, other.mode, other.owner) and self.holds_same(other)

    def holds_same(self, other):
        if self.kind == stat.S_IFDIR or self.original == other.place:
            return True
        return self.size == other.size and self.content() == other.content()


def read_content(state):
    if state.kind == stat.S_IFREG:
        with open(state.place, "rb") as file:
            return hashlib.file_digest(file, "sha1").digest()
    return os.readlink(state.place) if state.kind == stat.S_IFLNK else state.device


def walk(folder, left_out=()):
    """All paths below `folder`, relative to it, each with a leading slash; without views and what is left out."""
    for here, folders, files in os.walk(folder):
        folders[:] = [name for name in folders if not name.startswith("brindle-view-")
                      and os.path.join(here, name)[len(folder):] not in left_out]
        for name in folders + files:
            place = os.path.join(here, name)
            if can_be_named(place):
                yield place[len(folder):]


def can_be_named(path):
    return len(os.fsencode(path)) <= LONGEST_PATH


# ---- Layers: path -> State, or None for what lies on the machine and is gone in the view ------------------


def overlay_differences(root, upper, lower, name):
    """What lies in the layer, as the view shows it: where only the owner was changed, the layer has no content."""
    differences = {}
    for path in ["", *walk(upper)]:
        place = upper + path
        if is_whiteout(place):
            mark_gone(differences, lower, path, name)
            continue
        if name + path:
            differences[name + path] = state_in_layer(root + name + path, place, lower + path)
        if is_opaque(place):
            mark_gone_below(differences, lower, upper, path, name)
        if is_moved_folder(place):
            for below in walk(root + name + path):
                differences[name + path + below] = State(root + name + path + below)
    return differences


def state_in_layer(shown, place, original):
    return State(shown, original if has_mark(place, "metacopy") and os.path.lexists(original) else None)


def is_whiteout(place):
    information = os.lstat(place)
    return stat.S_ISCHR(information.st_mode) and information.st_rdev == 0


def is_opaque(place):
    return is_folder(place) and mark_of(place, "opaque") == b"y"


def is_moved_folder(place):
    """Its files are where they were on the machine."""
    return is_folder(place) and has_mark(place, "redirect")


def is_folder(place):
    return os.path.isdir(place) and not os.path.islink(place)


def has_mark(place, name):
    return mark_of(place, name) is not None


def mark_of(place, name):
    try:
        return os.getxattr(place, "trusted.overlay." + name, follow_symlinks=False)
    except OSError:
        return None


def mark_gone(differences, lower, path, name):
    if not name and (path in HIDDEN or is_hidden(path)):
        return
    if os.path.lexists(lower + path):
        differences[name + path] = None
        mark_gone_below(differences, lower, None, path, name)


def mark_gone_below(differences, lower, upper, path, name):
    if not is_folder(lower + path) or (not name and is_hidden(path + "/")):
        return
    for below in walk(lower.rstrip("/") + path):
        if upper is None or not os.path.lexists(upper + path + below):
            differences[name + path + below] = None


def copy_differences(root, lower, name, left_out):
    """A copy keeps its times: what has the same ones and the same size is taken as unchanged.

    What was left out is not looked for: it is not gone in the view, and the machine goes on writing there.
    """
    differences = {}
    for path in walk(root + name):
        if looks_copied(root + name + path, lower + path):
            continue
        differences[name + path] = State(root + name + path)
    for path in walk(lower, [folder[len(name):] for folder in left_out if folder.startswith(name + "/")]):
        if not os.path.lexists(root + name + path):
            differences[name + path] = None
    return differences


def looks_copied(place, original):
    if not os.path.lexists(original):
        return False
    one, other = os.lstat(place), os.lstat(original)
    fields = ("st_mode", "st_uid", "st_gid") + (() if stat.S_ISDIR(one.st_mode) else ("st_size", "st_mtime_ns"))
    return all(getattr(one, field) == getattr(other, field) for field in fields)


def outside_copies(root, names):
    """Folders of the tree that were made empty: all that lies in them is the view's own."""
    differences = {}
    for top in os.listdir(root):
        if "/" + top in names or "/" + top in NEVER_LISTED:
            continue
        differences["/" + top] = State(root + "/" + top)
        if os.path.isdir(root + "/" + top) and not os.path.islink(root + "/" + top):
            for path in walk(root + "/" + top):
                differences["/" + top + path] = State(root + "/" + top + path)
    return differences


def differences_now(options):
    found = {}
    for upper, lower, name in options.layer:
        found.update(overlay_differences(options.root, upper, lower.rstrip("/"), name))
    for lower, name in options.copy:
        found.update(copy_differences(options.root, lower, name, options.left_out))
    if options.copy:
        found.update(outside_copies(options.root, [name for _, name in options.copy]))
    return {path: state for path, state in found.items() if is_listed(path, state)}


def is_listed(path, state):
    """Sockets are traces of servers, and go with them."""
    return not path.startswith(NEVER_LISTED) and (state is None or state.kind != stat.S_IFSOCK)


# ---- Comparing -----------------------------------------------------------------------------------------


def is_hidden(path):
    return path.startswith(tuple(folder + "/" for folder in HIDDEN))


def is_shown_home(path, options):
    """In a home that the view shows as it is."""
    return any(is_hidden(name) and (path + "/").startswith(name + "/") for _, _, name in options.layer)


def on_machine(path, options):
    """State of `path` in an untouched view."""
    if is_hidden(path) and not is_shown_home(path, options):
        return None
    for lower, name in options.copy:
        if path.startswith(name + "/"):
            return State(lower + path[len(name):]) if os.path.lexists(lower + path[len(name):]) else None
    return State(path) if os.path.lexists(path) else None


def compare(before, after, options):
    """Yields what, path, the states of what lies there now and lay there before for each difference, sorted by path."""
    for path in sorted(set(before) | set(after)):
        old = before[path] if path in before else on_machine(path, options)
        new = after[path] if path in after else on_machine(path, options)
        what = name_difference(old, new)
        if what and path not in HIDDEN:
            yield what, path, new, old


def name_difference(old, new):
    if old is None and new is None:
        return None
    if old is None or new is None:
        return "created" if old is None else "removed"
    if old.kind != new.kind:
        return "replaced"
    return None if old.same(new) else "changed"


# ---- Writing -------------------------------------------------------------------------------------------


def read_names(root, file):
    names = {}
    try:
        with open(root + "/etc/" + file, encoding="utf-8", errors="surrogateescape") as lines:
            for line in lines:
                words = line.split(":")
                names[int(words[2])] = words[0]
    except (OSError, ValueError, IndexError):
        pass
    return names


def write_list(rows, file, root):
    users, groups = read_names(root, "passwd"), read_names(root, "group")
    tables.write(file, ("what", "path", "mode", "owner", "size", "before"),
                 ((what, path, *describe(new, users, groups), what_it_was(what, new, old, users, groups))
                  for what, path, new, old in rows))


def describe(state, users, groups):
    if state is None:
        return "", "", ""
    size = "" if state.kind == stat.S_IFDIR else str(state.size)
    return mode_of(state), owner_of(state, users, groups), size


def mode_of(state):
    return "%04o" % state.mode


def owner_of(state, users, groups):
    user, group = state.owner
    return "%s:%s" % (users.get(user, user), groups.get(group, group))


def what_it_was(what, new, old, users, groups):
    if what != "changed":
        return ""
    words = [] if new.holds_same(old) else ["other content"]
    words += ["mode " + mode_of(old)] if new.mode != old.mode else []
    words += ["owner " + owner_of(old, users, groups)] if new.owner != old.owner else []
    return ", ".join(words)


def copy_files(rows, folder):
    """All but what has the content it had on the machine: a home may be large, and its owner is all that is new."""
    for _, path, state, _ in rows:
        if state is None or state.original:
            continue
        target = folder + path
        if not can_be_named(target):
            continue
        os.makedirs(os.path.dirname(target), exist_ok=True)
        if state.kind == stat.S_IFDIR:
            os.makedirs(target, exist_ok=True)
        elif state.kind in (stat.S_IFREG, stat.S_IFLNK):
            shutil.copy2(state.place, target, follow_symlinks=False)


# ---- The two commands ------------------------------------------------------------------------------------


def remember(options):
    before = differences_now(options)
    for state in before.values():
        if state is not None and state.kind != stat.S_IFDIR:
            state.content()
    with open(os.path.join(options.state, "before"), "wb") as file:
        pickle.dump(before, file)


def list_changes(options):
    with open(os.path.join(options.state, "before"), "rb") as file:
        before = pickle.load(file)
    rows = list(compare(before, differences_now(options), options))
    if options.changes:
        write_list(rows, options.changes, options.root)
    if options.files:
        copy_files(rows, options.files)


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("what", choices=("remember", "list"))
    parser.add_argument("--state", required=True)
    parser.add_argument("--root", required=True)
    parser.add_argument("--layer", nargs=3, action="append", default=[])
    parser.add_argument("--copy", nargs=2, action="append", default=[])
    parser.add_argument("--left-out", action="append", default=[])
    parser.add_argument("--changes", default="")
    parser.add_argument("--files", default="")
    options = parser.parse_args()
    if options.what == "remember":
        remember(options)
    else:
        list_changes(options)


if __name__ == "__main__":
    main()
