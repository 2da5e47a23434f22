#!/usr/bin/env bash
# Builds the fuzz targets and runs each for a while, one per core, from its committed corpus. Prints a
# table at the end, and fails when an input broke a promise. What the targets learn is kept in
# build/fuzz/work and used by the next run; an input that is a finding lies in build/fuzz/findings.
# Usage: scripts/fuzz.sh [SECONDS [TARGET...]]   (default: 60 seconds, every target)
set -euo pipefail
cd "$(dirname "$0")/.."

seconds=${1:-60}
[ $# -gt 0 ] && shift
case "$seconds" in
  '' | *[!0-9]*)
    echo "usage: $0 [SECONDS [TARGET...]]" >&2
    exit 2
    ;;
esac
targets=("$@")
if [ ${#targets[@]} -eq 0 ]; then
  for corpus in fuzz/corpus/*/; do targets+=("$(basename "$corpus")"); done
fi

scripts/install_dependencies.sh test
cmake --preset fuzz >/dev/null
cmake --build --preset fuzz --parallel "$(nproc)" --target "${targets[@]}"

# Short stacks of allocations: engines make thousands of them.
export ASAN_OPTIONS=detect_leaks=1:strict_string_checks=1:allocator_may_return_null=1:malloc_context_size=6
export UBSAN_OPTIONS=print_stacktrace=1:halt_on_error=1
output=$PWD/build/fuzz
mkdir -p "$output/logs"
touch "$output/begin"

run_target() {
  local target=$1
  local work=$output/corpora/$target findings=$output/findings/$target
  mkdir -p "$work" "$findings"
  local options=(-max_total_time="$seconds" -timeout=20 -rss_limit_mb=3072 -print_final_stats=1
    -artifact_prefix="$findings/")
  case "$target" in
    jpeg_fuzzer | frame_files_fuzzer) options+=(-dict=fuzz/jpeg.dict) ;;
  esac
  "$output/fuzz/$target" "${options[@]}" "$work" "fuzz/corpus/$target" \
    >"$output/logs/$target.log" 2>&1 && echo 0 >"$output/logs/$target.status" ||
    echo $? >"$output/logs/$target.status"
}

stat_of() {
  sed -n "s/^stat::$2: *//p" "$output/logs/$1.log" | tail -1
}

for target in "${targets[@]}"; do
  while [ "$(jobs -rp | wc -l)" -ge "$(nproc)" ]; do wait -n; done
  echo "fuzzing: $target for $seconds s" >&2
  run_target "$target" &
done
wait

failed=0
printf '%-22s %12s %14s %9s\n' target executions 'executions/s' findings
for target in "${targets[@]}"; do
  findings=$(find "$output/findings/$target" -type f ! -name 'slow-unit-*' -newer "$output/begin" | wc -l)
  status=$(cat "$output/logs/$target.status")
  printf '%-22s %12s %14s %9s\n' "$target" "$(stat_of "$target" number_of_executed_units)" \
    "$(stat_of "$target" average_exec_per_sec)" "$findings"
  if [ "$status" -ne 0 ] || [ "$findings" -ne 0 ]; then
    failed=1
    echo "  see $output/logs/$target.log and $output/findings/$target" >&2
  fi
done
exit "$failed"
