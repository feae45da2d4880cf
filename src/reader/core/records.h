// The reader's core: the per-workbook WorkbookReader, the per-sheet
// SheetReader with its grid, the tables the first pass builds, the number
// format codes, and the thin calls into the host. Every layer of the reader
// may include this header and it includes none of them; the host never sees
// these layouts.
#pragma once

#include <cstddef>
#include <cstdint>

#include "wzss/reader_abi.h"

namespace wzss {

// Fixed sizes the file format is built around.
inline constexpr uint32_t kLineSize = 200;          // prologue, view and cell lines
inline constexpr uint32_t kTextLineSize = 512;      // continuation lines of text values
inline constexpr uint32_t kColorMapEntries = 260;
inline constexpr uint32_t kTypefaceSlots = 255;
inline constexpr uint32_t kAttrSlots = 1000;
inline constexpr uint32_t kListEntries = 20;        // entries of one width/height list line
inline constexpr uint32_t kSizeTextSize = 60;

// Number format codes, as attribute texts name them and the formatter tells
// them apart.
enum FormatCode : int32_t {
  FRMT_LABEL = 0,
  FRMT_DATE = 1,
  FRMT_COMMA = 17,
  FRMT_CURRENCY = 18,
  FRMT_FIXED = 19,
  FRMT_TIME12_HMS = 20,
  FRMT_TIME12_HM = 21,
  FRMT_TIME24_HMS = 22,
  FRMT_TIME24_HM = 23,
  FRMT_BAR = 24,
  FRMT_GENERAL = 25,
  FRMT_BOOLEAN = 26,
  FRMT_PERCENT = 27,
  FRMT_SCIENTIFIC = 28,
  FRMT_STRING = 29,
};

// Labels and quoted strings: decoded rather than converted, and continued
// over further lines.
inline bool isTextFormat(uint32_t formatCode) {
  return formatCode == FRMT_LABEL || formatCode == FRMT_STRING;
}

// Decimals value that asks for derivation from the value text.
inline constexpr int32_t kFloatingDecimals = 10;

struct ColorMap {
  uint8_t entries[kColorMapEntries][3];  // red, green, blue
  uint32_t entryCount;
};
static_assert(sizeof(ColorMap) == 784);

struct AttrEntry {
  uint32_t number;  // line number within the attribute table, from 1
  char* text;       // copy of the whole line
};

struct ObjectEntry {
  uint32_t startPos;       // offset of the "Graphic Obj Start: " line
  int32_t sheet;           // from "Object Plane: ", 0 when missing
  uint32_t drawingLength;  // bytes from the drawing's first line to the end of "*END GRAPHICS\n"
  uint32_t drawingPos;     // offset of "*BEGIN GRAPHICS VERSION", 0 without drawing
  char sizeText[kSizeTextSize];
};

struct SheetReader;

struct WorkbookReader {
  StreamInterface* stream;
  HostServices* services;
  WorkbookInfo info;  // cached sheet list, valid once info.sheets is non-null
  uint32_t readerFlags;

  ColorMap* colorMaps;
  uint32_t colorMapCount;
  char* typefaces[kTypefaceSlots];
  uint32_t typefaceCount;
  AttrEntry* attrs[kAttrSlots];

  // Workbook defaults: cleared and preset by the first pass.
  uint32_t defaultFormat;
  uint32_t defaultDecimals;
  uint32_t defaultDateStyle;
  uint16_t defaultTextAlign;
  uint8_t defaultValueAlign;
  uint32_t defaultBackColor;
  uint32_t defaultTextColor;
  FontRecord defaultFont;
  uint32_t sheetOption;

  uint32_t attrCount;
  int32_t maxRow;
  int32_t maxColumn;
  uint32_t* sheetStarts;      // indexed by sheet number, sheetStartSlots entries
  uint32_t sheetStartSlots;   // sheetCount + 1 once sheetStarts exists, else 0
  uint32_t rowListPos;
  uint32_t version;
  ObjectEntry* objects;
  uint32_t objectEntryCount;
  uint32_t parsingAttrs;
  // The sheet currently open on this reader, null when none: all sheets
  // share the document stream, so a second one is refused while it is set.
  SheetReader* openSheet;
};

// One row slot of the sheet grid. Row 0 carries the column flags; column 0
// of each row carries that row's flag.
struct GridRow {
  uint8_t* flags;       // maxColumn + 1 bytes
  uint32_t* formatIds;  // maxColumn + 1 entries, or null until a Row List names the row
};

// The most a sheet's grid may cost, flag rows and format-id rows together,
// each block counted with an allowance for the allocator's own bookkeeping.
// The extent comes from the file: without a bound, a few bytes naming row
// ten million would cost gigabytes and minutes before the first item.
inline constexpr uint64_t kGridByteLimit = uint64_t{256} << 20;
inline constexpr uint64_t kGridBlockOverhead = 32;

// Row and column flag values.
inline constexpr uint8_t kFlagHidden = 0;
inline constexpr uint8_t kFlagVisible = 2;  // stored as the whole byte
inline constexpr uint8_t kFlagTitle = 4;    // ORed in
// Cell flag bit.
inline constexpr uint8_t kFlagDelivered = 1;

// --- Lookups in the first pass's tables --------------------------------------

// Colour value (red + green*256 + blue*65536) of entry n of the first colour
// map; 0 for a number without an entry or when there is no colour map.
inline uint32_t wzColorValue(const WorkbookReader* reader, int32_t n) {
  if (reader->colorMapCount == 0 || reader->colorMaps == nullptr) return 0;
  const ColorMap& map = reader->colorMaps[0];
  if (n < 0 || static_cast<uint32_t>(n) >= map.entryCount) return 0;
  const uint8_t* entry = map.entries[n];
  return entry[0] + entry[1] * 256u + entry[2] * 65536u;
}

// Typeface name in slot n, or null when the table holds no name there.
inline const char* wzTypefaceName(const WorkbookReader* reader, int32_t n) {
  if (n < 0 || static_cast<uint32_t>(n) >= reader->typefaceCount ||
      static_cast<uint32_t>(n) >= kTypefaceSlots)
    return nullptr;
  return reader->typefaces[n];
}

// Pump states.
enum PumpState : int32_t {
  kStateSettings = 0,
  kStateCells = 1,
  kStateColumnWidths = 5,
  kStateHiddenRuns = 6,
  kStateOption = 7,
  kStateRowHeights = 9,
  kStateChoose = 10,
  kStateEmptyCells = 11,
  kStateObjects = 12,
};

struct SheetReader {
  WorkbookReader* reader;
  StreamInterface* stream;
  HostServices* services;
  uint32_t sheetStart;  // first cell line of the sheet, 0 without cell lines
  char* attrText;       // start of the current cell line's attribute text, inside line
  char line[kLineSize];
  int32_t state;
  uint32_t defaultColumnWidth;
  uintptr_t hostCookie;

  uint32_t widthColumns[kListEntries];
  uint32_t widthValues[kListEntries];
  uint32_t widthIndex;
  uint32_t widthCount;
  uint32_t widthPos;
  // Offset in the list line where the next load continues when the line
  // held more entries than the buffer; 0 starts at the line's first item.
  uint32_t widthResume;
  uint32_t heightRows[kListEntries];
  uint32_t heightValues[kListEntries];
  uint32_t heightIndex;
  uint32_t heightCount;
  uint32_t heightPos;
  uint32_t heightResume;  // as widthResume

  // Read state shared by the object streams of this sheet.
  uint32_t objectStreamLength;
  uint32_t objectStreamPos;
  uint32_t objectStreamLeft;
  uint32_t objectStreamOpen;
  ObjectEntry* objectStreamEntry;

  GridRow* grid;  // maxRow + 1 slots
  uint32_t gridRows;  // slots in grid, so closing never depends on maxRow
  uint64_t gridBytes; // what the grid has cost so far, held to kGridByteLimit
  // The lines whose flag carries the title mark once the view section is
  // read, in ascending order (null without any), so renumbering counts the
  // title lines before a line by a binary search.
  int32_t* titleRows;
  uint32_t titleRowsMarked;
  int32_t* titleColumns;
  uint32_t titleColumnsMarked;
  int32_t hiddenRowScan;
  int32_t hiddenColumnScan;
  uint32_t hiddenCount;
  uint32_t hiddenEmitted;
  SheetCallback callback;
  uint32_t sheetFlags;
  int32_t sheetNumber;
  int32_t titleRowCount;
  int32_t titleColumnCount;
  int32_t emptyScanRow;
  int32_t emptyScanColumn;
  // How formatted empty cells find their attribute entry: 0 not decided yet,
  // 1 by binary search (the entries ascend by number, as one table stores
  // them), 2 one by one (a table cut short by refused memory left a mix).
  uint8_t attrLookup;
  uint8_t borderStyles[4];   // left, right, top, bottom
  uint32_t borderColors[4];  // left, right, top, bottom
  int32_t objectCount;
  int32_t objectsEmitted;
  int32_t nextObject;
};

// Border scratch order.
enum BorderSide : int { kLeft = 0, kRight = 1, kTop = 2, kBottom = 3 };

// --- Units ---------------------------------------------------------------
// Column widths and object offsets are scaled by the default font's size.
// A size of 0, or one above 1200, leaves no usable divisor (1200 / size is
// 0); such a workbook is measured as if its default font were 10 points, so
// widths stay usable and nothing divides by zero.
inline constexpr uint32_t kFallbackFontSize = 10;

inline uint32_t usableFontSize(uint32_t size) {
  return size == 0 || size > 1200 ? kFallbackFontSize : size;
}
// Twips per unit of a column width: 14400 / (1200 / size), integer divisions.
inline uint32_t columnWidthFactor(uint32_t fontSize) {
  return 14400 / (1200 / usableFontSize(fontSize));
}
// Horizontal factor of an object's offset inside its anchor cell: 14400 / size.
inline uint32_t objectOffsetFactor(uint32_t fontSize) {
  return 14400 / usableFontSize(fontSize);
}

// --- Calls into the host ------------------------------------------------
// Thin wrappers so the operation slots are spelled once.

inline void* hostAlloc(HostServices* services, uint32_t size) {
  return services->allocator.Alloc(&services->allocator, size);
}
inline void* hostCalloc(HostServices* services, uint32_t count, uint32_t size) {
  return services->allocator.Calloc(&services->allocator, count, size);
}
inline void* hostRealloc(HostServices* services, void* block, uint32_t size) {
  return services->allocator.Realloc(&services->allocator, block, size);
}
inline void hostFree(HostServices* services, void* block) {
  if (block != nullptr) services->allocator.Free(&services->allocator, block);
}

// A byte count the 32-bit allocator interface can carry, or 0 when count x
// size does not fit (callers treat 0 as an allocation failure).
inline uint32_t allocSize(uint64_t count, uint64_t size) {
  const uint64_t bytes = count * size;  // both operands are below 2^32
  return bytes == 0 || bytes > UINT32_MAX ? 0 : static_cast<uint32_t>(bytes);
}

inline int streamOpen(StreamInterface* stream) { return stream->Open(stream); }
inline int streamSeek(StreamInterface* stream, uint32_t position) {
  return stream->Seek(stream, static_cast<int32_t>(position), 0);
}
inline uint32_t streamTell(StreamInterface* stream) { return stream->Tell(stream); }
// The Close slot may be null on a host's document stream.
inline void streamClose(StreamInterface* stream) {
  if (stream->Close != nullptr) stream->Close(stream);
}

}  // namespace wzss
