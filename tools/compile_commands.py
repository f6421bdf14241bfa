"""The commands that compile the source, as a configured build has them in compile_commands.json."""
import json
import os
import re

INCLUDED = re.compile(r'^#include "([^"]+\.cpp)"', re.M)


def commands_of(build):
    """The command by the path of each source file. Files that are compiled together have that of all of them."""
    commands = {}
    with open(f"{build}/compile_commands.json", encoding="utf-8") as file:
        entries = json.load(file)
    for entry in entries:
        commands[entry["file"]] = entry["command"]
        folder = os.path.dirname(entry["file"])
        if os.path.basename(os.path.dirname(folder)) == "batches":
            with open(entry["file"], encoding="utf-8") as file:
                for name in INCLUDED.findall(file.read()):
                    commands[os.path.normpath(os.path.join(folder, name))] = entry["command"]
    return commands
