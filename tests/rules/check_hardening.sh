#!/usr/bin/env bash
# Fails when a library or program lacks one of the protections that a hardened build promises: all
# relocations resolved at start and then read-only, a stack that is not executable, guarded stack frames,
# calls of the C library that check sizes, and, of a program, no fixed place in memory.
# Usage: check_hardening.sh ELF-FILE...
set -euo pipefail
export LC_ALL=C

[ $# -gt 0 ] || {
  echo "no file was checked" >&2
  exit 1
}

status=0
# complain FILE WHAT
complain() {
  echo "$1: $2" >&2
  status=1
}

for file in "$@"; do
  header=$(readelf --file-header --wide "$file")
  segments=$(readelf --program-headers --wide "$file")
  dynamic=$(readelf --dynamic --wide "$file")
  needed=$(readelf --dyn-syms --wide "$file" | awk '$7 == "UND" { sub(/@.*/, "", $8); print $8 }')

  grep -q 'GNU_RELRO' <<<"$segments" || complain "$file" "relocations stay writable (no RELRO)"
  grep -qE 'BIND_NOW|FLAGS_1.* NOW' <<<"$dynamic" ||
    complain "$file" "functions are bound late, so their table stays writable"
  grep -E 'GNU_STACK' <<<"$segments" | grep -qE ' RW +0x' || complain "$file" "the stack may be executable"
  grep -qx '__stack_chk_fail' <<<"$needed" || complain "$file" "stack frames have no guard"
  grep -qE '^__.*_chk$' <<<"$needed" || complain "$file" "no call of the C library checks sizes"
  # What names an interpreter is a program.
  if grep -q 'INTERP' <<<"$segments"; then
    grep -qE 'Type: +DYN' <<<"$header" || complain "$file" "the program has a fixed place in memory"
  fi
done
exit $status
