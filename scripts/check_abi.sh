#!/usr/bin/env bash
# Compares the library with that of the last tag (abidiff of abigail-tools) and fails when programs that were
# linked with the tag's would break while the SOVERSION is the same. Status 77: there is no tag, so there is
# nothing to compare with.
# Usage: scripts/check_abi.sh [LIBRARY [REPOSITORY]]   LIBRARY with debug information; built when not given
set -euo pipefail
library=${1:+$(realpath "$1")}
cd "${2:-$(dirname "$0")/..}"

if ! tag=$(git describe --tags --abbrev=0 --match 'v[0-9]*' 2>/dev/null); then
  echo "no tag: there is no released library to compare with"
  exit 77
fi
command -v abidiff >/dev/null || {
  echo "there is no abidiff: apt install abigail-tools" >&2
  exit 1
}

scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT

# build_library SOURCE BUILD: as both are built, but for what no symbol depends on.
build_library() {
  cmake -S "$1" -B "$2" -DCMAKE_BUILD_TYPE=RelWithDebInfo -DCAMERA_DEPTH_RW_TESTS=OFF -DCAMERA_DEPTH_RW_TOOLS=OFF \
    -DCAMERA_DEPTH_RW_VIEWER=OFF -DWITH_PYTHON=OFF >/dev/null
  cmake --build "$2" --target camera_depth_rw --parallel "$(nproc)" >/dev/null
}

echo "compared with $tag"
mkdir "$scratch/tag"
git archive "$tag" | tar --extract --directory "$scratch/tag"
build_library "$scratch/tag" "$scratch/tag-build"
if [ -z "$library" ]; then
  build_library . "$scratch/build"
  library=$scratch/build/libcamera_depth_rw.so
fi

soname_of() {
  readelf --dynamic --wide "$1" | sed -n 's/.*(SONAME).*\[\(.*\)\]/\1/p'
}
old=$scratch/tag-build/libcamera_depth_rw.so
if [ "$(soname_of "$old")" != "$(soname_of "$library")" ]; then
  echo "the SOVERSION changed: programs link anew, whatever changed"
  exit 0
fi
# New functions are no harm (--no-added-syms).
abidiff --no-added-syms "$old" "$library" || {
  echo "programs linked with $tag would break: keep what they use, or change the SOVERSION" >&2
  exit 1
}
