#!/usr/bin/env bash
# Fails when the shared library does not export one of the names that callers rely on, or exports what
# is neither one of these, a member of their classes, nor of the depth_io namespace.
# Usage: check_exports.sh LIBRARY NAMES-FILE...
set -euo pipefail

library=$1
shift
promised=$(cat "$@" | grep -vE '^(#|$)')
# Demangled names without arguments, ABI tags and, of template instances, return types; what the standard
# library's templates leave is not ours.
exported=$(nm --dynamic --defined-only --without-symbol-versions --demangle "$library" | awk '$2 != "A"' | cut -d' ' -f3- |
  sed -E 's/^(vtable|typeinfo|typeinfo name|guard variable|VTT) for //; s/\[abi:[^]]*\]//g; s/\(.*//' |
  grep -vE '(^|[ <])(std|__gnu_cxx)::' | sed -E 's/^[a-z ]+ //' | sort -u)

status=0
while read -r name; do
  grep -qxF -- "$name" <<<"$exported" || {
    echo "not exported: $name" >&2
    status=1
  }
done <<<"$promised"

known=$(awk -F'::' '{print $1}' <<<"$promised" | sort -u)
strangers=$(awk -F'::' '{print $1}' <<<"$exported" | sort -u | grep -vxF -- "$known" | grep -vx 'depth_io' || true)
[ -z "$strangers" ] || {
  echo "exported by accident: $strangers" >&2
  status=1
}
exit $status
