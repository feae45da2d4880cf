#!/usr/bin/env bash
# Compares what two builds of wzss print for the same workbooks: `info`,
# `dump`, `json` and `csv --all`, with their exit statuses and messages. A change
# meant to keep the output byte-identical (a refactoring of the reader) runs
# this with the build before and after it.
#
#   tools/compare-outputs.sh OLD_BUILD NEW_BUILD [GENERATED_COUNT]
#
# The workbooks: samples/*.wzs, tests/convert/data/*.wzs, GENERATED_COUNT
# (default 200) of 64K from wzgen with seeds 1..N, and three of 1M.
# Prints the count compared and every difference; exits 1 on any.
set -u
old=$(realpath "$1") new=$(realpath "$2") count=${3:-200}
top=$(cd "$(dirname "$0")/.." && pwd)
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

books=("$top"/samples/*.wzs "$top"/tests/convert/data/*.wzs)
mkdir -p "$work/gen"
for seed in $(seq 1 "$count"); do
  "$new/bin/wzgen" --size 64K --seed "$seed" -o "$work/gen/g$seed.wzs" || exit 2
  books+=("$work/gen/g$seed.wzs")
done
for seed in 1 2 3; do
  "$new/bin/wzgen" --size 1M --seed "$seed" -o "$work/gen/m$seed.wzs" || exit 2
  books+=("$work/gen/m$seed.wzs")
done

# Everything one build prints for one workbook, into folder $3. Both builds
# write to the same place first, since messages may name the output folder.
outputs() {
  local wzss=("$1/bin/wzss" --plugin "$1/lib/libwzss.so" -q) book=$2 out=$work/out
  rm -rf "$out" && mkdir -p "$out/csv"
  "${wzss[@]}" info "$book" >"$out/info" 2>&1; echo "exit $?" >>"$out/info"
  "${wzss[@]}" dump "$book" >"$out/dump" 2>&1; echo "exit $?" >>"$out/dump"
  "${wzss[@]}" json "$book" >"$out/json" 2>&1; echo "exit $?" >>"$out/json"
  "${wzss[@]}" csv --all -o "$out/csv" "$book" >"$out/csv.log" 2>&1; echo "exit $?" >>"$out/csv.log"
  mv "$out" "$3"
}

compared=0 differ=0
for book in "${books[@]}"; do
  rm -rf "$work/old" "$work/new"
  outputs "$old" "$book" "$work/old"
  outputs "$new" "$book" "$work/new"
  compared=$((compared + 1))
  if ! diff -r -q "$work/old" "$work/new" >/dev/null; then
    differ=$((differ + 1))
    echo "differs: $book"
    diff -r "$work/old" "$work/new" | head -n 20
  fi
done
echo "$compared workbooks compared (info, dump, json, csv --all), $differ with differences"
[ "$differ" -eq 0 ]
