#!/usr/bin/env bash
# Builds, then has each call of the C library fail that recording, playing and listing make and that
# depthrw makes below its directory: one after the other, with every error, once and from then on.
# This takes some twenty minutes; the tests try each call with one error, and leave out many. Prints a line for each
# kind of call and the sum of the faults injected; fails when one of them did harm.
# Usage: scripts/faults.sh [FILTER]   (of the tests, as --gtest_filter takes it; default: all)
set -euo pipefail
cd "$(dirname "$0")/.."

if [ $# -gt 1 ] || [[ ${1:-} == -* ]]; then
  echo "usage: $0 [FILTER]" >&2
  exit 2
fi
filter=${1:-*}

scripts/install_dependencies.sh test
cmake --preset dev >/dev/null
tests=()
for source in tests/faults/*_test.cpp; do tests+=("faults_$(basename "$source" .cpp)"); done
cmake --build --preset dev --parallel "$(nproc)" --target "${tests[@]}"

export CAMERA_DEPTH_RW_EVERY_FAULT=1
log=build/dev/faults.log
status=0
: >"$log"
for test in "${tests[@]}"; do
  "build/dev/tests/faults/$test" --gtest_filter="$filter" 2>&1 | tee -a "$log" || status=1
done
awk '/ faults injected$/ { tries += $(NF - 4); faults += $(NF - 2) }
  END { printf "%d tries, %d faults injected\n", tries, faults }' "$log"
exit "$status"
