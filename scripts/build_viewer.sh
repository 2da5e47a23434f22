#!/usr/bin/env bash
# Bundles the page of `depthrw view` into viewer/dist, which is part of the source tree: who builds the program
# needs no Node.js.
# Usage: scripts/build_viewer.sh           make the bundle
#        scripts/build_viewer.sh --check   fail when it does not belong to the sources
set -euo pipefail
cd "$(dirname "$0")/../viewer"

# Names and contents of everything that the bundle is made of.
list_sources() {
  find src build.mjs package.json package-lock.json tsconfig.json -type f | LC_ALL=C sort
}

case "${1:-}" in
  "") ;;
  --check)
    [ -f dist/SHA256SUMS ] || {
      echo "there is no bundle: run scripts/build_viewer.sh" >&2
      exit 1
    }
    listed=$(cut -c67- dist/SHA256SUMS | grep -v '^dist/')
    if ! diff <(echo "$listed") <(list_sources) >&2 || ! sha256sum --check --quiet --strict dist/SHA256SUMS; then
      echo "viewer/dist does not belong to viewer/src: run scripts/build_viewer.sh" >&2
      exit 1
    fi
    exit 0
    ;;
  *)
    echo "usage: $0 [--check]" >&2
    exit 2
    ;;
esac

command -v npm >/dev/null || {
  echo "there is no npm: scripts/install_dependencies.sh test installs it" >&2
  exit 1
}
npm ci --ignore-scripts --no-fund --no-audit --loglevel=error
npx tsc --noEmit
rm -rf dist
node build.mjs dist
{
  list_sources
  echo dist/LICENSE.three
  echo dist/app.css
  echo dist/app.js
  echo dist/index.html
} | xargs sha256sum >dist/SHA256SUMS
ls -l dist
