#!/usr/bin/env bash
# Installs a build into a fresh prefix, and builds and runs a program against it: through CMake's package
# and through pkg-config.
# Usage: install_and_consume.sh SOURCE-DIRECTORY BUILD-DIRECTORY CXX-COMPILER
set -euo pipefail
source=$1
build=$2
cxx=$3

scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
prefix=$scratch/prefix
cmake --install "$build" --prefix "$prefix" >/dev/null
library=$(dirname "$(find "$prefix" -name libcamera_depth_rw.so -print -quit)")

cmake -S "$source/tests/install/consumer" -B "$scratch/consumer" -G Ninja -DCMAKE_PREFIX_PATH="$prefix" \
  -DCMAKE_CXX_COMPILER="$cxx" >/dev/null
cmake --build "$scratch/consumer" >/dev/null
"$scratch/consumer/consumer" "$scratch/recorded" | tail -n 1

sed -i "s|^prefix=.*|prefix=$prefix|" "$library/pkgconfig/camera_depth_rw.pc"
export PKG_CONFIG_PATH=$library/pkgconfig
read -ra flags <<<"$(pkg-config --cflags --libs camera_depth_rw)"
"$cxx" -std=c++20 -Wall -Wextra -Werror "$source/examples/record_and_read.cpp" "${flags[@]}" -Wl,-rpath,"$library" \
  -o "$scratch/by_pkg_config"
"$scratch/by_pkg_config" "$scratch/recorded_again" | tail -n 1

"$prefix/bin/depthrw" --version
