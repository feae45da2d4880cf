#!/bin/sh
# The main job on a bundled sample, from a fresh Debian 12 machine: installs
# the packages the build needs when they are missing (as root; the test
# tools are .ci/setup's), builds the plug-in and the command in build/,
# converts samples/budget.wzs to one self-contained HTML page in out/ and
# prints where the page is. Pass another workbook as the first argument to
# convert that one instead.
set -eu
cd "$(dirname "$0")"
.ci/install-missing cmake make g++ pkg-config libcli11-dev libfmt-dev nlohmann-json3-dev \
  libxlsxwriter-dev
cmake -S . -B build -DCMAKE_BUILD_TYPE=RelWithDebInfo </dev/null
cmake --build build -j "$(nproc 2>/dev/null || echo 2)" --target wzss_cli </dev/null
book=${1:-samples/budget.wzs}
name=$(basename "$book")
exec build/bin/wzss html "$book" -o "out/${name%.*}.html"
