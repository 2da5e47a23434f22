#!/usr/bin/env bash
# Makes the Debian packages of a build and fails when one of them does not have the files of its list in
# tests/package/, or lacks what its users and apt need to know.
# Usage: check_packages.sh [--update] BUILD-DIRECTORY DOC-DIRECTORY LIBRARY-DIRECTORY PYTHON-DIRECTORY PACKAGE...
#        the directories as installed, below the prefix; --update writes the lists anew
set -euo pipefail
export LC_ALL=C
lists=$(cd "$(dirname "$0")" && pwd)

update=
if [ "$1" = --update ]; then
  update=yes
  shift
fi
build=$1
doc=$2
lib=$3
python=$4
shift 4

scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
cpack --config "$build/CPackConfig.cmake" -B "$scratch" >"$scratch/log" 2>&1 || {
  cat "$scratch/log" >&2
  exit 1
}

status=0
# complain WHAT
complain() {
  echo "$package: $1" >&2
  status=1
}

# What depends on the configuration goes by a name: directories, versions, what Python calls its extensions.
list_files() {
  dpkg-deb --contents "$1" | awk '$1 !~ /^d/' | sed -E 's/^.* \.(\/[^ ]+)( -> .*)?$/\1\2/' |
    sed -E "s|^/usr/$doc/|/usr/DOC/|; s|^/usr/$python/|/usr/PYTHON/|; s|^/usr/$lib/|/usr/LIB/|" |
    sed -E 's/\.[0-9]+\.[0-9]+\.[0-9]+$/.VERSION/; s/ -> .*\.[0-9]+\.[0-9]+\.[0-9]+$/ -> libcamera_depth_rw.so.VERSION/' |
    sed -E 's/_native\.[^/]*\.so$/_native.so/; s/(_targets)-[a-z]+\.cmake$/\1-BUILD.cmake/' | sort
}

# field NAME FILE
field() {
  dpkg-deb --field "$2" "$1"
}

# expect_dependency NAME
expect_dependency() {
  grep -qE "(^|, )$1( |,|$)" <<<"$(field Depends "$file")" || complain "does not depend on $1: $(field Depends "$file")"
}

for package in "$@"; do
  file=$(find "$scratch" -maxdepth 1 -name "${package}_*.deb")
  [ -f "$file" ] || {
    complain "was not made"
    continue
  }
  list_files "$file" >"$scratch/$package.list"
  if [ -n "$update" ]; then
    cp "$scratch/$package.list" "$lists/$package.list"
    continue
  fi
  diff --unified=0 --label listed --label packed "$lists/$package.list" "$scratch/$package.list" >&2 ||
    complain "does not have the files of its list"

  # As apt shows it: a short line without a dot, then a text.
  [[ $(field Description "$file" | head -n 1) =~ ^[^.]{10,80}$ ]] || complain "no short description"
  [ "$(field Description "$file" | wc -l)" -ge 2 ] || complain "no long description"
  [ "$(field Architecture "$file")" = "$(dpkg --print-architecture)" ] || complain "wrong architecture"
  [[ $(field Maintainer "$file") =~ ^[^\<]+\ \<[^@]+@[^\>]+\>$ ]] || complain "no maintainer"
  [ -n "$(field Section "$file")" ] || complain "no section"
  if [[ $(field Version "$file") != *-* ]]; then complain "no Debian revision"; fi
  case "$package" in
    *-dev) ;;
    *) expect_dependency libc6 ;;
  esac
  case "$package" in
    libcamera-depth-rw1) expect_dependency 'libjpeg62-turbo' ;;
    python3-*)
      expect_dependency libcamera-depth-rw1
      expect_dependency python3
      expect_dependency python3-numpy
      ;;
    *) expect_dependency libcamera-depth-rw1 ;;
  esac

  # Owners and modes.
  bad=$(dpkg-deb --contents "$file" | awk '$2 != "root/root" || $1 !~ /^(drwxr-xr-x|-rw-r--r--|-rwxr-xr-x|lrwxrwxrwx)$/')
  [ -z "$bad" ] || complain "owners or modes: $bad"
done
exit $status
