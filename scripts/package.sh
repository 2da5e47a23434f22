#!/usr/bin/env bash
# Builds the Debian packages into build/package/packages: libcamera-depth-rw1, libcamera-depth-rw-dev, depthrw and
# python3-camera-depth-rw.
# Usage: scripts/package.sh [--check] [CMAKE-OPTION...]
#        --check   also installs them with apt in a fresh Debian 12 and uses them there (wants root)
set -euo pipefail
cd "$(dirname "$0")/.."

check=
case "${1:-}" in
  --check)
    check=yes
    shift
    ;;
  --help)
    sed -n '4,5s/^# //p' scripts/package.sh
    exit 0
    ;;
esac

scripts/install_dependencies.sh package
cmake --preset package "$@" >/dev/null
cmake --build --preset package --parallel "${JOBS:-$(nproc)}" >&2
packages=$PWD/build/package/packages
rm -rf "$packages"
cpack --config build/package/CPackConfig.cmake -B "$packages" >"$packages.log" 2>&1 || {
  tail -20 "$packages.log" >&2
  exit 1
}
rm -rf "$packages/_CPack_Packages"
ls -l "$packages"
[ -n "$check" ] || exit 0

scratch=$(mktemp -d)
debian=$scratch/debian
trap 'scripts/fresh_debian.sh remove "$debian"; rm -rf "$scratch"' EXIT
echo "== a fresh Debian"
scripts/fresh_debian.sh make "$debian"
mkdir "$debian/root/packages"
cp "$packages"/*.deb "$debian/root/packages"
cp tests/package/use_packages.sh "$debian/root"
scripts/fresh_debian.sh run "$debian" /bin/bash /root/use_packages.sh /root/packages
