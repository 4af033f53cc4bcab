#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# Configures, builds and tests one preset. build_and_test.sh PRESET [ctest option...]
set -euo pipefail
here=$(cd "$(dirname "$0")/.." && pwd)
preset=$1
shift
build="$here/build/$preset"

log=$(mktemp)
trap 'rm -f "$log"' EXIT
if ! { cmake -S "$here" --preset "$preset" -DLOOMKIT_BUILD_TESTS=ON && cmake --build "$build"; } >"$log" 2>&1; then
  cat "$log"
  exit 1
fi
ctest --test-dir "$build" --parallel "$(nproc)" --output-on-failure --no-tests=error "$@" >"$log" 2>&1 ||
  { grep -avE '^ *[0-9]+/[0-9]+ Test .* Passed|^ +Start ' "$log"; exit 1; }
tail -n 4 "$log"
