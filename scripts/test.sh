#!/usr/bin/env bash
# Installs what is missing, builds and runs every test: once with Clang's address and
# undefined-behaviour sanitizers, once optimised with GCC. Warnings are errors in both.
set -euo pipefail
cd "$(dirname "$0")/.."

scripts/install_dependencies.sh test
shellcheck scripts/*.sh tests/*/*.sh .ci/run

jobs=$(nproc)
for preset in asan dev; do
  echo "== $preset: build"
  cmake --preset "$preset" >/dev/null
  cmake --build --preset "$preset" --parallel "$jobs"
  echo "== $preset: tests"
  ctest --preset "$preset" --parallel "$jobs"
done
