#!/usr/bin/env bash
# Hostile-view benchmark: writes the workbooks whose view sections once cost
# the reader time out of all proportion to their size, and times `wzss dump`
# over each with hyperfine (median of RUNS runs), for one or more builds of
# the command, so a change can be shown before and after in one sitting.
#
#   tools/bench-hostile.sh [-n RUNS] [-k DIR] WZSS_BINARY...
#
#   ranges.wzs  4,000 lines "View Rows Visible: rows:1:3000000" (136 KB):
#               every line names the whole extent of 3 million rows again.
#   titles.wzs  a title row far down ("View Title Row: 3000000") and 50,000
#               cells above it (1 MB): every cell is renumbered past it.
#   mixed.wzs   title rows and whole-extent ranges taking turns, 2,000 of
#               each: the order of the marks decides every row's flag.
#
# -k DIR keeps the workbooks in DIR (and reuses them when present).
set -euo pipefail

runs=5
keep=""
while [[ $# -gt 0 ]]; do
  case "$1" in
    -n) runs="$2"; shift 2 ;;
    -k) keep="$2"; shift 2 ;;
    *) break ;;
  esac
done
if [[ $# -lt 1 ]]; then
  echo "usage: $0 [-n RUNS] [-k DIR] WZSS_BINARY..." >&2
  exit 2
fi
command -v hyperfine > /dev/null || { echo "$0: hyperfine missing" >&2; exit 1; }

if [[ -n "$keep" ]]; then
  dir="$keep"
  mkdir -p "$dir"
else
  dir="$(mktemp -d)"
  trap 'rm -rf "$dir"' EXIT
fi

header='*BEGIN SPREADSHEETS VERSION=440 R01 ENCODING=US-ASCII'
extent='Bottom right corner : A3000000'

# One sheet; $1 is the view section's body, $2 the cell lines.
write_book() {
  printf '%s\nView Start, Name: #Hostile: ~A\n' "$header"
  "$1"
  printf 'View End,\n%s\nHeaders and Footers End\n' "$extent"
  "$2"
}
ranges_view() { awk 'BEGIN { for (i = 0; i < 4000; i++) print "View Rows Visible: rows:1:3000000" }'; }
titles_view() { printf 'View Rows Visible: rows:1:3000000\nView Title Row: 3000000\n'; }
mixed_view() {
  awk 'BEGIN { for (i = 1; i <= 2000; i++)
    printf "View Title Row: %d\nView Rows Visible: rows:%d:3000000\n", i * 1000, i * 500 }'
}
one_cell() { printf '(G0|) A!A1: 1\n'; }
many_cells() {
  awk 'BEGIN { for (r = 1; r <= 50000; r++) printf "(G0|) A!A%d: %d\n", r, r }'
}

[[ -f "$dir/ranges.wzs" ]] || write_book ranges_view one_cell > "$dir/ranges.wzs"
[[ -f "$dir/titles.wzs" ]] || write_book titles_view many_cells > "$dir/titles.wzs"
[[ -f "$dir/mixed.wzs" ]] || write_book mixed_view one_cell > "$dir/mixed.wzs"

for book in ranges titles mixed; do
  file="$dir/$book.wzs"
  echo "== $book.wzs ($(stat -c %s "$file") bytes)"
  commands=()
  for binary in "$@"; do commands+=("$binary dump $file"); done
  hyperfine --runs "$runs" --style none --output null --export-json "$dir/$book.json" \
    "${commands[@]}" > /dev/null
  python3 - "$dir/$book.json" << 'EOF'
import json, sys
for result in json.load(open(sys.argv[1]))["results"]:
    times = result["times"]
    print(f"  median {result['median']:.3f} s  (min {min(times):.3f}, max {max(times):.3f})"
          f"  {result['command']}")
EOF
done
