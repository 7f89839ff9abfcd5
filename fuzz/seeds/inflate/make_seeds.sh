#!/bin/sh
# Rebuilds the seeds of the inflater harness beside this script: four bytes
# that pick level, strategy, damage and its argument, then the member's text.
# One seed for each way a record goes wrong; the exact ones are long enough
# for libdeflate's fast loops to run.
set -eu
cd "$(dirname "$0")"
# Word-like text with a few odd bytes, the same on every run.
text() {
  LC_ALL=C awk -v n="$1" -v x="$2" 'BEGIN {
    split("tile|grass|stone|level |sprite|0123|wall|door,|light\n|--|  |\t", w, "|")
    while (out < n) {
      x = (x * 16807) % 2147483647
      s = x % 5 == 0 ? sprintf("%c", 128 + x % 128) : w[1 + int(x / 5) % 12] " "
      printf "%s", s; out += length(s)
    }
  }'
}
seed() {  # name, the four bytes in octal, length, text seed
  { printf "$2"; text "$3" "$4"; } >"$1"
}
seed raw-stream '\001\000\000\050' 3000 1
seed exact-default '\006\000\001\000' 40000 2
seed exact-filtered '\011\004\002\000' 12000 3
seed declared-short '\001\001\003\310' 6000 4
seed declared-long '\006\003\004\007' 6000 5
seed truncated '\004\002\005\372' 6000 6
seed bit-flipped '\006\000\006\115' 6000 7
seed trailing-bytes '\011\000\007\041' 6000 8
