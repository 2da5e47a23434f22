#!/usr/bin/env bash
# Installs what is missing, builds, measures everything and prints the tables; the results are left in
# bench/results.json. Compare figures within one run only.
# Usage: scripts/bench.sh [--check] [--filter REGEX]
#   --check   exit status 1 when a goal that must be reached is not
#   --filter  measures only the rows whose names match
# CAMERA_DEPTH_RW_DATA=DIR names the directory of the real frames, by default ../shared/data.
set -euo pipefail
cd "$(dirname "$0")/.."

check=()
filter=all
while [ $# -gt 0 ]; do
  case "$1" in
    --check) check=(--check) ;;
    --filter)
      filter=${2:?"--filter wants a regular expression"}
      shift
      ;;
    *)
      sed -n '2,7s/^# //p' "$0" >&2
      exit 2
      ;;
  esac
  shift
done

scripts/install_dependencies.sh bench
cmake --preset release -DCAMERA_DEPTH_RW_BENCHMARKS=ON >/dev/null
cmake --build --preset release --parallel "$(nproc)" \
  --target camera_depth_rw_benchmark camera_depth_rw_benchmark_report
programs=build/release/bench
results=bench/results.json
"$programs/camera_depth_rw_benchmark" --benchmark_filter="$filter" \
  --benchmark_out="$results" --benchmark_out_format=json >"$programs/rows.txt"
"$programs/camera_depth_rw_benchmark_report" "$results" "${check[@]}"
