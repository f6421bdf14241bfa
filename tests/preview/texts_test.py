"""Labels that a window has from the toolkit, which a preview has to press in any language."""
import sys
import unittest

from tool import SOURCE

sys.path.append(SOURCE + "/tools/preview")

from texts import Texts


class Stock(unittest.TestCase):
    def labels(self, language):
        return [Texts(language).stock(name) for name in ("Yes", "No", "Cancel", "OK")]

    def test_labels_are_those_of_the_language(self):
        self.assertEqual(["Ja", "Nein", "Abbrechen", "OK"], self.labels("de_DE.UTF-8"))
        self.assertEqual(["是(Y)", "否(N)", "取消(C)", "确定(O)"], self.labels("zh_CN.UTF-8"))

    def test_english_ones_stand_for_those_of_no_language(self):
        for language in ("en_US.UTF-8", "xx_XX.UTF-8", "C", ""):
            self.assertEqual(["Yes", "No", "Cancel", "OK"], self.labels(language))


if __name__ == "__main__":
    unittest.main()
