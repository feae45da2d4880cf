// The first pass: one walk over every line after the header check. It sets
// the workbook defaults, hands the prologue sections to their readers, builds
// the sheet list from the view sections and, once the prologue is over,
// records where each sheet's cell lines begin.

#include <cstring>
#include <string_view>

#include "objects/objects.h"
#include "prologue/prologue.h"
#include "scan/scan.h"

namespace wzss {
namespace {

// Keywords of the prologue, tested in this order; the first match decides.
constexpr std::string_view kColorMapStart = "COLORMAP";
constexpr std::string_view kViewStart = "View Start, Name: ";
constexpr std::string_view kTypefaceStart = "TYPEFACE TABLE";
constexpr std::string_view kAttrTableStart = "Attr Table Start";
constexpr std::string_view kSheetsTable = "SHEETS TABLE";
constexpr std::string_view kGraphicObjStart = "Graphic Obj Start: ";
constexpr std::string_view kBottomRight = "Bottom right corner ";
constexpr std::string_view kRowList = "Row List ";
constexpr std::string_view kSymbols = "Symbols ";
constexpr std::string_view kHeadersEnd = "Headers and Footers End";
// Lines of the "SHEETS TABLE" block.
constexpr std::string_view kSheetLine = "SHEET ";

// The sheet name starts one byte past the view keyword: the byte right after
// it (a '#' in the files we write) is not part of the name.
constexpr size_t kViewNameStart = kViewStart.size() + 1;
// The "Symbols " values start at the line's 17th byte.
constexpr size_t kSymbolsValuesStart = 16;
// Without a ':' the corner's address is read right after the keyword.
constexpr size_t kBottomRightAddress = kBottomRight.size();

constexpr uint32_t kSheetEntryKind = 16384;

// Initial workbook defaults, before the attribute table and "Symbols " line.
constexpr uint32_t kInitialFormat = 25;    // general
constexpr uint32_t kInitialDecimals = 10;  // floating
constexpr uint16_t kInitialAlign = 130;
constexpr uint32_t kWhite = 0xffffff;
constexpr uint8_t kInitialPitchAndFamily = 18;
constexpr char kInitialFontName[] = "Times";

// Horizontal alignment codes of the "Symbols " line (the same as the
// alignment digits of an attribute text): code 1, 2, 3 OR in these bits.
constexpr uint16_t kAlignBitsByCode[] = {0, 12, 8, 4};

void setInitialDefaults(WorkbookReader* reader) {
  // The block from defaultFormat to sheetOption is cleared as a whole first.
  reader->defaultFormat = kInitialFormat;
  reader->defaultDecimals = kInitialDecimals;
  reader->defaultDateStyle = 0;
  reader->defaultTextAlign = kInitialAlign;
  reader->defaultValueAlign = kInitialAlign;
  reader->defaultBackColor = kWhite;
  reader->defaultTextColor = 0;
  std::memset(&reader->defaultFont, 0, sizeof reader->defaultFont);
  std::memcpy(reader->defaultFont.name, kInitialFontName, sizeof kInitialFontName);
  reader->defaultFont.pitchAndFamily = kInitialPitchAndFamily;
  reader->sheetOption = 0;
}

// Copies text[0, length) into a NUL-terminated field of fieldSize bytes,
// cutting what does not fit.
void copyBounded(char* field, size_t fieldSize, const char* text, size_t length) {
  if (length > fieldSize - 1) length = fieldSize - 1;
  std::memcpy(field, text, length);
  field[length] = '\0';
}

// The sheet list lives in the host's WorkbookInfo during the pass. The reader
// mirrors it from the first allocation on, so the reader owns the array
// whatever the pass's outcome (wzReleaseTables frees it through the mirror).
void publishSheets(WorkbookReader* reader, WorkbookInfo* info, SheetEntry* sheets,
                   uint32_t sheetCount) {
  info->sheets = sheets;
  info->sheetCount = sheetCount;
  reader->info.sheets = sheets;
  reader->info.sheetCount = sheetCount;
}

// "View Start, Name: ": one more SheetEntry, the name up to the next ':'.
int appendSheet(WorkbookReader* reader, WorkbookInfo* info, const char* line, uint32_t linePos) {
  const uint32_t count = info->sheetCount;
  SheetEntry* sheets = nullptr;
  if (count == 0) {
    sheets = static_cast<SheetEntry*>(hostCalloc(reader->services, 1, sizeof(SheetEntry)));
  } else {
    const uint32_t bytes = allocSize(uint64_t{count} + 1, sizeof(SheetEntry));
    if (bytes != 0)
      sheets = static_cast<SheetEntry*>(hostRealloc(reader->services, info->sheets, bytes));
  }
  if (sheets == nullptr) return 0;  // the old array, if any, is still published

  SheetEntry& entry = sheets[count];
  std::memset(&entry, 0, sizeof entry);
  // A line that is just the keyword (or one byte more) has an empty name.
  const size_t lineLength = std::strlen(line);
  const char* name = line + (lineLength < kViewNameStart ? lineLength : kViewNameStart);
  const char* colon = std::strchr(name, ':');
  const size_t nameLength =
      colon != nullptr ? static_cast<size_t>(colon - name) : std::strlen(name);
  copyBounded(entry.name, sizeof entry.name, name, nameLength);
  entry.nameLength = static_cast<uint32_t>(nameLength);
  entry.nameLength2 = entry.nameLength;
  entry.zero516 = 0;
  entry.kind = kSheetEntryKind;
  entry.viewPos = linePos;
  publishSheets(reader, info, sheets, count + 1);
  return 1;
}

// One "SHEET <letters> ~name~" line: renames an existing sheet. The name
// lengths stay those of the view section.
void renameSheet(WorkbookInfo* info, const char* line) {
  const char* cursor = line + kSheetLine.size();
  const int32_t number = wzGetLetter(&cursor);
  const char* open = std::strchr(cursor, '~');
  if (open == nullptr) return;
  const char* close = std::strchr(open + 1, '~');
  if (close == nullptr) return;
  if (number < 1 || static_cast<uint32_t>(number) > info->sheetCount) return;
  SheetEntry& entry = info->sheets[number - 1];
  copyBounded(entry.name, sizeof entry.name, open + 1, static_cast<size_t>(close - open - 1));
}

// "SHEETS TABLE": renames sheets until the first line that is not a "SHEET "
// line, which is consumed without being looked at. 0 when the input ended.
int readSheetsTable(WorkbookReader* reader, WorkbookInfo* info) {
  char line[kLineSize];
  uint32_t linePos = 0;
  for (;;) {
    if (wzGetLine(reader->stream, line, kLineSize, &linePos) == 0) return 0;
    if (!wzMatchKeyword(line, kSheetLine)) return 1;
    renameSheet(info, line);
  }
}

// "Bottom right corner ": the workbook's extent. Either value may be -1 or
// huge; the sheet setup guards its grid against them.
void readBottomRight(WorkbookReader* reader, const char* line) {
  const char* colon = std::strchr(line, ':');
  const char* cursor = colon != nullptr ? colon + 1 : line + kBottomRightAddress;
  reader->maxColumn = wzGetLetter(&cursor);
  reader->maxRow = wzGetIntItem(&cursor);
}

uint16_t alignBits(int32_t code) { return code >= 1 && code <= 3 ? kAlignBitsByCode[code] : 0; }

// "Symbols ": ten integers written as for "%i"; the 6th, 8th, 9th and 10th
// are used. Reading stops at the first integer that is not there, leaving
// its field and those after it unchanged.
void readSymbols(WorkbookReader* reader, const char* line) {
  constexpr int kValueCount = 10;
  constexpr int kFontSize = 6, kOption = 8, kTextAlign = 9, kValueAlign = 10;
  if (std::strlen(line) < kSymbolsValuesStart) return;
  const char* cursor = line + kSymbolsValuesStart;
  for (int index = 1; index <= kValueCount; ++index) {
    int32_t value = 0;
    if (!wzParseInt(cursor, 0, &value, &cursor)) return;
    switch (index) {
      case kFontSize: reader->defaultFont.size = static_cast<uint32_t>(value); break;
      case kOption: reader->sheetOption = static_cast<uint32_t>(value); break;
      case kTextAlign: reader->defaultTextAlign |= alignBits(value); break;
      case kValueAlign:
        reader->defaultValueAlign =
            static_cast<uint8_t>(reader->defaultValueAlign | alignBits(value));
        break;
      default: break;  // skipped integers
    }
  }
}

// "Headers and Footers End": everything after it is cell data. Records the
// first line of each run of a sheet's cell lines; the last run wins.
int recordSheetStarts(WorkbookReader* reader, uint32_t sheetCount) {
  const uint32_t slots = sheetCount + 1;  // indexed by sheet number, slot 0 unused
  const uint32_t bytes = allocSize(slots, sizeof(uint32_t));
  auto* starts = bytes != 0 ? static_cast<uint32_t*>(hostAlloc(reader->services, bytes)) : nullptr;
  if (starts == nullptr) return 0;
  std::memset(starts, 0, bytes);
  hostFree(reader->services, reader->sheetStarts);  // only if a pass met a second marker
  reader->sheetStarts = starts;
  reader->sheetStartSlots = slots;

  constexpr uint32_t kEndOfInput = 0, kNotACellLine = 1;
  int32_t currentSheet = 0;
  for (;;) {
    int32_t sheetNumber = 0;
    const uint32_t result = wzScanCellLine(reader->stream, &sheetNumber);
    if (result == kEndOfInput) return 1;
    if (result == kNotACellLine || sheetNumber == currentSheet) continue;
    if (sheetNumber >= 1 && static_cast<uint32_t>(sheetNumber) <= sheetCount)
      starts[sheetNumber] = result;
    currentSheet = sheetNumber;
  }
}

}  // namespace

int wzProcessToData(WorkbookReader* reader, WorkbookInfo* info) {
  // The host's record is not trusted to be clear: the list starts empty.
  info->sheetCount = 0;
  info->sheets = nullptr;
  setInitialDefaults(reader);

  char line[kLineSize];
  uint32_t linePos = 0;
  while (wzGetLine(reader->stream, line, kLineSize, &linePos) != 0) {
    int ok = 1;
    if (wzMatchKeyword(line, kColorMapStart)) {
      ok = wzColorMap(reader);
    } else if (wzMatchKeyword(line, kViewStart)) {
      ok = appendSheet(reader, info, line, linePos);
    } else if (wzMatchKeyword(line, kTypefaceStart)) {
      ok = wzFont(reader);
    } else if (wzMatchKeyword(line, kAttrTableStart)) {
      ok = wzAttribute(reader);
    } else if (wzMatchKeyword(line, kSheetsTable)) {
      if (readSheetsTable(reader, info) == 0) return 1;  // the input ended in the block
    } else if (wzMatchKeyword(line, kGraphicObjStart)) {
      ok = wzInitObjects(reader, linePos);
    } else if (wzMatchKeyword(line, kBottomRight)) {
      readBottomRight(reader, line);
    } else if (wzMatchKeyword(line, kRowList)) {
      if (reader->rowListPos == 0) reader->rowListPos = linePos;
    } else if (wzMatchKeyword(line, kSymbols)) {
      readSymbols(reader, line);
    } else if (wzMatchKeyword(line, kHeadersEnd)) {
      // The cell lines run to the end of the input.
      return recordSheetStarts(reader, info->sheetCount);
    }
    if (ok == 0) return 0;
  }
  return 1;
}

void wzReleaseTables(WorkbookReader* reader) {
  HostServices* services = reader->services;
  if (services == nullptr) return;  // nothing can have been allocated
  // The cached list and the list a pass built are the same array (the pass
  // publishes into reader->info as it grows), so it is freed exactly once.
  hostFree(services, reader->info.sheets);
  reader->info.sheets = nullptr;
  reader->info.sheetCount = 0;

  hostFree(services, reader->sheetStarts);
  reader->sheetStarts = nullptr;
  reader->sheetStartSlots = 0;

  hostFree(services, reader->colorMaps);
  reader->colorMaps = nullptr;
  reader->colorMapCount = 0;

  // Every slot, not only the counted ones: a reader that ran out of memory
  // leaves names and entries past the count.
  for (char*& name : reader->typefaces) {
    hostFree(services, name);
    name = nullptr;
  }
  reader->typefaceCount = 0;

  for (AttrEntry*& entry : reader->attrs) {
    if (entry != nullptr) {
      hostFree(services, entry->text);
      hostFree(services, entry);
    }
    entry = nullptr;
  }
  reader->attrCount = 0;

  hostFree(services, reader->objects);
  reader->objects = nullptr;
  reader->objectEntryCount = 0;

  // Positions of the old pass mean nothing to the next one.
  reader->rowListPos = 0;
  reader->maxRow = 0;
  reader->maxColumn = 0;
  reader->parsingAttrs = 0;
}

}  // namespace wzss
