// Colour maps: "COLORMAP" ... "END COLORMAP" sections, one entry per line,
// given as cyan, magenta, yellow and black inks and kept as 8-bit RGB.

#include <cstring>
#include <string_view>

#include "prologue/prologue.h"
#include "scan/scan.h"

namespace wzss {
namespace {

constexpr std::string_view kColorMapEnd = "END COLORMAP";

// An entry line holds at most seven numbers after its first word.
constexpr int kMaxNumbers = 7;
// The number of a line's integers after which the four inks start, by layout.
constexpr int kInksAfterSevenNumbers = 2;  // word, number, number, then the inks
constexpr int kInksAfterSixNumbers = 1;    // word, number, then the inks
constexpr int kFullIntensity = 255;

// A colour's name of one word, or of two words such as "Light Gray", then up
// to kMaxNumbers numbers.
constexpr std::string_view kOneWordEntry = "%*s%d%d%d%d%d%d%d";
constexpr std::string_view kTwoWordEntry = "%*s%*s%d%d%d%d%d%d%d";

// The numbers of an entry line after its name; returns how many were read.
int scanEntryLine(const char* line, int words, int32_t numbers[kMaxNumbers]) {
  int32_t* const targets[kMaxNumbers] = {&numbers[0], &numbers[1], &numbers[2], &numbers[3],
                                         &numbers[4], &numbers[5], &numbers[6]};
  return wzScanFormatted(line, words == 1 ? kOneWordEntry : kTwoWordEntry,
                         std::span<int32_t* const>(targets));
}

// One ink turned into a colour component. When black and the ink together
// exceed full intensity the component is 0, never negative; negative inks
// can push it above 255, and then only its low 8 bits are kept.
uint8_t component(int32_t black, int32_t ink) {
  const int64_t value = int64_t{kFullIntensity} - black - ink;
  return static_cast<uint8_t>(value < 0 ? 0 : value);
}

// Reads the entry of one line. Numbers a line does not supply count as 0.
void readEntry(const char* line, uint8_t entry[3]) {
  int32_t numbers[kMaxNumbers] = {};
  const int delivered = scanEntryLine(line, 1, numbers);
  const int32_t* inks = numbers + kInksAfterSixNumbers;
  if (delivered == kMaxNumbers) {
    inks = numbers + kInksAfterSevenNumbers;
  } else if (delivered == 0) {
    // A colour named by two words, such as "Light Gray", then six numbers.
    std::memset(numbers, 0, sizeof numbers);
    scanEntryLine(line, 2, numbers);
  }
  const int32_t cyan = inks[0], magenta = inks[1], yellow = inks[2], black = inks[3];
  entry[0] = component(black, cyan);
  entry[1] = component(black, magenta);
  entry[2] = component(black, yellow);
}

// One more ColorMap record at the end of colorMaps; null when out of memory.
ColorMap* appendMap(WorkbookReader* reader) {
  ColorMap* maps = nullptr;
  if (reader->colorMapCount == 0) {
    maps = static_cast<ColorMap*>(hostCalloc(reader->services, 1, sizeof(ColorMap)));
  } else {
    const uint32_t bytes = allocSize(uint64_t{reader->colorMapCount} + 1, sizeof(ColorMap));
    if (bytes != 0)
      maps = static_cast<ColorMap*>(hostRealloc(reader->services, reader->colorMaps, bytes));
  }
  if (maps == nullptr) return nullptr;
  reader->colorMaps = maps;
  ColorMap* map = &maps[reader->colorMapCount];
  std::memset(map, 0, sizeof *map);
  return map;
}

}  // namespace

int wzColorMap(WorkbookReader* reader) {
  ColorMap* map = appendMap(reader);
  if (map == nullptr) return 0;

  char line[kLineSize];
  uint32_t linePos = 0;
  uint32_t stored = 0;
  int more = wzGetLine(reader->stream, line, kLineSize, &linePos);
  // After the last slot is filled, the line already read is dropped and the
  // rest of the section is left to the prologue scanner, which ignores it.
  while (more != 0 && stored < kColorMapEntries) {
    if (wzMatchKeyword(line, kColorMapEnd)) break;
    readEntry(line, map->entries[stored]);
    ++stored;
    more = wzGetLine(reader->stream, line, kLineSize, &linePos);
  }
  map->entryCount = stored;
  ++reader->colorMapCount;
  return 1;
}

}  // namespace wzss
