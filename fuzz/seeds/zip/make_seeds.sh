#!/bin/sh
# Rebuilds the archives beside this script from input/ with other tools: seeds
# of the archive fuzzer in the shapes real writers give.
# Dates are fixed so that the archives and the tests do not depend on when or
# where they were made.
set -eu
cd "$(dirname "$0")"
export TZ=UTC
find input -exec touch -d "2021-06-15 12:34:56" {} +
rm -f infozip-stored.zip infozip-deflated.zip python.zip python-pipe.zip jar-deflated.jar \
  jar-stored.jar
(cd input && zip -q -X -r -0 ../infozip-stored.zip hello.txt docs bin)
(cd input && zip -q -X -r -9 ../infozip-deflated.zip hello.txt docs bin)
python3 - <<'PY'
import os, zipfile
with zipfile.ZipFile("python.zip", "w") as z:
    for root, dirs, files in sorted(os.walk("input")):
        rel = os.path.relpath(root, "input")
        if rel != ".":
            z.write(root, rel + "/")
        for name in sorted(files):
            path = os.path.join(root, name)
            arc = os.path.normpath(os.path.join(rel, name))
            method = zipfile.ZIP_STORED if name.endswith(".dat") else zipfile.ZIP_DEFLATED
            z.write(path, arc, compress_type=method)
PY
# A pipe cannot seek back: every record is streamed, its sizes in a descriptor.
python3 - <<'PY' | cat >python-pipe.zip
import os, sys, zipfile
with zipfile.ZipFile(sys.stdout.buffer, "w") as z:
    for root, dirs, files in sorted(os.walk("input")):
        rel = os.path.relpath(root, "input")
        for name in sorted(files):
            info = zipfile.ZipInfo(os.path.normpath(os.path.join(rel, name)), (2021, 6, 15, 12, 34, 56))
            info.compress_type = zipfile.ZIP_STORED if name.endswith(".dat") else zipfile.ZIP_DEFLATED
            with open(os.path.join(root, name), "rb") as f, z.open(info, "w") as out:
                out.write(f.read())
PY
(cd input && jar --no-manifest -c -f ../jar-deflated.jar hello.txt docs bin)
(cd input && jar --no-manifest -c -0 -f ../jar-stored.jar hello.txt docs bin)
