#!/usr/bin/env python3
"""Writes an archive of many tiny stored records, for measuring a mount.

    bench/tiny_records.py OUT.zip COUNT

Names spread over 100 folders; each member holds a few dozen bytes.
"""
import sys
import zipfile

out, count = sys.argv[1], int(sys.argv[2])
with zipfile.ZipFile(out, "w", zipfile.ZIP_STORED) as archive:
    for i in range(count):
        info = zipfile.ZipInfo(f"dir{i % 100:02d}/file{i:07d}.txt", (2024, 1, 1, 0, 0, 0))
        archive.writestr(info, f"member {i} of a mount benchmark\n")
