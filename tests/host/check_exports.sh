#!/bin/sh
# The plug-in's dynamic symbol table must hold exactly its eight entry points,
# all functions: anything else would be a symbol a host could bind to by
# accident (or clash with).
set -eu
library=$1
expected='T WZAllocateReader
T WZCloseReader
T WZCloseSheet
T WZGetCharSet
T WZGetWorkSheetInfo
T WZInitSheet
T WZProcessSheet
T wzGetSSReaderInterface'
actual=$(nm -D --defined-only "$library" | awk '{ print $(NF-1), $NF }' | LC_ALL=C sort)
if [ "$actual" != "$expected" ]; then
  echo "unexpected exports of $library:" >&2
  echo "$actual" >&2
  exit 1
fi
echo "exports of $library: the eight entry points"
