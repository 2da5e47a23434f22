#!/usr/bin/env bash
# Makes the reference of the public headers; what is not documented is an error.
# Usage: check_reference.sh DOXYGEN DOXYFILE
set -euo pipefail
doxygen=$1
doxyfile=$2

if [ ! -x "$doxygen" ]; then
  echo "skipped: there was no doxygen when the build was configured; on Debian: apt install doxygen"
  exit 77
fi
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
{
  cat "$doxyfile"
  echo "OUTPUT_DIRECTORY = $scratch"
} >"$scratch/Doxyfile"
"$doxygen" "$scratch/Doxyfile"

# Without these the input was not what it should be.
for name in classKV__RGBD__CameraCompression3 classclass__asus__reader structstruct__read__write__depth; do
  [ -s "$scratch/html/$name.html" ] || {
    echo "the reference has no page $name" >&2
    exit 1
  }
done
