#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# Cross-builds the library, its tests and loom.exe for 64-bit and 32-bit Windows, packs
# them, and runs them under Wine. Where the archives have no compiler for Windows or no
# Wine, it says so and has nothing to do.
#   scripts/windows.sh                all of it
#   scripts/windows.sh --within 900   what can be done in 900 seconds: what has failed by
#                                     then is a failure, and the rest has not been run
set -euo pipefail
here=$(cd "$(dirname "$0")/.." && pwd)
cd "$here"
if [ "${1:-}" = --within ]; then exec timeout --preserve-status --kill-after=60 "$2" "$0"; fi
lists=$here/tests/windows
logs=$(mktemp -d)
log=$logs/log
export logs
passed=0
failed=0
part="what is needed"

# Wine's server stays between the programs, and goes with this script.
servers=()
finish() {
  local server
  for server in "${servers[@]}"; do WINEPREFIX=${server#*:} "${server%%:*}" -k || true; done
  rm -rf "$logs"
}
trap finish EXIT
time_is_over() {
  echo "the time is over at \"$part\": $passed tests passed, $failed programs failed, and the rest was not run"
  exit $((failed > 0))
}
trap time_is_over TERM

# serve SERVER PREFIX SCRIPT: starts Wine's server, and tells whether the script then runs
# programs here: not every machine lets Wine do so.
serve() {
  mkdir -p "$2"
  servers+=("$1:$2")
  WINEPREFIX=$2 "$1" -p >"$log" 2>&1 && timeout --foreground 300 "$3" wineboot --init >"$log" 2>&1 &&
    [ "$(timeout --foreground 60 "$3" cmd /c echo there 2>"$log" </dev/null | tr -d '\r')" = there ] && return
  echo "$3 runs no program here: $(tail -n 1 "$log")"
  return 1
}
logged() { "$@" >"$log" 2>&1 || { cat "$log" >&2; exit 1; }; }

begin=$SECONDS
start() {
  part=$1
  begin=$SECONDS
}
took() { echo "  $part: $1 ($((SECONDS - begin)) s)"; }

# What the test program of a name has printed, and how many of its tests have passed.
output() { tr -d '\r' <"$logs/$1"; }
count_of() { output "$1" | sed -n 's/^\[  PASSED  \] \([0-9]*\) test.*/\1/p'; }
# The tests of it that failed, as a filter.
failures_of() {
  output "$1" | sed -n 's/^\[  FAILED  \] \([^ ,]*[.][^ ,]*\)\(,.*\| (.*\)\?$/\1/p' | sort -u | paste -sd:
}
succeeded() { [ -n "$(count_of "$1")" ] && [ -z "$(failures_of "$1")" ]; }
show() { output "$1" | grep -vE '^\[( RUN |  *OK |-+)' | tail -n 40 >&2; }

# run_program NAME FILTER COMMAND [argument...]: a test program, whose output is kept
# under the name.
run_program() {
  local name=$1 filter=$2
  shift 2
  timeout --foreground 900 "$@" "--gtest_filter=$filter" >"$logs/$name" 2>&1 </dev/null || true
}
export -f run_program

# judge NAME FILTER COMMAND [argument...]: counts what has passed. Now and then a program
# that Wine starts among hundreds of others gives no output: what has failed is run once
# more, by itself, before it counts, and that is told.
judge() {
  local name=$1 filter=$2 names
  shift 2
  passed=$((passed + $(count_of "$name" | grep . || echo 0)))
  ! succeeded "$name" || return 0
  names=$(failures_of "$name")
  show "$name"
  run_program "$name.again" "${names:-$filter}" "$@"
  passed=$((passed + $(count_of "$name.again" | grep . || echo 0)))
  if succeeded "$name.again"; then
    echo "  $name: ${names:-all of it} failed, and passed by itself"
  else
    failed=$((failed + 1))
    echo "  $name: ${names:-all of it} failed, and once more by itself" >&2
    show "$name.again"
  fi
}

# Each test program of a build, with the script that runs it and a filter. The programs
# know by themselves which of their tests are left out on both word sizes.
run_programs() {
  local build=build/$1 wine=$here/scripts/$2 filter=$3 program
  start "$1"
  # The large ones first, so that no processor waits at the end.
  find "$build"/tests -name '*_test.exe' -printf '%s %p\n' | sort -rn | cut -d' ' -f2 >"$logs/programs"
  xargs -P "$(nproc)" -I{} bash -c 'run_program "$1-$(basename "$4")" "$2" "$3" "$4"' - "$1" "$filter" "$wine" {} \
    <"$logs/programs"
  while read -r program; do
    judge "$1-${program##*/}" "$filter" "$wine" "$program"
  done <"$logs/programs"
  took "$(wc -l <"$logs/programs") programs, $passed tests passed so far, $failed programs failed"
}

# The tests of the tool, which run sessions of a shell, with loom.exe in its place, an
# equal share for each processor.
run_tool_tests() {
  local folder=$here/build/windows/bin tests=build/release/tests/tools/tools_test left_out shares share
  start "loom.exe"
  left_out=$(sed -n 's/^\([A-Z*][^ ]*\) .*/\1/p' "$lists/loom_exceptions.txt" | paste -sd:)
  logged cmake --preset release
  logged cmake --build build/release --target tools_test
  mkdir -p "$folder"
  printf '#!/bin/sh\nexec "%s" "%s" "$@"\n' "$here/scripts/wine64.sh" "$here/build/win64/tools/loom/loom.exe" \
    >"$folder/loom"
  chmod +x "$folder/loom"
  export LOOMKIT_TEST_LOOM=$folder/loom
  shares=$(nproc)
  seq 0 $((shares - 1)) | xargs -P "$shares" -I{} env GTEST_TOTAL_SHARDS="$shares" GTEST_SHARD_INDEX={} \
    bash -c 'run_program "loom.exe-$1" "$2" "$3"' - {} "-$left_out" "$tests"
  for share in $(seq 0 $((shares - 1))); do judge "loom.exe-$share" "-$left_out" "$tests"; done
  took "$passed tests passed so far, $failed programs failed"
}

build() {
  start "$1"
  logged cmake --preset "$1"
  logged cmake --build "build/$1"
  took "built and linked"
}
check_package() {
  start "$1"
  "$lists/check_package.sh" "$here/build/$1" "$here" "$here/scripts/$2"
  took "package"
}

if ! scripts/setup.sh windows >"$log" 2>&1; then
  echo "no compilers for Windows or no Wine can be installed here: $(tail -n 1 "$log")"
  exit 0
fi
scripts/fetch_windows.sh
took "there"

build win64
logged python3 tests/house/check_exports.py build/win64/loomkit/loomkit.dll tests/house/exported_symbols.txt
if serve /usr/lib/wine/wineserver64 "$here/build/wine" "$here/scripts/wine64.sh"; then
  run_programs win64 wine64.sh '*'
  start win64
  logged ctest --test-dir build/win64 --parallel "$(nproc)" --repeat until-pass:2 -R "^hostile"
  sed -n 's/.*: \(hostile[^ ]*\) .*[*]Failed.*/  \1 failed, and passed by itself/p' "$log"
  took "hostile inputs"
  check_package win64 wine64.sh
  run_tool_tests
fi

build win32
wine32=$here/build/windows/wine32
if [ -f "$wine32/complete" ] &&
  serve "$wine32/usr/lib/wine/wineserver32" "$wine32-prefix" "$here/scripts/wine32.sh"; then
  check_package win32 wine32.sh
  # The 32-bit SQLite makes another last bit of a number's text.
  run_programs win32 wine32.sh '-TesselWriter.KeepsEveryBitOfANumberOfSqlite'
fi
echo "$passed tests passed, $failed programs failed"
[ "$failed" -eq 0 ]
