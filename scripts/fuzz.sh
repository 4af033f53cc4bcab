#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# Builds the fuzz targets with the sanitizers and runs them on their seeds and
# on what earlier runs have found, which is kept in build/fuzz/corpus.
#   scripts/fuzz.sh               every target for 5 seconds
#   scripts/fuzz.sh 3600          every target for an hour
#   scripts/fuzz.sh 600 zip ar    these targets for ten minutes each
# Ends at the first finding, with the end of its log; the input that does it is
# left in build/fuzz.
set -euo pipefail
here=$(cd "$(dirname "$0")/.." && pwd)
cd "$here"
build=build/fuzz
export build
export seconds=${1:-5}
[ $# -eq 0 ] || shift

# Prints the target's name and its executions.
fuzz() {
  mkdir -p "$build/corpus/$1"
  "$build/tests/fuzz/fuzz_$1" -max_total_time="$seconds" -timeout=10 -rss_limit_mb=2048 \
    -close_fd_mask=3 -print_final_stats=1 -artifact_prefix="$build/$1-" \
    "$build/corpus/$1" "tests/fuzz/seeds/$1" >"$build/$1.log" 2>&1 ||
    { tail -n 40 "$build/$1.log" >&2; exit 255; } # at which xargs starts no other
  printf '%s %s\n' "$1" "$(sed -n 's/^stat::number_of_executed_units: //p' "$build/$1.log")"
}
export -f fuzz

names=("$@")
[ $# -ne 0 ] || for target in tests/fuzz/fuzz_*.cpp; do
  name=${target#tests/fuzz/fuzz_}
  names+=("${name%.cpp}")
done

scripts/setup.sh ci
log=$(mktemp)
trap 'rm -f "$log"' EXIT
{ cmake --preset fuzz && cmake --build "$build"; } >"$log" 2>&1 || { cat "$log" >&2; exit 1; }
printf '%s\n' "${names[@]}" | xargs -P "$(nproc)" -I{} bash -c 'fuzz {}' | {
  all=0
  while read -r name inputs; do
    printf '   %-10s %12d inputs\n' "$name" "$inputs"
    all=$((all + inputs))
  done
  printf '   %-10s %12d inputs\n' all "$all"
  [ "$all" -gt 0 ]
}
