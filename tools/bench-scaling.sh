#!/usr/bin/env bash
# Scaling: the whole-file figures of bench-file.sh on generated workbooks of
# 1, 16, 128 and 512 MB (or the sizes given), one table. Time per MB must
# stay flat and peak memory must be the sheet grid plus a constant.
#
#   tools/bench-scaling.sh [-b BUILD_DIR] [-d DATA_DIR] [-n RUNS] [SIZE...]
#
# The workbooks are written once into DATA_DIR (default /tmp/wzss-bench) with
# seed 1 and kept for later runs.
set -euo pipefail

here="$(cd "$(dirname "$0")" && pwd)"
build_dir="$here/../build"
data_dir=/tmp/wzss-bench
runs=5
while [[ $# -gt 0 ]]; do
  case "$1" in
    -b) build_dir="$2"; shift 2 ;;
    -d) data_dir="$2"; shift 2 ;;
    -n) runs="$2"; shift 2 ;;
    *) break ;;
  esac
done
sizes=("$@")
[[ ${#sizes[@]} -gt 0 ]] || sizes=(1M 16M 128M 512M)
mkdir -p "$data_dir"

rows="$(mktemp)"
trap 'rm -f "$rows"' EXIT
for size in "${sizes[@]}"; do
  file="$data_dir/gen-$size-seed1.wzs"
  [[ -f "$file" ]] || "$build_dir/bin/wzgen" --size "$size" --seed 1 -o "$file"
  grid=$("$build_dir/bin/wzgen" --size "$size" --seed 1 -o /dev/null --stats 2>&1 |
         awk '$1 == "maxRow" { r = $2 } $1 == "maxColumn" { c = $2 }
              END { printf "%.1f", (r + 1) * (c + 1 + 16) / 1048576 }')
  "$here/bench-file.sh" -n "$runs" -b "$build_dir" --tsv "$file" | sed "s/\$/\t$grid/" >>"$rows"
done

awk -F'\t' '
  BEGIN { printf "%-8s %-6s %9s %9s %11s %10s %9s %9s %8s %7s\n", "MB", "tool", "wall s", "MB/s",
          "cells/s", "ms/MB", "cpu s", "peak MB", "grid MB", "spread" }
  { printf "%-8.1f %-6s %9.3f %9.1f %11s %10.2f %9.2f %9.1f %8.1f %6.0f%%\n", $2, $3, $4, $5,
           ($6 > 0 ? $6 : "-"), 1000 * $4 / $2, $7, $8, $10, 100 * $9 }' "$rows"
