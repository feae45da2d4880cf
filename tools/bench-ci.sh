#!/usr/bin/env bash
# For CI: builds the performance tools and the micro-benchmarks, then runs
# each once on a small generated workbook (2 MB). It checks that everything
# runs and that the walk sees what the generator wrote; it asserts no timing
# (CI machines are shared). Takes well under 3 minutes.
#
#   tools/bench-ci.sh [BUILD_DIR]
set -euo pipefail

root="$(cd "$(dirname "$0")/.." && pwd)"
build_dir="${1:-$root/build-bench-ci}"
jobs="$(nproc 2>/dev/null || echo 2)"

cmake -S "$root" -B "$build_dir" -DCMAKE_BUILD_TYPE=RelWithDebInfo -DWZSS_BUILD_TESTS=OFF \
      -DWZSS_BUILD_BENCHMARKS=ON >/dev/null
cmake --build "$build_dir" -j"$jobs" --target wzgen wzwalk wzfloor wzss_bench wzss_cli wzss >/dev/null

work="$(mktemp -d)"
trap 'rm -rf "$work"' EXIT
book="$work/ci-2M.wzs"
"$build_dir/bin/wzgen" --size 2M --seed 1 -o "$book" --stats 2>"$work/stats"

# The walk must deliver one cell per cell line and per formatted empty cell.
"$build_dir/bin/wzwalk" "$book" >"$work/walk"
expected=$(awk '$1 == "cellLines" || $1 == "formattedEmptyCells" { n += $2 } END { print n }' "$work/stats")
got=$(awk '$1 == "cells" { print $2 }' "$work/walk")
if [[ "$expected" != "$got" ]]; then
  echo "bench-ci: the walk delivered $got cells, the generator wrote $expected" >&2
  exit 1
fi

"$root/tools/bench-file.sh" -n 1 -b "$build_dir" "$book"
WZSS_BENCH_SIZE=2M "$build_dir/bin/wzss_bench" --benchmark_min_time=0.01
echo "bench-ci: 1 passed, 0 failed"
