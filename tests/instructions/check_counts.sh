#!/usr/bin/env bash
# Counts the instructions of one write and one read of a fixed frame and holds them against the
# recorded counts: more than 5 % above is a failure, more than 5 % below is told, so that the counts
# get recorded anew with --update.
# Usage: check_counts.sh VALGRIND PROBE COUNTS COMPILER [--update]
#
# Only the library's own instructions count. Those of libjpeg and of the C library depend on the
# processor, for both choose among their variants when they are loaded; the calls into them show in
# the times of bench/ instead. The library's own variants depend on the processor, too: valgrind
# shows programs no more than AVX2, so there are two sets of counts for a compiler, "avx2" and
# "baseline", and any machine finds its own.
set -euo pipefail

valgrind=$1
probe=$2
counts=$3
compiler=$4
update=${5:-}
library=libcamera_depth_rw
room_percent=5
skipped=77

directory=$(mktemp -d)
trap 'rm -rf "$directory"' EXIT

# Self cost of the library's functions in a callgrind profile. An object's name stands at its first
# number only; the line after calls= holds what was spent in the function called.
count_in() {
  awk -v library="$library" '
    /^c?ob=/ {
      text = substr($0, index($0, "=") + 1)
      number = substr(text, 1, index(text, ")"))
      if (length(text) > length(number)) name[number] = substr(text, length(number) + 2)
      if (/^ob=/) ours = index(name[number], library) > 0
      next
    }
    /^calls=/ { getline; next }
    /^[0-9+*-]/ { if (ours) sum += $2 }
    END { printf "%d\n", sum }
  ' "$1"
}

profile=$directory/profile
if ! set_found=$("$valgrind" --tool=callgrind --instr-atstart=no --callgrind-out-file="$profile" \
  "$probe" "$directory" 2>"$directory/messages"); then
  cat "$directory/messages" >&2
  exit 1
fi
key="$compiler $set_found"
declare -A measured=([write]=$(count_in "$profile.1") [read]=$(count_in "$profile.2"))
for action in write read; do
  # Nothing counted means that the profile was not understood.
  [ "${measured[$action]}" -gt 0 ] || { echo "no instructions of $library counted" >&2; exit 1; }
done

if [ "$update" = --update ]; then
  grep -v "^$key " "$counts" >"$directory/counts" || true
  for action in write read; do
    echo "$key $action ${measured[$action]}" >>"$directory/counts"
  done
  cat "$directory/counts" >"$counts"
  echo "recorded for $key: write ${measured[write]}, read ${measured[read]}"
  exit 0
fi

status=0
for action in write read; do
  recorded=$(awk -v key="$key $action" 'index($0, key " ") == 1 { print $NF }' "$counts")
  now=${measured[$action]}
  if [ -z "$recorded" ]; then
    echo "$key: no count of $action is recorded; the $action takes $now instructions"
    status=$skipped
    continue
  fi
  echo "$key: $action $now instructions, recorded $recorded"
  if [ $((now * 100)) -gt $((recorded * (100 + room_percent))) ]; then
    echo "$action got slower by more than $room_percent %" >&2
    exit 1
  fi
  if [ $((now * 100)) -lt $((recorded * (100 - room_percent))) ]; then
    echo "$action got faster by more than $room_percent %: record it" \
      "(cmake --build BUILD-DIRECTORY --target update_instruction_counts)"
  fi
done
exit $status
