"""The progress marks that the driver looks for are those of the wizard's register."""
import sys
import tempfile
import unittest

from tool import SOURCE

sys.path.append(SOURCE + "/tools/preview")

import marks


class Marks(unittest.TestCase):
    def read(self, text):
        with tempfile.NamedTemporaryFile("w", suffix=".def") as file:
            file.write(text)
            file.flush()
            return marks.read(file.name)

    def test_register_of_the_wizard(self):
        found = marks.read()
        self.assertEqual([12, *range(12)], list(found))
        self.assertEqual("window3-preparingprinters", found[12])
        self.assertEqual("window3-groupwise", found[11])

    def test_order_is_kept_and_comments_are_left_out(self):
        text = '// MARK(number, name, key)\n\nMARK(3, one, "a-b")\nMARK(1, other, "c")\n'
        self.assertEqual([(3, "a-b"), (1, "c")], list(self.read(text).items()))

    def test_what_cannot_be_read_is_not_passed_over(self):
        for text in ("", "// none\n", 'MARK(1, one, "a")\nMARK(2, two)\n', 'MARK(1, one, "a")\nMARK(1, two, "b")\n'):
            with self.subTest(text), self.assertRaises(ValueError):
                self.read(text)


if __name__ == "__main__":
    unittest.main()
