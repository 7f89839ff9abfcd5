#!/usr/bin/env bash
# Compares the export table of the shared library with expected_exports.txt.
# Usage: check_exports.sh LIBRARY EXPECTED_LIST DUMP_TOOL CXXFILT
# DUMP_TOOL is nm for an ELF library, objdump for a DLL.
set -euo pipefail

library=$1
expected=$2
dump_tool=$3
cxxfilt=$4

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

case "$library" in
  *.dll)
    # The name column of the export directory's [Ordinal/Name Pointer] Table.
    "$dump_tool" -p "$library" |
      awk '/^\[Ordinal\/Name Pointer\] Table/ { on = 1; next }
           on && /^[[:space:]]*$/ { on = 0 }
           on { print $NF }' > "$work/mangled"
    ;;
  *)
    "$dump_tool" -D --defined-only "$library" | awk 'NF >= 3 { print $3 }' \
      > "$work/mangled"
    ;;
esac

if [[ ! -s "$work/mangled" ]]; then
  echo "no exported symbol read from $library" >&2
  exit 1
fi

# The ABI emits several symbols for one entity: complete and base constructors
# and destructors and the deleting destructor demangle to the same text, and
# typeinfo and its name go beside a virtual table.
"$cxxfilt" < "$work/mangled" |
  sed 's/std::__cxx11::basic_string<char, std::char_traits<char>, std::allocator<char> >/std::string/g' \
  > "$work/demangled"
grep '^vtable for ' "$work/demangled" | sed 's/^vtable for //' > "$work/vtables" || true
awk -v vtables="$work/vtables" '
  BEGIN { while ((getline line < vtables) > 0) has[line] = 1 }
  {
    name = $0
    if (sub(/^typeinfo name for /, "", name) || sub(/^typeinfo for /, "", name)) {
      if (name in has) { print "vtable for " name; next }
    }
    print $0
  }' "$work/demangled" | LC_ALL=C sort -u > "$work/actual"
grep -v '^[[:space:]]*\(#\|$\)' "$expected" | LC_ALL=C sort -u > "$work/expected"

status=0
missing=$(LC_ALL=C comm -23 "$work/expected" "$work/actual")
extra=$(LC_ALL=C comm -13 "$work/expected" "$work/actual")
if [[ -n "$missing" ]]; then
  echo "Missing from the export table of $library:"
  sed 's/^/  - /' <<< "$missing"
  status=1
fi
if [[ -n "$extra" ]]; then
  echo "Exported by $library but not expected:"
  sed 's/^/  + /' <<< "$extra"
  status=1
fi

concrete='velm::io::(Opener|Input|Output|Stream)(OS|Sys|CFile|MMap|Zip)\b'
if grep -E "$concrete" "$work/demangled" > "$work/concrete"; then
  echo "Concrete classes are exported:"
  sed 's/^/  ! /' "$work/concrete"
  status=1
fi

if [[ $status -eq 0 ]]; then
  echo "$(wc -l < "$work/actual") exported entities, as expected."
fi
exit $status
