// The two producers of cell items: cells that have a line in the sheet's
// cell data (formatted text and full styling), and, once those are used up,
// the formatted empty cells that the sheet's Row List lines assign (fill and
// border only).
#include <algorithm>
#include <cstdint>
#include <cstring>

#include "cells/cells.h"
#include "scan/scan.h"

namespace wzss {

namespace {

constexpr uint32_t kCellKind = 7;
constexpr int32_t kNoFillYet = -1;  // the host's answer for "no fill decided"
constexpr char kQuote = '"';

// The first blank or the terminator from p on. The bytes that end a token
// all lie at or below ' ', so one comparison passes over every other byte.
char* skipToken(char* p) {
  for (;; ++p) {
    const auto byte = static_cast<unsigned char>(*p);
    if (byte <= ' ' && (byte == '\0' || wzIsBlank(*p))) return p;
  }
}

// The value text of a cell line: the attribute token runs to the first
// blank, the address token to the next one, and the value follows. An
// empty address token (two blanks in a row) leaves the value right after
// the second blank. A line that ends inside these tokens has an empty value,
// the terminator itself.
char* findValueText(char* attrText) {
  char* p = skipToken(attrText);
  if (*p == '\0') return p;
  ++p;  // the blank after the attribute token
  if (*p == '\0') return p;
  if (wzIsBlank(*p)) return p + 1;
  p = skipToken(p);
  return *p == '\0' ? p : p + 1;
}

// A grid slot exists only for rows 1..maxRow and columns 1..maxColumn;
// anything else (the -1 of an unreadable address included) is no index.
bool hasGridSlot(const SheetReader* sheet, int32_t row, int32_t column) {
  const WorkbookReader* reader = sheet->reader;
  return sheet->grid != nullptr && row >= 1 && column >= 1 && row <= reader->maxRow &&
         column <= reader->maxColumn && static_cast<uint32_t>(row) < sheet->gridRows;
}

bool isShown(uint8_t lineFlag) { return (lineFlag & (kFlagVisible | kFlagTitle)) != 0; }

void copyBorders(const SheetReader* sheet, SheetItemCell* cell) {
  cell->leftStyle = sheet->borderStyles[kLeft];
  cell->rightStyle = sheet->borderStyles[kRight];
  cell->topStyle = sheet->borderStyles[kTop];
  cell->bottomStyle = sheet->borderStyles[kBottom];
  cell->leftColor = sheet->borderColors[kLeft];
  cell->rightColor = sheet->borderColors[kRight];
  cell->topColor = sheet->borderColors[kTop];
  cell->bottomColor = sheet->borderColors[kBottom];
}

// A general value that begins with a double quote is a quoted string.
bool startsQuoted(const char* valueText) {
  while (wzIsBlank(*valueText)) ++valueText;
  return *valueText == kQuote;
}

// The display text into a buffer from the host. Without a display text (the
// formatter ran out of memory or could not seek) the cell goes without
// text; a null buffer from the host leaves the text null but the length set.
void deliverText(SheetReader* sheet, char* valueText, int32_t formatCode, int32_t decimals,
                 int32_t dateStyle, SheetItemCell* cell) {
  cell->text = nullptr;
  cell->textLength = 0;
  uint32_t textLength = 0;
  char* display = wzFormatCellValue(sheet, valueText, static_cast<uint32_t>(formatCode),
                                    decimals, dateStyle, &textLength);
  if (display == nullptr) return;
  const uint32_t length = textLength + 1;
  cell->textLength = length;
  if (sheet->callback != nullptr) {
    const intptr_t buffer =
        sheet->callback(sheet->hostCookie, WZSS_CALLBACK_TEXT_BUFFER, length, 0);
    cell->text = reinterpret_cast<char*>(buffer);
  }
  if (cell->text != nullptr) std::memcpy(cell->text, display, length);
  hostFree(sheet->services, display);
}

// A cell line taken for delivery, with its address as read.
struct CellLine {
  int32_t sheetNumber;
  int32_t row;
  int32_t column;
  char* valueText;
};

// Reads cell lines until one has a value, a reportable fill or a side. Every
// line read registers its fill with the host, taken or not. 0 at the end of
// the input.
int readCellLine(SheetReader* sheet, SheetItemCell* cell, CellLine* line) {
  for (;;) {
    if (!wzDisect(sheet->stream, sheet->line, &sheet->attrText, &line->sheetNumber, &line->row, &line->column)) return 0;
    line->valueText = findValueText(sheet->attrText);
    int border = 0;
    wzGetFillAndBorder(sheet, sheet->attrText, &cell->hasFill, &border);
    cell->hasBorder = static_cast<uint32_t>(border);
    if (*line->valueText != '\0' || cell->hasFill != 0 || cell->hasBorder != 0) return 1;
  }
}

// --- Formatted empty cells -----------------------------------------------

constexpr uint8_t kLookupUndecided = 0, kLookupBySearch = 1, kLookupOneByOne = 2;

uint32_t storedAttrCount(const WorkbookReader* reader) {
  return reader->attrCount < kAttrSlots ? reader->attrCount : kAttrSlots;
}

uint8_t chooseAttrLookup(const WorkbookReader* reader) {
  const uint32_t count = storedAttrCount(reader);
  for (uint32_t i = 0; i < count; ++i) {
    if (reader->attrs[i] == nullptr) return kLookupOneByOne;
    if (i > 0 && reader->attrs[i - 1]->number >= reader->attrs[i]->number) return kLookupOneByOne;
  }
  return kLookupBySearch;
}

// The first stored entry with this number. Every formatted empty cell asks,
// and a file can name millions of them with an id that has no entry, so the
// entries are searched by halves when they ascend, as they do unless a table
// was cut short.
const AttrEntry* findAttrEntry(SheetReader* sheet, uint32_t formatId) {
  const WorkbookReader* reader = sheet->reader;
  if (sheet->attrLookup == kLookupUndecided) sheet->attrLookup = chooseAttrLookup(reader);
  const uint32_t count = storedAttrCount(reader);
  if (sheet->attrLookup == kLookupBySearch) {
    AttrEntry* const* first = reader->attrs;
    AttrEntry* const* found = std::lower_bound(
        first, first + count, formatId,
        [](const AttrEntry* entry, uint32_t number) { return entry->number < number; });
    return found != first + count && (*found)->number == formatId ? *found : nullptr;
  }
  for (uint32_t i = 0; i < count; ++i) {
    const AttrEntry* entry = reader->attrs[i];
    if (entry != nullptr && entry->number == formatId) return entry;
  }
  return nullptr;
}

void resetEmptyCellItem(const WorkbookReader* reader, SheetItem* item) {
  item->itemType = WZSS_ITEM_CELL;
  SheetItemCell& cell = item->cell;
  cell.backColor = reader->defaultBackColor;
  cell.textColor = reader->defaultTextColor;
  cell.hasFont = 0;
  cell.hasFill = kNoFillYet;
  cell.hasBorder = 0;
  cell.align = 0;
  cell.text = nullptr;
  cell.cellExtra = 0;
  cell.textLength = 0;
}

// The last row the scan may look at: maxRow, but never a slot the grid
// does not have.
int64_t lastScanRow(const SheetReader* sheet) {
  if (sheet->grid == nullptr) return 0;
  const int64_t lastSlot = static_cast<int64_t>(sheet->gridRows) - 1;
  return sheet->reader->maxRow < lastSlot ? sheet->reader->maxRow : lastSlot;
}

}  // namespace

int wzGetCellContent(SheetReader* sheet, SheetItem* item) {
  const WorkbookReader* reader = sheet->reader;
  SheetItemCell& cell = item->cell;
  FontRecord font = reader->defaultFont;

  cell.backColor = reader->defaultBackColor;
  cell.textColor = reader->defaultTextColor;
  cell.hasFont = 0;
  cell.hasFill = kNoFillYet;
  cell.hasBorder = 0;
  cell.align = 0;
  cell.cellFlag = 0;
  cell.cellKind = kCellKind;

  CellLine line{};
  for (;;) {
    if (!readCellLine(sheet, &cell, &line)) return 0;
    // The first line of another sheet ends this sheet's cell data.
    if (line.sheetNumber != sheet->sheetNumber) return 0;
    // A cell outside the grid has no flags to read or mark: passed over.
    if (hasGridSlot(sheet, line.row, line.column)) break;
  }

  GridRow* rows = sheet->grid;
  const bool hidden = !isShown(rows[line.row].flags[0]) || !isShown(rows[0].flags[line.column]);
  rows[line.row].flags[line.column] |= kFlagDelivered;

  int32_t row = line.row;
  int32_t column = line.column;
  wzGetAbsRow(sheet, &row);
  wzGetAbsCol(sheet, &column);

  int32_t formatCode = FRMT_GENERAL;
  int32_t decimals = 0;
  int32_t dateStyle = 0;
  wzExtractNumFrmt(reader, sheet->attrText, &formatCode, &decimals, &dateStyle);
  if (reader->parsingAttrs == 0 && formatCode == FRMT_GENERAL && startsQuoted(line.valueText)) {
    formatCode = FRMT_STRING;
  }

  wzExtractAlign(reader, sheet->attrText, &cell.align, formatCode);
  wzExtractAttribute(reader, sheet->attrText, &font, &cell.backColor, &cell.textColor, &cell.align);
  if (cell.hasBorder != 0) copyBorders(sheet, &cell);
  cell.hasFont = 1;
  cell.font = font;

  if (hidden) {
    // A hidden cell's value is not formatted, so its continuation lines
    // stay in the stream for wzDisect to pass over.
    cell.text = nullptr;
    cell.textLength = 0;
  } else {
    deliverText(sheet, line.valueText, formatCode, decimals, dateStyle, &cell);
  }

  cell.cellExtra = 0;
  item->itemType = WZSS_ITEM_CELL;
  cell.column = static_cast<uint32_t>(column);
  cell.row = static_cast<uint32_t>(row);
  return 1;
}

int wzProcessEmptyCell(SheetReader* sheet, SheetItem* item) {
  const WorkbookReader* reader = sheet->reader;
  if (reader->attrCount == 0) {
    sheet->emptyScanRow = 0;
    sheet->emptyScanColumn = 0;
    return 0;
  }
  if (sheet->emptyScanRow == 1) resetEmptyCellItem(reader, item);

  const int64_t lastRow = lastScanRow(sheet);
  if (sheet->emptyScanRow > lastRow) return 0;  // the scan is complete

  // Row 0 and column 0 hold the flags of whole lines, never a cell.
  int64_t row = sheet->emptyScanRow < 1 ? 1 : sheet->emptyScanRow;
  int64_t column = sheet->emptyScanColumn < 1 ? 1 : sheet->emptyScanColumn;
  for (; row <= lastRow; ++row, column = 1) {
    const GridRow& slot = sheet->grid[row];
    if (slot.formatIds == nullptr) continue;
    for (; column <= reader->maxColumn; ++column) {
      const uint32_t formatId = slot.formatIds[column];
      if (formatId == 0 || (slot.flags[column] & kFlagDelivered) != 0) continue;
      // Only entries with a fill and border part are stored, and only that
      // part reaches an empty cell's item: a format id without an entry has
      // nothing to deliver, so the scan goes on past it.
      const AttrEntry* entry = findAttrEntry(sheet, formatId);
      if (entry == nullptr) continue;

      SheetItemCell& cell = item->cell;
      int border = 0;
      wzGetFillAndBorder(sheet, entry->text, &cell.hasFill, &border);
      cell.hasBorder = static_cast<uint32_t>(border);
      if (cell.hasBorder != 0) copyBorders(sheet, &cell);
      cell.column = static_cast<uint32_t>(column);  // grid numbering, not renumbered
      cell.row = static_cast<uint32_t>(row);
      sheet->emptyScanRow = static_cast<int32_t>(row);
      sheet->emptyScanColumn = static_cast<int32_t>(column + 1);
      return 1;
    }
  }
  sheet->emptyScanRow = static_cast<int32_t>(row);
  sheet->emptyScanColumn = 1;
  return 0;
}

}  // namespace wzss
