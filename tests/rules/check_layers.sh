#!/usr/bin/env bash
# Fails when a folder includes what lies above it.
# Usage: check_layers.sh SOURCE-DIRECTORY
set -euo pipefail
cd "$1"

status=0
# check FOLDER ALLOWED: sources in FOLDER include, of ours, only what ALLOWED matches.
check() {
  local found
  [ -d "$1" ] || return 0
  if found=$(grep -rnE '^#include "' "$1" --include='*.h' --include='*.cpp' | grep -vE "#include \"($2)"); then
    echo "$1/ includes what it may not:" >&2
    echo "$found" >&2
    status=1
  fi
}
check codec 'codec/'
check catalogue 'codec/|catalogue/'
check engine 'codec/|catalogue/|engine/'
check camera 'camera/|codec/(console|export)\.h'

library='(codec|catalogue|engine|camera)/'
check tools/system "$library|tools/system/"
check tools/frame "$library|tools/(system|frame)/"
check tools/picture "$library|tools/(system|frame|picture)/"
check tools/recording "$library|tools/(system|frame|recording)/"
check tools/source "$library|tools/(system|frame|picture|recording|source)/"
check tools/recorder "$library|tools/(system|frame|recording|source|recorder)/"
check tools/verify "$library|tools/(system|frame|recording|source|verify)/"
check tools/export "$library|tools/(system|frame|picture|recording|export)/"
check tools/viewer "$library|tools/(system|frame|recording|viewer)/"

# The program and the Python module see only what is installed.
public=$(sed -nE '/(set\(|APPEND )public_headers/,/\)/p' CMakeLists.txt | grep -oE '[a-z]+/[a-z0-9_]+\.h' | sort -u)
while read -r header; do
  grep -qx "$header" <<<"$public" || {
    echo "tools/ or python/ includes $header, which is not public" >&2
    status=1
  }
done < <(grep -rhoE '^#include "(codec|catalogue|engine|camera)/[a-z0-9_]+\.h"' tools python | cut -d'"' -f2 | sort -u)
exit $status
