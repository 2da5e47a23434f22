#!/usr/bin/env bash
# Follows docs/tutorial.md to the letter in a fresh Debian 12: installs, builds, and runs every block. Takes as
# long as a build from nothing; wants root.
# Usage: scripts/check_tutorial.sh
set -euo pipefail
cd "$(dirname "$0")/.."

scratch=$(mktemp -d)
debian=$scratch/debian
trap 'scripts/fresh_debian.sh remove "$debian"; rm -rf "$scratch"' EXIT
in_debian() { scripts/fresh_debian.sh run "$debian" "$@"; }

echo "== a fresh Debian"
scripts/fresh_debian.sh make "$debian"
in_debian apt-get update -qq
# What runs the page, and what a reader's machine has anyway.
in_debian apt-get install -y -qq --no-install-recommends python3 sudo >"$scratch/apt.txt" 2>&1 || {
  tail -5 "$scratch/apt.txt" >&2
  exit 1
}
mkdir -p "$debian/root/sources"
git ls-files -z | tar --create --null --files-from=- | tar --extract --directory "$debian/root/sources"

echo "== the tutorial"
in_debian python3 /root/sources/tests/docs/run_document.py /root/sources/docs/tutorial.md /root/tutorial \
  --install /root/sources
