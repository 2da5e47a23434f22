#!/usr/bin/env bash
# Installs what is missing, builds, records a moving scene around a signal, plays it back, verifies
# every recorded frame against its source and leaves a picture.
# Usage: scripts/demo.sh [DIR]   DIR holds real frames: depth/*.png (16-bit), scale, rgb/*.{png,jpg}
set -euo pipefail

source=synthetic
if [ $# -gt 1 ] || [ "${1:-}" = --help ]; then
  echo "usage: $0 [DIRECTORY-OF-REAL-FRAMES]" >&2
  exit 2
fi
if [ $# -eq 1 ]; then
  [ -d "$1/depth" ] || {
    echo "$0: no frames in '$1': there is no directory '$1/depth'" >&2
    exit 2
  }
  source=images:$(realpath "$1")
fi
cd "$(dirname "$0")/.."

scripts/install_dependencies.sh build
cmake --preset release >/dev/null
cmake --build --preset release --parallel "$(nproc)"
depthrw=build/release/tools/depthrw

output=demo-output
rm -rf "$output"
mkdir "$output"

recording=$output/recording

echo
echo "== record: the camera runs, and a signal after four seconds saves the three seconds before it"
echo "   and the two after it, into a folder for each day, hour and minute"
"$depthrw" record --out "$recording" --source "$source" --loop --duration 8 \
  --trigger signal --before 3 --after 2 &
recorder=$!
sleep 4
kill -USR1 "$recorder" || true
wait "$recorder"
echo
echo "== info"
"$depthrw" info "$recording"
echo
echo "== play"
"$depthrw" play "$recording" --contact-sheet "$output/contact-sheet.png" | tail -n 5
echo
echo "== verify"
"$depthrw" verify "$recording" --against "$source"
echo
echo "recording: $recording"
echo "picture:   $output/contact-sheet.png"
