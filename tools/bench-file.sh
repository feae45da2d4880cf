#!/usr/bin/env bash
# Whole-file benchmark: times, on one workbook and in one sitting, the walk of
# every item of every sheet (wzwalk), `wzss csv` when the command has it, and
# two references: the bare read of the file (wc -l) and the floor of the
# reader's design (wzfloor: every byte twice through the file stream's
# one-byte Read). The runs are interleaved (wc, floor, walk, csv, then again)
# so that load from elsewhere on the machine falls on all of them alike, and
# every figure is the median of the runs. With --xlsx, `wzss xlsx` runs too.
#
#   tools/bench-file.sh [-n RUNS] [-b BUILD_DIR] [--csv-max MB] [--xlsx] [--tsv] FILE
#
# `wzss csv` is left out for files above --csv-max MB (default 1024): it
# keeps the texts of the sheet being read and the CSV of the sheets read
# so far in memory, about one and a half times the file's size.
#
# Prints, per tool: median wall time, MB/s, cells/s, median CPU time
# (user + system), median peak resident memory, and the spread of the wall
# times ((max - min) / median) as a measure of the noise; then the ratios
# walk/floor, csv/walk and walk/wc on wall and on CPU time. --tsv prints the
# same as tab-separated lines for scripts (tools/bench-scaling.sh).
set -euo pipefail

runs=5
build_dir="$(cd "$(dirname "$0")/.." && pwd)/build"
tsv=0
xlsx=0
csv_max_mb=1024
while [[ $# -gt 1 ]]; do
  case "$1" in
    -n) runs="$2"; shift 2 ;;
    -b) build_dir="$2"; shift 2 ;;
    --tsv) tsv=1; shift ;;
    --xlsx) xlsx=1; shift ;;
    --csv-max) csv_max_mb="$2"; shift 2 ;;
    *) break ;;
  esac
done
if [[ $# -ne 1 || ! -f "$1" ]]; then
  echo "usage: $0 [-n RUNS] [-b BUILD_DIR] [--csv-max MB] [--xlsx] [--tsv] FILE" >&2
  exit 2
fi
file="$1"
bin="$build_dir/bin"
for tool in wzwalk wzfloor; do
  [[ -x "$bin/$tool" ]] || { echo "$0: $bin/$tool missing: build the tools first" >&2; exit 1; }
done

scratch="$(mktemp -d)"
trap 'rm -rf "$scratch"' EXIT

# One timed run: wall time from the clock, CPU time and peak memory from
# GNU time. Appends "name wall cpu peakKiB" to the samples.
run_one() {
  local name="$1"
  shift
  local start end
  start=$(date +%s%N)
  if ! /usr/bin/time -f '%U %S %M' -o "$scratch/time" "$@" >/dev/null 2>"$scratch/stderr"; then
    echo "$0: $name failed:" >&2
    cat "$scratch/stderr" >&2
    exit 1
  fi
  end=$(date +%s%N)
  read -r user system peak <"$scratch/time"
  awk -v n="$name" -v w="$(( end - start ))" -v u="$user" -v s="$system" -v p="$peak" \
    'BEGIN { printf "%s %.6f %.2f %d\n", n, w / 1e9, u + s, p }' >>"$scratch/samples"
}

have_csv=0
if [[ -x "$bin/wzss" ]] && "$bin/wzss" csv --help >/dev/null 2>&1; then have_csv=1; fi

# The counts the rates are made of, and a warm page cache for every tool.
cat "$file" >/dev/null
"$bin/wzwalk" "$file" >"$scratch/walk"
cells=$(awk '$1 == "cells" { print $2 }' "$scratch/walk")
bytes=$(stat -c %s "$file")
csv_note="csv: skipped, the wzss command has no csv subcommand in this build"
if [[ $have_csv -eq 1 && $bytes -gt $(( csv_max_mb * 1048576 )) ]]; then
  have_csv=0
  csv_note="csv: skipped above $csv_max_mb MB (--csv-max)"
fi

for ((i = 0; i < runs; ++i)); do
  run_one wc wc -l "$file"
  run_one floor "$bin/wzfloor" "$file"
  run_one walk "$bin/wzwalk" "$file"
  # All sheets: one CSV file per sheet into a scratch folder.
  if [[ $have_csv -eq 1 ]]; then run_one csv "$bin/wzss" csv --all -o "$scratch/csv" "$file"; fi
  if [[ $xlsx -eq 1 ]]; then TMPDIR="$scratch" run_one xlsx "$bin/wzss" xlsx -o "$scratch/out.xlsx" "$file"; fi
done

# Median, spread and the derived rates per tool, then the ratios.
awk -v bytes="$bytes" -v cells="$cells" -v tsv="$tsv" -v file="$file" -v runs="$runs" \
    -v have_csv="$have_csv" -v csv_note="$csv_note" '
  # CPU times come in hundredths: a zero one gives no ratio.
  function ratio(a, b) { if (b > 0) return sprintf("%.2f", a / b); return "-" }
  function median(list, n,    i, j, t, a) {
    for (i = 1; i <= n; ++i) a[i] = list[i]
    for (i = 2; i <= n; ++i) { t = a[i]; for (j = i - 1; j >= 1 && a[j] > t; --j) a[j + 1] = a[j]; a[j + 1] = t }
    return n % 2 ? a[(n + 1) / 2] : (a[n / 2] + a[n / 2 + 1]) / 2
  }
  {
    k = ++count[$1]
    wall[$1, k] = $2; cpu[$1, k] = $3; peak[$1, k] = $4
  }
  END {
    split("wc floor walk csv xlsx", order, " ")
    mb = bytes / 1048576
    if (!tsv) {
      printf "file %s: %.1f MB, %d cells, %d runs each, medians\n", file, mb, cells, runs
      printf "%-10s %10s %10s %12s %9s %10s %8s\n", "tool", "wall s", "MB/s", "cells/s", "cpu s", "peak MB", "spread"
    }
    for (o = 1; o <= 5; ++o) {
      t = order[o]; n = count[t]
      if (n == 0) continue
      lo = 1e18; hi = 0
      for (k = 1; k <= n; ++k) {
        w[k] = wall[t, k]; c[k] = cpu[t, k]; p[k] = peak[t, k]
        if (w[k] < lo) lo = w[k]
        if (w[k] > hi) hi = w[k]
      }
      mw[t] = median(w, n); mc[t] = median(c, n); mp[t] = median(p, n)
      spread = mw[t] > 0 ? (hi - lo) / mw[t] : 0
      rate = mw[t] > 0 ? mb / mw[t] : 0
      crate = (t == "walk" || t == "csv" || t == "xlsx") && mw[t] > 0 ? cells / mw[t] : 0
      if (tsv)
        printf "%s\t%.1f\t%s\t%.4f\t%.1f\t%.0f\t%.2f\t%.1f\t%.2f\n", file, mb, t, mw[t], rate, crate, mc[t], mp[t] / 1024, spread
      else
      {
        shown = "-"
        if (crate > 0) shown = sprintf("%.0f", crate)
        printf "%-10s %10.3f %10.1f %12s %9.2f %10.1f %7.0f%%\n", t, mw[t], rate, shown, mc[t], mp[t] / 1024, spread * 100
      }
    }
    if (tsv) exit
    if (!have_csv) print csv_note
    printf "walk/floor %.2f (cpu %s)\n", mw["walk"] / mw["floor"], ratio(mc["walk"], mc["floor"])
    if (have_csv) printf "csv/walk   %.2f (cpu %s)\n", mw["csv"] / mw["walk"], ratio(mc["csv"], mc["walk"])
    if (count["xlsx"]) printf "xlsx/walk  %.2f (cpu %s)\n", mw["xlsx"] / mw["walk"], ratio(mc["xlsx"], mc["walk"])
    printf "walk/wc    %.2f (cpu %s)\n", mw["walk"] / mw["wc"], ratio(mc["walk"], mc["wc"])
  }' "$scratch/samples"
