#!/usr/bin/env bash
# Fails when the shared library exports something else than its lists say, under another version than its
# SOVERSION's, or has another name than linked programs look for.
# Usage: check_symbols.sh LIBRARY LIST...            compares
#        check_symbols.sh --update LIBRARY LIST...   writes what is new into the last list, and drops from all
#                                                    lists what is gone
set -euo pipefail
export LC_ALL=C

update=
if [ "$1" = --update ]; then
  update=yes
  shift
fi
library=$1
shift
version=CAMERA_DEPTH_RW_1
soname=libcamera_depth_rw.so.1

# Demangled, so that constructors and destructors count once; without the version's own symbol.
exported=$(nm --dynamic --defined-only --without-symbol-versions --demangle "$library" |
  awk '$2 != "A"' | cut -d' ' -f3- | sort -u)
listed=$(sort -u "$@")

if [ -n "$update" ]; then
  for list in "$@"; do
    comm -12 <(sort -u "$list") <(echo "$exported") >"$list.new"
    mv "$list.new" "$list"
  done
  comm -13 <(echo "$listed") <(echo "$exported") | sort -u - "$list" -o "$list"
  exit 0
fi

status=0
if ! diff --unified=0 --label listed --label exported <(echo "$listed") <(echo "$exported") >&2; then
  echo "exported symbols are not those of the lists. When something is gone or another one, linked programs break," >&2
  echo "and the SOVERSION wants to change; what is new goes into a list: tests/abi/check_symbols.sh --update" >&2
  status=1
fi
unversioned=$(nm --dynamic --defined-only "$library" | awk '$2 != "A" { print $3 }' | grep -v "@@$version\$" || true)
[ -z "$unversioned" ] || {
  echo "not of version $version: $unversioned" >&2
  status=1
}
grep -qF "[$soname]" <<<"$(readelf --dynamic --wide "$library")" || {
  echo "the library's name is not $soname" >&2
  status=1
}
exit $status
