#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# Builds the benchmarks with the peers and prints the table of ratios.
#   scripts/bench.sh             everything
#   scripts/bench.sh rpn text    these programs only
#   scripts/bench.sh growth      how cost grows, drawn in docs/performance/growth.svg
set -euo pipefail
here=$(cd "$(dirname "$0")/.." && pwd)
"$here/scripts/setup.sh" bench
build="$here/build/bench"
cmake -S "$here" --preset bench -DLOOMKIT_BUILD_TOOLS=OFF >/dev/null
cmake --build "$build" --target bench_programs >/dev/null
if [ "$*" = growth ]; then
  "$build/bench/growth_bench" --benchmark_min_time=0.05 --benchmark_out="$build/growth.json"
  exec python3 "$here/bench/plot.py" "$build/growth.json" "$here/docs/performance/growth.svg"
fi
programs=()
if [ $# -eq 0 ]; then
  for program in "$build"/bench/*_bench; do
    [ "$(basename "$program")" = growth_bench ] || programs+=("$program")
  done
else
  for name in "$@"; do programs+=("$build/bench/${name}_bench"); done
fi
exec python3 "$here/bench/report.py" "${programs[@]}"
