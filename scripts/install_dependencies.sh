#!/usr/bin/env bash
# Installs the Debian packages that the project needs and that this machine does not have yet.
# Usage: scripts/install_dependencies.sh [build|test|bench|coverage|package]   (default: test; each includes build)
set -euo pipefail

build_packages=(g++ cmake ninja-build libjpeg62-turbo-dev libpng-dev libcli11-dev nlohmann-json3-dev
  libcpp-httplib-dev libopenni-dev pkg-config)
python_packages=(pybind11-dev python3-dev python3-numpy)
bench_packages=(libbenchmark-dev libzstd-dev)
packaging_packages=(dpkg-dev file binutils debootstrap)
test_packages=(clang libclang-rt-14-dev libgtest-dev libgmock-dev shellcheck valgrind chromium ffmpeg doxygen
  python3-open3d python3-pytest python3-matplotlib mypy dpkg-dev file abigail-tools man-db)

case "${1:-test}" in
  build) wanted=("${build_packages[@]}") ;;
  test) wanted=("${build_packages[@]}" "${python_packages[@]}" "${test_packages[@]}") ;;
  bench) wanted=("${build_packages[@]}" "${python_packages[@]}" "${bench_packages[@]}") ;;
  coverage) wanted=("${build_packages[@]}" "${test_packages[@]}" gcovr) ;;
  package) wanted=("${build_packages[@]}" "${python_packages[@]}" "${packaging_packages[@]}") ;;
  *)
    echo "usage: $0 [build|test|bench|coverage|package]" >&2
    exit 2
    ;;
esac

# Node.js may have come from elsewhere, with an npm of its own.
case "${1:-test}" in
  test)
    command -v node >/dev/null || wanted+=(nodejs)
    command -v npm >/dev/null || wanted+=(npm)
    ;;
esac

missing=()
for package in "${wanted[@]}"; do
  status=$(dpkg-query -W -f='${db:Status-Abbrev}' "$package" 2>/dev/null || true)
  [ "${status:0:2}" = ii ] || missing+=("$package")
done
[ ${#missing[@]} -eq 0 ] && exit 0

as_root=()
if [ "$(id -u)" -ne 0 ]; then
  command -v sudo >/dev/null || {
    echo "these packages are missing, and there is no sudo to install them: ${missing[*]}" >&2
    exit 1
  }
  as_root=(sudo)
fi

echo "installing: ${missing[*]}" >&2
export DEBIAN_FRONTEND=noninteractive
"${as_root[@]}" apt-get update -qq
"${as_root[@]}" apt-get install -y -qq --no-install-recommends "${missing[@]}"
