#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# Cross-builds the library and its tests for 64-bit and 32-bit Windows. The 64-bit test
# programs are run under Wine; the 32-bit ones only where a 32-bit Wine is installed.
set -euo pipefail
here=$(cd "$(dirname "$0")/.." && pwd)
"$here/scripts/setup.sh" windows
"$here/scripts/fetch_windows.sh"

log=$(mktemp)
trap 'rm -f "$log"' EXIT
logged() { "$@" >"$log" 2>&1 || { cat "$log" >&2; exit 1; }; }

left_out=$(sed -n 's/^\([A-Z][^ ]*\) .*/\1/p' "$here/tests/windows/exceptions.txt" | paste -sd:)

# Runs the programs of a build with the command that is given, and adds up their tests.
run_tests() {
  local build=$1 passed=0 failed=0 program count
  shift
  for program in "$build"/tests/*/*_test.exe; do
    "$@" "$program" "--gtest_filter=-$left_out" >"$log" 2>&1 </dev/null || true
    count=$(tr -d '\r' <"$log" | sed -n 's/^\[  PASSED  \] \([0-9]*\) test.*/\1/p')
    passed=$((passed + ${count:-0}))
    if ! tr -d '\r' <"$log" | grep -q '^\[  PASSED  \]' || grep -q '^\[  FAILED  \]' "$log"; then
      failed=$((failed + 1))
      echo "${program##*/}:" >&2
      tr -d '\r' <"$log" | grep -vE '^\[( RUN |  *OK |-+)' | tail -n 40 >&2
    fi
  done
  echo "${build##*/}: $passed tests passed, $failed programs failed"
  [ "$failed" -eq 0 ]
}

for preset in win64 win32; do
  logged cmake -S "$here" --preset "$preset"
  logged cmake --build "$here/build/$preset"
done
logged python3 "$here/tests/house/check_exports.py" "$here/build/win64/loomkit/loomkit.dll" \
  "$here/tests/house/exported_symbols.txt"
"$here/tests/windows/check_package.sh" "$here/build/win64" "$here" "$here/scripts/wine64.sh"
status=0
run_tests "$here/build/win64" "$here/scripts/wine64.sh" || status=1
if [ -f "$here/build/windows/wine32/complete" ]; then
  run_tests "$here/build/win32" "$here/scripts/wine32.sh" || status=1
else
  echo "win32: built and linked; there is no 32-bit Wine here to run it"
fi
exit "$status"
