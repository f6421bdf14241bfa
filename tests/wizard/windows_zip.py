"""Zips as packers on Windows write them: names in a code page, attributes of DOS."""
import struct
import zlib

DAY = 27 << 9 | 3 << 5 | 14  # 2007-03-14
READ_ONLY = 0x21
PLAIN = 0x20


def write(path, files):
    """Writes stored entries: (name as bytes, content as bytes[, DOS attributes]) each, in this order."""
    body, listing = [], []
    offset = 0
    for name, content, *rest in files:
        attributes = rest[0] if rest else PLAIN
        common = struct.pack("<HHHHHIIIHH", 20, 0, 0, 0, DAY, zlib.crc32(content), len(content), len(content),
                             len(name), 0)
        entry = b"PK\3\4" + common + name + content
        listing.append(b"PK\1\2" + struct.pack("<H", 20) + common + struct.pack("<HHHII", 0, 0, 0, attributes, offset) +
                       name)
        body.append(entry)
        offset += len(entry)
    directory = b"".join(listing)
    with open(path, "wb") as file:
        file.write(b"".join(body) + directory)
        file.write(b"PK\5\6" + struct.pack("<HHHHIIH", 0, 0, len(files), len(files), len(directory), offset, 0))
