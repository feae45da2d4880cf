// What sheet setup and the pump share about a sheet's view: the list-line
// keywords both read, and access to the line flags of the grid that never
// leaves it (row and column numbers come straight from the file and may lie
// anywhere).
#pragma once

#include <cstdint>
#include <string_view>

#include "interface/records.h"

namespace wzss {

inline constexpr std::string_view kColumnWidthsKeyword = "View Column Widths: ";
inline constexpr std::string_view kRowHeightsKeyword = "View Row Heights: ";

inline bool gridHasRow(const SheetReader* sheet, int64_t row) {
  return sheet->grid != nullptr && row >= 1 && row < int64_t{sheet->gridRows};
}
inline bool gridHasColumn(const SheetReader* sheet, int64_t column) {
  return sheet->grid != nullptr && column >= 1 && column <= sheet->reader->maxColumn;
}

// Row flag of row (1..maxRow) and column flag of column (1..maxColumn);
// callers check the number first.
inline uint8_t& rowFlag(const SheetReader* sheet, int64_t row) {
  return sheet->grid[row].flags[0];
}
inline uint8_t& columnFlag(const SheetReader* sheet, int64_t column) {
  return sheet->grid[0].flags[column];
}

}  // namespace wzss
