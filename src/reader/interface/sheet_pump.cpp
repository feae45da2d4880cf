// The sheet item pump: one item per call, from a state machine that walks a
// sheet's parts in a fixed order and reads the stream only as far as the
// next item needs. This file produces the settings and option items, the
// row heights, column widths and hidden runs; objects and cells come from
// their own subsystems.
#include <cstring>
#include <string_view>

#include "cells/cells.h"
#include "interface/lifecycle.h"
#include "interface/sheet_view.h"
#include "objects/objects.h"
#include "scan/scan.h"

namespace wzss {

namespace {

// Results of WZProcessSheet.
constexpr int32_t kItemWritten = 0;
constexpr int32_t kNoMoreItems = 1;
constexpr int32_t kNoSheet = -1;

// Fixed values of the settings item that the host expects.
constexpr uint32_t kSettingsCode = 2;
constexpr uint32_t kPresetOne = 1;
constexpr uint32_t kPresetMargin = 576;
constexpr uint32_t kPresetGap = 480;
constexpr uint32_t kPresetZero = 0;
constexpr int32_t kNoFill = -1;
constexpr uint32_t kTwentiethsPerPoint = 20;

// Row heights: the file's value, its 32768 flag removed, in 22nds.
constexpr uint32_t kHeightFlag = 32768;
constexpr uint32_t kHeightFactor = 22;

// Set when a phase ends the sheet early: any state the dispatch does not
// know reports that no item is left, on every later call too.
constexpr int32_t kStateEnded = -1;

// What a producer did in this call.
enum class Delivery {
  kItem,       // an item was written
  kMovedOn,    // nothing written; the state says where to go on in this call
  kSheetEnds,  // nothing written and nothing further
};

// --- Settings and option ------------------------------------------------------

Delivery deliverSettings(SheetReader* sheet, SheetItem* item) {
  const WorkbookReader* reader = sheet->reader;
  item->itemType = WZSS_ITEM_SETTINGS;
  SheetItemSettings& settings = item->settings;
  settings.settingsCode = kSettingsCode;
  settings.maxRow = static_cast<uint32_t>(reader->maxRow);
  settings.maxColumn = static_cast<uint32_t>(reader->maxColumn);
  settings.presetA = kPresetOne;
  settings.presetB = kPresetOne;
  settings.defaultColumnWidth = sheet->defaultColumnWidth;
  settings.defaultFontHeight = reader->defaultFont.size * kTwentiethsPerPoint;
  settings.presetC = kPresetMargin;
  settings.presetD = kPresetMargin;
  settings.presetE = kPresetGap;
  settings.presetF = kPresetGap;
  settings.presetG = kPresetZero;
  settings.hasFont = 1;
  std::memcpy(&settings.font, &reader->defaultFont, sizeof(FontRecord));
  settings.hasFill = kNoFill;
  settings.presetH = kPresetOne;
  sheet->state = kStateOption;
  return Delivery::kItem;
}

Delivery deliverOption(SheetReader* sheet, SheetItem* item) {
  item->itemType = WZSS_ITEM_OPTION;
  item->option.option = sheet->reader->sheetOption;
  sheet->state = kStateChoose;
  return Delivery::kItem;
}

void writeRun(SheetItem* item, uint32_t itemType, int32_t first, uint32_t length,
              uint32_t size) {
  item->itemType = itemType;
  item->run.first = static_cast<uint32_t>(first);
  item->run.last = static_cast<uint32_t>(first) + length;
  item->run.size = size;
}

// --- Row heights and column widths ---------------------------------------------

// The buffered entries of one kind of list line, and where its lines are.
struct ListBuffer {
  uint32_t* numbers;  // rows or columns as the file numbers them
  uint32_t* values;   // item sizes
  uint32_t* index;
  uint32_t* count;
  uint32_t* pos;
  uint32_t* resume;
};

// Fills the buffer from the list line in sheet->line, starting at offset
// from; returns the offset where a further load goes on, 0 when the line
// has no item left after the ones buffered.
using ItemReader = uint32_t (*)(SheetReader* sheet, uint32_t from, const ListBuffer& list);

struct ListKind {
  std::string_view keyword;
  ItemReader readItems;
  uint32_t itemType;
  void (*renumber)(const SheetReader*, int32_t*);
};

uint32_t heightSize(int32_t height) {
  // Unsigned arithmetic: values far out of range wrap instead of overflowing.
  const auto value = static_cast<uint32_t>(height);
  return (height >= static_cast<int32_t>(kHeightFlag) ? value - kHeightFlag : value) *
         kHeightFactor;
}

uint32_t readHeightItems(SheetReader* sheet, uint32_t from, const ListBuffer& list) {
  uint32_t index = from;
  uint32_t count = 0;
  int32_t row = 0;
  int32_t height = 0;
  while (count < kListEntries && wzGetRowHeightItem(sheet->line, &index, &row, &height) != 0) {
    list.numbers[count] = static_cast<uint32_t>(row);
    list.values[count] = heightSize(height);
    ++count;
  }
  *list.count = count;
  uint32_t peek = index;
  const bool more = count == kListEntries &&
                    wzGetRowHeightItem(sheet->line, &peek, &row, &height) != 0;
  // A resume point must lie further on, or the line could be loaded forever.
  return more && index > from ? index : 0;
}

uint32_t readWidthItems(SheetReader* sheet, uint32_t from, const ListBuffer& list) {
  const uint32_t factor = columnWidthFactor(sheet->reader->defaultFont.size);
  const char* cursor = sheet->line + from;
  uint32_t count = 0;
  int32_t column = 0;
  int32_t width = 0;
  while (count < kListEntries && wzGetColWidthItem(&cursor, &column, &width) != 0) {
    list.numbers[count] = static_cast<uint32_t>(column);
    list.values[count] = static_cast<uint32_t>(width) * factor;
    ++count;
  }
  *list.count = count;
  const auto stopped = static_cast<uint32_t>(cursor - sheet->line);
  const char* peek = cursor;
  const bool more = count == kListEntries && wzGetColWidthItem(&peek, &column, &width) != 0;
  return more && stopped > from ? stopped : 0;
}

ListBuffer heightBuffer(SheetReader* sheet) {
  return {sheet->heightRows,   sheet->heightValues, &sheet->heightIndex,
          &sheet->heightCount, &sheet->heightPos,   &sheet->heightResume};
}

ListBuffer widthBuffer(SheetReader* sheet) {
  return {sheet->widthColumns, sheet->widthValues, &sheet->widthIndex,
          &sheet->widthCount,  &sheet->widthPos,   &sheet->widthResume};
}

constexpr ListKind kRowHeights = {kRowHeightsKeyword, &readHeightItems, WZSS_ITEM_ROW_RUN,
                                  &wzGetAbsRow};
constexpr ListKind kColumnWidths = {kColumnWidthsKeyword, &readWidthItems,
                                    WZSS_ITEM_COLUMN_RUN, &wzGetAbsCol};

// Loads the list line at the recorded position, from its first item or from
// where the previous load of the same line stopped. False when the sheet
// ends: the Seek was refused or the line is not a list line.
bool loadListLine(SheetReader* sheet, const ListBuffer& list, const ListKind& kind) {
  if (streamSeek(sheet->stream, *list.pos) == 0) return false;
  uint32_t linePos = 0;
  wzGetLine(sheet->stream, sheet->line, kLineSize, &linePos);
  if (!wzMatchKeyword(sheet->line, kind.keyword)) return false;
  const auto from = *list.resume != 0 ? *list.resume : static_cast<uint32_t>(kind.keyword.size());
  *list.resume = kind.readItems(sheet, from, list);
  *list.index = 0;
  return true;
}

// Once the buffer is used up: the rest of the same line, the list line right
// after it, or the end of the phase. The stream stands after the line loaded.
void moveToNextListLine(SheetReader* sheet, const ListBuffer& list, const ListKind& kind) {
  *list.count = 0;
  if (*list.resume != 0) return;
  uint32_t linePos = 0;
  wzGetLine(sheet->stream, sheet->line, kLineSize, &linePos);
  if (wzMatchKeyword(sheet->line, kind.keyword)) {
    *list.pos = linePos;
    return;
  }
  *list.pos = 0;
  sheet->state = kStateChoose;
}

Delivery deliverListEntry(SheetReader* sheet, SheetItem* item, const ListBuffer& list,
                          const ListKind& kind) {
  if (*list.count == 0) {
    if (!loadListLine(sheet, list, kind)) return Delivery::kSheetEnds;
    if (*list.count == 0) {  // a list line without items delivers nothing
      moveToNextListLine(sheet, list, kind);
      return Delivery::kMovedOn;
    }
  }
  auto number = static_cast<int32_t>(list.numbers[*list.index]);
  kind.renumber(sheet, &number);
  writeRun(item, kind.itemType, number, 0, list.values[*list.index]);
  if (++*list.index >= *list.count) moveToNextListLine(sheet, list, kind);
  return Delivery::kItem;
}

Delivery deliverRowHeight(SheetReader* sheet, SheetItem* item) {
  return deliverListEntry(sheet, item, heightBuffer(sheet), kRowHeights);
}

Delivery deliverColumnWidth(SheetReader* sheet, SheetItem* item) {
  return deliverListEntry(sheet, item, widthBuffer(sheet), kColumnWidths);
}

// --- Hidden runs ----------------------------------------------------------------

using LineInGrid = bool (*)(const SheetReader*, int64_t);
using LineFlag = uint8_t& (*)(const SheetReader*, int64_t);

// The next run of lines whose whole flag byte is 0, from the scan cursor on.
bool findHiddenRun(const SheetReader* sheet, int32_t* scan, int32_t lastLine,
                   LineInGrid inGrid, LineFlag flagOf, int64_t* first, int64_t* last) {
  auto hidden = [&](int64_t line) {
    return inGrid(sheet, line) && flagOf(sheet, line) == kFlagHidden;
  };
  int64_t line = *scan < 1 ? 1 : *scan;
  while (line <= lastLine && !hidden(line)) ++line;
  if (line > lastLine) {
    *scan = static_cast<int32_t>(line > INT32_MAX ? INT32_MAX : line);
    return false;
  }
  *first = line;
  while (line + 1 <= lastLine && hidden(line + 1)) ++line;
  *last = line;
  *scan = static_cast<int32_t>(line + 1 > INT32_MAX ? INT32_MAX : line + 1);
  return true;
}

bool deliverHiddenLines(SheetReader* sheet, SheetItem* item, int32_t* scan, int32_t lastLine,
                        LineInGrid inGrid, LineFlag flagOf, uint32_t itemType,
                        void (*renumberLine)(const SheetReader*, int32_t*)) {
  int64_t first = 0;
  int64_t last = 0;
  if (!findHiddenRun(sheet, scan, lastLine, inGrid, flagOf, &first, &last)) return false;
  auto number = static_cast<int32_t>(first);
  renumberLine(sheet, &number);
  const auto length = static_cast<uint32_t>(last - first);
  writeRun(item, itemType, number, length, 0);
  sheet->hiddenEmitted += length + 1;
  return true;
}

Delivery deliverHiddenRun(SheetReader* sheet, SheetItem* item) {
  const WorkbookReader* reader = sheet->reader;
  const bool delivered =
      deliverHiddenLines(sheet, item, &sheet->hiddenRowScan, reader->maxRow, &gridHasRow,
                         &rowFlag, WZSS_ITEM_ROW_RUN, &wzGetAbsRow) ||
      deliverHiddenLines(sheet, item, &sheet->hiddenColumnScan, reader->maxColumn,
                         &gridHasColumn, &columnFlag, WZSS_ITEM_COLUMN_RUN, &wzGetAbsCol);
  if (!delivered) {
    // The count was taken from these flags, so this cannot happen; should it,
    // the phase ends rather than being chosen again and again.
    sheet->hiddenEmitted = sheet->hiddenCount;
  }
  if (sheet->hiddenEmitted >= sheet->hiddenCount) sheet->state = kStateChoose;
  return delivered ? Delivery::kItem : Delivery::kMovedOn;
}

// --- Objects and cells ------------------------------------------------------------

bool objectsPending(const SheetReader* sheet) {
  return sheet->objectCount > sheet->objectsEmitted &&
         (sheet->reader->readerFlags & WZSS_READER_NO_OBJECTS) == 0;
}

// wzDoObject counts every entry it examines in objectsEmitted; once the
// sheet's last one is counted, or a call delivered nothing, the next phase
// is chosen.
Delivery deliverObject(SheetReader* sheet, SheetItem* item) {
  const int32_t emittedBefore = sheet->objectsEmitted;
  const int delivered = wzDoObject(sheet, item);
  if (delivered == 0 || sheet->objectsEmitted >= sheet->objectCount) {
    sheet->state = kStateChoose;
  }
  if (delivered != 0) return Delivery::kItem;
  // A call that counted nothing could be chosen again forever.
  if (sheet->objectsEmitted == emittedBefore) sheet->objectsEmitted = sheet->objectCount;
  return Delivery::kMovedOn;
}

Delivery deliverCell(SheetReader* sheet, SheetItem* item) {
  if (wzGetCellContent(sheet, item) != 0) return Delivery::kItem;
  sheet->state = kStateEmptyCells;
  return Delivery::kMovedOn;
}

Delivery deliverEmptyCell(SheetReader* sheet, SheetItem* item) {
  return wzProcessEmptyCell(sheet, item) != 0 ? Delivery::kItem : Delivery::kSheetEnds;
}

// The phases in their fixed order; each one clears its own condition when
// it is over, so none is chosen twice.
int32_t chooseNextPhase(SheetReader* sheet) {
  if (sheet->heightPos != 0) return kStateRowHeights;
  if (sheet->widthPos != 0) return kStateColumnWidths;
  if (sheet->hiddenEmitted != sheet->hiddenCount) return kStateHiddenRuns;
  if (objectsPending(sheet)) return kStateObjects;
  if (sheet->sheetStart == 0) return kStateEmptyCells;
  // Without the cell lines the formatted empty cells, which need no stream,
  // still follow.
  return streamSeek(sheet->stream, sheet->sheetStart) != 0 ? kStateCells : kStateEmptyCells;
}

}  // namespace

int32_t wzPumpSheet(SheetReader* sheet, SheetItem* item) {
  if (sheet == nullptr || sheet->reader == nullptr || item == nullptr) return kNoSheet;
  // Every round either returns or leaves a phase whose condition is cleared,
  // or moves on to a later list line, so the loop ends.
  for (;;) {
    Delivery delivery = Delivery::kMovedOn;
    switch (sheet->state) {
      case kStateSettings: delivery = deliverSettings(sheet, item); break;
      case kStateOption: delivery = deliverOption(sheet, item); break;
      case kStateChoose: sheet->state = chooseNextPhase(sheet); break;
      case kStateRowHeights: delivery = deliverRowHeight(sheet, item); break;
      case kStateColumnWidths: delivery = deliverColumnWidth(sheet, item); break;
      case kStateHiddenRuns: delivery = deliverHiddenRun(sheet, item); break;
      case kStateObjects: delivery = deliverObject(sheet, item); break;
      case kStateCells: delivery = deliverCell(sheet, item); break;
      case kStateEmptyCells: delivery = deliverEmptyCell(sheet, item); break;
      default: return kNoMoreItems;
    }
    if (delivery == Delivery::kItem) return kItemWritten;
    if (delivery == Delivery::kSheetEnds) {
      sheet->state = kStateEnded;
      return kNoMoreItems;
    }
  }
}

}  // namespace wzss
