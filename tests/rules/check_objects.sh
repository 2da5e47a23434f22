#!/usr/bin/env bash
# Fails when an object file of the library, other than the console's, prints or reads a key itself, or
# when one of them touches signals: these belong to the program.
# Usage: check_objects.sh OBJECT...
set -euo pipefail

forbidden='^(printf|__printf_chk|vprintf|__vprintf_chk|puts|putchar|getchar|getc_unlocked|stdout|stdin|stderr|_ZSt4cout|_ZSt4cerr|_ZSt3cin)$'
signals='^(signal|sigaction|sigset|sigprocmask|pthread_sigmask|sigaltstack|raise|kill|alarm|setitimer)$'
status=0

# Names that an object takes from elsewhere.
taken_names() {
  nm --undefined-only --format=posix "$1" | cut -d' ' -f1 | sed 's/@.*//'
}

checked=0
for object in "$@"; do
  if found=$(taken_names "$object" | grep -E "$signals"); then
    echo "$object touches signals: $found" >&2
    status=1
  fi
  case "$object" in */console.cpp.o) continue ;; esac
  checked=$((checked + 1))
  if found=$(taken_names "$object" | grep -E "$forbidden"); then
    echo "$object uses the console itself: $found" >&2
    status=1
  fi
done
[ "$checked" -gt 0 ] || {
  echo "no object was checked" >&2
  exit 1
}
exit $status
