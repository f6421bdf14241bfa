"""Tables as text: a line with the names of the columns, then one line a row, cells separated by tabs."""


def escape(cell):
    return str(cell).replace("\\", "\\\\").replace("\t", "\\t").replace("\n", "\\n")


def write(path, columns, rows):
    """Writes `rows`, sequences of cells; the last column may go on over several cells."""
    with open(path, "w", encoding="utf-8", errors="surrogateescape") as table:
        table.write("\t".join(columns) + "\n")
        for row in rows:
            table.write("\t".join(escape(cell) for cell in row) + "\n")


def read_rows(path):
    """The rows of a table as lists of cells, still escaped; empty when there is no such file."""
    return read_lines(path)[1:]


def read_lines(path):
    try:
        with open(path, encoding="utf-8", errors="surrogateescape", newline="\n") as table:
            return [line.rstrip("\n").split("\t") for line in table]
    except FileNotFoundError:
        return []
