#!/bin/sh
# The main job on a bundled sample, from a fresh Debian 12 machine (as root):
# installs what is missing, builds the plug-in and the command in build/, and
# prints every item the plug-in delivers for samples/budget.wzs.
# Pass another workbook as the first argument to dump that one instead.
set -eu
cd "$(dirname "$0")"
.ci/setup </dev/null
cmake -S . -B build -DCMAKE_BUILD_TYPE=RelWithDebInfo </dev/null
cmake --build build -j "$(nproc 2>/dev/null || echo 2)" --target wzss_cli </dev/null
exec build/bin/wzss dump "${1:-samples/budget.wzs}"
