"""Two previews of one source folder at the same time. What they build with and run in is stood in for."""
import os
import shutil
import subprocess
import tempfile
import unittest

from tool import SOURCE

# Builds for a second, alone, and installs what it has built.
CMAKE = """#!/bin/bash
set -eu
busy=@folder@/busy
mkdir "$busy" || { echo "somebody else builds" >> @folder@/faults; exit 1; }
sleep 0.3
if [ "$1" = --install ]; then mkdir -p "$DESTDIR/usr" "$2/tools"; echo built > "$DESTDIR/usr/program"; fi
if [ "$1" = --build ]; then mkdir -p "$2/tools"; cp /bin/true "$2/tools/brindle-shell-recorder"; fi
rmdir "$busy"
"""

# Looks at what is installed for as long as a run may take.
VIEW = """#!/bin/bash
set -eu
for word; do
  case $word in
    *=/run/brindle/stage) stage=${word%=*} ;;
    *=/run/brindle/recorder) recorder=${word%=*} ;;
    *=/run/brindle/out) out=${word%=*} ;;
  esac
done
[ -n "${stage:-}" ] || exit 0
for _ in $(seq 20); do
  [ -x "$recorder" ] && [ "$(cat "$stage/usr/program")" = built ] || { echo "$stage is gone" >> @folder@/faults; exit 1; }
  sleep 0.1
done
printf 'mark\\tlabel\\tresult\\n' > "$out/marks.tsv"
"""


class Together(unittest.TestCase):
    def setUp(self):
        self.folder = tempfile.mkdtemp(dir="/tmp")
        self.addCleanup(shutil.rmtree, self.folder)
        shutil.copytree(SOURCE + "/tools", self.folder + "/clone/tools")
        shutil.copy(SOURCE + "/preview", self.folder + "/clone/preview")
        self.write("programs/cmake", CMAKE)
        self.write("clone/tools/view", VIEW)
        self.write("clone/tools/install-packages", "#!/bin/sh\n")
        self.write("a.zip", "no zip")

    def write(self, name, text):
        path = os.path.join(self.folder, name)
        os.makedirs(os.path.dirname(path), exist_ok=True)
        with open(path, "w", encoding="utf-8") as file:
            file.write(text.replace("@folder@", self.folder))
        os.chmod(path, 0o755)

    def start(self, number):
        environment = {name: value for name, value in os.environ.items() if not name.startswith("BRINDLE_")}
        environment["PATH"] = self.folder + "/programs:" + environment["PATH"]
        return subprocess.Popen([self.folder + "/clone/preview", "--out", f"{self.folder}/out{number}", self.folder + "/a.zip"],
                                env=environment, stdin=subprocess.DEVNULL, stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True)

    def test_each_builds_alone_and_keeps_what_it_has_installed(self):
        started = [self.start(number) for number in range(3)]
        said = [process.communicate(timeout=100)[0] for process in started]
        self.assertFalse(os.path.exists(self.folder + "/faults"), said)
        self.assertEqual([0, 0, 0], [process.returncode for process in started], said)

    def test_nothing_is_left_but_the_build(self):
        self.start(0).communicate(timeout=100)
        self.assertEqual(["preview.lock", "release"], sorted(os.listdir(self.folder + "/clone/build")))


if __name__ == "__main__":
    unittest.main()
