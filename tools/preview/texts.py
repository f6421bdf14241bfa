"""The wizard's interface texts, as a person sees them."""
import gettext

FOLDER = "/usr/local/brindle/"


class Texts:
    """Texts by key, from the language's own file, or the English one where that is missing."""

    def __init__(self, language):
        self.texts = {}
        self.toolkit = gettext.translation("gtk20", "/usr/share/locale", [language], fallback=True)
        for name in (language[:5], "en_US"):
            if self.texts:
                break
            self.read(FOLDER + name)

    def read(self, path):
        try:
            with open(path, encoding="utf-8", errors="replace") as file:
                for line in file:
                    key, equals, text = line.rstrip("\n").partition("=")
                    if equals:
                        self.texts.setdefault(key, text)
        except OSError:
            pass

    def __getitem__(self, key):
        """The text without the mark of the access letter."""
        return self.texts.get(key, "").replace("_", "")

    def stock(self, name):
        """The label of the toolkit's own button, such as "Yes"."""
        return self.toolkit.pgettext("Stock label", "_" + name).replace("_", "")

    def key_of(self, text, keys):
        """The first of `keys` that has this text, or None."""
        return next((key for key in keys if self.texts.get(key) == text), None)
