#!/usr/bin/env bash
# Measures which lines and branches of the library its tests reach: builds with coverage counters, runs the
# tests of codec/, catalogue/, engine/ and camera/ and the replayed fuzz corpora, and writes
# build/coverage/coverage.txt and coverage.html. Branches that only exceptions take, or
# that belong to no code of ours, do not count. Prints the totals. Fails when a test fails or when less is reached than asked for.
# Usage: scripts/coverage.sh [LINES [BRANCHES]]   (percent; default: 95 90)
set -euo pipefail
cd "$(dirname "$0")/.."

least_lines=${1:-95}
least_branches=${2:-90}
case "$least_lines$least_branches" in
  '' | *[!0-9]*)
    echo "usage: $0 [LINES [BRANCHES]]" >&2
    exit 2
    ;;
esac

scripts/install_dependencies.sh coverage
jobs=$(nproc)
output=build/coverage

# What only programs, the page and Python need is not built.
cmake --preset coverage -DWITH_PYTHON=OFF -DCAMERA_DEPTH_RW_TOOLS=OFF -DCAMERA_DEPTH_RW_VIEWER=OFF >/dev/null
cmake --build --preset coverage --parallel "$jobs"

# Counters add up over runs: those of an earlier one would tell of code that no test reaches any more.
find "$output" -name '*.gcda' -delete
# Neither rules nor installation, nor faults, whose shim must not be counted through; nor what measures time and
# memory, which counters without optimisation take more of.
ctest --preset coverage --parallel "$jobs" --exclude-regex '^(Rules|Install|Instructions|Abi|Configure|Package|Reference)\.|Faults\.|Soak|OfAMillion' \
  >"$output/tests.txt" || {
  tail -40 "$output/tests.txt" >&2
  exit 1
}

gcovr --root . --object-directory "$output" \
  --filter '(codec|catalogue|engine|camera)/' \
  --exclude-directories '.*/CompilerIdCXX' --exclude-throw-branches --exclude-unreachable-branches \
  --txt "$output/coverage.txt" --html-details "$output/coverage.html" --html-title camera_depth_rw \
  --print-summary --fail-under-line "$least_lines" --fail-under-branch "$least_branches" "$output"
echo "by file: $output/coverage.txt, by line: $output/coverage.html"
