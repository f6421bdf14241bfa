"""./preview: what is wrong with its options is said in one sentence, with exit status 2, before anything is done."""
import os
import tempfile
import unittest

from tool import SOURCE, VIEW, run, without

PREVIEW = SOURCE + "/preview"


class Options(unittest.TestCase):
    def refused(self, *words, before=(), **options):
        result = run(*before, PREVIEW, *words, **options)
        self.assertEqual((2, ""), (result.returncode, result.stdout), words)
        self.assertRegex(result.stderr, r"\Apreview: [^\n]+\n\Z")
        return result.stderr

    def test_unknown_option(self):
        self.assertIn("--sistem", self.refused("--sistem", "gnome"))
        self.refused("-x")

    def test_missing_value(self):
        for option in "system user home homes language printer-driver share-login password out timeout".split():
            self.assertIn("--" + option + " needs a value", self.refused("--" + option))

    def test_wrong_values(self):
        for words in (["--system", "windows"], ["--system", "gnome nld"], ["--printer-driver", "x"], ["--user", "a b"],
                      ["--user", "-r"], ["--home", "/no such"], ["--homes", "none"], ["--language", "../x"], ["--share-login", "nobody"],
                      ["--share-login", ":"], ["--timeout", "0"], ["--timeout", "soon"]):
            with self.subTest(words):
                self.refused(*words)

    def test_homes_are_laid_over_or_filled(self):
        self.assertIn("either --home or --homes", self.refused("--home", "/etc", "--homes", "whole-machine"))
        self.assertIn("either --home or --homes", self.refused("--home", "/etc", "--homes", "full"))

    def test_archives(self):
        self.assertIn("/no such.zip", self.refused("/no such.zip"))
        self.refused("/etc")
        self.refused("")
        self.refused("/etc/passwd", "/etc/group")

    def test_no_root(self):
        message = self.refused(before=["setpriv", "--reuid", "65534", "--regid", "65534", "--clear-groups"])
        self.assertIn("only root", message)

    def test_no_view(self):
        with tempfile.TemporaryDirectory() as folder:
            environment = dict(os.environ, BRINDLE_PREVIEW_STAGE=folder, BRINDLE_PREVIEW_RECORDER="/bin/true")
            message = self.refused("--out", folder + "/out", "/etc/passwd", env=environment,
                                   before=without("sys_admin", "sys_chroot"))
        self.assertIn("neither an overlay nor a chroot", message)

    def test_no_display_to_show_on(self):
        environment = {name: value for name, value in os.environ.items() if name != "DISPLAY"}
        self.assertIn("DISPLAY", self.refused("--show", env=environment))

    def test_help(self):
        result = run(PREVIEW, "--help")
        self.assertEqual((0, ""), (result.returncode, result.stderr))
        for option in "system user home homes undo language printer-driver share-login password out timeout show".split():
            self.assertIn("--" + option + " ", result.stdout)


class Dressing(unittest.TestCase):
    """tools/preview/prepare takes its options by name, in any order."""

    def prepare(self, *words):
        return run(VIEW, "--", SOURCE + "/tools/preview/prepare", *words)

    def test_wrong_calls_are_refused(self):
        for words in ([], ["--system", "gnome"], ["--stage"], ["--sistem", "gnome", "--stage", "/none"], ["/none", "gnome"]):
            with self.subTest(words):
                result = self.prepare(*words)
                self.assertEqual(2, result.returncode)
                self.assertRegex(result.stderr, r"\Aprepare: [^\n]+\n\Z")

    def test_stage_is_looked_for_wherever_it_is_named(self):
        for words in (["--stage", "/none", "--user", "ada"], ["--user", "ada", "--stage", "/none"]):
            self.assertIn("'/none/.'", self.prepare(*words).stderr)


if __name__ == "__main__":
    unittest.main()
