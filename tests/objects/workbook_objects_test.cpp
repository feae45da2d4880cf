// Objects through the whole reader: indexed by the first pass, delivered by
// the pump between the hidden runs and the cells, and read by the host
// through their streams.
#include <gtest/gtest.h>

#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "object_workbook.h"
#include "support/test_host.h"

namespace wzss::test {
namespace {

ObjectBlock chartAt(const char* plane, const char* topCell, bool hidden = false) {
  ObjectBlock b;
  b.plane = plane;
  b.top = std::string(plane) + "!" + topCell + " x = 0.5 y = 0.25";
  b.bottom = std::string(plane) + "!F9 x = 0 y = 1";
  if (hidden) b.attrs = "Hidden:1, Locked:0, Print:1, Link:0, NoBorder:0";
  return b;
}

// Two sheets, every row and column visible, one cell on each.
std::string workbook(const std::vector<ObjectBlock>& blocks) {
  std::string text = kHeader;
  for (const ObjectBlock& b : blocks) text += blockText(b);
  text +=
      "View Start, Name: #One: ~A\n"
      "View Rows Visible: rows:1:20\n"
      "View Columns Visible: cols:A:F\n"
      "View End,\n"
      "View Start, Name: #Two: ~B\n"
      "View Rows Visible: rows:1:20\n"
      "View Columns Visible: cols:A:F\n"
      "View End,\n"
      "Symbols Defaults 0 0 0 0 0 10 0 0 2 3\n"
      "Bottom right corner : F20\n"
      "Headers and Footers End\n"
      "(') A!A1: first\n"
      "(') B!A1: second\n";
  return text;
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

class WorkbookObjects : public testing::Test {
 protected:
  // Pumps sheet index of a scanned host, collecting every item.
  std::vector<SheetItem> pumpSheet(TestHost* host, uint32_t index, uint32_t sheetFlags = 0) {
    std::vector<SheetItem> items;
    EXPECT_NE(host->openSheet(index, sheetFlags), nullptr);
    if (host->sheet != nullptr) host->pumpAll(&items);
    return items;
  }
};

TEST_F(WorkbookObjects, DeliveredAfterTheHiddenRunsAndBeforeTheCells) {
  const std::string text = workbook({chartAt("A", "B2"), chartAt("B", "C3")});
  TestHost host(text);
  ASSERT_EQ(host.scan(), 1);
  const std::vector<SheetItem> items = pumpSheet(&host, 0);
  const std::vector<SheetItem> objects = objectItems(items);
  ASSERT_EQ(objects.size(), 1u);
  size_t objectAt = 0;
  while (objectAt < items.size() && items[objectAt].itemType != WZSS_ITEM_OBJECT) ++objectAt;
  for (size_t i = 0; i < items.size(); ++i) {
    if (i < objectAt) {
      EXPECT_NE(items[i].itemType, WZSS_ITEM_CELL) << i;
    } else if (i > objectAt) {
      EXPECT_EQ(items[i].itemType, WZSS_ITEM_CELL) << i;
    }
  }
  const SheetItemObject& o = objects[0].object;
  EXPECT_EQ(o.topColumn, 2u);
  EXPECT_EQ(o.topRow, 2u);
  EXPECT_EQ(o.bottomColumn, 6u);
  EXPECT_EQ(o.bottomRow, 9u);
  EXPECT_EQ(o.topX, 720);
  EXPECT_EQ(o.topY, 64);
  EXPECT_EQ(o.bottomY, 256);
  ASSERT_NE(o.descriptor, nullptr);
  ASSERT_NE(o.descriptor->content, nullptr);
  // The stream reads the first block's drawing, and no other bytes.
  const uint32_t begin = offsetOf(text, "*BEGIN GRAPHICS VERSION", 0);
  const uint32_t end = offsetOf(text, "*END GRAPHICS\n", 0) + 14;
  EXPECT_EQ(readAll(o.descriptor->content), text.substr(begin, end - begin));
  releaseObjects(&host, items);
}

// Hosts often tidy up last: a stream released after its sheet and reader
// are gone must not reach back into them (AddressSanitizer watches).
TEST_F(WorkbookObjects, StreamsMayBeReleasedAfterTheSheetAndReaderClose) {
  TestHost host(workbook({chartAt("A", "B2")}));
  ASSERT_EQ(host.scan(), 1);
  const std::vector<SheetItem> items = pumpSheet(&host, 0);
  ASSERT_EQ(objectItems(items).size(), 1u);
  ASSERT_NE(objectItems(items)[0].object.descriptor->content, nullptr);
  host.closeReader();
  releaseObjects(&host, items);
}

TEST_F(WorkbookObjects, EachSheetGetsItsOwn) {
  TestHost host(workbook({chartAt("A", "B2"), chartAt("B", "C3"), chartAt("B", "D4")}));
  ASSERT_EQ(host.scan(), 1);
  std::vector<SheetItem> first = pumpSheet(&host, 0);
  releaseObjects(&host, first);
  host.closeSheet();
  std::vector<SheetItem> second = pumpSheet(&host, 1);
  const std::vector<SheetItem> objects = objectItems(second);
  ASSERT_EQ(objects.size(), 2u);
  EXPECT_EQ(objects[0].object.topColumn, 3u);
  EXPECT_EQ(objects[1].object.topColumn, 4u);
  EXPECT_EQ(objectItems(first).size(), 1u);
  releaseObjects(&host, second);
}

TEST_F(WorkbookObjects, ReaderFlagSuppressesObjectItems) {
  TestHost host(workbook({chartAt("A", "B2")}));
  ASSERT_NE(host.allocate(WZSS_READER_NO_OBJECTS), nullptr);
  ASSERT_EQ(host.scan(), 1);
  const std::vector<SheetItem> items = pumpSheet(&host, 0);
  EXPECT_TRUE(objectItems(items).empty());
  EXPECT_FALSE(items.empty());
  EXPECT_EQ(items.back().itemType, WZSS_ITEM_CELL);
}

TEST_F(WorkbookObjects, HiddenVisibleHiddenGivesOneItemThenTheCells) {
  TestHost host(workbook({chartAt("A", "B2", true), chartAt("A", "C2"), chartAt("A", "D2", true)}));
  ASSERT_EQ(host.scan(), 1);
  const std::vector<SheetItem> items = pumpSheet(&host, 0);
  size_t objectAt = items.size();
  for (size_t i = 0; i < items.size(); ++i) {
    if (items[i].itemType == WZSS_ITEM_OBJECT && objectAt == items.size()) objectAt = i;
  }
  ASSERT_LT(objectAt + 1, items.size());
  EXPECT_EQ(objectItems(items).size(), 1u);
  EXPECT_EQ(items[objectAt].object.topColumn, 3u);
  EXPECT_EQ(items[objectAt + 1].itemType, WZSS_ITEM_CELL);
  releaseObjects(&host, items);
}

TEST_F(WorkbookObjects, ObjectsOfSheet2ListedFirstAreNotSheet1s) {
  TestHost host(workbook({chartAt("B", "B2"), chartAt("A", "C2")}));
  ASSERT_EQ(host.scan(), 1);
  const std::vector<SheetItem> items = pumpSheet(&host, 0);
  EXPECT_TRUE(objectItems(items).empty());
  ASSERT_FALSE(items.empty());
  EXPECT_EQ(items.back().itemType, WZSS_ITEM_CELL);  // the pump still reached the cells
}

TEST_F(WorkbookObjects, SheetFlagLeavesObjectsWithoutStreams) {
  TestHost host(workbook({chartAt("A", "B2")}));
  ASSERT_EQ(host.scan(), 1);
  const std::vector<SheetItem> items = pumpSheet(&host, 0, WZSS_SHEET_NO_OBJECT_STREAMS);
  const std::vector<SheetItem> objects = objectItems(items);
  ASSERT_EQ(objects.size(), 1u);
  EXPECT_EQ(objects[0].object.descriptor->content, nullptr);
  releaseObjects(&host, items);
}

TEST_F(WorkbookObjects, SampleChartAndItsDrawing) {
  std::ifstream file(std::string(WZSS_SAMPLES_DIR) + "/budget.wzs", std::ios::binary);
  ASSERT_TRUE(file.good());
  std::stringstream contents;
  contents << file.rdbuf();
  const std::string text = contents.str();
  TestHost host(text);
  ASSERT_EQ(host.scan(), 1);
  ASSERT_GE(host.info.sheetCount, 2u);
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

// Every allocation of a whole read fails once in turn: whatever fails, no
// block is left behind once the host has released what it was handed.
TEST_F(WorkbookObjects, AllocationFailureAnywhereLeaksNothing) {
  const std::string text = workbook({chartAt("A", "B2"), chartAt("A", "C2")});
  uint64_t allocations = 0;
  {
    TestHost clean(text);
    ASSERT_EQ(clean.scan(), 1);
    releaseObjects(&clean, pumpSheet(&clean, 0));
    allocations = clean.services.stats().allocations;
  }
  for (uint64_t n = 1; n <= allocations; ++n) {
    SCOPED_TRACE(n);
    TestHost host(text);
    host.services.failAllocation(n);
    if (host.scan() != 1) continue;
    if (host.openSheet(0) == nullptr) continue;
    std::vector<SheetItem> items;
    host.pumpAll(&items);
    EXPECT_LE(objectItems(items).size(), 2u);
    releaseObjects(&host, items);
  }
}

}  // namespace
}  // namespace wzss::test
