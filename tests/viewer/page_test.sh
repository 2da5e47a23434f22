#!/usr/bin/env bash
# Bundles the page anew from its sources, and drives it in a headless Chromium.
# Usage: page_test.sh VIEWER-DIRECTORY DEPTHRW REAL-FRAMES WORK-DIRECTORY
set -euo pipefail
viewer=$1
depthrw=$2
real_frames=$3
work=$4
here=$(cd "$(dirname "$0")" && pwd)

for program in node npm chromium; do
  command -v "$program" >/dev/null || {
    echo "there is no '$program': scripts/install_dependencies.sh test installs it" >&2
    exit 1
  }
done

# Not in the source tree: several builds may test at a time.
mkdir -p "$work"
cp -r "$viewer"/{package.json,package-lock.json,.npmrc,build.mjs,tsconfig.json} "$work"
rm -rf "$work/src" "$work/tests"
cp -r "$viewer/src" "$work/src"
cp -r "$here" "$work/tests"
cd "$work"
if ! cmp -s package-lock.json node_modules/.installed-lock.json; then
  npm ci --ignore-scripts --no-fund --no-audit --loglevel=error || {
    echo "npm cannot fetch what the test needs; is $(npm config get registry) reachable?" >&2
    exit 1
  }
  cp package-lock.json node_modules/.installed-lock.json
fi

npx tsc --noEmit
node build.mjs bundle
for file in index.html app.js app.css LICENSE.three; do
  cmp "bundle/$file" "$viewer/dist/$file" || {
    echo "viewer/dist is not what its sources make: run scripts/build_viewer.sh" >&2
    exit 1
  }
done
node_modules/.bin/esbuild tests/parts.test.ts --bundle --platform=node --format=esm --outfile=tests/parts.test.mjs \
  --log-level=warning
DEPTHRW=$depthrw REAL_FRAMES=$real_frames node --test tests/*.test.mjs
