#!/bin/sh
# Installs a build (default build/) into a temporary prefix and checks the
# installed tree as its users meet it: a C host built with pkg-config and a
# C++ host built with find_package walk every sample and must agree with the
# installed `wzss dump`; the plug-in keeps its SONAME and its eight exports;
# the command finds its plug-in, obeys --plugin and WZSS_PLUGIN, and names
# where it looked when copied away alone.
set -eu
here=$(cd "$(dirname "$0")" && pwd)
root=$(cd "$here/../.." && pwd)
build=$(cd "${1:-$root/build}" && pwd)
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
prefix=$work/prefix

cmake --install "$build" --prefix "$prefix" >/dev/null
wzss=$prefix/bin/wzss
export PKG_CONFIG_PATH=$(dirname "$(find "$prefix" -name wzss.pc)")
libdir=$(pkg-config --variable=libdir wzss)

soname=$(objdump -p "$libdir/libwzss.so" | awk '/SONAME/ { print $2 }')
[ -n "$soname" ] && [ -e "$libdir/$soname" ] || { echo "no SONAME link in $libdir" >&2; exit 1; }
sh "$root/tests/host/check_exports.sh" "$libdir/$soname"

cc -std=c11 -Wall -Wextra -Werror -o "$work/c_host" "$here/c_host.c" \
  $(pkg-config --cflags --libs wzss) -Wl,-rpath,"$libdir"
cmake -S "$here" -B "$work/cxx" -DCMAKE_PREFIX_PATH="$prefix" -DCMAKE_CXX_FLAGS="-Wall -Wextra -Werror" >/dev/null
cmake --build "$work/cxx" >/dev/null

for book in "$root"/samples/*.wzs; do
  "$wzss" dump "$book" 2>/dev/null | awk '/^sheet / { if (s) print s " cells=" n; s = $0; sub(/"[^"]*$/, "\"", s); n = 0 }
                             /^cell / { n++ } END { if (s) print s " cells=" n }' >"$work/expected"
  LC_ALL=C sed 's/ ".*"//' "$work/expected" >"$work/expected-without-names"
  "$work/cxx/cxx_host" "$book" | diff -u "$work/expected" - || { echo "cxx_host differs on $book" >&2; exit 1; }
  # The C host prints names in the file's encoding, not converted to UTF-8.
  "$work/c_host" "$book" | LC_ALL=C sed 's/ ".*"//' | diff -u - "$work/expected-without-names" ||
    { echo "c_host differs on $book" >&2; exit 1; }
done

# Where the command looks for its plug-in.
sample=$root/samples/budget.wzs
mkdir "$work/alone" && cp "$wzss" "$work/alone/wzss"
if "$work/alone/wzss" info "$sample" 2>"$work/err"; then echo "wzss alone ran" >&2; exit 1; fi
grep -qF "$soname not found (looked in $work/lib/$soname" "$work/err" || { cat "$work/err" >&2; exit 1; }
WZSS_PLUGIN=$libdir/$soname "$work/alone/wzss" info "$sample" >/dev/null
if WZSS_PLUGIN=$work/none.so "$wzss" info "$sample" 2>"$work/err"; then echo "WZSS_PLUGIN ignored" >&2; exit 1; fi
grep -qF "$work/none.so" "$work/err"
WZSS_PLUGIN=$work/none.so "$wzss" --plugin "$libdir/$soname" info "$sample" >/dev/null
echo "installed tree: C and C++ hosts agree with wzss on every sample; plug-in lookup as documented"
