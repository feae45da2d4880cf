// What sheet setup and the pump share about a sheet's view: the list-line
// keywords both read, and access to the line flags of the grid that never
// leaves it (row and column numbers come straight from the file and may lie
// anywhere).
#pragma once

#include <cstdint>
#include <string_view>

#include "core/records.h"

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

// --- Line marks of the view section (line_marks.cpp) -----------------------
// A visible range stores the whole flag byte and a title line ORs its mark
// in, so their order decides each flag. The marks are gathered in file order
// while the section is read and applied once at its end, so each flag is
// written at most once however often the ranges repeat it.

enum class MarkKind : uint8_t { kRowRange, kColumnRange, kTitleRow, kTitleColumn };

struct LineMark {
  int32_t first;  // inside the grid, first <= last
  int32_t last;
  MarkKind kind;
};

// A block from the host that grows by doubling; outOfMemory once a growth
// was refused, after which nothing more is gathered.
struct LineMarks {
  LineMark* marks;
  uint32_t count;
  uint32_t capacity;
  bool outOfMemory;
};

// Gathers a mark; a range is cut to the grid first and one naming no line of
// it is dropped, as is a title line outside the grid. False once memory ran
// out.
bool wzAddLineMark(SheetReader* sheet, LineMarks* marks, MarkKind kind, int32_t first,
                   int32_t last);
// Writes the gathered marks into the line flags and releases them. False
// when memory for the pass was refused (the marks are released all the same).
bool wzApplyLineMarks(SheetReader* sheet, LineMarks* marks);
void wzReleaseLineMarks(SheetReader* sheet, LineMarks* marks);

// Lists the lines that kept their title mark, for renumbering. False when
// memory was refused.
bool wzListTitleLines(SheetReader* sheet);
void wzReleaseTitleLines(SheetReader* sheet);

}  // namespace wzss
