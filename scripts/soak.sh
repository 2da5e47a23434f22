#!/usr/bin/env bash
# Builds, then records very many small frames with each generation and with depthrw, records them out
# of the ring and plays them, which takes hours. Prints for each what the process held after its first
# thousand frames and at the end; fails when memory grew by more than 1 MB, a descriptor was left open
# or a frame was lost. The tests do the same in short.
# Usage: scripts/soak.sh [FRAMES [GENERATION]]   (default: 100000 frames, all generations and depthrw)
# TMPDIR=DIR names the directory for the recordings: 500 MB must be free in it.
set -euo pipefail
cd "$(dirname "$0")/.."

frames=${1:-100000}
generation=${2:-all}
if [ $# -gt 2 ] || ! [[ $frames =~ ^[1-9][0-9]{2,7}$ && $generation =~ ^([123]|all)$ ]]; then
  echo "usage: $0 [FRAMES [GENERATION]]" >&2
  exit 2
fi

scripts/install_dependencies.sh test
cmake --preset dev >/dev/null
cmake --build --preset dev --parallel "$(nproc)" \
  --target engine_recording_soak_test tools_depthrw_soak_test

export CAMERA_DEPTH_RW_SOAK_FRAMES=$frames
# The tests' parameters are counted from 0.
filter='*'
[ "$generation" = all ] || filter="*RecordingSoak*/$((generation - 1))"
build/dev/tests/engine_recording_soak_test --gtest_filter="$filter"
if [ "$generation" = all ]; then
  DEPTHRW_SOAK_FRAMES=$frames build/dev/tests/tools/tools_depthrw_soak_test
fi
