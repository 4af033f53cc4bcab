#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# Cross-builds the library, its tests and loom.exe for 64-bit and 32-bit Windows, packs
# them, and runs them under Wine. Where the archives have no compiler for Windows or no
# Wine, it says so and has nothing to do.
set -euo pipefail
here=$(cd "$(dirname "$0")/.." && pwd)
cd "$here"
lists=$here/tests/windows
log=$(mktemp)
# Wine's server stays between the programs, and goes with this script.
servers=()
finish() {
  local server
  for server in "${servers[@]}"; do WINEPREFIX=${server#*:} "${server%%:*}" -k || true; done
  rm -f "$log"
}
trap finish EXIT
serve() {
  mkdir -p "$2"
  WINEPREFIX=$2 "$1" -p
  servers+=("$1:$2")
}
logged() { "$@" >"$log" 2>&1 || { cat "$log" >&2; exit 1; }; }

if ! scripts/setup.sh windows >"$log" 2>&1; then
  echo "no compilers for Windows or no Wine can be installed here: $(tail -n 1 "$log")"
  exit 0
fi
scripts/fetch_windows.sh

begin=$SECONDS
took() {
  echo "  $1 ($((SECONDS - begin)) s)"
  begin=$SECONDS
}

# What a test program has printed: its count, or what went wrong.
passed=0
failed=0
count_tests() {
  local count
  count=$(tr -d '\r' <"$log" | sed -n 's/^\[  PASSED  \] \([0-9]*\) test.*/\1/p')
  passed=$((passed + ${count:-0}))
  if [ -z "$count" ] || grep -q '^\[  FAILED  \]' "$log"; then
    failed=$((failed + 1))
    echo "$1:" >&2
    tr -d '\r' <"$log" | grep -vE '^\[( RUN |  *OK |-+)' | tail -n 40 >&2
  fi
}

# Each test program of a build, with the script that runs it and a filter. The programs
# know by themselves which of their tests are left out on both word sizes.
run_programs() {
  local build=build/$1 wine=scripts/$2 program
  logged "$wine" wineboot --init
  for program in "$build"/tests/*/*_test.exe; do
    timeout 900 "$wine" "$program" "--gtest_filter=$3" >"$log" 2>&1 </dev/null || true
    count_tests "$1 ${program##*/}"
  done
  took "$1: $passed tests passed so far, $failed programs failed"
}

# The tests of the tool, which run sessions of a shell, with loom.exe in its place.
run_tool_tests() {
  local folder=$here/build/windows/bin left_out
  left_out=$(sed -n 's/^\([A-Z*][^ ]*\) .*/\1/p' "$lists/loom_exceptions.txt" | paste -sd:)
  logged cmake --preset release
  logged cmake --build build/release --target tools_test
  mkdir -p "$folder"
  printf '#!/bin/sh\nexec "%s" "%s" "$@"\n' "$here/scripts/wine64.sh" "$here/build/win64/tools/loom/loom.exe" \
    >"$folder/loom"
  chmod +x "$folder/loom"
  LOOMKIT_TEST_LOOM=$folder/loom timeout 1200 build/release/tests/tools/tools_test \
    "--gtest_filter=-$left_out" >"$log" 2>&1 </dev/null || true
  count_tests "tools_test with loom.exe"
  took "loom.exe: $passed tests passed so far, $failed programs failed"
}

for preset in win64 win32; do
  logged cmake --preset "$preset"
  logged cmake --build "build/$preset"
  took "$preset: built and linked"
done
logged python3 tests/house/check_exports.py build/win64/loomkit/loomkit.dll tests/house/exported_symbols.txt
serve /usr/lib/wine/wineserver64 "$here/build/wine"
"$lists/check_package.sh" "$here/build/win64" "$here" "$here/scripts/wine64.sh"
took "win64: exports and package"
run_programs win64 wine64.sh '*'
logged ctest --test-dir build/win64 -R '^hostile'
took "win64: hostile inputs"
run_tool_tests
if [ -f build/windows/wine32/complete ]; then
  serve "$here/build/windows/wine32/usr/lib/wine/wineserver32" "$here/build/windows/wine32-prefix"
  "$lists/check_package.sh" "$here/build/win32" "$here" "$here/scripts/wine32.sh"
  # The 32-bit SQLite makes another last bit of a number's text.
  run_programs win32 wine32.sh '-TesselWriter.KeepsEveryBitOfANumberOfSqlite'
fi
echo "$passed tests passed, $failed programs failed"
[ "$failed" -eq 0 ]
