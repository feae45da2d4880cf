// The first pass's index of object blocks: which blocks make an entry, the
// sheet they belong to, where their drawing lies, and where reading stops.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "object_workbook.h"
#include "objects/objects.h"
#include "scan/scan.h"

namespace wzss::test {
namespace {

TEST(ObjectIndex, DrawingPositionAndLengthOfACountedBlock) {
  // Laid out by hand, so the offsets are counted, not computed.
  ObjectWorkbook book(
      "Graphic Obj Start: 1\n"       //  0, 21 bytes
      "Object Type: Chart\n"         // 21, 19
      "Object Plane: A\n"            // 40, 16
      "*BEGIN GRAPHICS VERSION=1\n"  // 56, 26
      "KD_LINE\n"                    // 82, 8
      "*END GRAPHICS\n"              // 90, 14
      "Graphic Obj End: 1\n");       // 104
  ASSERT_TRUE(book.index());
  const std::vector<ObjectEntry> entries = book.entries();
  ASSERT_EQ(entries.size(), 1u);
  EXPECT_EQ(entries[0].startPos, 0u);
  EXPECT_EQ(entries[0].sheet, 1);
  EXPECT_EQ(entries[0].drawingPos, 56u);
  EXPECT_EQ(entries[0].drawingLength, 48u);  // 90 - 56 + 14
  EXPECT_STREQ(entries[0].sizeText, "");     // indexing reads no property line
}

ObjectBlock block(const char* type, const char* plane, bool drawing = true) {
  return {.type = type, .plane = plane, .drawing = drawing ? ObjectBlock::kDrawing : ""};
}

struct Expected {
  int32_t sheet;
  bool hasDrawing;
};

struct IndexCase {
  const char* name;
  std::vector<ObjectBlock> blocks;
  std::vector<Expected> entries;  // in file order
};

TEST(ObjectIndex, EntriesFollowTheChartAndGraphicsBlocks) {
  const IndexCase cases[] = {
      {"Chart", {block("Chart", "A")}, {{1, true}}},
      {"GraphicsOnSheetB", {block("Graphics", "B")}, {{2, true}}},
      {"TypeIgnoresCase", {block("cHART", "A"), block("graphics", "C")}, {{1, true}, {3, true}}},
      {"TypeNeedsOnlyItsStart", {block("Charts and more", "A")}, {{1, true}}},
      {"PicturePassedOver", {block("Picture", "A"), block("Chart", "B")}, {{2, true}}},
      {"OtherTypesPassedOver",
       {block("Text", "A"), block("Graphic", "A"), block("Chart", "A")},
       {{1, true}}},
      {"NoPlaneLineMeansSheet0", {block("Chart", "")}, {{0, true}}},
      {"TwoLetterPlane", {block("Chart", "AB")}, {{28, true}}},
      {"PlaneWithoutLettersIsMinus1", {block("Chart", "12")}, {{-1, true}}},
      {"NoDrawing", {block("Chart", "A", false), block("Graphics", "A")}, {{1, false}, {1, true}}},
      {"ManyInFileOrder",
       {block("Chart", "B"), block("Picture", "A"), block("Graphics", "A"), block("Chart", "C")},
       {{2, true}, {1, true}, {3, true}}},
  };
  for (const IndexCase& c : cases) {
    SCOPED_TRACE(c.name);
    const std::string text = "SHEETS TABLE\n" + blocksText(c.blocks) + "View Start, Name: #A: ~A\n";
    ObjectWorkbook book(text);
    ASSERT_TRUE(book.index());
    const std::vector<ObjectEntry> entries = book.entries();
    ASSERT_EQ(entries.size(), c.entries.size());
    for (size_t i = 0; i < entries.size(); ++i) {
      SCOPED_TRACE(i);
      const ObjectEntry& e = entries[i];
      EXPECT_EQ(text.compare(e.startPos, 19, "Graphic Obj Start: "), 0) << e.startPos;
      EXPECT_EQ(e.sheet, c.entries[i].sheet);
      EXPECT_STREQ(e.sizeText, "");
      if (!c.entries[i].hasDrawing) {
        EXPECT_EQ(e.drawingPos, 0u);
        continue;
      }
      // The block's own drawing, not one of a block passed over.
      const size_t begin = text.find("*BEGIN GRAPHICS VERSION", e.startPos);
      EXPECT_EQ(e.drawingPos, begin);
      EXPECT_EQ(e.drawingLength, text.find("*END GRAPHICS\n", begin) + 14 - begin);
    }
  }
}

// Where wzInitObjects leaves the stream: right after the block's real end line.
struct ReadThroughCase {
  const char* name;
  const char* block;  // the lines after "Graphic Obj Start: "
  uint32_t entries;
  bool drawn;  // the entry's drawing ends right before the end line
};

TEST(ObjectIndex, ReadingStopsAfterTheBlocksOwnEndLine) {
  const ReadThroughCase cases[] = {
      {"PictureWithNestedParts",
       "Object Type: Picture\nObject Plane: A\n*BEGIN GRAPHICS VERSION=1\n"
       "*BEGIN LEGEND\nGraphic Obj End: inside\n*END LEGEND\n*END GRAPHICS\nGraphic Obj End: 7\n",
       0, false},
      {"EndLineInsideANestedPart",
       "Object Type: Chart\nObject Plane: A\n*BEGIN GRAPHICS VERSION=1\n"
       "*BEGIN LEGEND\nGraphic Obj End: inside\n*END LEGEND\n*END GRAPHICS\nGraphic Obj End: 7\n",
       1, true},
      {"EndLineInsideTheDrawing",
       "Object Type: Chart\n*BEGIN GRAPHICS VERSION=1\nGraphic Obj End: x\n"
       "*END GRAPHICS\nGraphic Obj End: 7\n",
       1, true},
      {"KeywordsIgnoreCase",
       "object type: chart\n*begin graphics version=1\ngraphic obj end: x\n"
       "*end graphics\nGRAPHIC OBJ END: 7\n",
       1, true},
      {"StrayEndDoesNotHideTheEndLine",
       "Object Type: Chart\n*END LEGEND\n*END LEGEND\nGraphic Obj End: 7\n", 1, false},
      {"EmptyBlock", "Graphic Obj End: 7\n", 0, false},
      {"TypeLineNotFirst", "Object Plane: A\nObject Type: Chart\nGraphic Obj End: 7\n", 0, false},
      {"PlaneLineMissingIsWalked",
       "Object Type: Chart\n*BEGIN X\nGraphic Obj End: inner\n*END X\nGraphic Obj End: 7\n", 1,
       false},
      {"EndRightAfterPlane", "Object Type: Chart\nObject Plane: B\nGraphic Obj End: 7\n", 1, false},
  };
  for (const ReadThroughCase& c : cases) {
    SCOPED_TRACE(c.name);
    const std::string text = std::string("Graphic Obj Start: 7\n") + c.block + "AFTER\n";
    ObjectWorkbook book(text);
    uint32_t pos = 0;
    char line[kLineSize];
    ASSERT_EQ(wzGetLine(book.stream.get(), line, kLineSize, &pos), 1);
    ASSERT_EQ(wzInitObjects(&book.reader, pos), 1);
    const size_t after = text.size() - 6;  // "AFTER\n"
    EXPECT_EQ(book.stream.position(), after);
    ASSERT_EQ(book.reader.objectEntryCount, c.entries);
    if (c.entries == 0) continue;
    const ObjectEntry& e = book.reader.objects[0];
    EXPECT_EQ(e.drawingLength != 0, c.drawn);
    const size_t endLine = text.rfind('\n', after - 2) + 1;
    if (c.drawn) {
      EXPECT_EQ(e.drawingPos + e.drawingLength, endLine);
    }
  }
}

TEST(ObjectIndex, UnterminatedBlockEndsWithTheInput) {
  const struct {
    std::string text;
    int32_t sheet;
  } cases[] = {
      {"Graphic Obj Start: 1\nObject Type: Graphics\nObject Plane: C\n"
       "*BEGIN GRAPHICS VERSION=1\n*BEGIN LEGEND\nGraphic Obj End: 1\n",
       3},
      {"Graphic Obj Start: 1\nObject Type: Chart\n", 0},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.text);
    ObjectWorkbook book(c.text);
    ASSERT_TRUE(book.index());
    ASSERT_EQ(book.reader.objectEntryCount, 1u);
    EXPECT_EQ(book.reader.objects[0].sheet, c.sheet);
    EXPECT_EQ(book.reader.objects[0].drawingLength, 0u);
    EXPECT_EQ(book.stream.position(), c.text.size());
  }
}

TEST(ObjectIndex, GrowsOneEntryAtATime) {
  ObjectWorkbook book(blocksText(std::vector<ObjectBlock>(5)));
  ASSERT_TRUE(book.index());
  EXPECT_EQ(book.reader.objectEntryCount, 5u);
  EXPECT_EQ(book.services.stats().allocations, 5u);  // one Alloc, then four Reallocs
  EXPECT_EQ(book.services.stats().liveBytes, 5 * sizeof(ObjectEntry));
}

// Allocation 1 is the first entry's Alloc, 2 the second entry's Realloc.
TEST(ObjectIndex, AllocationFailureFailsThePassAndKeepsEarlierEntries) {
  for (uint64_t failing : {1u, 2u}) {
    SCOPED_TRACE(failing);
    ObjectWorkbook book(blocksText({block("Chart", "A"), block("Graphics", "B")}));
    book.services.failAllocation(failing);
    EXPECT_FALSE(book.index());
    EXPECT_EQ(book.reader.objectEntryCount, failing - 1);
    if (failing == 1) {
      EXPECT_EQ(book.reader.objects, nullptr);
    } else {
      ASSERT_NE(book.reader.objects, nullptr);
      EXPECT_EQ(book.reader.objects[0].sheet, 1);
    }
    // The destructor checks that the array left behind is the only block.
  }
}

}  // namespace
}  // namespace wzss::test
