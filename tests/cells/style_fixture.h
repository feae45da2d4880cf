// A workbook reader with a small colour map and typeface table, built in
// memory, for the attribute-text parsers; and a sheet reader over it whose
// callback records every fill it is asked to register.
#pragma once

#include <cstdint>
#include <cstring>
#include <vector>

#include "interface/records.h"

namespace wzss::test {

// Colour map entries 0..kColorEntries-1, each with distinct bytes so that a
// wrong entry or a wrong byte order shows.
inline constexpr uint32_t kColorEntries = 10;
inline constexpr uint8_t kRed[kColorEntries] = {0, 255, 200, 10, 20, 30, 40, 50, 60, 70};
inline constexpr uint8_t kGreen[kColorEntries] = {0, 255, 0, 11, 21, 31, 41, 51, 61, 71};
inline constexpr uint8_t kBlue[kColorEntries] = {0, 255, 0, 12, 22, 32, 42, 52, 62, 72};

// 0x00BBGGRR of entry n, as the host receives it.
inline uint32_t colorOf(uint32_t n) {
  return kRed[n] | (uint32_t{kGreen[n]} << 8) | (uint32_t{kBlue[n]} << 16);
}

struct StyleFixture {
  ColorMap map{};
  char face0[8] = "Courier";
  char face1[10] = "Helvetica";
  char face2[16] = "Times New Roman";
  // 40 characters: longer than the 31 that a FontRecord name holds.
  char face3[41] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmn";
  WorkbookReader reader{};

  StyleFixture() {
    for (uint32_t n = 0; n < kColorEntries; ++n) {
      map.entries[n][0] = kRed[n];
      map.entries[n][1] = kGreen[n];
      map.entries[n][2] = kBlue[n];
    }
    map.entryCount = kColorEntries;
    reader.colorMaps = &map;
    reader.colorMapCount = 1;
    reader.typefaces[0] = face0;
    reader.typefaces[1] = face1;
    reader.typefaces[2] = face2;
    reader.typefaces[3] = face3;
    reader.typefaceCount = 4;
    reader.defaultFormat = 25;
    reader.defaultDecimals = 10;
    reader.defaultTextAlign = 130;
    reader.defaultValueAlign = 130;
    reader.defaultBackColor = 0xFFFFFF;
    std::strcpy(reader.defaultFont.name, "Times");
    reader.defaultFont.pitchAndFamily = 18;
  }
};

// A sheet reader for the fill and border parsers: only reader, callback and
// hostCookie are read, the border scratch is written.
struct FillRecorder {
  std::vector<FillInfo> fills;
  intptr_t result = 7;
  SheetReader sheet{};

  explicit FillRecorder(WorkbookReader* reader) {
    sheet.reader = reader;
    sheet.callback = &FillRecorder::callback;
    sheet.hostCookie = reinterpret_cast<uintptr_t>(this);
  }

  static intptr_t callback(uintptr_t cookie, int32_t op, intptr_t argument, intptr_t zero) {
    auto& self = *reinterpret_cast<FillRecorder*>(cookie);
    if (op != WZSS_CALLBACK_FILL || zero != 0) return -99;
    self.fills.push_back(*reinterpret_cast<const FillInfo*>(argument));
    return self.result;
  }
};

}  // namespace wzss::test
