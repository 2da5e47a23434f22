#!/usr/bin/env bash
# Builds the library in a fresh Debian 12 that has a compiler, CMake and libjpeg, and nothing else for it, as
#   cmake -S . -B build && cmake --build build
# and fails when that fails, or when configuring does not say what is left out. Takes some minutes; wants root.
# Usage: scripts/check_plain_build.sh
set -euo pipefail
cd "$(dirname "$0")/.."

scratch=$(mktemp -d)
debian=$scratch/debian
trap 'scripts/fresh_debian.sh remove "$debian"; rm -rf "$scratch"' EXIT
in_debian() { scripts/fresh_debian.sh run "$debian" "$@"; }

echo "== a fresh Debian"
scripts/fresh_debian.sh make "$debian"
in_debian apt-get update -qq
in_debian apt-get install -y -qq --no-install-recommends g++ make cmake libjpeg62-turbo-dev >"$scratch/apt.txt" 2>&1 || {
  tail -5 "$scratch/apt.txt" >&2
  exit 1
}
echo "== build"
mkdir -p "$debian/root/sources"
git ls-files -z | tar --create --null --files-from=- | tar --extract --directory "$debian/root/sources"
in_debian sh -c 'cd /root/sources && cmake -S . -B build' | tee "$scratch/configured.txt"
in_debian sh -c 'cd /root/sources && cmake --build build' | tail -n 3

for line in "  in   library" "  out  camera reader: " "  out  program depthrw: " "  out  depthrw view: " "  out  tests: " \
  "  out  benchmarks: " "  out  Python module: " "for what is out: apt install "; do
  grep -qF -- "-- $line" "$scratch/configured.txt" || {
    echo "configuring did not say: $line" >&2
    exit 1
  }
done
echo "== use"
in_debian sh -c 'cd /root/sources && tests/abi/check_symbols.sh build/libcamera_depth_rw.so tests/abi/symbols.txt'
in_debian sh -c 'cd /root/sources && cmake --install build && ldconfig && g++ -std=c++20 \
  -I/usr/local/include/camera_depth_rw examples/record_and_read.cpp -lcamera_depth_rw -o /root/record_and_read &&
  /root/record_and_read /root/recording' >"$scratch/used.txt"
tail -n 1 "$scratch/used.txt"
# There is no camera reader, and CMake says so.
if in_debian sh -c 'cd /root/sources && cmake -S tests/install/consumer -B /root/consumer' >"$scratch/camera.txt" 2>&1; then
  echo "the component camera was found in a library without it" >&2
  exit 1
fi
grep -qF "built without OpenNI" <<<"$(tr -s ' \n' ' ' <"$scratch/camera.txt")" || {
  cat "$scratch/camera.txt" >&2
  exit 1
}
echo "a plain build works"
