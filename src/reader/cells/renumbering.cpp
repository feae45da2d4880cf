// The output numbering of rows and columns: a sheet's title lines come
// first, so every address the file gives is renumbered before delivery.
#include <algorithm>
#include <cstdint>

#include "cells/cells.h"

namespace wzss {

namespace {

// Title lines first, in their order, then the others in theirs. titles lists
// the lines that kept their title mark, ascending, so the title lines before
// a line are counted by a binary search.
void renumber(int32_t titleCount, const int32_t* titles, uint32_t titlesMarked,
              int32_t* number) {
  if (titleCount == 0) return;
  const int32_t line = *number;
  const int32_t* end = titles + titlesMarked;
  const int32_t* at = titles == nullptr ? nullptr : std::lower_bound(titles, end, line);
  const int64_t titlesBefore = at == nullptr ? 0 : at - titles;
  if (at != nullptr && at != end && *at == line) {
    *number = static_cast<int32_t>(titlesBefore + 1);
    return;
  }
  const int64_t renumbered = int64_t{line} + (titleCount - titlesBefore);
  *number = renumbered > INT32_MAX   ? INT32_MAX
            : renumbered < INT32_MIN ? INT32_MIN
                                     : static_cast<int32_t>(renumbered);
}

}  // namespace

void wzGetAbsRow(const SheetReader* sheet, int32_t* row) {
  renumber(sheet->titleRowCount, sheet->titleRows, sheet->titleRowsMarked, row);
}

void wzGetAbsCol(const SheetReader* sheet, int32_t* column) {
  renumber(sheet->titleColumnCount, sheet->titleColumns, sheet->titleColumnsMarked, column);
}

}  // namespace wzss
