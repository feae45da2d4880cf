// The third field of an attribute text: the background fill, registered
// with the host through the sheet callback, and the border lines, read into
// the sheet's border scratch.
#include <cstdint>

#include "cells/cells.h"
#include "scan/scan.h"

namespace wzss {

namespace {

constexpr char kFieldMark = '|';
constexpr char kAttrClose = ')';
constexpr int32_t kAbsent = -1;  // a number the text ended before
constexpr uint32_t kWhite = 0xFFFFFF;
constexpr uint32_t kNoPattern = 0;

struct Shading {
  uint32_t pattern;
  uint32_t shadePercent;
};

// Shading patterns 1..19; any other number n is pattern n at 0 percent.
constexpr int32_t kFirstShading = 1;
constexpr Shading kShadings[] = {
    {0, 0},  {0, 15}, {0, 25}, {0, 35}, {0, 60}, {0, 75}, {0, 90},
    {0, 100}, {2, 0},  {1, 0},  {5, 0},  {4, 0},  {3, 0},  {6, 0},
    {29, 0}, {26, 0}, {27, 0}, {29, 0}, {23, 0},
};
constexpr int32_t kShadingCount = sizeof(kShadings) / sizeof(kShadings[0]);

Shading shadingOf(int32_t number) {
  const int32_t index = number - kFirstShading;  // number >= 0: no overflow
  if (index >= 0 && index < kShadingCount) return kShadings[index];
  return {static_cast<uint32_t>(number), 0};
}

// Border style bytes of the style numbers 0..5; other numbers draw no line.
constexpr uint8_t kBorderStyles[] = {0, 5, 6, 7, 1, 8};
constexpr int32_t kBorderStyleCount = sizeof(kBorderStyles);
constexpr uint8_t kNoLine = 0;
// The bottom side always gets this style byte, whatever its number.
constexpr uint8_t kBottomStyle = 8;

uint8_t borderStyleOf(int32_t number) {
  return number >= 0 && number < kBorderStyleCount ? kBorderStyles[number] : kNoLine;
}

char upper(char c) { return c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c; }

bool isPair(const char* p, char first, char second) {
  return upper(p[0]) == first && upper(p[1]) == second;
}

// The byte after the text's second '|', or null when the text ends first.
const char* thirdField(const char* text) {
  const char* p = text;
  for (int marks = 0; marks < 2; ++p) {
    if (*p == '\0') return nullptr;
    if (*p == kFieldMark) ++marks;
  }
  return p;
}

// A colour after "FG" or "BG" at *cursor: steps over the two letters and
// reads the number; kAbsent when the pair is not there.
int32_t readTaggedNumber(const char** cursor, char tag) {
  if (!isPair(*cursor, tag, 'G')) return kAbsent;
  *cursor += 2;
  return wzGetIntItem(cursor);
}

int sideOf(char letter) {
  switch (upper(letter)) {
    case 'L': return kLeft;
    case 'R': return kRight;
    case 'T': return kTop;
    case 'B': return kBottom;
    default: return -1;
  }
}

// A side letter at p: its style number and optional "FG" colour. Returns
// the side number read; *cursor ends after what was read.
int32_t readSide(SheetReader* sheet, int side, const char** cursor) {
  ++*cursor;  // the side letter
  const int32_t number = wzGetIntItem(cursor);
  sheet->borderStyles[side] = side == kBottom ? kBottomStyle : borderStyleOf(number);
  if (isPair(*cursor, 'F', 'G')) {
    *cursor += 2;
    sheet->borderColors[side] = wzColorValue(sheet->reader, wzGetIntItem(cursor));
  }
  return number;
}

// The fill of a third field (null when the text has none).
int32_t fillOfField(SheetReader* sheet, const char* cursor) {
  if (cursor == nullptr || !isPair(cursor, 'S', 'H')) return 0;
  cursor += 2;
  const int32_t patternNumber = wzGetIntItem(&cursor);
  const int32_t foreNumber = readTaggedNumber(&cursor, 'F');
  const int32_t backNumber = readTaggedNumber(&cursor, 'B');
  if (patternNumber == kAbsent) return 0;

  FillInfo fill{};
  const Shading shading = shadingOf(patternNumber);
  fill.pattern = shading.pattern;
  fill.shadePercent = shading.shadePercent;
  fill.backColor = backNumber == kAbsent ? kWhite : wzColorValue(sheet->reader, backNumber);
  fill.foreColor = foreNumber == kAbsent ? 0 : wzColorValue(sheet->reader, foreNumber);
  // A white background without pattern or pattern colour is no fill at all.
  if (fill.pattern == kNoPattern && fill.shadePercent == 0 && fill.backColor == kWhite &&
      fill.foreColor == 0) {
    return 0;
  }
  // Without a callback there is nobody to register the fill with.
  if (sheet->callback == nullptr) return 0;
  const intptr_t result = sheet->callback(sheet->hostCookie, WZSS_CALLBACK_FILL,
                                          reinterpret_cast<intptr_t>(&fill), 0);
  // The host's value is passed on as it is; the item holds its low 32 bits.
  return static_cast<int32_t>(static_cast<uint32_t>(result));
}

// The borders of a third field (null when the text has none).
int borderOfField(SheetReader* sheet, const char* cursor) {
  for (int side = kLeft; side <= kBottom; ++side) {
    sheet->borderStyles[side] = kNoLine;
    sheet->borderColors[side] = 0;
  }
  if (cursor == nullptr || *cursor == kAttrClose) return 0;

  int32_t lastSide = kAbsent;
  while (*cursor != '\0' && *cursor != kAttrClose) {
    const int side = sideOf(*cursor);
    // "BG" is the fill's background colour, not a bottom side: only the B
    // is passed over, the G and the digits as any other byte.
    if (side < 0 || (side == kBottom && upper(cursor[1]) == 'G')) {
      ++cursor;
      continue;
    }
    lastSide = readSide(sheet, side, &cursor);
  }
  return lastSide != kAbsent ? 1 : 0;
}

}  // namespace

int32_t wzGetFill(SheetReader* sheet, const char* text) {
  return fillOfField(sheet, thirdField(text));
}

int wzGetBorder(SheetReader* sheet, const char* text) {
  return borderOfField(sheet, thirdField(text));
}

void wzGetFillAndBorder(SheetReader* sheet, const char* text, int32_t* fill, int* border) {
  const char* field = thirdField(text);
  *fill = fillOfField(sheet, field);
  *border = borderOfField(sheet, field);
}

}  // namespace wzss
