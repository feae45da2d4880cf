// The sheet item pump's renumbering of rows and columns for title rows and
// title columns, shared with the cell producers.
#pragma once

#include <cstdint>

#include "core/records.h"

namespace wzss {

// File row or column number into output numbering: title lines first.
void wzGetAbsRow(const SheetReader* sheet, int32_t* row);
void wzGetAbsCol(const SheetReader* sheet, int32_t* column);

}  // namespace wzss
