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
cmake --preset release -DCAMERA_DEPTH_RW_BENCHMARKS=ON >/dev/null
cmake --build --preset release --parallel "$(nproc)"
build/release/bench/catalogue_benchmark
build/release/bench/codec_benchmark
