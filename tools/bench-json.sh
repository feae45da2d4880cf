#!/usr/bin/env bash
# JSON benchmark: `wzss json` (compact, and --lines when the command has it)
# beside `wzss csv` of every sheet on the same workbook. Prints the median
# wall time and the mean CPU time (user + system) of each (hyperfine), the
# peak resident memory of one run of each (GNU time), and how long the first
# byte of the JSON takes to reach a pipe.
#
#   tools/bench-json.sh [-n RUNS] [-w WZSS] FILE
#
# The CSV reference writes every sheet (-o into a scratch directory), so that
# both commands read the whole workbook.
set -euo pipefail

runs=3
wzss="$(cd "$(dirname "$0")/.." && pwd)/build/bin/wzss"
while [[ $# -gt 1 ]]; do
  case "$1" in
    -n) runs="$2"; shift 2 ;;
    -w) wzss="$2"; shift 2 ;;
    *) break ;;
  esac
done
if [[ $# -ne 1 || ! -f "$1" ]]; then
  echo "usage: $0 [-n RUNS] [-w WZSS] FILE" >&2
  exit 2
fi
file="$1"
scratch="$(mktemp -d)"
trap 'rm -rf "$scratch"' EXIT

all=""
if "$wzss" csv --help 2>/dev/null | grep -q -- --all; then all="--all"; fi
commands=("csv:$wzss csv $all -o $scratch/csv $file" "json:$wzss json $file")
if "$wzss" json --help 2>/dev/null | grep -q -- --lines; then
  commands+=("json --lines:$wzss json --lines $file")
fi

args=()
for entry in "${commands[@]}"; do args+=(-n "${entry%%:*}" "${entry#*:}"); done
hyperfine -N --runs "$runs" --export-json "$scratch/times.json" --output=null "${args[@]}" >&2
python3 - "$scratch/times.json" <<'PY'
import json, sys
for result in json.load(open(sys.argv[1]))["results"]:
    cpu = result["user"] + result["system"]
    print(f"{result['command']:<14} median {result['median']:8.2f} s   cpu (mean) {cpu:6.2f} s")
PY

for entry in "${commands[@]}"; do
  /usr/bin/time -f '%M' -o "$scratch/peak" ${entry#*:} >/dev/null
  printf '%-14s peak %8.0f MB\n' "${entry%%:*}" "$(( $(cat "$scratch/peak") / 1024 ))"
done

# First byte: the time until `head -c 1` has its byte and the pipe closes.
start=$(date +%s%N)
"$wzss" json "$file" 2>/dev/null | head -c 1 >/dev/null || true  # wzss ends by SIGPIPE
end=$(date +%s%N)
printf '%-14s first byte after %.2f s\n' json "$(( (end - start) / 1000000 ))e-3"
