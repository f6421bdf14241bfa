"""The Debian package, installed, run, upgraded and purged by dpkg.

    package_test.py [TestCase...]

Runs in the source folder, inside a private view of the machine in which the package lies in /run/brindle/package.
"""
import argparse
import functools
import glob
import gzip
import os
import re
import shutil
import subprocess
import sys
import unittest
from pathlib import Path

import dependencies

sys.path += ["tools", "tools/preview"]

import main as preview
import snapshot
import tables
from going_back import GoingBack

[PACKAGE] = glob.glob("/run/brindle/package/brindle_*.deb")
LOOK = Path("/etc/brindle/gtkrc")
LOOK_IN_SOURCE = Path("data/gtkrc/gtkrc").read_bytes()
DATA = Path("/usr/local/brindle")
KEPT = Path("/root/.brindle_before")

# What building has on every Debian, and what only saves time.
NOT_TO_BE_NAMED = {"g++", "make", "tar", "ccache"}

# Started where they are found; Debian has no package of these.
OF_OTHER_DESKTOPS = {"dcop", "mozilla", "kmail", "kaddressbook", "evolution", "firefox"}


def run(*words, **options):
    options.setdefault("check", True)
    done = subprocess.run(words, capture_output=True, text=True, errors="replace", stdin=subprocess.DEVNULL,
                          **{**options, "check": False})
    if options["check"] and done.returncode != 0:
        raise AssertionError(f"{words} ended with {done.returncode}:\n{done.stdout}{done.stderr}")
    return done


def dpkg(*words):
    return run("dpkg", "--force-unsafe-io", *words)


def setUpModule():
    """Nobody looks for words in the pages here: making man's list of them would take most of the time."""
    triggers = Path("/var/lib/dpkg/triggers/File")
    triggers.write_text(re.sub("(?m)^.* man-db/noawait\n", "", triggers.read_text()))


def names_in(path):
    return {line for line in Path(path).read_text().splitlines() if line and not line.startswith("#")}


def installed_files():
    paths = [Path(line) for line in run("dpkg", "-L", "brindle").stdout.splitlines()]
    return [path for path in paths if path.is_symlink() or not path.is_dir()]


def changed_package(version, **texts):
    """The package with a higher version, and with other texts in files: look="..." or language="..."."""
    folder = Path("/tmp/changed")
    shutil.rmtree(folder, ignore_errors=True)
    run("dpkg-deb", "-R", PACKAGE, folder)
    control = folder / "DEBIAN/control"
    control.write_text(re.sub("(?m)^Version: .*", "Version: " + version, control.read_text()))
    for name, text in texts.items():
        place = {"look": LOOK, "language": DATA / "en_US"}[name]
        folder.joinpath(place.relative_to("/")).write_text(text)
    out = f"/tmp/brindle_{version}.deb"
    run("dpkg-deb", "-Znone", "-b", folder, out)
    return out


class Lists(unittest.TestCase):
    """What debian/ names, against the lists for ./preview and ./check, and the source."""

    def test_all_that_a_migration_calls_is_named(self):
        essential = {name for name, package in dependencies.installed().items() if package.is_essential}
        self.assertEqual(dependencies.named("debian/control", "Depends"), names_in("tools/packages/run.txt") - essential)

    def test_all_that_the_build_calls_is_named(self):
        wanted = names_in("tools/packages/build.txt") - NOT_TO_BE_NAMED
        self.assertEqual(dependencies.named("debian/control", "Build-Depends") - {"debhelper-compat"}, wanted)

    def test_every_command_in_the_source_comes_with_the_package(self):
        commands = dependencies.commands_in_source("src")
        self.assertGreater(len(commands), 35)
        reachable = dependencies.programs_of(dependencies.closure(
            dependencies.named("debian/control", "Depends", "Recommends")))
        own = {"foomatic-ppdfile-bd"}
        self.assertEqual(commands - set(reachable) - own - OF_OTHER_DESKTOPS, set())

    def test_every_library_that_is_loaded_late_is_named_itself(self):
        libraries = dependencies.libraries_in_source("src")
        self.assertEqual(set(libraries), {"libcups.so.2", "libgconf-2.so.4", "libzip.so.4"})
        for library, packages in libraries.items():
            self.assertTrue(packages & dependencies.named("debian/control", "Depends"), library)

    def test_the_version_is_that_of_the_program(self):
        version = re.search(r"project\(brindle VERSION (\S+)", Path("CMakeLists.txt").read_text())[1]
        self.assertEqual(run("dpkg-parsechangelog", "-l", "debian/changelog", "-S", "Version").stdout, version + "\n")

    def test_nothing_is_excused_but_the_place_of_the_data(self):
        for line in names_in("debian/lintian-overrides"):
            self.assertRegex(line, r"^brindle: [a-z-]+ \[usr/local/brindle/\*?\]$")


class Contents(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.said = dpkg("-i", PACKAGE)

    def test_it_is_installed_whole_and_quietly(self):
        self.assertEqual(run("dpkg-query", "-W", "-f", "${Status}", "brindle").stdout, "install ok installed")
        self.assertEqual(self.said.stderr, "")
        self.assertEqual(run("dpkg", "--verify", "brindle").stdout, "")

    def test_only_what_the_wizard_reads_there_lies_in_usr_local(self):
        places = ("/usr/bin/", "/usr/libexec/brindle/", "/usr/share/", f"{DATA}/", f"{LOOK.parent}/")
        strays = [path for path in installed_files() if not str(path).startswith(places)]
        self.assertEqual(strays, [])

    def test_the_look_is_one_file_for_all_languages(self):
        looks = [path for path in installed_files() if path.name.startswith(".gtkrc-")]
        self.assertGreater(len(looks), 70)
        self.assertIn(DATA / ".gtkrc-2.0", looks)
        for path in looks:
            self.assertEqual((os.readlink(path), path.read_bytes()), (str(LOOK), LOOK_IN_SOURCE), path)
        told = run("dpkg-query", "-W", "-f", "${Conffiles}", "brindle").stdout.split()
        self.assertEqual(told[::2], [str(LOOK)])

    def test_every_program_starts(self):
        for words, first in (("brindle --version", "brindle 0.1"), ("brindle --help", "usage: brindle [options]"),
                             ("brindle-account --help", "usage: brindle-account [options] ARCHIVE.zip"),
                             ("brindle-undo --help", "usage: brindle-undo "),
                             ("brindle-pack --help", "usage: brindle-pack [options] SOURCE OUT.zip"),
                             ("foomatic-ppdfile-bd -h", "usage: foomatic-ppdfile-bd -P TEXT")):
            done = run(*words.split())
            self.assertEqual(done.stderr, "", words)
            self.assertTrue(done.stdout.startswith(first), done.stdout)

    def test_an_installation_that_would_be_started_instead_is_named(self):
        older = Path("/usr/local/bin/brindle")
        older.touch()
        self.addCleanup(older.unlink)
        self.assertIn("/usr/local/bin/brindle is started instead", dpkg("-i", PACKAGE).stderr)


class Pages(unittest.TestCase):
    """The manual pages, as man finds them."""

    @classmethod
    def setUpClass(cls):
        dpkg("-i", PACKAGE)
        cls.programs = [path.name for path in installed_files() if path.parent == Path("/usr/bin")]

    def page(self, program):
        return gzip.open(f"/usr/share/man/man1/{program}.1.gz", "rt", encoding="utf-8").read().replace("\\-", "-")

    def test_each_program_has_one_that_man_shows_without_a_warning(self):
        self.assertEqual(sorted(self.programs), ["brindle", "brindle-account", "brindle-pack", "brindle-undo", "foomatic-ppdfile-bd"])
        for program in self.programs:
            done = run("man", "--warnings", program, env={**os.environ, "MANWIDTH": "80"})
            self.assertEqual(done.stderr, "")
            self.assertRegex(done.stdout, f"(?m)^ +{program} - ")
            self.assertRegex(self.page(program), rf"(?m)^\.TH {program.upper()} 1 \d{{4}}-\d\d-\d\d ")
            groff = run("groff", "-man", "-Tutf8", "-ww", f"data/man/{program}.1")
            self.assertEqual(groff.stderr, "")

    def test_they_have_the_options_that_the_programs_have(self):
        for program in self.programs:
            word = "-h" if program == "foomatic-ppdfile-bd" else "--help"
            help_text = run(program, word).stdout
            told = set(re.findall(r"(?m)^  (--?[a-zA-Z-]+)", help_text)) | {word}
            headed = set(re.findall(r"(?m)^\.TP\n\.B[RI]* (--?[a-zA-Z-]+)", self.page(program)))
            self.assertEqual(headed, told, program)

    def test_they_tell_the_exit_statuses(self):
        for program in ("brindle-account", "brindle-pack", "brindle-undo", "foomatic-ppdfile-bd"):
            self.assertRegex(self.page(program), r"(?m)^\.SH EXIT STATUS\n\.TP\n\.B 0\n")

    def test_files_and_other_pages_that_they_name_are_there(self):
        for program in self.programs:
            for other in re.findall(r"(?m)^\.BR (\S+) \(1\)", self.page(program)):
                self.assertTrue(glob.glob(f"/usr/share/man/man1/{other}.1*"), other)


class Upgrade(unittest.TestCase):
    """With what people have changed and added."""

    def setUp(self):
        listed = run("dpkg-deb", "--contents", PACKAGE).stdout.splitlines()
        self.listed = {line.split(" ./")[1].split(" -> ")[0].rstrip("/") for line in listed if not line.endswith(" ./")}
        self.before = self.look()
        dpkg("-i", PACKAGE)
        self.addCleanup(run, "dpkg", "-P", "brindle", check=False)

    def look(self):
        """What there is of the package's paths, and all else with its name. Others work in /var/tmp meanwhile."""
        found = run("find", "/etc", "/usr", "/opt", "/var", "-xdev", "-path", "/var/tmp", "-prune", "-o", "-iname", "*brindle*",
                    "-print").stdout.splitlines()
        return {"/" + name for name in self.listed if os.path.lexists("/" + name)} | set(found)

    def test_a_look_that_somebody_has_changed_stays(self):
        LOOK.write_text("# mine\n")
        dpkg("-i", changed_package("0.1.1"))
        self.assertEqual(LOOK.read_text(), "# mine\n")
        dpkg("--force-confold", "-i", changed_package("0.1.2", look="# another\n"))
        self.assertEqual(LOOK.read_text(), "# mine\n")
        self.assertEqual((DATA / ".gtkrc-de_DE").read_text(), "# mine\n")
        self.assertEqual(LOOK.with_name("gtkrc.dpkg-dist").read_text(), "# another\n")

    def test_what_nobody_has_changed_follows_the_package(self):
        dpkg("-i", changed_package("0.1.1", look="# another\n", language="window1=Other\n"))
        self.assertEqual(LOOK.read_text(), "# another\n")
        self.assertEqual((DATA / "en_US").read_text(), "window1=Other\n")

    def test_a_removal_keeps_the_look_and_a_purge_leaves_nothing(self):
        LOOK.write_text("# mine\n")
        dpkg("-r", "brindle")
        self.assertEqual(LOOK.read_text(), "# mine\n")
        own = {f"/var/lib/dpkg/info/brindle.{name}" for name in ("list", "postrm")}
        self.assertEqual(self.look() - self.before, {str(LOOK), str(LOOK.parent)} | own)
        dpkg("-P", "brindle")
        self.assertEqual(self.look(), self.before)

    def test_what_people_have_put_beside_it_stays(self):
        mine = [DATA / "xx_XX", KEPT / "list.tsv", Path("/home/ann/.brindle_before/list.tsv"),
                Path("/home/ann/Brindle account.html")]
        for path in mine:
            self.put(path)
        said = dpkg("-P", "brindle").stdout
        self.assertEqual({path.read_text() for path in mine}, {"mine\n"})
        self.assertEqual(self.told_to_stay(said), ["/home/ann/.brindle_before", str(KEPT)])

    def test_a_purge_after_a_removal_tells_what_stays_once_more(self):
        run("useradd", "-d", "/srv/with blank", "bert")
        self.addCleanup(run, "userdel", "bert")
        self.put(Path("/srv/with blank/.brindle_before/list.tsv"))
        for action in ("-r", "-P"):
            self.assertEqual(self.told_to_stay(dpkg(action, "brindle").stdout), ["/srv/with blank/.brindle_before"], action)

    def put(self, path):
        path.parent.mkdir(parents=True, exist_ok=True)
        path.write_text("mine\n")
        self.addCleanup(shutil.rmtree, path.parent, ignore_errors=True)

    def told_to_stay(self, said):
        return re.findall("^brindle: (.*) stays", said, re.M)


class Run(unittest.TestCase):
    """A family's migration by the installed package, which finds no other programs than what it depends on; then the
    package is upgraded, purged, installed again, and the migration taken back."""

    WORK = Path("/run/brindle/work")
    OUT = Path("/run/brindle/out")

    @classmethod
    def setUpClass(cls):
        run("samples/make", "/tmp/samples")
        dpkg("-i", PACKAGE)
        for folder in ("/run/brindle/nothing", cls.OUT / "screens", cls.OUT / "files"):
            os.makedirs(folder)
        run("tools/preview/prepare", "--stage", "/run/brindle/nothing", "--system", "redflag-plus", "--language", "C")
        cls.start_with_few_programs()
        options = argparse.Namespace(user="root")
        archive = "/tmp/samples/family.zip"
        cls.undo = GoingBack("root", archive, str(cls.WORK), functools.partial(preview.as_user, options))
        cls.done = run(sys.executable, "-B", "tools/preview/main.py", "--out", cls.OUT, "--archive", archive,
                       "--system", "redflag-plus", "--driver", "skip", "--share", "guest:guest", "--timeout", "400",
                       check=False)
        run("ln", "-s", "-f", "dash", "/usr/bin/sh")  # in the recorder's place

    @staticmethod
    def start_with_few_programs():
        """The desktop's programs, which are stood in for, are there as well."""
        folder = Path("/run/brindle/programs")
        folder.mkdir()
        found = dependencies.programs_of(dependencies.closure({"brindle"}))
        found.update((path.name, path) for path in Path("/usr/local/bin").iterdir())
        for name, path in found.items():
            folder.joinpath(name).symlink_to(path)
        for name in ("brindle", "brindle-account", "brindle-undo"):
            start = Path("/usr/local/bin") / name
            start.write_text(f'#!/bin/bash\nPATH={folder} exec /usr/bin/{name} "$@"\n')
            start.chmod(0o755)

    def table(self, name):
        return tables.read(f"{self.OUT}/{name}.tsv")

    def test_examples_of_the_pages_run_as_they_stand(self):
        folder = Path("/tmp/examples")
        folder.mkdir()
        shutil.copy("/tmp/samples/family.zip", folder / "old-pc.zip")
        first = {"brindle-account --run": "", "brindle-account --before old-pc.zip": "",
                 "brindle-account --missing missing.tsv old-pc.zip": "",
                 'foomatic-ppdfile-bd -P "LaserJet 4050"': "HP LaserJet 4050 Id='HP-LaserJet_4050' "}
        pages = "".join(Path(f"data/man/{page}.1").read_text() for page in ("brindle-account", "foomatic-ppdfile-bd"))
        examples = re.findall(r"(?m)^\.SH EXAMPLES\n((?:\.TP\n.*\n.*\n)+)", pages)
        lines = re.findall(r"(?m)^\.B (.*)", "".join(examples).replace("\\-", "-").replace("\\(dq", '"'))
        self.assertEqual(set(lines), set(first))
        for line in lines:
            done = run("bash", "-c", line, cwd=folder, env={**os.environ, "HOME": "/root"}, check=False)
            self.assertIn(done.returncode, (0, 1), line + done.stderr)
            self.assertEqual(done.stderr, "", line)
            self.assertTrue(done.stdout.strip() and done.stdout.startswith(first[line]), done.stdout)
        self.assertIn("person\tkind\tname\tcause", (folder / "missing.tsv").read_text())

    def test_it_goes_through(self):
        self.assertEqual(self.done.returncode, 0, self.done.stdout + self.done.stderr)
        marks = {mark: result for mark, _, result in self.table("marks")}
        self.assertEqual({mark for mark, result in marks.items() if result != "apply"}, {"image_11"}, marks)

    def test_no_program_was_missing(self):
        missing = [row for row in self.table("commands") if row[0] == "127"]
        self.assertEqual(missing, [])
        self.assertNotRegex((self.OUT / "stderr").read_text(), "command not found|: not found")

    def test_the_package_goes_and_what_people_have_stays(self):
        homes = ["/root", "/home", "/Share"]
        before = snapshot.look(homes)
        self.assertIn("/home/nora/.brindle_before", before)
        for words in (("-i", changed_package("0.1.1")), ("-P", "brindle")):
            said = dpkg(*words).stdout
            self.assertEqual(list(snapshot.differences(before, snapshot.look(homes))), [], words)
        self.assertIn(f"brindle: {KEPT} stays", said)
        self.assertFalse(DATA.exists())
        dpkg("-i", PACKAGE)
        self.undo.run(["back"])
        left = [path for _, path, *_, reason in self.undo.rows if not reason]
        self.assertEqual(left, [str(LOOK.parent)])  # the package's own folder, made anew
        self.assertFalse(Path("/home/nora").exists())
        self.assertFalse(Path("/etc/skel/.gtkrc-2.0").exists())


if __name__ == "__main__":
    unittest.main(verbosity=2)
