// The attribute table: "Attr Table Start" ... "Attr Table end". Its first
// line gives the workbook's default attributes; every line with a fill and
// border part is kept, by its line number, for the "Row List " lines that
// name attributes of empty cells.

#include <cstring>
#include <string_view>

#include "cells/cells.h"
#include "prologue/prologue.h"
#include "scan/scan.h"

namespace wzss {
namespace {

constexpr std::string_view kAttrTableEnd = "Attr Table end";

// A line is kept when its third '|'-separated field (fill and border) is not
// empty: it has a second '|' that is not followed by ')'.
bool hasFillAndBorder(const char* line) {
  const char* first = std::strchr(line, '|');
  if (first == nullptr) return false;
  const char* second = std::strchr(first + 1, '|');
  return second != nullptr && second[1] != ')';
}

// Defaults from the table's first line, whatever the line is.
void takeDefaults(WorkbookReader* reader, const char* line) {
  int32_t formatCode = 0;
  int32_t decimals = 0;
  int32_t dateStyle = 0;
  wzExtractNumFrmt(reader, line, &formatCode, &decimals, &dateStyle);
  reader->defaultFormat = static_cast<uint32_t>(formatCode);
  reader->defaultDecimals = static_cast<uint32_t>(decimals);
  reader->defaultDateStyle = static_cast<uint32_t>(dateStyle);
  wzExtractAttribute(reader, line, &reader->defaultFont, &reader->defaultBackColor,
                     &reader->defaultTextColor, &reader->defaultTextAlign);
}

void releaseEntry(HostServices* services, AttrEntry* entry) {
  if (entry == nullptr) return;
  hostFree(services, entry->text);
  hostFree(services, entry);
}

// Puts an entry for this line into slot, replacing (and freeing) what an
// earlier table left there. 0 when memory ran out; the slot is then as it was.
int storeEntry(WorkbookReader* reader, uint32_t slot, uint32_t number, const char* line) {
  auto* entry = static_cast<AttrEntry*>(hostAlloc(reader->services, sizeof(AttrEntry)));
  if (entry == nullptr) return 0;
  const size_t length = std::strlen(line);  // below kLineSize
  auto* text = static_cast<char*>(hostAlloc(reader->services, static_cast<uint32_t>(length + 1)));
  if (text == nullptr) {
    hostFree(reader->services, entry);
    return 0;
  }
  std::memcpy(text, line, length + 1);
  entry->number = number;
  entry->text = text;
  releaseEntry(reader->services, reader->attrs[slot]);
  reader->attrs[slot] = entry;
  return 1;
}

// Frees the entries a longer earlier table left from slot first on.
void releaseEntriesFrom(WorkbookReader* reader, uint32_t first) {
  for (uint32_t slot = first; slot < kAttrSlots; ++slot) {
    releaseEntry(reader->services, reader->attrs[slot]);
    reader->attrs[slot] = nullptr;
  }
}

// The table proper; wzAttribute wraps it so parsingAttrs is cleared on every
// return.
int readAttributeTable(WorkbookReader* reader) {
  char line[kLineSize] = {};
  uint32_t linePos = 0;
  // Like every table reader here, the first line is taken as read even when
  // the input ends in it.
  wzGetLine(reader->stream, line, kLineSize, &linePos);
  takeDefaults(reader, line);
  if (wzMatchKeyword(line, kAttrTableEnd)) {
    releaseEntriesFrom(reader, 0);
    reader->attrCount = 0;
    return 1;
  }

  uint32_t stored = 0;
  uint32_t number = 1;  // every line of the table counts, kept or not
  int result = 0;
  for (;;) {
    const bool keep = hasFillAndBorder(line);
    if (keep) {
      if (storeEntry(reader, stored, number, line) == 0) return 0;  // attrCount untouched
      ++stored;
    }
    const int more = wzGetLine(reader->stream, line, kLineSize, &linePos);
    ++number;
    if (more == 0) {
      result = 0;
      break;
    }
    if (wzMatchKeyword(line, kAttrTableEnd)) {
      result = 1;
      break;
    }
    // A full table drops the line just read; the scanner passes over the rest.
    if (keep && stored == kAttrSlots) {
      result = 1;
      break;
    }
  }
  releaseEntriesFrom(reader, stored);
  reader->attrCount = stored;
  return result;
}

}  // namespace

int wzAttribute(WorkbookReader* reader) {
  // The number format reader must not derive decimals from an attribute
  // line: there is no value text on it.
  reader->parsingAttrs = 1;
  const int result = readAttributeTable(reader);
  reader->parsingAttrs = 0;
  return result;
}

}  // namespace wzss
