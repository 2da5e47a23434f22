#!/usr/bin/env bash
# Installs the packages with apt on a fresh Debian and uses each as its users do: the program, its manual page and
# completions, a C++ program through CMake and through pkg-config, the Python module. Then removes them again.
# Usage: use_packages.sh DIRECTORY-OF-PACKAGES
set -euo pipefail
packages=$1
work=$(mktemp -d)
cd "$work"

# The minimal Debian leaves manual pages and completions out of what it installs.
rm -f /etc/dpkg/dpkg.cfg.d/docker
step() { echo "== $*"; }
install() {
  apt-get install -y -qq --no-install-recommends "$@" >"$work/apt.txt" 2>&1 || {
    tail -20 "$work/apt.txt" >&2
    exit 1
  }
}

apt-get update -qq
step "the program alone"
install "$packages"/libcamera-depth-rw1_*.deb "$packages"/depthrw_*.deb
depthrw --version
depthrw record --out recording --source synthetic --start 2013-04-05T14:07:58 --frames 30
depthrw verify recording --against synthetic
depthrw play recording | tail -n 2
depthrw camera --help >/dev/null
depthrw view --help >/dev/null
countEntriesInDir recording >/dev/null

step "manual page and completions"
install man-db groff-base bash-completion zsh fish
man --warnings -E UTF-8 depthrw 2>manual.err >manual.txt
[ ! -s manual.err ] || {
  cat manual.err >&2
  exit 1
}
grep -q -- '--contact-sheet' manual.txt
man --warnings countEntriesInDir >/dev/null
bash -n /usr/share/bash-completion/completions/depthrw
zsh -n /usr/share/zsh/vendor-completions/_depthrw
fish --no-execute /usr/share/fish/vendor_completions.d/depthrw.fish
[[ $(fish -c 'complete --do-complete "depthrw record --lay"') == --layout* ]]
[[ $(fish -c 'complete --do-complete "depthrw record --layout t"') == tree* ]]
zsh -c 'autoload -Uz compinit && compinit -u && [[ -n $_comps[depthrw] ]]'

step "C++ programs"
install "$packages"/libcamera-depth-rw-dev_*.deb g++ make cmake pkg-config
cp -r /usr/share/doc/libcamera-depth-rw-dev/examples examples
cmake -S examples -B by-cmake >/dev/null
cmake --build by-cmake >/dev/null
by-cmake/record_tree of-cmake
# shellcheck disable=SC2046  # flags are words
g++ -std=c++20 examples/record_flat.cpp $(pkg-config --cflags --libs camera_depth_rw) -o by-pkg-config
./by-pkg-config of-pkg-config 5
depthrw verify of-pkg-config | tail -n 1

step "C++ programs with the camera reader"
mkdir camera
cat >camera/main.cpp <<'SOURCE'
#include "camera/asus_reader.h"
int main() { return GET_WIDTH_DEPTH_ASUS_READER() == 640 ? 0 : 1; }
SOURCE
cat >camera/CMakeLists.txt <<'SOURCE'
cmake_minimum_required(VERSION 3.25)
project(reader LANGUAGES CXX)
find_package(camera_depth_rw CONFIG REQUIRED COMPONENTS camera)
add_executable(reader main.cpp)
target_link_libraries(reader PRIVATE camera_depth_rw::camera)
SOURCE
if cmake -S camera -B without-openni >without-openni.txt 2>&1; then
  echo "the component camera was found without OpenNI's headers" >&2
  exit 1
fi
grep -q libopenni-dev without-openni.txt
install libopenni-dev
cmake -S camera -B camera/build >/dev/null
cmake --build camera/build >/dev/null
camera/build/reader

step "the Python module"
install "$packages"/python3-camera-depth-rw_*.deb
python3 - <<'SOURCE'
import camera_depth_rw

with camera_depth_rw.open_recording("recording") as recording:
    frame = recording[0]
    print(len(recording), "frames;", frame.depth.shape, frame.depth.dtype, frame.time)
    assert len(recording) == 30 and frame.depth.shape == (480, 640)
    assert 0.3 < frame.depth[frame.valid].mean() < 10
SOURCE
ls /usr/lib/python3/dist-packages/camera_depth_rw/__pycache__ >/dev/null

step "gone again"
apt-get purge -y -qq libcamera-depth-rw1 libcamera-depth-rw-dev depthrw python3-camera-depth-rw >/dev/null 2>&1
left=$(find /usr -name '*camera[-_]depth*' -o -name 'depthrw*')
[ -z "$left" ] || {
  echo "left behind: $left" >&2
  exit 1
}
echo "every package was installed, used and removed"
