"""Writes one archive for each way the central directory and the local
headers can tell two stories, and prints "FILE<TAB>PATTERN" for each: what
`velmio check FILE` must name. Byte-level, so that every field can lie."""
import struct
import sys
import zlib

PK34, PK12, PK56 = 0x04034B50, 0x02014B50, 0x06054B50


def local(name, data, flags=0, method=0, crc=None, size=None, extra=b""):
    crc = zlib.crc32(data) if crc is None else crc
    size = len(data) if size is None else size
    return struct.pack("<IHHHHHIIIHH", PK34, 20, flags, method, 0, 0x21, crc, size, size,
                       len(name), len(extra)) + name + extra + data


def central(name, data, offset, flags=0, method=0, crc=None, size=None, extra=b""):
    crc = zlib.crc32(data) if crc is None else crc
    size = len(data) if size is None else size
    return struct.pack("<IHHHHHHIIIHHHHHII", PK12, 20, 20, flags, method, 0, 0x21, crc, size,
                       size, len(name), len(extra), 0, 0, 0, 0, offset) + name + extra


def end(count, size, offset, comment=b""):
    return struct.pack("<IHHHHIIH", PK56, 0, 0, count, count, size, offset,
                       len(comment)) + comment


def archive(members, listed=None, prefix=b"", gap=b"", comment=b"", shift=0):
    """members: (name, data, local changes, central changes); listed: the
    members that get a central entry, by index, default all."""
    body, offsets = prefix, []
    for name, data, local_changes, _ in members:
        offsets.append(len(body))
        body += local(name, data, **local_changes)
    directory = b""
    for i in range(len(members)) if listed is None else listed:
        name, data, _, central_changes = members[i]
        changes = dict(central_changes)
        directory += central(changes.pop("name", name), data, offsets[i], **changes)
    body += gap
    count = len(directory) and (len(members) if listed is None else len(listed))
    return body + directory + end(count, len(directory), len(body) + shift, comment)


def m(name, data=b"asset bytes", local_changes=None, central_changes=None):
    return (name, data, local_changes or {}, central_changes or {})


a, b = m(b"a.txt"), m(b"b.txt", b"other bytes")
hidden = m(b"x.txt", b"hidden")
unicode_path = struct.pack("<BI", 1, zlib.crc32(b"a.txt")) + b"evil.txt"
inner = local(b"inner.txt", b"inside")
fake_end = end(1, 46, 0)
CASES = {
    "clean": (archive([a, b]), ""),
    "hidden-before": (archive([hidden, a, b], [1, 2]), "x.txt: the library loads a record"),
    "hidden-between": (archive([a, hidden, b], [0, 2]), "x.txt: the library loads a record"),
    "hidden-behind": (archive([a, b, hidden], [0, 1]), "x.txt: the library loads a record"),
    "name": (archive([a, m(b"b.txt", central_changes={"name": b"c.txt"})]),
             "c.txt: the local header names it b.txt"),
    "method": (archive([a, m(b"b.txt", central_changes={"method": 8})]), "b.txt: method 8"),
    "flags": (archive([m(b"a.txt", central_changes={"flags": 1 << 11})]), "a.txt: flags"),
    "crc": (archive([m(b"a.txt", central_changes={"crc": 1})]), "a.txt: CRC-32"),
    "size": (archive([m(b"a.txt", local_changes={"size": 5})]), "a.txt: CRC-32 or sizes"),
    "zip64": (archive([m(b"a.txt", central_changes={
        "size": 0xFFFFFFFF, "extra": struct.pack("<HHQQ", 1, 16, 11, 5)})]),
        "a.txt: CRC-32 or sizes .Zip64"),
    "unicode": (archive([m(b"a.txt", central_changes={
        "extra": struct.pack("<HH", 0x7075, len(unicode_path)) + unicode_path})]),
        "a.txt: its Unicode path field names evil.txt"),
    "nul": (archive([m(b"a.txt\0.exe")]), "a.txt.x00.exe: its name holds a NUL"),
    "two-records": (archive([a, m(b"a.txt", b"second")]), "a.txt: a second record"),
    "two-entries": (archive([a, b], [0, 0]), "a.txt: its central entry points to the record"),
    "before": (archive([a], prefix=b"#!stub\n"), "7 bytes of data before the first record"),
    "end-to-end": (archive([a]) + archive([b]), "archives end to end"),
    "second-end": (archive([a], comment=fake_end), "a second end record"),
    "offset": (archive([a], shift=-4), "the end record puts the central directory"),
    "gap": (archive([a], gap=b"padding"), "the central directory begins at offset"),
    "descriptor": (archive([m(b"a.txt", local_changes={"flags": 8, "crc": 0, "size": 0},
                              central_changes={"flags": 8})]), "a.txt: its data descriptor"),
}
# The central entry of inner.txt points into outer.bin's stored bytes, where a
# whole local record lies.
outer = local(b"outer.bin", inner)
at = len(local(b"outer.bin", b""))
directory = central(b"outer.bin", inner, 0) + central(b"inner.txt", b"inside", at)
CASES["inside"] = (outer + directory + end(2, len(directory), len(outer)),
                   "inner.txt: its record lies inside the data of outer.bin")

# Junk between two records ends the library's walk before the second.
first = local(b"a.txt", b"asset bytes") + b"junk"
directory = central(b"a.txt", b"asset bytes", 0) + central(b"b.txt", b"other bytes", len(first))
first += local(b"b.txt", b"other bytes")
CASES["partly"] = (first + directory + end(2, len(directory), len(first)), "b.txt: not seen")

for case, (data, pattern) in CASES.items():
    path = f"{sys.argv[1]}/{case}.zip"
    with open(path, "wb") as out:
        out.write(data)
    print(f"{path}\t{pattern}")
