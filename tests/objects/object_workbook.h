// A workbook reader and one sheet assembled by hand over a workbook text, as
// the first pass and sheet setup leave them, so the object functions can be
// driven without the rest of the reader. Also builders for object blocks.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "wzss/host/memory_stream.h"
#include "wzss/host/services.h"
#include "interface/records.h"

namespace wzss::test {

inline constexpr const char* kShownAttrs = "Hidden:0, Locked:0, Print:1, Link:0, NoBorder:0";
inline constexpr const char* kHiddenAttrs = "Hidden:1, Locked:0, Print:1, Link:0, NoBorder:0";

// One "Graphic Obj Start: " ... "Graphic Obj End: " block. Empty fields
// leave their line out.
struct ObjectBlock {
  std::string type = "Chart";
  std::string plane = "A";
  std::string path{};
  std::string attrs = kShownAttrs;
  std::string top = "A!B2 x = 0.5 y = 0.25";
  std::string bottom = "A!E9 x = 0.0 y = 0.5";
  std::vector<std::string> sizeLines = {"Object Source Width : 4.00in",
                                        "Object Source Height : 3.00in"};
  std::string drawing = kDrawing;

  static constexpr const char* kDrawing =
      "*BEGIN GRAPHICS VERSION=120\n"
      "KD_PAGESIZE 0 0 288 216\n"
      "KD_LINE 10 10 100 80\n"
      "*END GRAPHICS\n";
};

std::string blockText(const ObjectBlock& block);
std::string blocksText(const std::vector<ObjectBlock>& blocks);
// The usual block on sheet plane, anchored at topCell without offsets.
ObjectBlock objectAt(const char* plane, const char* topCell, const char* attrs = kShownAttrs);

class ObjectWorkbook {
 public:
  explicit ObjectWorkbook(std::string text, uint32_t defaultFontSize = 10);
  ~ObjectWorkbook();
  ObjectWorkbook(const ObjectWorkbook&) = delete;
  ObjectWorkbook& operator=(const ObjectWorkbook&) = delete;

  // Reads the text as the first pass does, handing every "Graphic Obj Start: "
  // line to wzInitObjects. False as soon as one call returns 0.
  bool index();
  // Prepares sheet for sheet number `number`, counting its objects as sheet
  // setup does, with the pump in its object phase.
  SheetReader* openSheet(int32_t number, uint32_t sheetFlags = 0);

  // One wzDoObject call into item. What a delivered item hands over (the
  // descriptor, the plug-in's stream) is released by the destructor, as a
  // host must: the stream with its Release, the descriptor with Free.
  // Linked content stays the opener's.
  int next();
  // Indexes the text, opens sheet 1 and makes the first wzDoObject call;
  // -1 when indexing fails.
  int deliverFirst(uint32_t sheetFlags = 0);
  // Calls wzDoObject as the pump's object phase does, while the sheet owes
  // objects: per call the delivered item's top column, 0 for no item. The
  // phase must stay open exactly while objects are owed.
  std::vector<uint32_t> deliverColumns();

  std::vector<ObjectEntry> entries() const;

  host::Services services;
  host::MemoryStream stream;
  WorkbookReader reader{};
  SheetReader sheet{};
  SheetItem item{};

 private:
  std::vector<ObjectDescriptor*> delivered_;
};

}  // namespace wzss::test
