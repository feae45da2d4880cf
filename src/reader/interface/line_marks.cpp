// The row and column flags that the view section sets, written once per line
// whatever the file repeats, and the title lines listed for renumbering.
//
// A file may name the whole extent in every one of thousands of range lines;
// marking each range as it comes would cost lines x extent. Instead the marks
// are applied from the last to the first: a line's final flag is decided by
// the last range that covers it and by the title marks after that range, so
// going backwards each line is written by the first range that reaches it,
// and a skip list over the lines written so far lets every later range pass
// over them at once. The cost is the number of marks plus the extent.
#include <algorithm>
#include <cstring>

#include "interface/sheet_view.h"

namespace wzss {

namespace {

constexpr uint32_t kFirstMarkCapacity = 16;

bool isRowMark(MarkKind kind) { return kind == MarkKind::kRowRange || kind == MarkKind::kTitleRow; }
bool isRangeMark(MarkKind kind) {
  return kind == MarkKind::kRowRange || kind == MarkKind::kColumnRange;
}

bool growMarks(SheetReader* sheet, LineMarks* marks) {
  const uint64_t capacity = marks->capacity == 0 ? kFirstMarkCapacity : uint64_t{marks->capacity} * 2;
  const uint32_t bytes = allocSize(capacity, sizeof(LineMark));
  auto* grown = bytes == 0 ? nullptr
                           : static_cast<LineMark*>(hostRealloc(sheet->services, marks->marks, bytes));
  if (grown == nullptr) return false;
  marks->marks = grown;
  marks->capacity = static_cast<uint32_t>(capacity);
  return true;
}

// The lines of one dimension: rows (extent maxRow) or columns (maxColumn).
struct Dimension {
  bool rows;
  int32_t extent;
  uint8_t& (*flagOf)(const SheetReader*, int64_t);
};

// The first line at or after line that no range has written yet, going
// backwards through the marks; next[line] == line for such a line. Path
// halving keeps the chains short.
uint32_t firstUnwritten(uint32_t* next, uint32_t line) {
  while (next[line] != line) {
    next[line] = next[next[line]];
    line = next[line];
  }
  return line;
}

// Without any range the title marks are all that is written, in any order.
void applyTitlesOnly(SheetReader* sheet, const LineMarks& marks, const Dimension& dimension) {
  for (uint32_t i = 0; i < marks.count; ++i) {
    const LineMark& mark = marks.marks[i];
    if (isRowMark(mark.kind) == dimension.rows) dimension.flagOf(sheet, mark.first) |= kFlagTitle;
  }
}

bool applyDimension(SheetReader* sheet, const LineMarks& marks, const Dimension& dimension) {
  const bool anyRange = std::any_of(marks.marks, marks.marks + marks.count, [&](const LineMark& m) {
    return isRowMark(m.kind) == dimension.rows && isRangeMark(m.kind);
  });
  if (!anyRange) {
    applyTitlesOnly(sheet, marks, dimension);
    return true;
  }
  // Lines 0 to extent, and extent + 1 where every skip ends.
  const uint64_t slots = uint64_t{static_cast<uint32_t>(dimension.extent)} + 2;
  const uint32_t bytes = allocSize(slots, sizeof(uint32_t));
  auto* next = bytes == 0 ? nullptr : static_cast<uint32_t*>(hostAlloc(sheet->services, bytes));
  if (next == nullptr) return false;
  for (uint32_t line = 0; line < slots; ++line) next[line] = line;

  for (uint32_t i = marks.count; i-- > 0;) {
    const LineMark& mark = marks.marks[i];
    if (isRowMark(mark.kind) != dimension.rows) continue;
    const auto first = static_cast<uint32_t>(mark.first);
    if (!isRangeMark(mark.kind)) {
      // A range after this title line, applied already, drops its mark.
      if (firstUnwritten(next, first) == first) dimension.flagOf(sheet, first) |= kFlagTitle;
      continue;
    }
    const auto last = static_cast<uint32_t>(mark.last);
    for (uint32_t line = firstUnwritten(next, first); line <= last;
         line = firstUnwritten(next, line + 1)) {
      // Title marks of later lines stay: the range came before them.
      dimension.flagOf(sheet, line) |= kFlagVisible;
      next[line] = line + 1;
    }
  }
  hostFree(sheet->services, next);
  return true;
}

// The title lines of one dimension in ascending order, or null without any.
bool listTitles(SheetReader* sheet, const Dimension& dimension, int32_t** list, uint32_t* count) {
  auto hasTitle = [&](int64_t line) {
    return (dimension.rows ? gridHasRow(sheet, line) : gridHasColumn(sheet, line)) &&
           (dimension.flagOf(sheet, line) & kFlagTitle) != 0;
  };
  uint32_t marked = 0;
  for (int64_t line = 1; line <= dimension.extent; ++line) {
    if (hasTitle(line)) ++marked;
  }
  *count = 0;
  if (marked == 0) return true;
  *list = static_cast<int32_t*>(hostAlloc(sheet->services, allocSize(marked, sizeof(int32_t))));
  if (*list == nullptr) return false;
  for (int64_t line = 1; line <= dimension.extent; ++line) {
    if (hasTitle(line)) (*list)[(*count)++] = static_cast<int32_t>(line);
  }
  return true;
}

Dimension rowsOf(const SheetReader* sheet) { return {true, sheet->reader->maxRow, &rowFlag}; }
Dimension columnsOf(const SheetReader* sheet) {
  return {false, sheet->reader->maxColumn, &columnFlag};
}

}  // namespace

bool wzAddLineMark(SheetReader* sheet, LineMarks* marks, MarkKind kind, int32_t first,
                   int32_t last) {
  if (marks->outOfMemory) return false;
  const bool rows = isRowMark(kind);
  if (isRangeMark(kind)) {
    const int32_t extent = rows ? sheet->reader->maxRow : sheet->reader->maxColumn;
    if (first > last || first > extent) return true;
    first = first < 1 ? 1 : first;
    last = last < extent ? last : extent;
    if (first > last || sheet->grid == nullptr) return true;
  } else if (!(rows ? gridHasRow(sheet, first) : gridHasColumn(sheet, first))) {
    return true;
  }
  if (marks->count == marks->capacity && !growMarks(sheet, marks)) {
    marks->outOfMemory = true;
    return false;
  }
  marks->marks[marks->count++] = {first, last, kind};
  return true;
}

bool wzApplyLineMarks(SheetReader* sheet, LineMarks* marks) {
  const bool applied = !marks->outOfMemory && applyDimension(sheet, *marks, rowsOf(sheet)) &&
                       applyDimension(sheet, *marks, columnsOf(sheet));
  wzReleaseLineMarks(sheet, marks);
  return applied;
}

void wzReleaseLineMarks(SheetReader* sheet, LineMarks* marks) {
  hostFree(sheet->services, marks->marks);
  *marks = LineMarks{};
}

bool wzListTitleLines(SheetReader* sheet) {
  return listTitles(sheet, rowsOf(sheet), &sheet->titleRows, &sheet->titleRowsMarked) &&
         listTitles(sheet, columnsOf(sheet), &sheet->titleColumns, &sheet->titleColumnsMarked);
}

void wzReleaseTitleLines(SheetReader* sheet) {
  hostFree(sheet->services, sheet->titleRows);
  hostFree(sheet->services, sheet->titleColumns);
  sheet->titleRows = nullptr;
  sheet->titleColumns = nullptr;
  sheet->titleRowsMarked = 0;
  sheet->titleColumnsMarked = 0;
}

}  // namespace wzss
