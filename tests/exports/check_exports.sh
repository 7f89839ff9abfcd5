#!/usr/bin/env bash
# check_exports.sh LIBRARY EXPECTED_LIST DUMP_TOOL CXXFILT: the export table
# of the library against the list; DUMP_TOOL is nm for ELF, objdump for a DLL.
set -euo pipefail
library=$1 expected=$2 dump_tool=$3 cxxfilt=$4
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
case "$library" in
  *.dll)  # the name column of the export directory's name pointer table
    "$dump_tool" -p "$library" | awk '/^\[Ordinal\/Name Pointer\] Table/ { on = 1; next }
      on && /^[[:space:]]*$/ { on = 0 }
      on { print $NF }' > "$work/mangled" ;;
  *) "$dump_tool" -D --defined-only "$library" | awk 'NF >= 3 { print $3 }' > "$work/mangled" ;;
esac
[[ -s "$work/mangled" ]] || { echo "no exported symbol read from $library" >&2; exit 1; }
# The ABI emits several symbols for one entity: complete, base and deleting
# constructors and destructors demangle alike, and typeinfo and its name go
# beside a virtual table.
"$cxxfilt" < "$work/mangled" |
  sed 's/std::__cxx11::basic_string<char, std::char_traits<char>, std::allocator<char> >/std::string/g' \
  > "$work/demangled"
awk '{ all[NR] = $0 } sub(/^vtable for /, "") { has[$0] = 1 }
  END { for (i = 1; i <= NR; ++i) { name = all[i]
    if ((sub(/^typeinfo name for /, "", name) || sub(/^typeinfo for /, "", name)) && (name in has))
      print "vtable for " name
    else print all[i] } }' "$work/demangled" | LC_ALL=C sort -u > "$work/actual"
grep -v '^[[:space:]]*\(#\|$\)' "$expected" | LC_ALL=C sort -u > "$work/expected"
status=0
if missing=$(LC_ALL=C comm -23 "$work/expected" "$work/actual") && [[ -n "$missing" ]]; then
  echo "Missing from the export table of $library:"; sed 's/^/  - /' <<< "$missing"; status=1
fi
if extra=$(LC_ALL=C comm -13 "$work/expected" "$work/actual") && [[ -n "$extra" ]]; then
  echo "Exported by $library but not expected:"; sed 's/^/  + /' <<< "$extra"; status=1
fi
[[ $status -ne 0 ]] || echo "$(wc -l < "$work/actual") exported entities, as expected."
exit $status
