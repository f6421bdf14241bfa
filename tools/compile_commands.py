"""The commands that compile the source, as a configured build has them in compile_commands.json."""
import json
import re

INCLUDED = re.compile(r'^#include "([^"]+\.cpp)"', re.M)


def commands_of(build):
    """The command by the path of each source file. Files that are compiled together have that of all of them."""
    commands = {}
    with open(f"{build}/compile_commands.json", encoding="utf-8") as file:
        entries = json.load(file)
    for entry in entries:
        commands[entry["file"]] = entry["command"]
        if "/Unity/" in entry["file"]:
            with open(entry["file"], encoding="utf-8") as file:
                commands.update((path, entry["command"]) for path in INCLUDED.findall(file.read()))
    return commands
