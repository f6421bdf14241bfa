"""What packages need, as dpkg knows the machine's.

    dependencies.closure({"brindle"})          # it, all it depends on, and what is on every machine
    dependencies.programs_of({"unzip"})        # {"unzip": Path("/usr/bin/unzip"), "zipinfo": ...}
"""
import dataclasses
import re
import subprocess
from pathlib import Path

FOLDERS = ("/usr/local/sbin", "/usr/local/bin", "/usr/sbin", "/usr/bin", "/sbin", "/bin")
FORMAT = "${Package}\t${db:Status-Abbrev}\t${Essential}\t${Provides}\t${Pre-Depends}, ${Depends}\n"

# What stands in a shell's command line where a command can, and is none.
WORDS_OF_SHELL = {"then", "else", "fi", "if", "do", "done", "true", "exit", "set", "unset", "cd", "exec", "test"}


@dataclasses.dataclass
class Package:
    is_essential: bool
    provides: set
    depends: list  # of lists, each with what serves as well


def alternatives(text):
    """[["a"], ["b", "c"]] of "a (>= 1), b:any | c"."""
    fields = [field for field in text.split(",") if field.strip() and "${" not in field]
    return [[re.match(r"\s*([a-z0-9+.-]+)", name)[1] for name in field.split("|")] for field in fields]


def installed():
    packages = {}
    for line in subprocess.run(["dpkg-query", "-W", "-f", FORMAT], check=True, capture_output=True,
                               text=True).stdout.splitlines():
        name, status, essential, provides, depends = line.split("\t")
        if status.startswith("ii"):
            packages[name] = Package(essential == "yes", {names[0] for names in alternatives(provides)},
                                     alternatives(depends))
    return packages


def named(control, *fields):
    """The packages that a control file names in these fields, the first where others serve as well."""
    text = "".join(line for line in Path(control).read_text().splitlines(True) if not line.startswith("#"))
    found = [re.search(rf"(?m)^{field}:((?:.*\n)(?: .*\n)*)", text)[1] for field in fields]
    return {names[0] for names in alternatives(",".join(found).replace("\n", ""))}


def closure(names):
    packages = installed()
    serves = {}
    for name, package in packages.items():
        for other in package.provides:
            serves.setdefault(other, []).append(name)
    waiting = [*names, *(name for name, package in packages.items() if package.is_essential)]
    found = set()
    while waiting:
        name = waiting.pop()
        name = name if name in packages else min(serves.get(name, [None]), key=str)
        if name in found or name is None:
            continue
        found.add(name)
        for choice in packages[name].depends:
            waiting += [other for other in choice if other in packages or other in serves][:1]
    return found


def programs_of(names):
    """Programs by name, with those that are reached through the links of /etc/alternatives."""
    lists = {path.name.removesuffix(".list").partition(":")[0]: path for path in Path("/var/lib/dpkg/info").glob("*.list")}
    found = {}
    for name in names:
        for path in map(Path, lists[name].read_text().splitlines()):
            if str(path.parent) in FOLDERS:
                found[path.name] = path
    real = {path.resolve() for path in found.values()}
    for link in (link for folder in FOLDERS for link in Path(folder).iterdir() if link.is_symlink()):
        if str(link.readlink()).startswith("/etc/alternatives/") and link.resolve() in real:
            found.setdefault(link.name, link)
    return found


def commands_in_source(folder):
    """The first words of the commands that are composed, and of those that are started without a shell."""
    words = set()
    for path in Path(folder).rglob("*.cpp"):
        text = re.sub(r"//.*", "", path.read_text())
        for command in re.findall(r'(?:compose|SYSTEM|run_unlogged|execute_first)\(\s*(?:compose\()?\s*"((?:[^"\\]|\\.)*)"', text):
            words |= {part.split()[0] for part in re.split(r"\||;|&&", command) if part.split()}
        words |= set(re.findall(r'(?:run_program(?:_for)?\((?:\w+(?:\.\w+)?, )?|\brun\()\{\s*"([a-z0-9-]+)"', text))
    return {word for word in words if re.fullmatch(r"[a-z][a-z0-9_.-]*", word)} - WORDS_OF_SHELL


def libraries_in_source(folder):
    """Those that are loaded with their first call, with the packages that have them: {"libzip.so.4": {"libzip4"}}."""
    text = "".join(path.read_text() for path in Path(folder).rglob("*_calls.h"))
    names = set(re.findall(r'Library \w+\{"([^"]+)"\}', text))
    return {name: packages_with(name) for name in names}


def packages_with(library):
    listed = subprocess.run(["dpkg-query", "-S", f"*/{library}"], check=False, capture_output=True, text=True).stdout
    return {line.partition(":")[0] for line in listed.splitlines()}
