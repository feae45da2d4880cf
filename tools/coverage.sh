#!/usr/bin/env bash
# Line, region, function and branch coverage of the plug-in's own code
# (src/reader) from the whole test suite plus the fuzz inputs, with clang's
# source-based coverage. Every process writes its own raw profile, so the
# tests that run `wzss` or load libwzss.so count too.
#
#   tools/coverage.sh [extra corpus folders...]
#
# The regression inputs, the seed corpus and the samples are always
# replayed through the fuzz harness; folders given (a long fuzz run's
# working corpus, for instance) are replayed as well. Prints the summary of
# every file of src/reader, one line per subsystem and the total; the HTML
# report is written to <build>/coverage-html.
# WZSS_COV_BUILD (build folder, default build-cov) and WZSS_COV_JOBS (build
# jobs, default 2) may be set. Needs clang and llvm (Debian: clang-14,
# llvm-14).
set -euo pipefail

root=$(cd "$(dirname "$0")/.." && pwd)
build=${WZSS_COV_BUILD:-$root/build-cov}
jobs=${WZSS_COV_JOBS:-2}
profdata=$(command -v llvm-profdata-14 || command -v llvm-profdata)
llvmcov=$(command -v llvm-cov-14 || command -v llvm-cov)
flags="-fprofile-instr-generate -fcoverage-mapping"

mkdir -p "$build"
CC=clang CXX=clang++ cmake -S "$root" -B "$build" -DCMAKE_BUILD_TYPE=Debug \
  -DCMAKE_C_FLAGS="$flags" -DCMAKE_CXX_FLAGS="$flags" \
  -DCMAKE_EXE_LINKER_FLAGS="-fprofile-instr-generate" \
  -DCMAKE_SHARED_LINKER_FLAGS="-fprofile-instr-generate" >"$build/configure.log" 2>&1 ||
  { cat "$build/configure.log"; exit 1; }
cmake --build "$build" -j"$jobs" >"$build/build.log" 2>&1 ||
  { tail -n 40 "$build/build.log"; exit 1; }

profiles="$build/profiles"
rm -rf "$profiles"
mkdir -p "$profiles"
export LLVM_PROFILE_FILE="$profiles/%p-%m.profraw"

echo "== test suite"
ctest --test-dir "$build" --output-on-failure | tail -n 3
echo "== fuzz inputs"
for target in workbook body; do
  "$build/bin/fuzz_${target}_replay" "$root/fuzz/regressions/$target" "$root/fuzz/corpus" \
    "$root/samples" "$@" | tail -n 1
done

"$profdata" merge -sparse "$profiles"/*.profraw -o "$build/coverage.profdata"

# Every binary that holds reader code: the test programs, the replays, the
# command and the plug-in.
objects=()
for binary in "$build"/bin/* "$build"/lib/*.so; do
  [[ -f "$binary" && -x "$binary" ]] && objects+=(-object "$binary")
done
not_reader='(/tests/|/fuzz/|/src/host/|/src/cli/|/tools/|/bench/|/include/|^/usr/)'

report="$build/coverage.txt"
"$llvmcov" report "${objects[@]:1}" -instr-profile="$build/coverage.profdata" \
  -ignore-filename-regex="$not_reader" >"$report"
"$llvmcov" show "${objects[@]:1}" -instr-profile="$build/coverage.profdata" \
  -ignore-filename-regex="$not_reader" -format=html -output-dir="$build/coverage-html" \
  -show-branches=count >/dev/null

# Columns of a report row: file (relative to src/reader, the common
# folder), then regions, missed, percent, functions, missed, percent, lines,
# missed, percent, branches, missed, percent.
echo "== coverage of src/reader (full report: $report)"
awk '
  function pct(missed, all) { return all ? sprintf("%.1f%%", 100 * (all - missed) / all) : "-" }
  function row(name, r, rm, f, fm, l, lm, b, bm) {
    printf "%-10s %7s of %5d %7s of %5d %7s of %5d %7s of %4d\n", name,
      pct(lm, l), l, pct(bm, b), b, pct(rm, r), r, pct(fm, f), f
  }
  NR == 1 { printf "%-10s %16s %16s %16s %15s\n", "", "lines", "branches", "regions", "functions" }
  $1 ~ /\.(cpp|h)$/ {
    n = split($1, part, "/"); s = n > 1 ? part[n - 1] : "."
    for (c = 2; c <= 11; c += 3) { all[s, c] += $c; miss[s, c] += $(c + 1) }
    if (!(s in seen)) { seen[s] = 1; order[++count] = s }
  }
  $1 == "TOTAL" { for (c = 2; c <= 12; ++c) total[c] = $c }
  END {
    for (i = 1; i <= count; ++i) {
      s = order[i]
      row(s, all[s, 2], miss[s, 2], all[s, 5], miss[s, 5], all[s, 8], miss[s, 8], all[s, 11], miss[s, 11])
    }
    row("total", total[2], total[3], total[5], total[6], total[8], total[9], total[11], total[12])
  }' "$report"
