#!/usr/bin/env bash
# Fails when scripts/check_abi.sh does not tell apart what programs linked with a tag's library stand and what breaks
# them: tried on a small project whose library has the name of ours.
# Usage: compare_small_libraries.sh CHECK-ABI-SCRIPT CXX-COMPILER
set -euo pipefail
check_abi=$1
cxx=$2

scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
export CXX=$cxx GIT_CONFIG_GLOBAL=/dev/null GIT_AUTHOR_NAME=a GIT_AUTHOR_EMAIL=a@b GIT_COMMITTER_NAME=a GIT_COMMITTER_EMAIL=a@b
project=$scratch/project
mkdir "$project"
cat >"$project/CMakeLists.txt" <<'SOURCE'
cmake_minimum_required(VERSION 3.25)
project(small LANGUAGES CXX)
add_library(camera_depth_rw SHARED small.cpp)
set_target_properties(camera_depth_rw PROPERTIES SOVERSION 1)
SOURCE
echo 'struct Frame { int width; }; int area(Frame& f) { return f.width; }' >"$project/small.cpp"
git -C "$project" init -q
git -C "$project" add .
git -C "$project" commit -qm "A small library"

# expect STATUS TEXT SOURCE SOVERSION: comparing the library of that source with the tag's ends so.
expect() {
  local status=0
  echo "$3" >"$scratch/new.cpp"
  "$cxx" -g -shared -fPIC "-Wl,-soname,libcamera_depth_rw.so.$4" "$scratch/new.cpp" -o "$scratch/libnew.so"
  "$check_abi" "$scratch/libnew.so" "$project" >"$scratch/log" 2>&1 || status=$?
  if [ "$status" != "$1" ] || ! grep -qF -- "$2" "$scratch/log"; then
    echo "status $status instead of $1, or no word of '$2', for: $3" >&2
    cat "$scratch/log" >&2
    exit 1
  fi
}

same=$(cat "$project/small.cpp")
expect 77 "no tag" "$same" 1
git -C "$project" tag v1.0.0
expect 0 "compared with v1.0.0" "$same" 1
expect 0 "compared with v1.0.0" "$same int more(Frame& f) { return f.width; }" 1
expect 1 "would break" 'struct Frame { int width; }; int surface(Frame& f) { return f.width; }' 1
expect 1 "would break" 'struct Frame { int height; int width; }; int area(Frame& f) { return f.width; }' 1
expect 0 "SOVERSION changed" 'int surface(int w) { return w; }' 2
