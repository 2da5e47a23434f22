#!/usr/bin/env bash
# Installs a build into a fresh prefix, moves it, and builds and runs programs against it: the examples through
# CMake's package, one of them through pkg-config, and one with the camera reader, or without where there is none.
# Usage: install_and_consume.sh SOURCE-DIRECTORY BUILD-DIRECTORY CXX-COMPILER HAS-CAMERA(0|1)
set -euo pipefail
source=$1
build=$2
cxx=$3
has_camera=$4

scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
fail() {
  echo "$1" >&2
  exit 1
}

cmake --install "$build" --prefix "$scratch/installed" >/dev/null
prefix=$scratch/moved
mv "$scratch/installed" "$prefix"
library=$(dirname "$(find "$prefix" -name libcamera_depth_rw.so -print -quit)")
# Every header is below a directory of ours.
strangers=$(find "$prefix/include" -type f ! -path "$prefix/include/camera_depth_rw/*")
[ -z "$strangers" ] || fail "headers beside include/camera_depth_rw: $strangers"

# configure NAME SOURCE: a project that uses the installed library; its log is in NAME.log.
configure() {
  cmake -S "$2" -B "$scratch/$1" -DCMAKE_PREFIX_PATH="$prefix" -DCMAKE_CXX_COMPILER="$cxx" >"$scratch/$1.log" 2>&1
}

# The examples are a project of their own.
configure examples "$source/examples" || fail "$(cat "$scratch/examples.log")"
cmake --build "$scratch/examples" >/dev/null
"$scratch/examples/record_and_read" "$scratch/recorded" | tail -n 1

export PKG_CONFIG_PATH=$library/pkgconfig
read -ra flags <<<"$(pkg-config --cflags --libs camera_depth_rw)"
"$cxx" -std=c++20 -Wall -Wextra -Werror "$source/examples/record_and_read.cpp" "${flags[@]}" -Wl,-rpath,"$library" \
  -o "$scratch/by_pkg_config"
"$scratch/by_pkg_config" "$scratch/recorded_again" | tail -n 1

# The component camera: there with its header and OpenNI's, or refused with the reason.
consumer=$source/tests/install/consumer
if [ "$has_camera" = 1 ]; then
  configure camera "$consumer" || fail "$(cat "$scratch/camera.log")"
  cmake --build "$scratch/camera" >/dev/null
  "$scratch/camera/consumer"
  read -ra flags <<<"$(pkg-config --cflags --libs camera_depth_rw_camera)"
  "$cxx" -std=c++20 "$consumer/camera.cpp" "${flags[@]}" -Wl,-rpath,"$library" -o "$scratch/camera_by_pkg_config"
  "$scratch/camera_by_pkg_config"
  rm -rf "$scratch/camera"
  if PKG_CONFIG_LIBDIR=$scratch PKG_CONFIG_PATH='' configure camera "$consumer"; then
    fail "the component camera was found without OpenNI"
  fi
  reason="libopenni-dev"
else
  if configure camera "$consumer"; then fail "the component camera was found in a library without it"; fi
  reason="built without OpenNI"
fi
# CMake breaks long lines.
grep -qF "$reason" <<<"$(tr -s ' \n' ' ' <"$scratch/camera.log")" ||
  fail "no reason is given: $(cat "$scratch/camera.log")"

[ ! -x "$prefix/bin/depthrw" ] || "$prefix/bin/depthrw" --version
