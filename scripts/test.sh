#!/usr/bin/env bash
# Installs what is missing, builds and runs every test: once with Clang's address and
# undefined-behaviour sanitizers, once optimised with GCC. Warnings are errors in both.
# Usage: scripts/test.sh           what continuous integration runs
#        scripts/test.sh --long    before a release: then also what takes hours, or wants a fresh system
set -euo pipefail
cd "$(dirname "$0")/.."

case "${1:-}" in
  "" | --long) ;;
  *)
    sed -n '4,5s/^# //p' scripts/test.sh >&2
    exit 2
    ;;
esac

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

[ "${1:-}" = --long ] || exit 0
scripts/check_plain_build.sh
scripts/package.sh --check
scripts/check_tutorial.sh
scripts/coverage.sh
scripts/fuzz.sh 1200
scripts/soak.sh
scripts/faults.sh
scripts/bench.sh --check
