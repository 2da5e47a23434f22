#!/usr/bin/env bash
# Configures the project as on machines that lack something, and fails when configuring does, when the line
# about what is left out is not there exactly once before the summary, or when the summary does not tell of it.
# Usage: check_parts.sh SOURCE-DIRECTORY CXX-COMPILER
set -euo pipefail
source=$1
cxx=$2

scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
status=0

configure() {
  cmake -S "$source" -B "$scratch/build" --fresh -DCMAKE_CXX_COMPILER="$cxx" "$@" >"$scratch/log" 2>&1
}

# complain WHAT
complain() {
  echo "$1" >&2
  cat "$scratch/log" >&2
  status=1
}

# expect_left_out PART PACKAGE...: what was configured last leaves the part out, and tells what brings it.
expect_left_out() {
  local part=$1 package
  shift
  [ "$(grep -c "^-- $part: left out: no " "$scratch/log")" = 1 ] || complain "$part: not one line"
  grep -q "^--   out  $part: no " "$scratch/log" || complain "$part: not out in the summary"
  for package in "$@"; do
    grep -qE "^-- $part: left out: .*\(package $package\)" "$scratch/log" || complain "$part: no word of $package"
    grep -qE "^-- for what is out: apt install .*\b$package\b" "$scratch/log" || complain "$package: not to install"
  done
}

hide=-DCMAKE_DISABLE_FIND_PACKAGE_
nothing=()
for package in CLI11 GTest PNG PkgConfig Python3 ZLIB nlohmann_json pybind11; do nothing+=("$hide$package=ON"); done

# Only a compiler, CMake and libjpeg.
configure "${nothing[@]}" || complain "does not configure without ${nothing[*]}"
grep -q "^--   in   library$" "$scratch/log" || complain "the library is not in"
expect_left_out "camera reader" pkg-config libopenni-dev
expect_left_out "program depthrw" libcli11-dev nlohmann-json3-dev libpng-dev
expect_left_out "depthrw view" pkg-config libcpp-httplib-dev zlib1g-dev
expect_left_out "tests" libgtest-dev libgmock-dev libpng-dev
expect_left_out "Python module" python3 python3-dev pybind11-dev

# There is a pkg-config, which knows of nothing.
PKG_CONFIG_LIBDIR=$scratch PKG_CONFIG_PATH='' configure || complain "does not configure without OpenNI"
expect_left_out "camera reader" libopenni-dev
expect_left_out "depthrw view" libcpp-httplib-dev
for part in "program depthrw" "tests"; do
  grep -q "^--   in   $part$" "$scratch/log" || complain "$part: not in"
done

# What was asked for is not left out.
for asked in "${hide}PkgConfig=ON -DWITH_OPENNI=ON" "${hide}CLI11=ON -DCAMERA_DEPTH_RW_TOOLS=ON" \
  "${hide}GTest=ON -DCAMERA_DEPTH_RW_TESTS=ON" "${hide}pybind11=ON -DWITH_PYTHON=ON"; do
  read -ra switches <<<"$asked"
  if configure "${switches[@]}"; then complain "configures with $asked"; fi
done

# Without libjpeg there is nothing to build.
if configure ${hide}JPEG=ON; then complain "configures without libjpeg"; fi
grep -q "libjpeg62-turbo-dev" "$scratch/log" || complain "no word of libjpeg62-turbo-dev"
exit $status
