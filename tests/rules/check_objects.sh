#!/usr/bin/env bash
# Fails when an object file of the library, other than the console's, prints or reads a key itself.
# Usage: check_objects.sh OBJECT...
set -euo pipefail

forbidden='^(printf|__printf_chk|vprintf|__vprintf_chk|puts|putchar|getchar|getc_unlocked|stdout|stdin|stderr|_ZSt4cout|_ZSt4cerr|_ZSt3cin)$'
status=0
checked=0
for object in "$@"; do
  case "$object" in */console.cpp.o) continue ;; esac
  checked=$((checked + 1))
  if found=$(nm --undefined-only --format=posix "$object" | cut -d' ' -f1 | sed 's/@.*//' | grep -E "$forbidden"); then
    echo "$object uses the console itself: $found" >&2
    status=1
  fi
done
[ "$checked" -gt 0 ] || {
  echo "no object was checked" >&2
  exit 1
}
exit $status
