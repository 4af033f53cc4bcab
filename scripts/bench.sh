#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# Builds the benchmarks with the peers and prints the table of ratios.
#   scripts/bench.sh             everything
#   scripts/bench.sh rpn text    these programs only
set -euo pipefail
here=$(cd "$(dirname "$0")/.." && pwd)
"$here/scripts/setup.sh" bench
build="$here/build/bench"
cmake -S "$here" --preset bench -DLOOMKIT_BUILD_TOOLS=OFF >/dev/null
cmake --build "$build" --target bench_programs >/dev/null
programs=()
if [ $# -eq 0 ]; then
  for program in "$build"/bench/*_bench; do programs+=("$program"); done
else
  for name in "$@"; do programs+=("$build/bench/${name}_bench"); done
fi
exec python3 "$here/bench/report.py" "${programs[@]}"
