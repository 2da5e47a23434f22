#!/usr/bin/env bash
# Installs what is missing, builds, measures everything and prints the tables; the results are left in
# bench/results.json. Compare figures within one run only.
# Usage: scripts/bench.sh [--check] [--document] [--filter REGEX]
#   --check     exit status 1 when a goal that must be reached is not
#   --document  puts the tables into docs/performance.md, too
#   --filter    measures only the rows whose names match
# CAMERA_DEPTH_RW_DATA=DIR names the directory of the real frames, as for the tests.
set -euo pipefail
cd "$(dirname "$0")/.."

check=()
document=
filter=all
while [ $# -gt 0 ]; do
  case "$1" in
    --check) check=(--check) ;;
    --document) document=docs/performance.md ;;
    --filter)
      filter=${2:?"--filter wants a regular expression"}
      shift
      ;;
    *)
      sed -n '2,8s/^# //p' scripts/bench.sh >&2
      exit 2
      ;;
  esac
  shift
done

# The tables stand between two comments.
put_into_document() {
  awk -v tables="$1" '
    /<!-- tables end -->/ { inside = 0 }
    !inside { print }
    /<!-- tables begin -->/ {
      inside = 1
      print ""
      while ((getline line < tables) > 0) print line
    }
  ' "$2" >"$2.new"
  mv "$2.new" "$2"
}

scripts/install_dependencies.sh bench
cmake --preset release -DCAMERA_DEPTH_RW_BENCHMARKS=ON -DWITH_PYTHON=ON >/dev/null
cmake --build --preset release --parallel "$(nproc)" >&2
programs=build/release/bench
results=bench/results.json
tables=$programs/tables.md
"$programs/camera_depth_rw_benchmark" --benchmark_filter="$filter" \
  --benchmark_out="$results" --benchmark_out_format=json >"$programs/rows.txt"
status=0
"$programs/camera_depth_rw_benchmark_report" "$results" "${check[@]}" >"$tables" || status=$?
cat "$tables"
[ -z "$document" ] || put_into_document "$tables" "$document"

# Python's share: the same reads from Python and from C++.
recording=$(mktemp -d)
trap 'rm -rf "$recording"' EXIT
build/release/tools/depthrw record --out "$recording" --source synthetic --frames 20 >&2
PYTHONPATH=build/release/python /usr/bin/python3 python/benchmark/iterate_recording.py "$recording" \
  build/release/python/benchmark/read_recording
exit $status
