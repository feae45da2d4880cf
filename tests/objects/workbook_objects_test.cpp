// Objects through the whole reader: indexed by the first pass, delivered by
// the pump between the hidden runs and the cells, and read by the host
// through their streams. The reader flag that suppresses object items is the
// pump's and checked with it; allocation faults over whole walks are swept
// by the reliability suite.
#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "object_workbook.h"
#include "support/test_host.h"

namespace wzss::test {
namespace {

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

// What the host must do with delivered objects: Release the plug-in's
// stream, Free the descriptor.
void releaseObjects(TestHost* host, const std::vector<SheetItem>& items) {
  for (const SheetItem& item : items) {
    if (item.itemType != WZSS_ITEM_OBJECT) continue;
    StreamInterface* content = item.object.descriptor->content;
    if (content != nullptr && content->streamKind == 3) content->Release(content);
    host->services.free(item.object.descriptor);
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
  EXPECT_EQ(host->scan(), 1);
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
      {"FirstSheet", {objectAt("A", "B2"), objectAt("B", "C3")}, 0, {2}},
      {"SecondSheet", {objectAt("A", "B2"), objectAt("B", "C3"), objectAt("B", "D4")}, 1, {3, 4}},
      {"HiddenVisibleHidden",
       {objectAt("A", "B2", kHiddenAttrs), objectAt("A", "C2"), objectAt("A", "D2", kHiddenAttrs)},
       0,
       {3}},
      {"SecondSheetsListedFirst", {objectAt("B", "B2"), objectAt("A", "C2")}, 0, {}},
      {"SheetFlagLeavesThemWithoutStreams",
       {objectAt("A", "B2")},
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
    // Hosts often tidy up last: a stream released after its sheet and
    // reader are gone must not reach back into them (AddressSanitizer watches).
    host.closeReader();
    releaseObjects(&host, items);
  }
}

TEST(WorkbookObjects, SampleChartAndItsDrawing) {
  std::ifstream file(std::string(WZSS_SAMPLES_DIR) + "/budget.wzs", std::ios::binary);
  ASSERT_TRUE(file.good());
  std::stringstream contents;
  contents << file.rdbuf();
  const std::string text = contents.str();
  TestHost host(text);
  const std::vector<SheetItem> items = pumpSheet(&host, 1);
  const auto isObject = [](const SheetItem& item) { return item.itemType == WZSS_ITEM_OBJECT; };
  ASSERT_EQ(std::count_if(items.begin(), items.end(), isObject), 1);
  const SheetItemObject& o = std::find_if(items.begin(), items.end(), isObject)->object;
  EXPECT_EQ(o.topColumn, 5u);
  EXPECT_EQ(o.topRow, 2u);
  EXPECT_EQ(o.bottomColumn, 10u);
  EXPECT_EQ(o.bottomRow, 14u);
  EXPECT_EQ(o.topX, 720);
  EXPECT_EQ(o.topY, 64);
  EXPECT_EQ(o.hasBorder, 1u);
  StreamInterface* content = o.descriptor->content;
  ASSERT_NE(content, nullptr);
  // The drawing's bytes and no other: the "Graphic Obj End: " line inside
  // its legend did not cut it.
  const size_t begin = text.find("*BEGIN GRAPHICS VERSION");
  const size_t end = text.find("*END GRAPHICS\n") + 14;
  ASSERT_LT(text.find("*END LEGEND\n", begin), end);
  EXPECT_EQ(readAll(content), text.substr(begin, end - begin));
  EXPECT_EQ(content->streamLength, end - begin);
  // The host filters the drawing's lines; the page-size line becomes the size text.
  ASSERT_EQ(content->Open(content), 1);
  char line[WZSS_FILTER_LINE_MIN] = "KD_PAGESIZE 0 0 288 216";
  EXPECT_STREQ(content->FilterLine(content, line, 2), "W4.00inH3.00in");
  content->Close(content);
  releaseObjects(&host, items);
}

}  // namespace
}  // namespace wzss::test
