#!/usr/bin/python3
"""Zips that no honest packer writes, byte by byte.

  zips.py DIR [NAME...]       writes DIR/NAME.zip for each, or for all but those of SLOW
  zips.py --names             prints them
  zips.py --flips N DIR       writes N copies of an ordinary one with bits turned over, 0000.zip and on

Every one holds the document `plain.txt` with the text "plain". What would have to lie outside the folder that it is
unpacked in has CANARY in its name.
"""
import os
import random
import struct
import sys
import zlib

CANARY = "canary"
DOCUMENTS = "Brindle/My Documents/"
UNIX, DOS, NTFS = 3, 0, 11
ENCRYPTED, DESCRIPTOR, STRONG, UTF8 = 1, 8, 64, 0x800
DAY = 27 << 9 | 3 << 5 | 14  # 2007-03-14
LINK, FOLDER, FILE, PIPE, SOCKET, BLOCK, CHARACTER = 0o120000, 0o40000, 0o100000, 0o10000, 0o140000, 0o60000, 0o20000
MEBIBYTE = 1 << 20


def as_bytes(text):
    return text if isinstance(text, bytes) else text.encode()


class Zip:
    """Entries one after the other; what is not said of one is true."""

    def __init__(self):
        self.body = bytearray()
        self.list = []
        self.add(DOCUMENTS + "plain.txt", "plain")

    def add(self, name, content="", host=DOS, external=0x20, flags=0, method=0, packed=None, local=None, place=None,
            shown=None, **said):
        """`packed`: the bytes as they lie there, for a `method` that packs. `said` (crc, size, packed_size) is what the
        list says instead of the truth, `local` the entry's own header, a dictionary with the same and name. `place`:
        where the list says it lies; then nothing is written. `shown`: its name in the Unicode field."""
        name, content = as_bytes(name), as_bytes(content)
        data = content if packed is None else packed
        numbers = {"crc": zlib.crc32(content), "packed_size": len(data), "size": len(content)}
        extra = unicode_path(name, shown) if shown else b""
        begin = len(self.body) if place is None else place
        fields = {**numbers, **said}
        fields.update((key, value) for key, value in (local or {}).items() if key != "name")
        if place is None:
            own_name = as_bytes((local or {}).get("name", name))
            self.body += b"PK\3\4" + common(fields, flags, method, own_name, extra) + own_name + extra + data
        fields = {**numbers, **said}
        self.list.append(b"PK\1\2" + bytes([20, host]) + common(fields, flags, method, name, extra) +
                         struct.pack("<HHHII", 0, 0, 0, external, begin) + name + extra)
        return begin

    def unix(self, name, content="", mode=FILE | 0o644, **more):
        return self.add(name, content, host=UNIX, external=mode << 16, **more)

    def whole(self, comment=b"", before=b"", after=b"", count=None, large=None):
        """`large`: numbers of the second end record that differ from the truth."""
        listing = b"".join(self.list)
        count = len(self.list) if count is None else count
        end = b""
        if large is not None or count > 0xffff:
            numbers = {"count": count, "size": len(listing), "place": len(self.body), **(large or {})}
            end = b"PK\6\6" + struct.pack("<QHHIIQQQQ", 44, 45, 45, 0, 0, numbers["count"], numbers["count"],
                                          numbers["size"], numbers["place"])
            end += b"PK\6\7" + struct.pack("<IQI", 0, numbers.get("end", len(self.body) + len(listing)), 1)
            end += b"PK\5\6" + struct.pack("<HHHHII", 0, 0, 0xffff, 0xffff, 0xffffffff, 0xffffffff)
        else:
            end = b"PK\5\6" + struct.pack("<HHHHII", 0, 0, count, count, len(listing), len(self.body))
        return before + bytes(self.body) + listing + end + struct.pack("<H", len(comment)) + comment + after


def common(fields, flags, method, name, extra):
    return struct.pack("<HHHHHIIIHH", 20, flags, method, 0, DAY, fields["crc"] & 0xffffffff,
                       fields["packed_size"] & 0xffffffff, fields["size"] & 0xffffffff, len(name), len(extra))


def unicode_path(name, shown):
    body = b"\1" + struct.pack("<I", zlib.crc32(name)) + as_bytes(shown)
    return struct.pack("<HH", 0x7075, len(body)) + body


def zeros(mebibytes):
    """So many of them, deflated: a MiB over and over, with nothing that refers to what was before."""
    packer = zlib.compressobj(9, zlib.DEFLATED, -15)
    block = packer.compress(bytes(MEBIBYTE)) + packer.flush(zlib.Z_FULL_FLUSH)
    return block * mebibytes + b"\3\0"


# ---- Names that lead elsewhere ---------------------------------------------------------------------------

def climbing():
    made = Zip()
    for name in ("../../canary-up", "Brindle/../../../../../canary-up", "Brindle/My Documents/../../../canary-back",
                 "/canary-absolute", "//canary-two", "/etc/canary-etc", "C:\\canary-drive", "C:/canary-drive2",
                 "Brindle/My Documents/./../.././../canary-dots", "~/canary-home", "../../../root/.ssh/canary-key"):
        made.add(name, "out")
        made.unix(name, "out")
    return made.whole()


def backslashes():
    made = Zip()
    for number, host in enumerate((DOS, NTFS, UNIX)):
        made.add(f"..\\..\\..\\canary-{number}", "out", host=host)
        made.add(f"Brindle\\..\\..\\..\\canary-b{number}", "out", host=host)
        made.add(f"Brindle/My Documents/..\\..\\..\\..\\canary-m{number}", "out", host=host)
    return made.whole()


def other_letters():
    """Those whose names are mended after unzip."""
    made = Zip()
    for name in ("../../canary-ü", "/canary-ü", "Brindle/../../../canary-é", "Brindle/My Documents/../../../../tmp/canary-ß",
                 "Brindle/..\\..\\..\\canary-ö", "Brindle/../..\x01/../canary-è"):
        made.add(name, name, flags=UTF8)
        made.unix(name, name)
    for number, shown in enumerate(("../../../canary-a", "/canary-b", "Brindle/../../../canary-c", "..\\..\\canary-d")):
        made.add(DOCUMENTS + f"named{number}.txt", "u", shown=shown)
        made.add(DOCUMENTS + f"näméd{number}.txt", "u", shown=shown)
    return made.whole()


def control_marks():
    made = Zip()
    for number, mark in enumerate("\x01\t\n\r\x1b\x7f"):
        made.add(DOCUMENTS + f"a{mark}canary;touch /canary-{number}{mark}.txt", "c")
    made.add(DOCUMENTS.encode() + b"\0canary", "nul")
    made.add(DOCUMENTS.encode() + b"a\0/../../../canary-nul", "nul")
    made.add(b"", "no name")
    made.add("/", "")
    made.add(".", "dot")
    made.add("..", "dots")
    made.add("Brindle/..", "dots")
    return made.whole()


# ---- What is neither a file nor a folder -----------------------------------------------------------------

def links():
    made = Zip()
    for number, target in enumerate(("/etc", "../../../etc", "/root", "/tmp", ".", "/")):
        name = DOCUMENTS + f"link{number}"
        made.unix(name, target, mode=LINK | 0o777)
        made.unix(name + "/canary-through", "out")
        made.unix(name + f"/../canary-through{number}", "out")
    made.unix("Brindle/Desktop", "/root", mode=LINK | 0o777)
    made.unix("Brindle/Desktop/canary-desktop", "out")
    made.unix(DOCUMENTS + "lïnk", "/etc", mode=LINK | 0o777)
    made.unix(DOCUMENTS + "lïnk/canary-ï", "out")
    made.unix(DOCUMENTS + "passwd", "/etc/passwd", mode=LINK | 0o777)
    made.unix(DOCUMENTS + "passwd", "canary was here\n")
    made.unix(DOCUMENTS + "long", "x" * 70000, mode=LINK | 0o777)
    made.unix(DOCUMENTS + "empty", "", mode=LINK | 0o777)
    return made.whole()


def link_for_root():
    made = Zip()
    made.list.clear()
    made.body.clear()
    made.unix("Brindle", "/", mode=LINK | 0o777)
    made.unix("Brindle/canary-root", "out")
    made.unix("Brindle/etc/canary-etc", "out")
    return made.whole()


def devices():
    made = Zip()
    for number, kind in enumerate((PIPE, SOCKET, BLOCK, CHARACTER, 0o150000, 0)):
        made.unix(DOCUMENTS + f"device{number}", "x", mode=kind | 0o666)
        made.unix(DOCUMENTS + f"device-é{number}", "x", mode=kind | 0o666)
    made.unix("Brindle/Cookies.txt", "", mode=PIPE | 0o666)
    made.unix("Brindle/Bookmark.htm", "", mode=CHARACTER | 0o666)
    return made.whole()


def set_id_bits():
    made = Zip()
    for mode in (0o4755, 0o2755, 0o6777, 0o1777, 0o7777, 0o000, 0o444):
        made.unix(DOCUMENTS + f"set{mode:o}", "#!/bin/sh\n", mode=FILE | mode)
        made.unix(DOCUMENTS + f"folder{mode:o}/", mode=FOLDER | mode)
        made.unix(DOCUMENTS + f"folder{mode:o}/inner-ü", "#!/bin/sh\n", mode=FILE | mode)
    return made.whole()


# ---- Names that are the same, long, deep -----------------------------------------------------------------

def twins():
    made = Zip()
    for name in ("readme.txt", "README.TXT", "ReadMe.txt", "readme.txt.", "readme.txt ", "readme.txt;1"):
        made.add(DOCUMENTS + name, name)
    return made.whole()


def duplicates():
    made = Zip()
    for content in ("first", "second", "third"):
        made.add(DOCUMENTS + "same.txt", content)
        made.add(DOCUMENTS + "sämé.txt", content)
    made.add(DOCUMENTS + "both", "a file")
    made.add(DOCUMENTS + "both/inner.txt", "in a folder")
    made.add(DOCUMENTS + "other/inner.txt", "in a folder")
    made.add(DOCUMENTS + "other", "a file")
    made.add("Brindle", "a file")
    return made.whole()


def long_names():
    made = Zip()
    for size in (255, 256, 300, 5000, 65000):
        made.add(DOCUMENTS + "n" * (size - 4) + ".txt", "long")
        made.add(DOCUMENTS + "é" * (size // 2 - 2) + ".txt", "long")
    made.add(DOCUMENTS + "p" * 200 + "/" + "p" * 200 + "/" + "/".join(["p" * 230] * 25), "far")
    made.add(DOCUMENTS + "/".join(["é" * 100] * 25), "far")
    return made.whole()


def deep():
    made = Zip()
    for level in (100, 500):
        made.add(DOCUMENTS + f"{level}/" + "d/" * level + "end", "deep")
        made.add(DOCUMENTS + f"ü{level}/" + "d/" * level + "end", "deep")
    made.add("Brindle/é/" + "d/" * 32000, "")
    return made.whole()


# ---- Bombs -----------------------------------------------------------------------------------------------

def ratio():
    """4 GB, and says so: there is room or there is not."""
    made = Zip()
    made.add(DOCUMENTS + "zeros", packed=zeros(4000), method=8, size=4000 * MEBIBYTE)
    return made.whole()


def lying_ratio():
    """10 GB, and says 10 bytes."""
    made = Zip()
    made.add(DOCUMENTS + "zeros", packed=zeros(10240), method=8, size=10)
    return made.whole()


def lying_ratio_other_letters():
    """A name that is mended by taking the file from the archive once more."""
    made = Zip()
    made.add(DOCUMENTS + "Zérôs", packed=zeros(3000), method=8, size=10)
    return made.whole()


def many_lies():
    made = Zip()
    packed = zeros(100)
    for number in range(50):
        made.add(DOCUMENTS + f"zeros{number}", packed=packed, method=8, size=10)
    return made.whole()


def overlapping():
    """One packed file, a hundred times in the list."""
    made = Zip()
    packed = zeros(100)
    place = made.add(DOCUMENTS + "zeros0", packed=packed, method=8, size=100 * MEBIBYTE)
    for number in range(1, 100):
        made.add(DOCUMENTS + f"zeros{number}", packed=packed, method=8, size=100 * MEBIBYTE, place=place)
    return made.whole()


def overlapping_lies():
    made = Zip()
    packed = zeros(100)
    place = made.add(DOCUMENTS + "zeros0", packed=packed, method=8, size=1)
    for number in range(1, 100):
        made.add(DOCUMENTS + f"zeros{number}", packed=packed, method=8, size=1, place=place)
    return made.whole()


def count(number=1_000_000):
    made = Zip()
    for at in range(number):
        made.add(f"{DOCUMENTS}{at}")
    return made.whole()


def count_other_letters():
    """Empty ones whose names are mended, all of the same content."""
    made = Zip()
    for at in range(60_000):
        made.add(f"{DOCUMENTS}é{at}")
    return made.whole()


def numbered(letters="abcdefghijklmnopqrstuvwxyz0123456789ABCDEFGHIJKLMNOPQRSTUVWXYZ"):
    """Names that become one when they are cut for a number, each given twice."""
    made = Zip()
    for one in letters:
        for other in letters:
            begin = (DOCUMENTS + "é" * 124 + "n" + one + other).encode()
            made.add(begin + b".txt")
            made.add(begin + b"\x01.txt")
    return made.whole()


# ---- Lies in numbers -------------------------------------------------------------------------------------

def lying_sizes(lies=({"size": 1}, {"size": 0}, {"size": 0xfffffffe}, {"packed_size": 0}, {"packed_size": 0xfffffffe},
                      {"crc": 1})):
    made = Zip()
    packed = zlib.compress(b"text " * 1000)[2:-4]
    text = "text " * 1000
    for number, said in enumerate(lies):
        made.add(DOCUMENTS + f"deflated{number}", text, packed=packed, method=8, **said)
        made.add(DOCUMENTS + f"stored{number}", text, **said)
        made.add(DOCUMENTS + f"störed{number}", text, **said)
        made.add(DOCUMENTS + f"own{number}", text, local=said)
    return made.whole()


def lying_large():
    """Numbers that stand for others in a field that is not there."""
    return lying_sizes(({"size": 0xffffffff}, {"packed_size": 0xffffffff, "size": 0xffffffff}))


def mismatch():
    made = Zip()
    for number, local in enumerate(({"name": "../../canary-local"}, {"name": "/canary-local"}, {"name": b""},
                                    {"name": DOCUMENTS + "other.txt"}, {"size": 1, "packed_size": 1, "crc": 1})):
        made.add(DOCUMENTS + f"named{number}.txt", "text", local=local)
        made.add(DOCUMENTS + f"näméd{number}.txt", "text", local=local)
    return made.whole()


def places():
    made = Zip()
    for number, place in enumerate((1, 0x7fffffff, 0xfffffffe, 3)):
        made.add(DOCUMENTS + f"elsewhere{number}", "text", place=place)
        made.add(DOCUMENTS + f"ëlsewhere{number}", "text", place=place)
    return made.whole()


def counts():
    made = Zip()
    made.add(DOCUMENTS + "second.txt", "second")
    return made.whole(count=60000)


def methods():
    made = Zip()
    for method in (1, 5, 6, 9, 12, 14, 93, 95, 97, 98, 99, 0xffff):
        made.add(DOCUMENTS + f"method{method}", "text", method=method)
        made.add(DOCUMENTS + f"méthod{method}", "text", method=method)
    return made.whole()


def descriptors():
    made = Zip()
    for number, flags in enumerate((DESCRIPTOR, DESCRIPTOR | STRONG, 0x2000, 0xffff & ~ENCRYPTED)):
        made.add(DOCUMENTS + f"flags{number}", "text", flags=flags, local={"crc": 0, "size": 0, "packed_size": 0})
    return made.whole()


def large_numbers(**numbers):
    made = Zip()
    made.add(DOCUMENTS + "second.txt", "second")
    return made.whole(large=numbers)


def large_entries():
    made = Zip()
    made.add(DOCUMENTS + "huge.txt", "huge", size=0xffffffff)
    record = made.list[-1]
    field = struct.pack("<HHQ", 1, 8, 1 << 63)
    made.list[-1] = record[:30] + struct.pack("<H", len(field)) + record[32:] + field
    made.add(DOCUMENTS + "hüge.txt", "huge", size=0xffffffff)
    record = made.list[-1]
    made.list[-1] = record[:30] + struct.pack("<H", len(field)) + record[32:] + field
    return made.whole(large={})


def broken_fields():
    made = Zip()
    for number, extra in enumerate((b"\x75\x70\xff\xff\1", b"\1\0\xff\xff", b"\x75\x70\0\0" * 50, b"\1", b"up\3\0\1\0\0")):
        made.add(DOCUMENTS + f"fiéld{number}.txt", "text")
        record = made.list[-1]
        made.list[-1] = record[:30] + struct.pack("<H", len(extra)) + record[32:] + extra
    return made.whole()


def encrypted():
    """Said to be, and is not; a folder that is; too short for the key's header."""
    made = Zip()
    made.add(DOCUMENTS + "said.txt", "this is no secret at all", flags=ENCRYPTED)
    made.add(DOCUMENTS + "short.txt", "short", flags=ENCRYPTED)
    made.add(DOCUMENTS + "none.txt", "", flags=ENCRYPTED)
    made.add(DOCUMENTS + "folder/", "", flags=ENCRYPTED, external=0x10)
    made.add(DOCUMENTS + "bomb.txt", packed=bytes(12) + zeros(2000), method=8, size=1, flags=ENCRYPTED)
    return made.whole()


def encrypted_otherwise():
    made = Zip()
    made.add(DOCUMENTS + "strong.txt", "x" * 40, flags=ENCRYPTED | STRONG)
    made.add(DOCUMENTS + "aes.txt", "x" * 40, flags=ENCRYPTED, method=99)
    return made.whole()


def frames():
    return Zip().whole(comment=b"PK\5\6" + bytes(18) + b"$(touch /canary-comment)\x1b[2J", before=b"#!/bin/sh\ntouch /canary\n",
                       after=b"trailing" * 100)


def two_lists():
    """Another whole archive in the comment of the first, which a reader from the end finds first."""
    other = Zip()
    other.add("../../canary-other", "out")
    return Zip().whole(comment=other.whole())


def long_comment():
    return Zip().whole(comment=b"\0" * 65535)


def empty():
    return b"PK\5\6" + bytes(18)


def no_list():
    return b"PK\3\4" + bytes(26)


def nothing_of_ours():
    made = Zip()
    made.list.clear()
    made.body.clear()
    made.add("Other/My Documents/a.txt", "a")
    return made.whole()


KINDS = {
    "climbing": climbing, "backslashes": backslashes, "other-letters": other_letters, "control-marks": control_marks,
    "links": links, "link-for-root": link_for_root, "devices": devices, "set-id-bits": set_id_bits, "twins": twins,
    "duplicates": duplicates, "long-names": long_names, "deep": deep, "ratio": ratio, "lying-ratio": lying_ratio,
    "lying-ratio-other-letters": lying_ratio_other_letters, "many-lies": many_lies, "overlapping": overlapping,
    "overlapping-lies": overlapping_lies, "count": count, "count-other-letters": count_other_letters,
    "numbered": numbered, "lying-sizes": lying_sizes, "lying-large": lying_large, "mismatch": mismatch, "places": places, "counts": counts,
    "methods": methods, "descriptors": descriptors, "large-numbers": large_numbers,
    "large-count": lambda: large_numbers(count=1 << 60), "large-size": lambda: large_numbers(size=1 << 60),
    "large-place": lambda: large_numbers(place=1 << 62), "large-end": lambda: large_numbers(end=1 << 62),
    "large-entries": large_entries, "broken-fields": broken_fields, "encrypted": encrypted,
    "encrypted-otherwise": encrypted_otherwise, "frames": frames, "two-lists": two_lists, "long-comment": long_comment,
    "empty": empty, "no-list": no_list, "nothing-of-ours": nothing_of_ours,
}

# Those that take a disk or their seconds to unpack.
SLOW = ("ratio", "lying-ratio", "lying-ratio-other-letters", "many-lies", "overlapping", "overlapping-lies", "count",
        "count-other-letters", "numbered", "encrypted")


def ordinary():
    """An honest one of a few entries, to be broken."""
    made = Zip()
    text = b"A line of text.\n" * 40
    packed = zlib.compress(text)[2:-4]
    made.add("Brindle/users.txt", "Default=ann\r\nMultiUser Migration=0\r\n")
    made.add(DOCUMENTS + "deflated.txt", text, packed=packed, method=8)
    made.add(DOCUMENTS + "Grüße.txt", "Grüße", flags=UTF8)
    made.unix(DOCUMENTS + "unix/file", "unix")
    made.add(DOCUMENTS + "named.txt", "named", shown=DOCUMENTS + "图.txt")
    made.add("Brindle/Desktop/", "", external=0x10)
    return made.whole(comment=b"a comment")


def truncated():
    """The ordinary one, ended at each place where something begins, and one byte to both sides."""
    whole = ordinary()
    marks = (b"PK\1\2", b"PK\3\4", b"PK\5\6", b"Brindle", b"a comment")
    begins = {at for at in range(len(whole)) if whole[at:at + 9].startswith(marks)}
    ends = sorted({at + off for at in begins for off in (-1, 0, 1, 4, 12, 30)} & set(range(len(whole))))
    return {f"cut{end:05}": whole[:end] for end in ends}


def flipped(number, seed=20):
    """Copies of the ordinary one with one to eight bits turned over."""
    chance = random.Random(seed)
    whole = ordinary()
    for at in range(number):
        broken = bytearray(whole)
        for _ in range(chance.choice((1, 1, 1, 2, 4, 8))):
            bit = chance.randrange(len(whole) * 8)
            broken[bit // 8] ^= 1 << bit % 8
        yield f"{at:04}", bytes(broken)


def write(folder, name, content):
    os.makedirs(folder, exist_ok=True)
    with open(f"{folder}/{name}.zip", "wb") as file:
        file.write(content)


def main(words):
    if words == ["--names"]:
        print(*KINDS)
        return
    if words[0] == "--flips":
        for name, content in (*flipped(int(words[1])), *truncated().items()):
            write(words[2], name, content)
        return
    folder, *names = words
    for name in names or [name for name in KINDS if name not in SLOW]:
        write(folder, name, KINDS[name]())


if __name__ == "__main__":
    main(sys.argv[1:])
