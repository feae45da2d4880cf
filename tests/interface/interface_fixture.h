// Helpers for the reader-boundary tests: workbook texts built line by line,
// a reader prepared by hand with what a first pass would have left (so a
// sheet's setup and pump are tested on their own), and compact views of the
// items a sheet delivers.
#pragma once

#include <cstdint>
#include <initializer_list>
#include <ostream>
#include <string>
#include <string_view>
#include <tuple>
#include <vector>

// The test host names the host's opaque handles unqualified, so it must be
// read before the reader's records bring their own types of the same names
// into namespace wzss.
#include "support/test_host.h"

#include "core/records.h"

namespace wzss::test {

inline wzss::WorkbookReader* own(::WorkbookReader* reader) {
  return reinterpret_cast<wzss::WorkbookReader*>(reader);
}
inline wzss::SheetReader* own(::SheetReader* sheet) {
  return reinterpret_cast<wzss::SheetReader*>(sheet);
}

// Lines joined, each ended by a line feed.
inline std::string joinLines(std::initializer_list<std::string_view> lines) {
  std::string text;
  for (std::string_view line : lines) {
    text += line;
    text += '\n';
  }
  return text;
}

// Offset of the nth (from 0) occurrence of needle in text.
inline uint32_t offsetOf(const std::string& text, std::string_view needle, int nth = 0) {
  size_t at = text.find(needle);
  for (; nth > 0 && at != std::string::npos; --nth) at = text.find(needle, at + 1);
  return at == std::string::npos ? 0 : static_cast<uint32_t>(at);
}

// What a first pass would have found in the workbook.
struct Prologue {
  int32_t maxRow = 20;
  int32_t maxColumn = 10;
  uint32_t fontSize = 10;
  uint32_t sheetOption = 0;
  uint32_t readerFlags = 0;
  uint32_t sheetCount = 3;
  std::vector<int32_t> objectSheets;  // one object entry per value, of that sheet
};

// A reader over text whose tables are set by hand instead of by a first
// pass: the sheet's own code runs against exactly these values.
class PreparedReader {
 public:
  explicit PreparedReader(std::string text, const Prologue& prologue = {})
      : host(std::move(text)) {
    host.allocate(prologue.readerFlags);
    wzss::WorkbookReader* reader = this->reader();
    reader->maxRow = prologue.maxRow;
    reader->maxColumn = prologue.maxColumn;
    reader->defaultFont.size = prologue.fontSize;
    reader->defaultFont.pitchAndFamily = 18;
    reader->sheetOption = prologue.sheetOption;
    reader->rowListPos = offsetOf(host.stream.bytes(), "Row List ");
    reader->sheetStartSlots = prologue.sheetCount + 1;
    reader->sheetStarts = static_cast<uint32_t*>(
        hostCalloc(reader->services, reader->sheetStartSlots, sizeof(uint32_t)));
    if (!prologue.objectSheets.empty()) {
      const auto count = static_cast<uint32_t>(prologue.objectSheets.size());
      reader->objects = static_cast<ObjectEntry*>(
          hostCalloc(reader->services, count, sizeof(ObjectEntry)));
      for (uint32_t i = 0; i < count; ++i) reader->objects[i].sheet = prologue.objectSheets[i];
      reader->objectEntryCount = count;
    }
  }

  wzss::WorkbookReader* reader() { return own(host.reader); }
  wzss::SheetReader* sheet() { return own(host.sheet); }

  // Opens the sheet whose view section is the nth in the text.
  ::SheetReader* open(int nth = 0, uint32_t sheetFlags = 0) {
    return openAt(offsetOf(host.stream.bytes(), "View Start,", nth), sheetFlags);
  }
  ::SheetReader* openAt(uint32_t viewPos, uint32_t sheetFlags = 0) {
    host.sheet = WZInitSheet(host.reader, 0, viewPos, nullptr, sheetFlags);
    return host.sheet;
  }

  uint8_t rowFlag(int32_t row) { return sheet()->grid[row].flags[0]; }
  uint8_t columnFlag(int32_t column) { return sheet()->grid[0].flags[column]; }

  TestHost host;
};

// A row run (type 12) or column run (type 11) as the host sees it.
struct ItemRun {
  uint32_t itemType;
  uint32_t first;
  uint32_t last;
  uint32_t size;
  bool operator==(const ItemRun&) const = default;
};

inline std::ostream& operator<<(std::ostream& out, const ItemRun& run) {
  return out << "{type " << run.itemType << ", " << run.first << ".." << run.last << ", size "
             << run.size << "}";
}

inline ItemRun rowRun(uint32_t first, uint32_t last, uint32_t size) {
  return {WZSS_ITEM_ROW_RUN, first, last, size};
}
inline ItemRun columnRun(uint32_t first, uint32_t last, uint32_t size) {
  return {WZSS_ITEM_COLUMN_RUN, first, last, size};
}

// The runs among items, in order.
inline std::vector<ItemRun> runsOf(const std::vector<SheetItem>& items) {
  std::vector<ItemRun> runs;
  for (const SheetItem& item : items) {
    if (item.itemType == WZSS_ITEM_ROW_RUN || item.itemType == WZSS_ITEM_COLUMN_RUN) {
      runs.push_back({item.itemType, item.run.first, item.run.last, item.run.size});
    }
  }
  return runs;
}

inline std::vector<uint32_t> typesOf(const std::vector<SheetItem>& items) {
  std::vector<uint32_t> types;
  for (const SheetItem& item : items) types.push_back(item.itemType);
  return types;
}

}  // namespace wzss::test
