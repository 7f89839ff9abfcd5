#!/usr/bin/env bash
# Drives the built velmio tool as a user would: a process, its output and its
# exit status.   tool_test.sh TOOL SAMPLE_ZIP EXAMPLES_DIR CORPUS_DIR
# Python 3 writes the archives that check must refuse.
set -uo pipefail
tool=$1 sample=$2 examples=$3 corpus=$4
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
failures=0
fail() { echo "FAIL: $*" >&2; failures=$((failures + 1)); }

# expect STATUS PATTERN ARGS...: velmio ARGS exits with STATUS and its
# standard output and error together match the extended regex PATTERN.
expect() {
  local status=$1 pattern=$2 out got
  shift 2
  out=$("$tool" "$@" 2>&1)
  got=$?
  [ "$got" -eq "$status" ] || fail "velmio $* exited $got, not $status: $out"
  grep -Eq -- "$pattern" <<<"$out" || fail "velmio $* printed no /$pattern/: $out"
}

# Local headers only, which is all the library reads: name, method, data.
le() { local i; for ((i = 0; i < $2; i++)); do printf "\\x$(printf %02x $(($1 >> 8 * i & 255)))"; done; }
record() {
  printf 'PK\003\004'; le 20 2; le 0 2; le "$2" 2; le 0 4; le 0 4
  le ${#3} 4; le ${#3} 4; le ${#1} 2; le 0 2; printf '%s%s' "$1" "$3"
}

s=$examples/sample
t=$examples/textures
while read -r status pattern args; do
  # shellcheck disable=SC2086  # the table's arguments split on blanks
  args=${args//SAMPLE/$sample} args=${args//EXAMPLES/$examples}
  expect "$status" "$pattern" ${args//WORK/$work}
done <<'CASES'
0 ^data$                               ls SAMPLE
0 textures.zip                         ls --via mmap SAMPLE
0 ^docs/guide$                         ls SAMPLE docs
0 ^docs/guide/first-steps.txt$         ls -r SAMPLE docs
0 [0-9]+\s+deflated\s+[0-9]+\s+[0-9]+%\s.*\s[0-9a-f]{8}\s+docs/guide/first  ls -r -l SAMPLE
0 ^\s+-\s+dir\s+-\s+-\s.*\sdocs$        ls -l SAMPLE
0 ^tiles/grass.png$                    ls -r SAMPLE::textures.zip
0 method:\s+deflated                   stat SAMPLE docs/readme.txt
0 CRC-32:\s+[0-9a-f]{8}                stat --via sys SAMPLE data/noise.bin
0 kind:\s+directory                    stat SAMPLE docs/guide
0 files:\s+5                           stat SAMPLE
0 8.members,.0.problems                check SAMPLE
0 4.members,.0.problems                check --via mmap SAMPLE::textures.zip
0 ^velmio.[0-9]+[.][0-9]+[.][0-9]+$    --version
1 no.such.file                         ls MISSING.zip
1 no.such.file                         ls SAMPLE::missing.zip
1 no.member.nope.txt                   cat SAMPLE docs/readme.txt nope.txt
1 docs.is.a.directory                  cat SAMPLE docs
1 is.a.directory,.not.an.archive       cat EXAMPLES a
1 no.member.docs/nope                  stat SAMPLE docs/nope
1 no.directory.nope                    ls SAMPLE nope
1 nope/\*:.no.member                   extract SAMPLE WORK/none docs/guide nope/*
2 unknown.command.frobnicate           frobnicate SAMPLE
2 unknown.option.-x                    ls -x SAMPLE
2 --via.takes                          cat --via tape SAMPLE a
2 --level.takes                        pack EXAMPLES WORK/x.zip --level 13
2 missing.operand                      extract SAMPLE
0 usage:.velmio.COMMAND                --help
CASES
for command in ls cat stat extract check pack; do
  expect 0 "usage: velmio $command" "$command" --help
done

# cat gives the bytes unchanged, stored and deflated, through every back-end.
for via in sys cfile mmap; do
  "$tool" cat --via "$via" "$sample" data/noise.bin docs/readme.txt |
    cmp -s - <(cat "$s/data/noise.bin" "$s/docs/readme.txt") || fail "cat --via $via differs"
  "$tool" cat --via "$via" "$sample::textures.zip" tiles/grass.png palette.txt |
    cmp -s - <(cat "$t/tiles/grass.png" "$t/palette.txt") || fail "nested cat --via $via differs"
done

# pack: the library reads all of it, and Info-ZIP agrees.
"$tool" pack "$examples" "$work/packed.zip" --store png,bin || fail "pack exited $?"
expect 0 "members,.0.problems" check "$work/packed.zip"
unzip -tq "$work/packed.zip" >/dev/null || fail "unzip -t refuses the packed archive"
methods=$(unzip -Z -v "$work/packed.zip" | grep -o 'method: *[a-z]*' | sort | uniq -c | tr -s ' ')
[ "$methods" = " 4 method: deflated
 9 method: none" ] || fail "packed methods: $methods"

# 65,536 members need the Zip64 end record, which Info-ZIP reads too.
mkdir "$work/many"
for ((i = 0; i < 65536; i++)); do : >"$work/many/f$i"; done
"$tool" pack "$work/many" "$work/many.zip" || fail "pack of 65,536 files exited $?"
expect 0 "65536 members, 0 problems" check "$work/many.zip"
unzip -tq "$work/many.zip" >/dev/null || fail "unzip -t refuses the archive of 65,536 members"

# check refuses each way two readers can see one archive differently, naming
# the member, and passes what real tools write.
mkdir "$work/differ"
python3 "$(dirname "$0")/differentials.py" "$work/differ" >"$work/cases" || fail "differentials.py"
while IFS=$'\t' read -r archive pattern; do
  if [ -z "$pattern" ]; then expect 0 "0 problems" check "$archive"; else expect 1 "$pattern" check "$archive"; fi
done <"$work/cases"
# The corpus's ordinary archives pass, as does every jar that Debian installed;
# the deliberately broken or strange ones may go either way, but never crash.
strange='incons-|encrypt|pkware|gap|bzip2|lzma|xz|zstd|broken|bogus|truncated|junk-at-start|prefix'
strange+='|bad|notzip|png$|dict$|duplicate|hmac|cp437|multidisk|standardization|in-archive-comment'
strange+='|gh_7|incorrect_number|large_cd_comment|minizip-ng/zip64'
if [ -d "$corpus" ]; then
  while read -r archive; do
    if grep -Eq "$strange" <<<"$archive"; then
      "$tool" check --via sys "$archive" >/dev/null 2>&1
      [ $? -le 1 ] || fail "check of $archive crashed"
    else
      expect 0 "0 problems" check --via sys "$archive"
    fi
  done < <(find "$corpus" -type f ! -name '*.md')
  for line in "incons-filename-nul-byte.zip te.x00t: its name holds a NUL" \
      "zip-in-archive-comment.zip test: the library loads a record" \
      "utf-8-standardization-input.zip Unicode path field names" \
      "filename_duplicate.zip test1: a second central entry" "encrypt.zip encrypted: encrypted"; do
    expect 1 "${line#* }" check "$corpus/libzip/${line%% *}"
  done
else
  echo "SKIP: corpus checks, $corpus is absent"
fi
# An archive the library reads only partly is said to be so, by every command.
for command in "ls" "cat . a.txt" "stat" "extract . $work/partly"; do
  set -- $command
  expect 1 "read only partly" "$1" "$work/differ/partly.zip" "${@:3}"
done
for jar in /usr/share/java/*.jar; do
  [ -e "$jar" ] && expect 0 "0 problems" check "$jar"
done
[ -e "$(ls /usr/share/java/*.jar 2>/dev/null | head -1)" ] || echo "SKIP: no jars in /usr/share/java"

# extract writes the sample as it was packed, with the inner archive whole.
"$tool" extract --via mmap "$sample" "$work/out" 2>"$work/err" || fail "extract exited $?"
diff -r -x textures.zip "$s" "$work/out" >/dev/null || fail "extracted tree differs"
expect 0 "^tiles/stone.png$" ls -r "$work/out/textures.zip"
# Through a pipe one summary line; under a terminal a bar.
grep -q $'\r\|\[#' "$work/err" && fail "progress bar drawn into a pipe"
grep -q "extracted 5 members (0 failed, 0 skipped)" "$work/err" || fail "no summary line"
# script may lose the output of a command that ends at once: three tries.
on_terminal() {
  local try
  for try in 1 2 3; do script -qec "$1" /dev/null | grep -q "$2" && return 0; done
  return 1
}
on_terminal "'$tool' extract --overwrite '$sample' '$work/tty'" $'\r\[#*\] 5/5 members' ||
  fail "no progress bar under a terminal"

# extract: member names and patterns pick; existing files are kept unless
# --overwrite; times come back; a member whose CRC-32 differs leaves nothing.
"$tool" extract "$sample" "$work/pick" 'docs/*' data/noise.bin 2>/dev/null || fail "picking extract"
found=$(cd "$work/pick" && find . -type f | sort | tr '\n' ' ')
[ "$found" = "./data/noise.bin ./docs/guide/first-steps.txt ./docs/readme.txt " ] || fail "picked: $found"
expect 0 "modified: +$(date -r "$work/pick/docs/readme.txt" '+%F %T')" stat "$sample" docs/readme.txt
echo changed >"$work/pick/docs/readme.txt"
expect 0 "keeping the existing docs/readme.txt" extract "$sample" "$work/pick" docs/readme.txt
grep -q changed "$work/pick/docs/readme.txt" || fail "extract replaced a file without --overwrite"
expect 0 "extracted 1 members" extract --overwrite "$sample" "$work/pick" docs/readme.txt
cmp -s "$work/pick/docs/readme.txt" "$s/docs/readme.txt" || fail "--overwrite did not replace"
expect 1 "a.txt: CRC-32 mismatch, nothing kept" extract "$work/differ/crc.zip" "$work/crc"
[ -e "$work/crc/a.txt" ] && fail "extract kept a member whose CRC-32 differs"
# Standard output that cannot be written fails the command.
if [ -w /dev/full ]; then
  "$tool" cat "$sample" docs/readme.txt >/dev/full 2>/dev/null && fail "cat > /dev/full exited 0"
  "$tool" ls "$sample" >/dev/full 2>/dev/null && fail "ls > /dev/full exited 0"
fi

# pack: links are skipped, never followed; an empty directory stays one, and
# packs into an archive that ls opens; --level 0 stores everything.
mkdir -p "$work/tree/empty" "$work/tree/loop" "$work/nothing"
ln -s .. "$work/tree/loop/up"
cp "$s/docs/readme.txt" "$work/tree/"
expect 0 "skipping .*loop/up: a symbolic link" pack "$work/tree" "$work/tree.zip" --level 0
expect 0 "stored" ls -l "$work/tree.zip"
"$tool" extract "$work/tree.zip" "$work/tree-out" 2>/dev/null && [ -d "$work/tree-out/empty" ] ||
  fail "the empty directory did not come back"
expect 0 "packed 0 members" pack "$work/nothing" "$work/nothing.zip"
expect 0 "^$" ls "$work/nothing.zip"
on_terminal "'$tool' pack '$work/tree' '$work/tty.zip'" $'\r\[#*\] 3/3 members' ||
  fail "no progress bar for pack under a terminal"

# A hostile archive: unsafe names are skipped with a warning, a member that
# cannot be read leaves no file, and nothing lands outside DEST.
mkdir -p "$work/h/a/b"
{ record ../../evil.txt 0 evil; record /abs.txt 0 abs; record 'back\slash.txt' 0 back
  record ok/../../../up.txt 0 up; record bad.bin 12 xxxx; record ok/good.txt 0 good; } \
  >"$work/h/hostile.zip"
out=$("$tool" extract "$work/h/hostile.zip" "$work/h/a/b/dest" 2>&1) && fail "hostile extract exited 0"
for line in "skipping ../../evil.txt" "skipping /abs.txt" 'skipping back\slash.txt' \
    "skipping ok/../../../up.txt" "bad.bin: cannot be read"; do
  grep -qF -- "$line" <<<"$out" || fail "hostile extract printed no '$line': $out"
done
found=$(cd "$work/h" && find . -type f | sort | tr '\n' ' ')
[ "$found" = "./a/b/dest/ok/good.txt ./hostile.zip " ] || fail "hostile extract left: $found"
[ -e /abs.txt ] && fail "/abs.txt was written"

[ "$failures" -eq 0 ] && echo "all velmio tool checks passed"
exit $((failures > 0))
