#!/usr/bin/env python3
"""Writes an archive of many tiny stored records, for measuring a mount.

    bench/tiny_records.py OUT.zip COUNT [--bare]

Names spread over 100 folders; each member holds a few dozen bytes. With
--bare, the smallest records there are: local headers with seven-character
names and no data, and no central directory (the walk needs none).
"""
import struct
import sys
import zipfile

out, count = sys.argv[1], int(sys.argv[2])
if "--bare" in sys.argv[3:]:
    with open(out, "wb") as archive:
        for i in range(count):
            name = f"{i:07x}".encode()
            archive.write(struct.pack("<IHHHHHIIIHH", 0x04034B50, 10, 0, 0, 0, 0x5821, 0, 0, 0,
                                      len(name), 0) + name)
else:
    with zipfile.ZipFile(out, "w", zipfile.ZIP_STORED) as archive:
        for i in range(count):
            info = zipfile.ZipInfo(f"dir{i % 100:02d}/file{i:07d}.txt", (2024, 1, 1, 0, 0, 0))
            archive.writestr(info, f"member {i} of a mount benchmark\n")
