// Opening and closing a sheet: the sheet reader, its grid of line flags and
// format ids, the view section, the hidden count and the Row List pass.
#include <cstring>
#include <string_view>

#include "interface/lifecycle.h"
#include "interface/sheet_view.h"
#include "scan/scan.h"

namespace wzss {

namespace {

constexpr std::string_view kViewStart = "View Start,";
constexpr std::string_view kViewEnd = "View End,";
constexpr std::string_view kDefaultColumnWidth = "View Default Column Width ";
constexpr std::string_view kDefaultRowHeight = "View Default Row Height: ";
constexpr std::string_view kRowsVisible = "View Rows Visible: ";
constexpr std::string_view kColumnsVisible = "View Columns Visible: ";
constexpr std::string_view kTitleRow = "View Title Row: ";
constexpr std::string_view kTitleColumn = "View Title Column: ";
constexpr std::string_view kRowList = "Row List ";
constexpr std::string_view kFormat = "Format ";

// Where the sheet letters are looked for on the "View Start," line, and
// where the visible ranges' colons are looked for.
constexpr size_t kSheetTildeFrom = 11;
constexpr size_t kRowsColonFrom = 18;
constexpr size_t kColumnsColonFrom = 22;

constexpr char kSheetMark = '~';
constexpr char kRangeMark = ':';
constexpr char kRowListAddressMark = '!';

bool readLine(SheetReader* sheet, uint32_t* linePos) {
  return wzGetLine(sheet->stream, sheet->line, kLineSize, linePos) != 0;
}

const char* afterKeyword(const SheetReader* sheet, std::string_view keyword) {
  return sheet->line + keyword.size();
}

// strchr from index from of the line, never starting past its terminator.
const char* findInLine(const char* line, size_t from, char wanted) {
  return std::strlen(line) < from ? nullptr : std::strchr(line + from, wanted);
}

void countUp(int32_t* count) {
  if (*count < INT32_MAX) ++*count;
}

// --- The grid -------------------------------------------------------------

// maxRow + 1 slots of maxColumn + 1 flag bytes each, all zero, within the
// grid's byte limit (a larger extent refuses the sheet). The limit counts
// every row's flags as a block of its own, but the flags of all rows are
// one block: a block per row made the allocator most of the cost of a large
// extent, and that cost comes again with every sheet opened. Slots are
// cleared before the flag block is obtained, so a failure leaves a grid that
// closing frees exactly.
bool buildGrid(SheetReader* sheet) {
  const WorkbookReader* reader = sheet->reader;
  if (reader->maxRow < 0 || reader->maxColumn < 0) return false;
  const uint64_t rows = uint64_t{static_cast<uint32_t>(reader->maxRow)} + 1;
  const uint32_t slotBytes = allocSize(rows, sizeof(GridRow));
  const uint32_t flagBytes =
      allocSize(uint64_t{static_cast<uint32_t>(reader->maxColumn)} + 1, sizeof(uint8_t));
  if (slotBytes == 0 || flagBytes == 0) return false;
  const uint64_t cost = slotBytes + rows * (flagBytes + kGridBlockOverhead);
  if (cost > kGridByteLimit) return false;
  sheet->gridBytes = cost;

  sheet->grid = static_cast<GridRow*>(hostAlloc(sheet->services, slotBytes));
  if (sheet->grid == nullptr) return false;
  std::memset(sheet->grid, 0, slotBytes);
  sheet->gridRows = static_cast<uint32_t>(rows);
  // Within the limit, so the product fits.
  const uint32_t allFlagBytes = allocSize(rows, flagBytes);
  auto* flags = static_cast<uint8_t*>(hostAlloc(sheet->services, allFlagBytes));
  if (flags == nullptr) return false;
  std::memset(flags, kFlagHidden, allFlagBytes);
  for (uint32_t row = 0; row < sheet->gridRows; ++row) {
    sheet->grid[row].flags = flags + uint64_t{row} * flagBytes;
  }
  return true;
}

// Row 0's flags are the start of the one flag block.
void freeGrid(SheetReader* sheet) {
  if (sheet->grid == nullptr) return;
  hostFree(sheet->services, sheet->grid[0].flags);
  for (uint32_t row = 0; row < sheet->gridRows; ++row) {
    hostFree(sheet->services, sheet->grid[row].formatIds);
  }
  hostFree(sheet->services, sheet->grid);
  sheet->grid = nullptr;
}

// --- The "View Start," line -----------------------------------------------

// Sheets whose number has no slot in sheetStarts read as having no cells.
uint32_t sheetStartOf(const WorkbookReader* reader, int32_t sheetNumber) {
  if (reader->sheetStarts == nullptr || sheetNumber < 1 ||
      static_cast<uint32_t>(sheetNumber) >= reader->sheetStartSlots) {
    return 0;
  }
  return reader->sheetStarts[sheetNumber];
}

int32_t countSheetObjects(const WorkbookReader* reader, int32_t sheetNumber) {
  int32_t count = 0;
  if (reader->objects == nullptr) return 0;
  for (uint32_t i = 0; i < reader->objectEntryCount; ++i) {
    if (reader->objects[i].sheet == sheetNumber) countUp(&count);
  }
  return count;
}

bool readViewStart(SheetReader* sheet) {
  uint32_t linePos = 0;
  readLine(sheet, &linePos);
  if (!wzMatchKeyword(sheet->line, kViewStart)) return false;
  const char* tilde = findInLine(sheet->line, kSheetTildeFrom, kSheetMark);
  if (tilde == nullptr) return false;
  const char* cursor = tilde + 1;
  sheet->sheetNumber = wzGetLetter(&cursor);
  sheet->sheetStart = sheetStartOf(sheet->reader, sheet->sheetNumber);
  sheet->objectCount = countSheetObjects(sheet->reader, sheet->sheetNumber);
  return true;
}

// --- View lines -----------------------------------------------------------

uint32_t widthFactor(const SheetReader* sheet) {
  return columnWidthFactor(sheet->reader->defaultFont.size);
}

void readDefaultColumnWidth(SheetReader* sheet) {
  const int32_t units = wzAtoi(afterKeyword(sheet, kDefaultColumnWidth));
  // Unsigned arithmetic: a huge or negative count wraps instead of overflowing.
  sheet->defaultColumnWidth = static_cast<uint32_t>(units) * widthFactor(sheet);
}

// Only the first list line of each kind is recorded; the pump walks on from
// it to the lines that follow.
void recordListLine(uint32_t* listPos, uint32_t* listCount, uint32_t linePos) {
  if (*listPos != 0) return;
  *listPos = linePos;
  *listCount = 0;
}

// A title line marks its line (a range after it takes the mark away again)
// and counts for the renumbering even when it names no line of the grid.
void readTitleRow(SheetReader* sheet, LineMarks* marks) {
  const int32_t row = wzAtoi(afterKeyword(sheet, kTitleRow));
  wzAddLineMark(sheet, marks, MarkKind::kTitleRow, row, row);
  countUp(&sheet->titleRowCount);
}

void readTitleColumn(SheetReader* sheet, LineMarks* marks) {
  const char* cursor = afterKeyword(sheet, kTitleColumn);
  const int32_t column = wzGetLetter(&cursor);
  wzAddLineMark(sheet, marks, MarkKind::kTitleColumn, column, column);
  countUp(&sheet->titleColumnCount);
}

// ":a" or ":a:b" after the keyword. A colon without a number after it
// names no range.
void readVisibleRowRange(SheetReader* sheet, LineMarks* marks) {
  const char* colon = findInLine(sheet->line, kRowsColonFrom, kRangeMark);
  if (colon == nullptr) return;
  const char* end = nullptr;
  int32_t first = 0;
  if (!wzParseInt(colon + 1, 10, &first, &end)) return;
  int32_t last = first;
  const char* second = std::strchr(colon + 1, kRangeMark);
  if (second != nullptr && !wzParseInt(second + 1, 10, &last, &end)) return;
  wzAddLineMark(sheet, marks, MarkKind::kRowRange, first, last);
}

void readVisibleColumnRange(SheetReader* sheet, LineMarks* marks) {
  const char* colon = findInLine(sheet->line, kColumnsColonFrom, kRangeMark);
  if (colon == nullptr) return;
  const char* cursor = colon + 1;
  const int32_t first = wzGetLetter(&cursor);
  int32_t last = first;
  if (const char* second = std::strchr(cursor, kRangeMark); second != nullptr) {
    cursor = second + 1;
    last = wzGetLetter(&cursor);
  }
  wzAddLineMark(sheet, marks, MarkKind::kColumnRange, first, last);
}

// A run of consecutive range lines of one kind. The line after the run is
// given back to the view loop by seeking to it. False when the view section
// ends here: the input ended inside the run, or the Seek back was refused.
bool readVisibleRanges(SheetReader* sheet, LineMarks* marks, std::string_view keyword,
                       void (*readRange)(SheetReader*, LineMarks*)) {
  uint32_t linePos = 0;
  do {
    readRange(sheet, marks);
    if (!readLine(sheet, &linePos)) return false;
  } while (wzMatchKeyword(sheet->line, keyword));
  return streamSeek(sheet->stream, linePos) != 0;
}

// One line of the view section; false when the section ends early (or the
// marks could not be kept).
bool handleViewLine(SheetReader* sheet, LineMarks* marks, uint32_t linePos) {
  const char* line = sheet->line;
  if (wzMatchKeyword(line, kDefaultColumnWidth)) {
    readDefaultColumnWidth(sheet);
  } else if (wzMatchKeyword(line, kDefaultRowHeight)) {
    // Row heights reach the host only through the height list.
  } else if (wzMatchKeyword(line, kColumnWidthsKeyword)) {
    recordListLine(&sheet->widthPos, &sheet->widthCount, linePos);
  } else if (wzMatchKeyword(line, kRowHeightsKeyword)) {
    recordListLine(&sheet->heightPos, &sheet->heightCount, linePos);
  } else if (wzMatchKeyword(line, kRowsVisible)) {
    return readVisibleRanges(sheet, marks, kRowsVisible, &readVisibleRowRange);
  } else if (wzMatchKeyword(line, kColumnsVisible)) {
    return readVisibleRanges(sheet, marks, kColumnsVisible, &readVisibleColumnRange);
  } else if (wzMatchKeyword(line, kTitleRow)) {
    readTitleRow(sheet, marks);
  } else if (wzMatchKeyword(line, kTitleColumn)) {
    readTitleColumn(sheet, marks);
  }
  return !marks->outOfMemory;
}

// Up to "View End,"; the end of the input ends the section as that line
// would. The line flags are written once the section is read; false when
// memory for them was refused.
bool readViewSection(SheetReader* sheet) {
  LineMarks marks{};
  uint32_t linePos = 0;
  while (readLine(sheet, &linePos) && !wzMatchKeyword(sheet->line, kViewEnd)) {
    if (!handleViewLine(sheet, &marks, linePos)) break;
  }
  return wzApplyLineMarks(sheet, &marks);
}

// Hidden lines from the flags the view section left.
void countHiddenLines(SheetReader* sheet) {
  const WorkbookReader* reader = sheet->reader;
  uint32_t hidden = 0;
  for (int64_t row = 1; row <= reader->maxRow; ++row) {
    if (gridHasRow(sheet, row) && rowFlag(sheet, row) == kFlagHidden) ++hidden;
  }
  for (int64_t column = 1; column <= reader->maxColumn; ++column) {
    if (gridHasColumn(sheet, column) && columnFlag(sheet, column) == kFlagHidden) ++hidden;
  }
  sheet->hiddenCount = hidden;
}

// --- The Row List pass ----------------------------------------------------

void skipOneCharacter(const char** cursor) {
  if (**cursor != '\0') ++*cursor;
}

uint32_t* formatIdsOf(SheetReader* sheet, int32_t row) {
  GridRow& slot = sheet->grid[row];
  if (slot.formatIds != nullptr) return slot.formatIds;
  const uint32_t bytes = allocSize(
      uint64_t{static_cast<uint32_t>(sheet->reader->maxColumn)} + 1, sizeof(uint32_t));
  if (bytes == 0 || sheet->gridBytes + bytes + kGridBlockOverhead > kGridByteLimit) return nullptr;
  sheet->gridBytes += bytes + kGridBlockOverhead;
  slot.formatIds = static_cast<uint32_t*>(hostAlloc(sheet->services, bytes));
  if (slot.formatIds != nullptr) std::memset(slot.formatIds, 0, bytes);
  return slot.formatIds;
}

// Column numbers of a run count from 0; only columns of the grid are stored.
void storeFormatRun(SheetReader* sheet, uint32_t* formatIds, int32_t first, int32_t last,
                    int32_t formatId) {
  const int64_t maxColumn = sheet->reader->maxColumn;
  const int64_t from = int64_t{first} + 1 < 1 ? 1 : int64_t{first} + 1;
  const int64_t to = int64_t{last} + 1 > maxColumn ? maxColumn : int64_t{last} + 1;
  for (int64_t column = from; column <= to; ++column) {
    formatIds[column] = static_cast<uint32_t>(formatId);
  }
}

// "first,last,format" runs separated by spaces. Every run moves the cursor
// on by at least one character, so the loop ends with the line.
void readFormatRuns(SheetReader* sheet, const char* cursor, uint32_t* formatIds) {
  while (*cursor != '\0') {
    const int32_t first = wzGetIntItem(&cursor);
    skipOneCharacter(&cursor);
    const int32_t last = wzGetIntItem(&cursor);
    skipOneCharacter(&cursor);
    const int32_t formatId = wzGetIntItem(&cursor);
    // A run cut off before its format id names no format.
    if (formatId >= 0) storeFormatRun(sheet, formatIds, first, last, formatId);
    while (*cursor == ' ') ++cursor;
  }
}

// One "Row List " line of this sheet, the cursor after its sheet letters.
// False when memory for the row's format ids was refused.
bool readRowList(SheetReader* sheet, const char* cursor) {
  const char* mark = std::strchr(cursor, kRowListAddressMark);
  if (mark == nullptr) return true;  // no row to read: the line is passed over
  cursor = mark + 1;
  const int32_t row = wzGetIntItem(&cursor);
  skipOneCharacter(&cursor);
  if (!gridHasRow(sheet, row)) return true;
  uint32_t* formatIds = formatIdsOf(sheet, row);
  if (formatIds == nullptr) return false;
  readFormatRuns(sheet, cursor, formatIds);
  return true;
}

// Reads past "Format " lines to the next line of interest.
void readLineAfterFormats(SheetReader* sheet) {
  uint32_t linePos = 0;
  do {
    readLine(sheet, &linePos);
  } while (wzMatchKeyword(sheet->line, kFormat));
}

// The Row List lines are ordered by sheet: lower sheets are passed over and
// the first line of a higher sheet ends the pass. At the end of the input
// the line reader leaves an empty line, which ends it as well.
void readRowLists(SheetReader* sheet) {
  const uint32_t rowListPos = sheet->reader->rowListPos;
  if (rowListPos == 0 || streamSeek(sheet->stream, rowListPos) == 0) return;
  uint32_t linePos = 0;
  readLine(sheet, &linePos);
  while (wzMatchKeyword(sheet->line, kRowList)) {
    const char* cursor = afterKeyword(sheet, kRowList);
    const int32_t listSheet = wzGetLetter(&cursor);
    if (listSheet > sheet->sheetNumber) return;
    if (listSheet == sheet->sheetNumber && !readRowList(sheet, cursor)) return;
    readLineAfterFormats(sheet);
  }
}

// --- Opening --------------------------------------------------------------

void setCreationValues(SheetReader* sheet) {
  sheet->state = kStateSettings;
  sheet->hiddenRowScan = 1;
  sheet->hiddenColumnScan = 1;
  sheet->emptyScanRow = 1;
  sheet->emptyScanColumn = 1;
  sheet->widthPos = 0;
  sheet->heightPos = 0;
}

// Everything after the sheet reader exists; false sends it to be destroyed.
bool setUpSheet(SheetReader* sheet, uint32_t viewPos) {
  if (sheet->stream == nullptr || streamOpen(sheet->stream) == 0) return false;
  setCreationValues(sheet);
  if (streamSeek(sheet->stream, viewPos) == 0) return false;
  if (!buildGrid(sheet) || !readViewStart(sheet)) return false;
  if (!readViewSection(sheet)) return false;
  countHiddenLines(sheet);
  if (!wzListTitleLines(sheet)) return false;
  readRowLists(sheet);
  return true;
}

void destroySheet(SheetReader* sheet) {
  if (sheet->reader->openSheet == sheet) sheet->reader->openSheet = nullptr;
  if (sheet->stream != nullptr) streamClose(sheet->stream);
  freeGrid(sheet);
  wzReleaseTitleLines(sheet);
  hostFree(sheet->services, sheet);
}

}  // namespace

SheetReader* wzOpenSheet(WorkbookReader* reader, uintptr_t hostCookie, uint32_t viewPos,
                         SheetCallback callback, uint32_t sheetFlags) {
  if (reader == nullptr || reader->services == nullptr) return nullptr;
  // All sheets of a reader share its stream and its position.
  if (reader->openSheet != nullptr) return nullptr;
  auto* sheet = static_cast<SheetReader*>(hostAlloc(reader->services, sizeof(SheetReader)));
  if (sheet == nullptr) return nullptr;
  std::memset(sheet, 0, sizeof(SheetReader));
  sheet->reader = reader;
  sheet->stream = reader->stream;
  sheet->services = reader->services;
  sheet->hostCookie = hostCookie;
  sheet->callback = callback;
  sheet->sheetFlags = sheetFlags;

  if (!setUpSheet(sheet, viewPos)) {
    destroySheet(sheet);
    return nullptr;
  }
  reader->openSheet = sheet;
  return sheet;
}

void wzCloseSheet(SheetReader* sheet) {
  if (sheet == nullptr) return;
  destroySheet(sheet);
}

}  // namespace wzss
