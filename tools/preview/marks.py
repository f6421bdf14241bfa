"""The progress marks, as the wizard's own register has them."""
import os
import re

REGISTER = os.path.join(os.path.dirname(os.path.abspath(__file__)), "../../src/system/marks.def")
LINE = re.compile(r'MARK\((\d+), (\w+), "([^"]+)"\)')


def read(path=REGISTER):
    """The text key of each mark's row, by the mark's number, in the order of the rows."""
    with open(path, encoding="utf-8") as file:
        lines = [line.strip() for line in file if line.strip() and not line.startswith("//")]
    marks = {}
    for line in lines:
        found = LINE.fullmatch(line)
        if found is None or int(found[1]) in marks:
            raise ValueError(f"{path}: not one more mark: {line}")
        marks[int(found[1])] = found[3]
    if not marks:
        raise ValueError(f"{path}: no marks")
    return marks
