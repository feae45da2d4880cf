#!/usr/bin/env bash
# Builds the libFuzzer targets with clang (AddressSanitizer, UndefinedBehavior-
# Sanitizer, coverage over the whole reader) and runs each for a bounded time
# with the keyword dictionary and the seed corpus (fuzz/corpus and the sample
# workbooks). Fails on any crash: a sanitizer report, a violated host
# contract (the harness aborts), a leak. Inputs that run past 10 s or past
# 2 GB are kept and listed but fail the run only with WZSS_FUZZ_STRICT=1:
# a large extent makes the sheet grid cost that much (see docs/limits.md),
# and a run should not fail at random on that known cost. Every input found
# is kept under $WZSS_FUZZ_OUT/artifacts, to be minimised into
# fuzz/regressions/.
#
# usage: fuzz/run-ci.sh [seconds per target, default 120]
# Needs clang and its runtime (Debian: clang-14, libclang-rt-14-dev), cmake.
# WZSS_FUZZ_BUILD (build folder, default build-fuzz) and WZSS_FUZZ_OUT
# (working corpus, logs and artifacts, default <build>/fuzz-run) may be set.
set -euo pipefail

seconds=${1:-120}
root=$(cd "$(dirname "$0")/.." && pwd)
build=${WZSS_FUZZ_BUILD:-$root/build-fuzz}
out=${WZSS_FUZZ_OUT:-$build/fuzz-run}
jobs=${WZSS_FUZZ_BUILD_JOBS:-2}

mkdir -p "$build"
CC=${CC:-clang} CXX=${CXX:-clang++} cmake -S "$root" -B "$build" \
  -DCMAKE_BUILD_TYPE=RelWithDebInfo -DWZSS_FUZZ=ON -DWZSS_SANITIZE=ON -DWZSS_BUILD_TESTS=OFF \
  >"$build/configure.log" 2>&1 || { cat "$build/configure.log"; exit 1; }
cmake --build "$build" -j"$jobs" --target fuzz_workbook fuzz_body

mkdir -p "$out/artifacts"
status=0
for target in workbook body; do
  corpus="$out/corpus-$target"
  mkdir -p "$corpus"
  # The working corpus grows run by run; the seeds are merged in each time.
  cp -n "$root"/fuzz/corpus/* "$root"/samples/*.wzs "$corpus"/ 2>/dev/null || true
  echo "== fuzz_$target: $seconds s =="
  # Fork mode goes on past timeouts and out-of-memory inputs; a crash ends it.
  if ! "$build/bin/fuzz_$target" "$corpus" \
      -dict="$root/fuzz/wzss.dict" \
      -max_total_time="$seconds" \
      -max_len=8192 \
      -timeout=10 \
      -rss_limit_mb=2048 \
      -fork=1 -ignore_timeouts=1 -ignore_ooms=1 \
      -artifact_prefix="$out/artifacts/$target-" \
      >"$out/$target.log" 2>&1; then
    status=1
    echo "fuzz_$target FAILED; last lines of $out/$target.log:"
    tail -n 60 "$out/$target.log"
    continue
  fi
  summary=$(grep -E '^#[0-9]+: cov' "$out/$target.log" | tail -n 1)
  echo "$summary"
  slow=$(sed -n 's|.*oom/timeout/crash: \([0-9]*\)/\([0-9]*\)/.*|\1 \2|p' <<<"$summary")
  if [ -n "$slow" ] && [ "$slow" != "0 0" ]; then
    echo "fuzz_$target: inputs over the time or memory limit (oom timeout): $slow"
    if [ "${WZSS_FUZZ_STRICT:-0}" = 1 ]; then
      status=1
      echo "fuzz_$target FAILED (strict)"
      continue
    fi
  fi
  echo "fuzz_$target passed"
done
ls "$out/artifacts"
exit "$status"
