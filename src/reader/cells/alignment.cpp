// The alignment list of an attribute text's first field and the text
// attributes of its second field. Both change only what their items name;
// the caller sets every starting value beforehand.
#include <cstdint>

#include "cells/cells.h"
#include "scan/scan.h"

namespace wzss {

namespace {

constexpr char kFieldMark = '|';
constexpr char kItemMark = ',';

// Alignment word masks. Every change keeps only the low byte's other bits,
// so bits 8-15 are always clear afterwards.
constexpr uint16_t kKeepAllButHorizontal = 0x00F3;
constexpr uint16_t kKeepAllButVertical = 0x00FC;
constexpr uint16_t kHorizontalBoth = 12;  // item 1
constexpr uint16_t kHorizontalHigh = 8;   // item 2
constexpr uint16_t kHorizontalLow = 4;    // item 3
constexpr uint16_t kHorizontalCode4 = 16;  // item 4
constexpr uint16_t kVerticalTop = 3;
constexpr uint16_t kVerticalCentre = 1;
constexpr uint16_t kVerticalBottom = 2;

// The bar format: vertical bits kept, item 1's horizontal bits and bit 7.
constexpr uint16_t kKeepVertical = 3;
constexpr uint16_t kBarBits = 0x8C;
// Dates and general numbers: bit 7 and the upper byte cleared.
constexpr uint16_t kClearOverflowBit = 0x7F;

// Text attributes W and WO.
constexpr uint16_t kOverflowKeep = 0xDF;  // bit 5 and the upper byte cleared
constexpr uint16_t kOverflowBit = 0x80;
constexpr uint16_t kWrapKeep = 0x0F;  // bits 4, 6, 7 and the upper byte cleared
constexpr uint16_t kWrapBit = 0x20;

uint16_t withBits(uint16_t word, uint16_t keep, uint16_t set) {
  return static_cast<uint16_t>((word & keep) | set);
}

// One item of the alignment list at p; returns how many bytes it takes.
// A V item takes two bytes unless the text ends right after the V.
int applyAlignItem(const char* p, uint16_t* align) {
  switch (*p) {
    case '1': *align = withBits(*align, kKeepAllButHorizontal, kHorizontalBoth); return 1;
    case '2': *align = withBits(*align, kKeepAllButHorizontal, kHorizontalHigh); return 1;
    case '3': *align = withBits(*align, kKeepAllButHorizontal, kHorizontalLow); return 1;
    case '4': *align = withBits(*align, kKeepAllButHorizontal, kHorizontalCode4); return 1;
    case 'V':
      switch (p[1]) {
        case 'T': *align = withBits(*align, kKeepAllButVertical, kVerticalTop); break;
        case 'C': *align = withBits(*align, kKeepAllButVertical, kVerticalCentre); break;
        case 'B': *align = withBits(*align, kKeepAllButVertical, kVerticalBottom); break;
        default: break;
      }
      return p[1] == '\0' ? 1 : 2;
    default:
      return 1;
  }
}

void adjustForFormat(uint16_t* align, int32_t formatCode) {
  if (formatCode == FRMT_BAR) {
    *align = withBits(*align, kKeepVertical, kBarBits);
  } else if (formatCode == FRMT_DATE || formatCode == FRMT_GENERAL) {
    *align = static_cast<uint16_t>(*align & kClearOverflowBit);
  }
}

// --- Text attributes -----------------------------------------------------

bool endsNumber(char c) { return c == kItemMark || c == kFieldMark || c == '\0'; }

// The number of a numeric item runs from start to the next ',' or '|'.
// atoi stops at those bytes by itself, so converting from start gives the
// value of the bounded text. *end receives the byte that ends the number.
int32_t readItemNumber(const char* start, const char** end) {
  const char* p = start;
  while (!endsNumber(*p)) ++p;
  *end = p;
  return wzAtoi(start);
}

// F, T and W skip one byte after the letter without looking at it; at the
// end of the text there is no such byte to skip.
const char* afterSkippedByte(const char* letter) {
  return letter[1] == '\0' ? letter + 1 : letter + 2;
}

// Copies a typeface name into the 32-byte name field, cut at 31 characters.
void copyTypefaceName(const char* name, FontRecord* font) {
  constexpr uint32_t kNameCapacity = sizeof(font->name) - 1;
  uint32_t i = 0;
  for (; i < kNameCapacity && name[i] != '\0'; ++i) font->name[i] = name[i];
  font->name[i] = '\0';
}

struct AttributeTargets {
  const WorkbookReader* reader;
  FontRecord* font;
  uint32_t* backColor;
  uint32_t* textColor;
  uint16_t* align;
};

// One item of the second field at p; returns where the next item begins.
const char* applyAttributeItem(const AttributeTargets& to, const char* p) {
  const char* end = p + 1;
  switch (*p) {
    case 'B':
      if (p[1] == 'G') {
        *to.backColor = wzColorValue(to.reader, readItemNumber(p + 2, &end));
      } else {
        to.font->bold = 1;
      }
      break;
    case 'D':
    case 'U':
      to.font->underline = 1;
      break;
    case 'I':
      to.font->italic = 1;
      break;
    case 'F':
      *to.textColor = wzColorValue(to.reader, readItemNumber(afterSkippedByte(p), &end));
      break;
    case 'P':
      to.font->size = static_cast<uint32_t>(readItemNumber(p + 1, &end));
      break;
    case 'T': {
      // A number without a name in the table leaves the name as it is.
      const char* name = wzTypefaceName(to.reader, readItemNumber(afterSkippedByte(p), &end));
      if (name != nullptr) copyTypefaceName(name, to.font);
      break;
    }
    case 'W':
      if (p[1] != '\0' && p[2] == 'O') {
        *to.align = withBits(*to.align, kOverflowKeep, kOverflowBit);
        end = p + 3;
      } else {
        *to.align = withBits(*to.align, kWrapKeep, kWrapBit);
        end = afterSkippedByte(p);
      }
      break;
    default:
      break;
  }
  return end;
}

const char* findByte(const char* text, char wanted) {
  while (*text != '\0' && *text != wanted) ++text;
  return text;
}

}  // namespace

int wzExtractAlign(const WorkbookReader* reader, const char* text, uint16_t* align,
                   int32_t formatCode) {
  const bool textual = formatCode == FRMT_LABEL || formatCode == FRMT_STRING;
  *align = textual ? reader->defaultTextAlign : reader->defaultValueAlign;

  // The search is not bounded by the attribute text: it is the first ','
  // or '|' anywhere in the text.
  const char* p = text;
  while (*p != '\0' && *p != kItemMark && *p != kFieldMark) ++p;
  int result = 0;
  if (*p == kItemMark) {
    result = 1;
    ++p;
    while (*p != '\0' && *p != kFieldMark) {
      p += applyAlignItem(p, align);
      if (*p != kItemMark) break;
      ++p;
    }
  }
  adjustForFormat(align, formatCode);
  return result;
}

void wzExtractAttribute(const WorkbookReader* reader, const char* text, FontRecord* font,
                        uint32_t* backColor, uint32_t* textColor, uint16_t* align) {
  const char* p = findByte(text, kFieldMark);
  if (*p == '\0' || p[1] == kFieldMark) return;
  const AttributeTargets targets{reader, font, backColor, textColor, align};
  for (++p; *p != '\0' && *p != kFieldMark;) p = applyAttributeItem(targets, p);
}

}  // namespace wzss
