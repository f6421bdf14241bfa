"""tools/view: what is done in it stays in it, it works wherever the clone lies, and it tells what changed."""
import functools
import os
import shutil
import tempfile
import time
import unittest

from tool import SOURCE, VIEW, run, shell, without

NONE = ("sys_admin", "sys_chroot")


class Isolation(unittest.TestCase):
    def test_files_written_and_removed_stay_inside(self):
        marker = f"brindle-view-test-{os.getpid()}"
        places = [f"{folder}/{marker}" for folder in ("", "/etc", "/root", "/home", "/tmp", "/usr/share", "/var/lib")]
        result = shell(f"touch {' '.join(places)} && rm /etc/passwd /bin/dash && ls -l {' '.join(places)}")
        self.assertEqual(0, result.returncode, result.stderr)
        self.assertEqual([], [place for place in places if os.path.exists(place)])
        self.assertTrue(os.path.exists("/etc/passwd") and os.path.exists("/bin/dash"))

    def test_peoples_own_folders_are_empty(self):
        self.assertEqual("", shell("ls -A /root /home /tmp | grep -v :$ | grep .").stdout)

    def test_own_processes(self):
        result = shell("ls -d /proc/[0-9]* | wc -l; kill -0 %d 2>&1" % os.getpid())
        self.assertLess(int(result.stdout.split()[0]), 8)
        self.assertNotEqual(0, result.returncode)

    def test_own_network_with_a_loopback_only(self):
        self.assertEqual("lo\n", shell("ip -o link | awk '{print $2}' | tr -d :").stdout)
        self.assertIn("LOOPBACK,UP", shell("ip -o link").stdout)

    def test_source_is_there_and_read_only(self):
        result = shell("ls $BRINDLE_VIEW_SOURCE; touch $BRINDLE_VIEW_SOURCE/x")
        self.assertIn("CMakeLists.txt", result.stdout)
        self.assertIn("Read-only", result.stderr)

    def test_environment_is_clean_and_tells_the_kind(self):
        result = run(VIEW, "--env", "ONE=1 2", "--", "/usr/bin/env",
                     env=dict(os.environ, SECRET="x", BRINDLE_VIEW_KIND="overlay"))
        self.assertNotIn("SECRET", result.stdout)
        for line in ("ONE=1 2", "HOME=/root", "BRINDLE_VIEW=overlay", "BRINDLE_VIEW_SOURCE=/run/brindle/source"):
            self.assertIn(line + "\n", result.stdout)

    def test_exit_status_passes_through(self):
        for status in (0, 1, 2, 77, 121, 255):
            self.assertEqual(status, run(VIEW, "--", "/bin/bash", "-c", f"exit {status}").returncode)
        self.assertEqual(137, shell("kill -9 $$").returncode)

    def test_what_was_left_running_ends_with_the_view(self):
        name = f"view-left-{os.getpid()}"
        shell(f"cp /bin/sleep /tmp/{name}; /tmp/{name} 300 & exit 0")
        self.assertEqual(1, run("pgrep", "-x", name[:15]).returncode)

    def test_wrong_calls_are_refused(self):
        for words in (["--nonsense", "--", "true"], ["--"], ["--bind"], []):
            result = run(VIEW, *words)
            self.assertEqual(2, result.returncode, words)
            self.assertRegex(result.stderr, "^view: [^\n]+\n$")


class Places(unittest.TestCase):
    """The clone may lie where the view hides things, and a command outside of it."""

    def check(self, folder, before=()):
        place = tempfile.mkdtemp(prefix="brindle-clone-", dir=folder)
        self.addCleanup(shutil.rmtree, place, ignore_errors=True)
        shutil.copytree(SOURCE + "/tools", place + "/tools")
        result = shell("cat $BRINDLE_VIEW_SOURCE/tools/view | head -1; ls -A /root /home /tmp | grep -c brindle-clone",
                       tool=place + "/tools/view")
        self.assertEqual("#!/bin/bash\n0\n", result.stdout, result.stderr)

    def test_clone_below_root(self):
        self.check("/root")

    def test_clone_below_home(self):
        self.check("/home")

    def test_clone_below_tmp(self):
        self.check("/tmp")

    def test_clone_below_mnt(self):
        self.check("/mnt")

    def test_clone_on_another_file_system(self):
        script = ("mount -t tmpfs clone /opt && cp -a %s/tools /opt/ && "
                  "exec /opt/tools/view -- /bin/bash -c 'head -1 $BRINDLE_VIEW_SOURCE/tools/view'" % SOURCE)
        result = run("unshare", "-m", "/bin/bash", "-c", script)
        if result.returncode == 77:
            self.skipTest(result.stderr)
        self.assertEqual("#!/bin/bash\n", result.stdout, result.stderr)

    def test_other_file_systems_are_seen_and_kept(self):
        script = ("mount -t tmpfs other /opt && mkdir /opt/deep && mount -t tmpfs deeper /opt/deep && "
                  "echo outside > /opt/deep/a && "
                  "BRINDLE_VIEW_KIND=overlay %s -- /bin/bash -c 'cat /opt/deep/a; echo inside > /opt/deep/a; "
                  "cat /opt/deep/a'; cat /opt/deep/a" % VIEW)
        result = run("unshare", "-m", "/bin/bash", "-c", script)
        if "no private view" in result.stderr:
            self.skipTest(result.stderr)
        self.assertEqual("outside\ninside\noutside\n", result.stdout, result.stderr)

    def test_command_in_a_hidden_folder(self):
        folder = tempfile.mkdtemp(dir="/tmp")
        self.addCleanup(shutil.rmtree, folder)
        with open(folder + "/hello", "w", encoding="ascii") as file:
            file.write("#!/bin/sh\necho hello $1\n")
        os.chmod(folder + "/hello", 0o755)
        self.assertEqual("hello you\n", run(VIEW, "--", folder + "/hello", "you").stdout)

    def test_bound_is_read_only_and_shared_is_not(self):
        folder = tempfile.mkdtemp(dir="/tmp")
        self.addCleanup(shutil.rmtree, folder)
        shell("touch /run/one/bad; touch /run/two/good", "--bind", folder + "=/run/one", "--share",
              folder + "=/run/two")
        self.assertEqual(["good"], os.listdir(folder))


PREPARATION = "echo a > /etc/brindle-a; echo b > /etc/brindle-b; echo c > /etc/brindle-c; mkdir /root/p; rm /etc/issue"

# One of each: created, changed in content or mode, removed, replaced, and four that are no change.
CHANGES = r"""
mkdir -p /tmp/a/b; printf 'x\n' > "/root/a	b"$'\n''c\'; rm /etc/issue.net; rm -rf /etc/skel; mkdir /etc/skel
echo new > /etc/skel/.n; chmod 600 /etc/hostname; rm /etc/os-release; mkdir /etc/os-release; ln -s nowhere /root/link
echo more >> /etc/brindle-a; rm /etc/brindle-b
chown -R root:root /etc/default; touch /etc/passwd; cp /etc/fstab /etc/f; cat /etc/f > /etc/fstab; rm /etc/f
useradd -m bob; echo '#' >> /etc/shells; python3 -c 'import socket; socket.socket(socket.AF_UNIX).bind("/root/socket")'
"""

EXPECTED = r"""changed	/etc/brindle-a	0644	root:root	7	other content
removed	/etc/brindle-b				
changed	/etc/hostname	0600	root:root
removed	/etc/issue.net			
replaced	/etc/os-release	0755	root:root		
removed	/etc/skel/.bashrc			
created	/etc/skel/.n	0644	root:root	4
created	/home/bob	0755	bob:bob	
created	/home/bob/.n	0644	bob:bob	4
created	/root/a\tb\nc\\	0644	root:root	2
created	/root/link	0777	root:root	7
created	/tmp/a	0755	root:root	
created	/tmp/a/b	0755	root:root	
"""


def list_changes(kind, before=()):
    folder = tempfile.mkdtemp(dir="/tmp")
    result = shell(CHANGES, "--prepare", PREPARATION, "--changes", folder + "/list", "--files", folder + "/files",
                   kind=kind, before=before)
    return folder, result


class Changes(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.folder, cls.result = list_changes("overlay")
        cls.addClassCleanup(shutil.rmtree, cls.folder)
        with open(cls.folder + "/list", encoding="utf-8") as file:
            cls.lines = file.read().splitlines()
        cls.paths = [line.split("\t")[1] for line in cls.lines]

    def test_every_kind_of_change_is_listed(self):
        self.assertEqual((0, ""), (self.result.returncode, self.result.stderr))
        self.assertEqual("what\tpath\tmode\towner\tsize\tbefore", self.lines[0])
        for expected in EXPECTED.splitlines():
            with self.subTest(expected):
                self.assertTrue(any(line.startswith(expected) for line in self.lines))

    def test_no_change_is_not_listed(self):
        for path in ("/etc", "/etc/default", "/etc/fstab", "/etc/skel", "/root", "/root/socket", "/tmp", "/home"):
            self.assertNotIn(path, self.paths)

    def test_preparation_is_not_listed(self):
        for path in ("/etc/brindle-c", "/root/p", "/etc/issue"):
            self.assertNotIn(path, self.paths)

    def test_files_are_copied_as_a_tree(self):
        def read(path):
            with open(self.folder + "/files" + path, encoding="ascii") as file:
                return file.read()
        self.assertEqual("a\nmore\n", read("/etc/brindle-a"))
        self.assertEqual("x\n", read("/root/a\tb\nc\\"))
        self.assertEqual("nowhere", os.readlink(self.folder + "/files/root/link"))
        self.assertFalse(os.path.exists(self.folder + "/files/etc/brindle-b"))

    def test_failed_preparation_starts_nothing(self):
        result = shell("echo started", "--prepare", "exit 3")
        self.assertEqual((1, ""), (result.returncode, result.stdout))
        self.assertIn("the preparation failed", result.stderr)


class Homes(unittest.TestCase):
    """Homes of the machine, shown copy-on-write: this one has files of its owner's and of somebody else's."""

    def setUp(self):
        self.home = tempfile.mkdtemp(dir="/home")
        self.out = tempfile.mkdtemp(dir="/tmp")
        self.addCleanup(shutil.rmtree, self.home)
        self.addCleanup(shutil.rmtree, self.out)
        os.makedirs(self.home + "/Mail/Work")
        for name in ("Mail/Inbox", "Mail/Work/2004", "lent", "own", "gone"):
            with open(f"{self.home}/{name}", "w", encoding="ascii") as file:
                file.write("of before\n")
        for name in ("", "Mail", "Mail/Inbox", "Mail/Work", "Mail/Work/2004", "own", "gone"):
            os.chown(f"{self.home}/{name}", 1690, 1690)
        os.chmod(self.home, 0o750)

    def look(self, text, *options, **more):
        return shell(text, "--home", self.home, "--changes", self.out + "/list", "--files", self.out + "/files", *options, **more)

    def test_one_is_seen_as_it_is_and_the_others_are_not(self):
        result = self.look(f"cat /run/brindle/homes; ls /home; stat -c '%a %u' {self.home}; cat {self.home}/Mail/Inbox")
        self.assertEqual((f"{self.home}\n{os.path.basename(self.home)}\n750 1690\nof before\n", ""), (result.stdout, result.stderr))

    def test_what_is_done_there_stays_in_the_view_and_is_listed(self):
        self.look(f"cd {self.home}; echo new > Mail/Inbox; rm gone; mv Mail/Work Mail/Play; chown -R 1690 .; chmod 700 .")
        with open(self.out + "/list", encoding="utf-8") as file:
            rows = [line.split("\t") for line in file.read().splitlines()[1:]]
        self.assertEqual([("changed", "", "mode 0750"), ("changed", "/Mail/Inbox", "other content"), ("created", "/Mail/Play", ""),
                          ("created", "/Mail/Play/2004", ""), ("removed", "/Mail/Work", ""), ("removed", "/Mail/Work/2004", ""),
                          ("removed", "/gone", ""), ("changed", "/lent", "owner root:root")],
                         [(what, path[len(self.home):], before) for what, path, _, _, _, before in rows])
        with open(self.home + "/Mail/Inbox", encoding="ascii") as file:
            self.assertEqual("of before\n", file.read())
        self.assertEqual((0o750, 0), (os.stat(self.home).st_mode & 0o7777, os.stat(self.home + "/lent").st_uid))

    def test_files_that_only_have_another_owner_are_not_copied(self):
        self.look(f"chown 1690 {self.home}/lent; echo new > {self.home}/own")
        self.assertEqual(["own"], os.listdir(self.out + "/files" + self.home))

    def test_the_rest_of_the_machine_and_odd_names_are_refused(self):
        odd = self.home + ",x"
        os.mkdir(odd)
        self.addCleanup(os.rmdir, odd)
        places = (odd, "/etc", self.home + "/../..", "/home/no such")
        options = [word for place in places for word in ("--home", place)]
        result = shell("cat /run/brindle/homes; ls /home", *options)
        self.assertEqual((0, ""), (result.returncode, result.stdout))
        self.assertEqual([f"view: {place} is not shown as it is" for place in places], result.stderr.splitlines())

    def test_copies_do_without(self):
        result = self.look("cat /run/brindle/homes; ls /home", kind="copy")
        self.assertEqual(("", f"view: {self.home} is not shown as it is\n"), (result.stdout, result.stderr))


def trees():
    """Where views of copies lie."""
    return {name for name in os.listdir("/var/tmp") if name.startswith("brindle-view-")}


FILES = "/etc/passwd /usr/bin/dash /usr/share/pixmaps /var/lib/dpkg/status /usr/bin/env".split()


@functools.cache
def in_a_chroot():
    """What one view without namespaces has said, listed and shared, and what was there before it. Copies take seconds to
    make, so all tests look at the same."""
    before = trees()
    with tempfile.TemporaryDirectory(dir="/var/tmp") as folder:  # which no copy has: what the machine gets there is no change
        result = shell("echo $BRINDLE_VIEW; ls -A /root /home /tmp | grep -v : | grep .; touch /etc/x /usr/local/bin/x; "
                       f"stat -L -c '%d:%i' {' '.join(FILES)} >/run/out/files; sleep 300 & exit 9", "--share",
                       folder + "=/run/out", "--changes", folder + "/list", kind=None, before=without("sys_admin"))
        shared = {}
        for name in os.listdir(folder):
            with open(f"{folder}/{name}", encoding="utf-8") as file:
                shared[name] = file.read()
    return result, shared, before


class Fallback(unittest.TestCase):
    """Where the kernel refuses an overlay, a namespace, or even a chroot."""

    def test_copies_give_the_same_list_as_an_overlay(self):
        overlay, _ = list_changes("overlay")
        copies, result = list_changes("copy")
        self.addCleanup(shutil.rmtree, overlay)
        self.addCleanup(shutil.rmtree, copies)
        self.assertEqual((0, ""), (result.returncode, result.stderr))
        with open(overlay + "/list", encoding="utf-8") as one, open(copies + "/list", encoding="utf-8") as other:
            self.assertEqual(one.read(), other.read())

    def test_without_namespaces_a_chroot_is_used_by_itself(self):
        result, shared, _ = in_a_chroot()
        self.assertEqual((9, "copy\n"), (result.returncode, result.stdout), result.stderr)
        self.assertFalse(os.path.exists("/etc/x") or os.path.exists("/usr/local/bin/x"))
        self.assertEqual(["files", "list"], sorted(shared))
        self.assertEqual(["/etc/x", "/usr/local/bin/x"],
                         [line.split("\t")[1] for line in shared["list"].splitlines()][1:])

    def test_nothing_in_a_copy_is_the_machines_own_file(self):
        listed = in_a_chroot()[1]["files"].split()
        own = [f"{os.stat(path).st_dev}:{os.stat(path).st_ino}" for path in FILES]
        self.assertEqual(len(FILES), len(listed))
        self.assertEqual(set(), set(own) & set(listed))

    def test_overlay_alone_refused(self):
        result = run(VIEW, "--", "true", env=dict(os.environ, BRINDLE_VIEW_KIND="overlay", LC_ALL="C"))
        refused = run(*without("sys_admin"), VIEW, "--", "true", env=dict(os.environ, BRINDLE_VIEW_KIND="overlay"))
        self.assertEqual(77, refused.returncode)
        self.assertIn(result.returncode, (0, 77))

    def test_everything_refused_is_said_in_one_sentence(self):
        result = run(*without(*NONE), VIEW, "--", "true")
        self.assertEqual(77, result.returncode)
        self.assertEqual("view: this machine allows neither an overlay nor a chroot, so there is no private view\n",
                         result.stderr)

    def test_no_tree_is_left_behind(self):
        before = in_a_chroot()[2]
        run(*without(*NONE), VIEW, "--", "true")
        # Others may make views at the same time, and remove them.
        deadline = time.monotonic() + 100
        while (left := trees() - before - {"brindle-view-base", "brindle-view-base.lock"}) and time.monotonic() < deadline:
            time.sleep(0.5)
        self.assertEqual(set(), left)


if __name__ == "__main__":
    unittest.main()
