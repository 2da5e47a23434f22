#!/usr/bin/env bash
# Runs an example without a keyboard and fails when it does not do what its comment says. Recordings are also
# verified when there is the program for it.
# Usage: run_example.sh NAME DIRECTORY-OF-EXAMPLES [DEPTHRW]
set -euo pipefail
name=$1
examples=$2
depthrw=${3:-}

scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
recording=$scratch/recording

# run NAME ARGUMENTS...: its output goes to a file.
run() {
  local example=$1
  shift
  timeout 120 "$examples/$example" "$@" </dev/null >"$scratch/output" || {
    echo "$example failed with status $?" >&2
    cat "$scratch/output" >&2
    exit 1
  }
}

expect() {
  grep -qE -- "$1" "$scratch/output" || {
    echo "no line of the output is: $1" >&2
    cat "$scratch/output" >&2
    exit 1
  }
}

# expect_frames NUMBER: so many are recorded, each with depth and colour.
expect_frames() {
  local found
  found=$(find "$recording" -name '*depth*.rle' | wc -l)
  [ "$found" = "$1" ] || {
    echo "$found frames were recorded, not $1" >&2
    exit 1
  }
  [ -z "$depthrw" ] || "$depthrw" verify "$recording" >/dev/null
}

case "$name" in
  record_and_read)
    run "$name" "$recording"
    expect '^frame 9: 2\.100 m, read within [0-9.]+ mm$'
    expect_frames 10
    ;;
  record_flat)
    run "$name" "$recording" 12
    expect '^12 frames in '
    expect_frames 12
    ;;
  record_numbered)
    run "$name" "$recording" 90
    # Ten frames a second, while somebody walks by for one of three seconds.
    expect '^(9|10|11) of 90 frames in '
    expect_frames "$(sed -n 's/ of 90 frames in .*//p' "$scratch/output")"
    ;;
  record_tree)
    run "$name" "$recording"
    expect '^20 frames before the event and 10 after it in '
    expect_frames 30
    ;;
  play_time_range)
    run record_tree "$recording"
    run "$name" "$recording" 2024-05-17T14-16-00.500000 2024-05-17T14-16-01.400000
    expect '^2024-05-17T14-16-00\.500000: 2\.7[45][0-9] m in the middle, blue 12[789]$'
    expect '^2024-05-17T14-16-01\.400000: '
    expect '^10 frames$'
    ;;
  service)
    run "$name" "$recording" 2>"$scratch/log"
    expect '^recorded: yes, alarms: 0$'
    expect '^recorded without a directory: no, alarms: [1-9]'
    grep -q '^library: ' "$scratch/log" || {
      echo "the library's words are not in the log" >&2
      exit 1
    }
    ;;
  read_one_frame)
    run record_flat "$recording" 8
    run "$name" "$recording/depth-00000007" "$recording/bgrimage-00000007.jpg"
    expect '^307200 of 307200 pixels have a reading$'
    expect '^in the middle: x 0\.003 m, y 0\.003 m, z 2\.9[0-9]+ m$'
    expect '^colour in the middle: blue 12[789], green 12[789], red 12[789]$'
    ;;
  *)
    echo "there is no test of the example $name" >&2
    exit 1
    ;;
esac
