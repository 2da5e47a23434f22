#!/usr/bin/env bash
# Makes a fresh Debian 12 in a directory and runs commands in it, as root.
# Usage: scripts/fresh_debian.sh make DIRECTORY
#        scripts/fresh_debian.sh run DIRECTORY COMMAND...
#        scripts/fresh_debian.sh remove DIRECTORY
# DEBIAN_MIRROR names the mirror (default: http://deb.debian.org/debian).
set -euo pipefail

if [ $# -lt 2 ]; then
  sed -n '3,6s/^# //p' "$0" >&2
  exit 2
fi
action=$1
root=$2
shift 2
if [ "$(id -u)" -ne 0 ]; then
  echo "a fresh Debian wants root" >&2
  exit 1
fi

case "$action" in
  make)
    command -v debootstrap >/dev/null || {
      echo "there is no debootstrap: apt install debootstrap" >&2
      exit 1
    }
    debootstrap --variant=minbase bookworm "$root" "${DEBIAN_MIRROR:-http://deb.debian.org/debian}" >"$root.log" 2>&1 || {
      tail -5 "$root.log" >&2
      exit 1
    }
    # As this machine reaches the network.
    cp /etc/resolv.conf "$root/etc/resolv.conf"
    mkdir -p "$root/usr/sbin"
    # No service starts in there.
    printf '#!/bin/sh\nexit 101\n' >"$root/usr/sbin/policy-rc.d"
    chmod 755 "$root/usr/sbin/policy-rc.d"
    ;;
  run)
    # A mount of its own goes with the command.
    unshare --mount --fork --pid --mount-proc="$root/proc" \
      env -i HOME=/root LANG=C.UTF-8 DEBIAN_FRONTEND=noninteractive PATH=/usr/local/sbin:/usr/local/bin:/usr/sbin:/usr/bin:/sbin:/bin \
      ${http_proxy:+http_proxy="$http_proxy"} ${https_proxy:+https_proxy="$https_proxy"} \
      chroot "$root" "$@"
    ;;
  remove) rm -rf --one-file-system "$root" "$root.log" ;;
  *)
    echo "there is no action $action" >&2
    exit 2
    ;;
esac
