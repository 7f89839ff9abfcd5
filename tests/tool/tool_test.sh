#!/usr/bin/env bash
# Drives the built velmio tool as a user would: a process, its output and its
# exit status.   tool_test.sh TOOL SAMPLE_ZIP EXAMPLES_DIR CORPUS_DIR
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
  expect "$status" "$pattern" ${args//SAMPLE/$sample}
done <<'CASES'
0 ^data$                               ls SAMPLE
0 textures.zip                         ls --via mmap SAMPLE
0 ^docs/guide$                         ls SAMPLE docs
0 [0-9]+\s.*\sfile\s+docs/guide/first   ls -r -l SAMPLE
0 ^\s+-\s+-\s+dir\s+docs$               ls -l SAMPLE
0 ^tiles/grass.png$                    ls -r SAMPLE::textures.zip
0 method:\s+deflated                   stat SAMPLE docs/readme.txt
0 method:\s+stored                     stat --via sys SAMPLE data/noise.bin
0 kind:\s+directory                    stat SAMPLE docs/guide
0 files:\s+5                           stat SAMPLE
0 8.members,.0.cannot                  check SAMPLE
0 4.members,.0.cannot                  check --via mmap SAMPLE::textures.zip
1 no.such.file                         ls MISSING.zip
1 no.such.file                         ls SAMPLE::missing.zip
1 no.member.nope.txt                   cat SAMPLE docs/readme.txt nope.txt
1 no.member.docs/nope                  stat SAMPLE docs/nope
1 no.directory.nope                    ls SAMPLE nope
2 unknown.command.frobnicate           frobnicate SAMPLE
2 unknown.option.-x                    ls -x SAMPLE
2 --via.takes                          cat --via tape SAMPLE a
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
expect 0 "members,.0.cannot" check "$work/packed.zip"
unzip -tq "$work/packed.zip" >/dev/null || fail "unzip -t refuses the packed archive"
methods=$(unzip -Z -v "$work/packed.zip" | grep -o 'method: *[a-z]*' | sort | uniq -c | tr -s ' ')
[ "$methods" = " 4 method: deflated
 9 method: none" ] || fail "packed methods: $methods"

# 65,536 members need the Zip64 end record, which Info-ZIP reads too.
mkdir "$work/many"
for ((i = 0; i < 65536; i++)); do : >"$work/many/f$i"; done
"$tool" pack "$work/many" "$work/many.zip" || fail "pack of 65,536 files exited $?"
expect 0 "65536 members, 0 cannot" check "$work/many.zip"
unzip -tq "$work/many.zip" >/dev/null || fail "unzip -t refuses the archive of 65,536 members"

# check names the reason for each kind of archive the library cannot read whole.
if [ -d "$corpus" ]; then
  for streamed in go/dd.zip go/go-with-datadesc-sig.zip go/go-no-datadesc-sig.zip \
      libzip/streamed.zip libzip/streamed-zip64.zip libzip/zip64.zip; do
    expect 0 "members, 0 cannot" check --via sys "$corpus/$streamed"
  done
  expect 1 "test.txt: not seen .stub of 43 bytes" check "$corpus/go/test-prefix.zip"
  expect 1 "encrypted.*CRC-32 does not match" check "$corpus/libzip/encrypt.zip"
  expect 1 "test1: not seen .duplicate name" check "$corpus/libzip/filename_duplicate.zip"
  expect 1 "method 12" check "$corpus/minizip-ng/bzip2.zip"
else
  echo "SKIP: corpus checks, $corpus is absent"
fi

# extract writes the sample as it was packed, with the inner archive whole.
"$tool" extract --via mmap "$sample" "$work/out" 2>"$work/err" || fail "extract exited $?"
diff -r -x textures.zip "$s" "$work/out" >/dev/null || fail "extracted tree differs"
expect 0 "^tiles/stone.png$" ls -r "$work/out/textures.zip"
# Through a pipe one summary line; under a terminal a bar.
grep -q $'\r\|\[#' "$work/err" && fail "progress bar drawn into a pipe"
grep -q "extracted 5 members (0 failed, 0 skipped)" "$work/err" || fail "no summary line"
script -qec "'$tool' extract '$sample' '$work/tty'" /dev/null | grep -q $'\r\[#*\] 5/5 members' ||
  fail "no progress bar under a terminal"

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
