#!/usr/bin/env bash
# Installs what is missing, builds and runs the benchmarks. Compare figures within one run only.
# Usage: scripts/bench.sh [DIR]   DIR holds real frames, at least 20 of them
set -euo pipefail
if [ $# -gt 0 ]; then
  CAMERA_DEPTH_RW_FRAMES=$(realpath "$1")
  export CAMERA_DEPTH_RW_FRAMES
fi
cd "$(dirname "$0")/.."

scripts/install_dependencies.sh bench
cmake --preset release -DCAMERA_DEPTH_RW_BENCHMARKS=ON -DWITH_PYTHON=ON >/dev/null
cmake --build --preset release --parallel "$(nproc)"
build/release/bench/catalogue_benchmark
build/release/bench/codec_benchmark

recording=$(mktemp -d)
trap 'rm -rf "$recording"' EXIT
source=synthetic
[ -z "${CAMERA_DEPTH_RW_FRAMES:-}" ] || source=images:$CAMERA_DEPTH_RW_FRAMES
build/release/tools/depthrw record --out "$recording" --source "$source" --frames 20
PYTHONPATH=build/release/python /usr/bin/python3 python/benchmark/iterate_recording.py "$recording" \
  build/release/python/benchmark/read_recording
