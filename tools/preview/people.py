"""The accounts of the view's machine, and what a run has done to them."""


class People:
    """One look: each login with its password as the machine keeps it."""

    def __init__(self, root=""):
        self.passwords = {login: "" for login, *_ in records(root + "/etc/passwd")}
        self.passwords.update((login, password) for login, password, *_ in records(root + "/etc/shadow"))

    def changes_since(self, before):
        """Rows of login, what became of the account ("made", "removed", "changed") and of its password ("set", "none")."""
        for login in sorted(self.passwords.keys() | before.passwords.keys()):
            old, new = before.passwords.get(login), self.passwords.get(login)
            if old != new:
                what = "made" if old is None else "removed" if new is None else "changed"
                yield login, what, "set" if is_password(new) else "none"


def is_password(text):
    """Nobody can log in by "!" or "*"."""
    return bool(text) and text[0] not in "!*"


def records(path):
    try:
        with open(path, encoding="utf-8", errors="surrogateescape") as lines:
            return [line.rstrip("\n").split(":") for line in lines if line.count(":") > 0]
    except FileNotFoundError:
        return []
