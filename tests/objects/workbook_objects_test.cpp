// Objects through the whole reader: indexed by the first pass, delivered by
// the pump between the hidden runs and the cells, and read by the host
// through their streams. The reader flag that suppresses object items is the
// pump's and checked with it; allocation faults over whole walks are swept
// by the reliability suite.
#include <gtest/gtest.h>

#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "object_workbook.h"
#include "support/test_host.h"

namespace wzss::test {
namespace {

ObjectBlock chartAt(const char* plane, const char* topCell, const char* attrs = "") {
  return {.plane = plane,
          .attrs = *attrs != '\0' ? attrs : ObjectBlock{}.attrs,
          .top = std::string(plane) + "!" + topCell + " x = 0.5 y = 0.25",
          .bottom = std::string(plane) + "!F9 x = 0 y = 1"};
}

// Two sheets, every row and column visible, one cell on each.
std::string workbook(const std::vector<ObjectBlock>& blocks) {
  std::string text = kHeader + blocksText(blocks);
  for (const char* letter : {"A", "B"}) {
    text += std::string("View Start, Name: #") + letter + ": ~" + letter +
            "\nView Rows Visible: rows:1:20\nView Columns Visible: cols:A:F\nView End,\n";
  }
  return text +
         "Symbols Defaults 0 0 0 0 0 10 0 0 2 3\nBottom right corner : F20\n"
         "Headers and Footers End\n(') A!A1: first\n(') B!A1: second\n";
}

std::vector<SheetItem> objectItems(const std::vector<SheetItem>& items) {
  std::vector<SheetItem> objects;
  for (const SheetItem& item : items) {
    if (item.itemType == WZSS_ITEM_OBJECT) objects.push_back(item);
  }
  return objects;
}

// What the host must do with delivered objects: Release the plug-in's
// stream, Free the descriptor.
void releaseObjects(TestHost* host, const std::vector<SheetItem>& items) {
  for (const SheetItem& item : objectItems(items)) {
    ObjectDescriptor* descriptor = item.object.descriptor;
    if (descriptor == nullptr) continue;
    StreamInterface* content = descriptor->content;
    if (content != nullptr && content->streamKind == 3) content->Release(content);
    host->services.free(descriptor);
  }
}

std::string readAll(StreamInterface* content) {
  std::string bytes;
  if (content->Open(content) == 0) return bytes;
  char chunk[64];
  for (int n; (n = content->Read(content, chunk, sizeof(chunk))) > 0;) bytes.append(chunk, n);
  content->Close(content);
  return bytes;
}

// Scans host and pumps sheet index, collecting every item.
std::vector<SheetItem> pumpSheet(TestHost* host, uint32_t index, uint32_t sheetFlags = 0) {
  std::vector<SheetItem> items;
  EXPECT_EQ(host->reader != nullptr && host->info.sheets != nullptr ? 1 : host->scan(), 1);
  EXPECT_NE(host->openSheet(index, sheetFlags), nullptr);
  if (host->sheet != nullptr) host->pumpAll(&items);
  return items;
}

struct SheetCase {
  const char* name;
  std::vector<ObjectBlock> blocks;
  uint32_t sheet;                 // index from 0
  std::vector<uint32_t> columns;  // top columns of the object items, in order
  uint32_t sheetFlags = 0;
};

// The object phase comes between the hidden runs and the cells: no cell
// before an object, only cells after the last, and the cells are reached
// whatever the objects were.
TEST(WorkbookObjects, EachSheetGetsItsVisibleObjectsBeforeItsCells) {
  const SheetCase cases[] = {
      {"FirstSheet", {chartAt("A", "B2"), chartAt("B", "C3")}, 0, {2}},
      {"SecondSheet", {chartAt("A", "B2"), chartAt("B", "C3"), chartAt("B", "D4")}, 1, {3, 4}},
      {"HiddenVisibleHidden",
       {chartAt("A", "B2", kHiddenAttrs), chartAt("A", "C2"), chartAt("A", "D2", kHiddenAttrs)},
       0,
       {3}},
      {"SecondSheetsListedFirst", {chartAt("B", "B2"), chartAt("A", "C2")}, 0, {}},
      {"SheetFlagLeavesThemWithoutStreams",
       {chartAt("A", "B2")},
       0,
       {2},
       WZSS_SHEET_NO_OBJECT_STREAMS},
  };
  for (const SheetCase& c : cases) {
    SCOPED_TRACE(c.name);
    TestHost host(workbook(c.blocks));
    const std::vector<SheetItem> items = pumpSheet(&host, c.sheet, c.sheetFlags);
    ASSERT_FALSE(items.empty());
    std::vector<uint32_t> columns;
    size_t firstCell = items.size();
    for (size_t i = 0; i < items.size(); ++i) {
      if (items[i].itemType == WZSS_ITEM_CELL && firstCell == items.size()) firstCell = i;
      if (items[i].itemType != WZSS_ITEM_OBJECT) continue;
      EXPECT_LT(i, firstCell) << "object item " << i << " after a cell";
      columns.push_back(items[i].object.topColumn);
      EXPECT_EQ(items[i].object.descriptor->content != nullptr, c.sheetFlags == 0);
    }
    EXPECT_EQ(columns, c.columns);
    for (size_t i = firstCell; i < items.size(); ++i) EXPECT_EQ(items[i].itemType, WZSS_ITEM_CELL);
    EXPECT_LT(firstCell, items.size());
    releaseObjects(&host, items);
  }
}

TEST(WorkbookObjects, ItemFieldsAndAStreamOverTheBlocksOwnDrawing) {
  const std::string text = workbook({chartAt("A", "B2"), chartAt("B", "C3")});
  TestHost host(text);
  const std::vector<SheetItem> items = pumpSheet(&host, 0);
  const std::vector<SheetItem> objects = objectItems(items);
  ASSERT_EQ(objects.size(), 1u);
  const SheetItemObject& o = objects[0].object;
  EXPECT_EQ(o.topColumn, 2u);
  EXPECT_EQ(o.topRow, 2u);
  EXPECT_EQ(o.bottomColumn, 6u);
  EXPECT_EQ(o.bottomRow, 9u);
  EXPECT_EQ(o.topX, 720);
  EXPECT_EQ(o.topY, 64);
  EXPECT_EQ(o.bottomY, 256);
  ASSERT_NE(o.descriptor->content, nullptr);
  // The stream reads the first block's drawing, and no other bytes.
  const uint32_t begin = offsetOf(text, "*BEGIN GRAPHICS VERSION", 0);
  const uint32_t end = offsetOf(text, "*END GRAPHICS\n", 0) + 14;
  EXPECT_EQ(readAll(o.descriptor->content), text.substr(begin, end - begin));
  releaseObjects(&host, items);
}

// Hosts often tidy up last: a stream released after its sheet and reader
// are gone must not reach back into them (AddressSanitizer watches).
TEST(WorkbookObjects, StreamsMayBeReleasedAfterTheSheetAndReaderClose) {
  TestHost host(workbook({chartAt("A", "B2")}));
  const std::vector<SheetItem> items = pumpSheet(&host, 0);
  ASSERT_EQ(objectItems(items).size(), 1u);
  ASSERT_NE(objectItems(items)[0].object.descriptor->content, nullptr);
  host.closeReader();
  releaseObjects(&host, items);
}

TEST(WorkbookObjects, SampleChartAndItsDrawing) {
  std::ifstream file(std::string(WZSS_SAMPLES_DIR) + "/budget.wzs", std::ios::binary);
  ASSERT_TRUE(file.good());
  std::stringstream contents;
  contents << file.rdbuf();
  TestHost host(contents.str());
  const std::vector<SheetItem> items = pumpSheet(&host, 1);
  const std::vector<SheetItem> objects = objectItems(items);
  ASSERT_EQ(objects.size(), 1u);
  const SheetItemObject& o = objects[0].object;
  EXPECT_EQ(o.topColumn, 5u);
  EXPECT_EQ(o.topRow, 2u);
  EXPECT_EQ(o.bottomColumn, 10u);
  EXPECT_EQ(o.bottomRow, 14u);
  EXPECT_EQ(o.topX, 720);
  EXPECT_EQ(o.topY, 64);
  EXPECT_EQ(o.hasBorder, 1u);
  StreamInterface* content = o.descriptor->content;
  ASSERT_NE(content, nullptr);
  const std::string drawing = readAll(content);
  EXPECT_TRUE(drawing.starts_with("*BEGIN GRAPHICS VERSION"));
  EXPECT_TRUE(drawing.ends_with("*END GRAPHICS\n"));
  // The "Graphic Obj End: " line inside the legend did not cut the drawing.
  EXPECT_NE(drawing.find("*END LEGEND\n"), std::string::npos);
  EXPECT_EQ(content->streamLength, drawing.size());
  // The host filters the drawing's lines; the page-size line becomes the size text.
  ASSERT_EQ(content->Open(content), 1);
  char line[WZSS_FILTER_LINE_MIN] = "KD_PAGESIZE 0 0 288 216";
  EXPECT_STREQ(content->FilterLine(content, line, 2), "W4.00inH3.00in");
  content->Close(content);
  releaseObjects(&host, items);
}

}  // namespace
}  // namespace wzss::test
