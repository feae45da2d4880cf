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

// A block laid out by hand, so the offsets below are counted, not computed:
//   0  "Graphic Obj Start: 1\n"        21 bytes
//   21 "Object Type: Chart\n"          19
//   40 "Object Plane: A\n"             16
//   56 "*BEGIN GRAPHICS VERSION=1\n"   26
//   82 "KD_LINE\n"                      8
//   90 "*END GRAPHICS\n"               14
//  104 "Graphic Obj End: 1\n"          19
constexpr const char* kCountedBlock =
    "Graphic Obj Start: 1\n"
    "Object Type: Chart\n"
    "Object Plane: A\n"
    "*BEGIN GRAPHICS VERSION=1\n"
    "KD_LINE\n"
    "*END GRAPHICS\n"
    "Graphic Obj End: 1\n";

TEST(ObjectIndex, DrawingPositionAndLengthOfACountedBlock) {
  ObjectWorkbook book(kCountedBlock);
  ASSERT_TRUE(book.index());
  const std::vector<ObjectEntry> entries = book.entries();
  ASSERT_EQ(entries.size(), 1u);
  EXPECT_EQ(entries[0].startPos, 0u);
  EXPECT_EQ(entries[0].sheet, 1);
  EXPECT_EQ(entries[0].drawingPos, 56u);
  EXPECT_EQ(entries[0].drawingLength, 48u);  // 90 - 56 + 14
  EXPECT_STREQ(entries[0].sizeText, "");     // indexing reads no property line
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

ObjectBlock block(const char* type, const char* plane) {
  ObjectBlock b;
  b.type = type;
  b.plane = plane;
  return b;
}

ObjectBlock withoutDrawing(ObjectBlock b) {
  b.drawing.clear();
  return b;
}

class IndexTable : public testing::TestWithParam<IndexCase> {};

TEST_P(IndexTable, EntriesFollowTheBlocks) {
  const IndexCase& c = GetParam();
  std::string text = std::string("SHEETS TABLE\n");
  for (const ObjectBlock& b : c.blocks) text += blockText(b);
  text += "View Start, Name: #A: ~A\n";
  ObjectWorkbook book(text);
  ASSERT_TRUE(book.index());
  const std::vector<ObjectEntry> entries = book.entries();
  ASSERT_EQ(entries.size(), c.entries.size());
  int drawings = 0;
  for (size_t i = 0; i < entries.size(); ++i) {
    SCOPED_TRACE(i);
    EXPECT_EQ(entries[i].sheet, c.entries[i].sheet);
    EXPECT_STREQ(entries[i].sizeText, "");
    if (!c.entries[i].hasDrawing) {
      EXPECT_EQ(entries[i].drawingPos, 0u);
      continue;
    }
    // The drawing of the i-th indexed entry is found by its own markers; the
    // blocks passed over carry drawings too, so count those in.
    while (offsetOf(text, "*BEGIN GRAPHICS VERSION", drawings) < entries[i].startPos) ++drawings;
    const uint32_t begin = offsetOf(text, "*BEGIN GRAPHICS VERSION", drawings);
    const uint32_t end = offsetOf(text, "*END GRAPHICS\n", drawings) + 14;
    EXPECT_EQ(entries[i].drawingPos, begin);
    EXPECT_EQ(entries[i].drawingLength, end - begin);
  }
  // Every entry starts on a "Graphic Obj Start: " line.
  for (const ObjectEntry& e : entries) {
    EXPECT_EQ(text.compare(e.startPos, 19, "Graphic Obj Start: "), 0) << e.startPos;
  }
}

INSTANTIATE_TEST_SUITE_P(
    ObjectIndex, IndexTable,
    testing::Values(
        IndexCase{"Chart", {block("Chart", "A")}, {{1, true}}},
        IndexCase{"GraphicsOnSheetB", {block("Graphics", "B")}, {{2, true}}},
        IndexCase{"TypeIgnoresCase", {block("cHART", "A"), block("graphics", "C")},
                  {{1, true}, {3, true}}},
        IndexCase{"TypeNeedsOnlyItsStart", {block("Charts and more", "A")}, {{1, true}}},
        IndexCase{"PicturePassedOver", {block("Picture", "A"), block("Chart", "B")}, {{2, true}}},
        IndexCase{"OtherTypesPassedOver",
                  {block("Text", "A"), block("Graphic", "A"), block("Chart", "A")},
                  {{1, true}}},
        IndexCase{"NoPlaneLineMeansSheet0", {block("Chart", "")}, {{0, true}}},
        IndexCase{"TwoLetterPlane", {block("Chart", "AB")}, {{28, true}}},
        IndexCase{"PlaneWithoutLettersIsMinus1", {block("Chart", "12")}, {{-1, true}}},
        IndexCase{"NoDrawing", {withoutDrawing(block("Chart", "A")), block("Graphics", "A")},
                  {{1, false}, {1, true}}},
        IndexCase{"ManyInFileOrder",
                  {block("Chart", "B"), block("Picture", "A"), block("Graphics", "A"),
                   block("Chart", "C")},
                  {{2, true}, {1, true}, {3, true}}}),
    [](const testing::TestParamInfo<IndexCase>& info) { return info.param.name; });

// Where wzInitObjects leaves the stream: right after the block's real end line.
struct ReadThroughCase {
  const char* name;
  const char* block;  // the lines after "Graphic Obj Start: "
  size_t entries;
};

class ReadThrough : public testing::TestWithParam<ReadThroughCase> {};

TEST_P(ReadThrough, StopsAfterTheBlocksOwnEndLine) {
  const ReadThroughCase& c = GetParam();
  const std::string text = std::string("Graphic Obj Start: 7\n") + c.block + "AFTER\n";
  ObjectWorkbook book(text);
  uint32_t pos = 0;
  char line[kLineSize];
  ASSERT_EQ(wzGetLine(book.stream.get(), line, kLineSize, &pos), 1);
  ASSERT_EQ(wzInitObjects(&book.reader, pos), 1);
  EXPECT_EQ(book.stream.position(), offsetOf(text, "AFTER\n"));
  EXPECT_EQ(book.reader.objectEntryCount, c.entries);
}

INSTANTIATE_TEST_SUITE_P(
    ObjectIndex, ReadThrough,
    testing::Values(
        ReadThroughCase{"PictureWithNestedParts",
                        "Object Type: Picture\nObject Plane: A\n*BEGIN GRAPHICS VERSION=1\n"
                        "*BEGIN LEGEND\nGraphic Obj End: inside\n*END LEGEND\n*END GRAPHICS\n"
                        "Graphic Obj End: 7\n",
                        0},
        ReadThroughCase{"EndLineInsideANestedPart",
                        "Object Type: Chart\nObject Plane: A\n*BEGIN GRAPHICS VERSION=1\n"
                        "*BEGIN LEGEND\nGraphic Obj End: inside\n*END LEGEND\n*END GRAPHICS\n"
                        "Graphic Obj End: 7\n",
                        1},
        ReadThroughCase{"EndLineInsideTheDrawing",
                        "Object Type: Chart\n*BEGIN GRAPHICS VERSION=1\nGraphic Obj End: x\n"
                        "*END GRAPHICS\nGraphic Obj End: 7\n",
                        1},
        ReadThroughCase{"KeywordsIgnoreCase",
                        "object type: chart\n*begin graphics version=1\ngraphic obj end: x\n"
                        "*end graphics\nGRAPHIC OBJ END: 7\n",
                        1},
        ReadThroughCase{"StrayEndDoesNotHideTheEndLine",
                        "Object Type: Chart\n*END LEGEND\n*END LEGEND\nGraphic Obj End: 7\n", 1},
        ReadThroughCase{"EmptyBlock", "Graphic Obj End: 7\n", 0},
        ReadThroughCase{"TypeLineNotFirst",
                        "Object Plane: A\nObject Type: Chart\nGraphic Obj End: 7\n", 0},
        ReadThroughCase{"PlaneLineMissingIsWalked",
                        "Object Type: Chart\n*BEGIN X\nGraphic Obj End: inner\n*END X\n"
                        "Graphic Obj End: 7\n",
                        1},
        ReadThroughCase{"EndRightAfterPlane",
                        "Object Type: Chart\nObject Plane: B\nGraphic Obj End: 7\n", 1}),
    [](const testing::TestParamInfo<ReadThroughCase>& info) { return info.param.name; });

TEST(ObjectIndex, NestedEndLineDoesNotCutTheDrawing) {
  const std::string text =
      "Graphic Obj Start: 1\nObject Type: Chart\nObject Plane: A\n"
      "*BEGIN GRAPHICS VERSION=1\n*BEGIN LEGEND\nGraphic Obj End: not yet\n*END LEGEND\n"
      "*END GRAPHICS\nGraphic Obj End: 1\n";
  ObjectWorkbook book(text);
  ASSERT_TRUE(book.index());
  ASSERT_EQ(book.reader.objectEntryCount, 1u);
  const ObjectEntry& e = book.reader.objects[0];
  EXPECT_EQ(e.drawingPos, offsetOf(text, "*BEGIN GRAPHICS"));
  EXPECT_EQ(e.drawingPos + e.drawingLength, offsetOf(text, "Graphic Obj End: 1"));
}

TEST(ObjectIndex, UnterminatedBlockEndsWithTheInput) {
  const std::string text =
      "Graphic Obj Start: 1\nObject Type: Graphics\nObject Plane: C\n*BEGIN GRAPHICS VERSION=1\n"
      "*BEGIN LEGEND\nGraphic Obj End: 1\n";
  ObjectWorkbook book(text);
  ASSERT_TRUE(book.index());
  ASSERT_EQ(book.reader.objectEntryCount, 1u);
  EXPECT_EQ(book.reader.objects[0].sheet, 3);
  EXPECT_EQ(book.reader.objects[0].drawingLength, 0u);
  EXPECT_EQ(book.stream.position(), text.size());
}

TEST(ObjectIndex, InputEndingAfterTheTypeLineStillCounts) {
  ObjectWorkbook book("Graphic Obj Start: 1\nObject Type: Chart\n");
  ASSERT_TRUE(book.index());
  ASSERT_EQ(book.reader.objectEntryCount, 1u);
  EXPECT_EQ(book.reader.objects[0].sheet, 0);
}

// Allocation n is the first entry's Alloc or the second entry's Realloc.
class IndexAllocationFailure : public testing::TestWithParam<uint64_t> {};

TEST_P(IndexAllocationFailure, FailsThePassAndKeepsEarlierEntries) {
  const uint64_t failing = GetParam();
  const std::string text = blockText(block("Chart", "A")) + blockText(block("Graphics", "B"));
  ObjectWorkbook book(text);
  book.services.failAllocation(failing);
  EXPECT_FALSE(book.index());
  EXPECT_EQ(book.reader.objectEntryCount, failing - 1);
  if (failing == 2) {
    ASSERT_NE(book.reader.objects, nullptr);
    EXPECT_EQ(book.reader.objects[0].sheet, 1);
  } else {
    EXPECT_EQ(book.reader.objects, nullptr);
  }
  // The destructor checks that the array left behind is the only block.
}

INSTANTIATE_TEST_SUITE_P(ObjectIndex, IndexAllocationFailure, testing::Values(1u, 2u));

TEST(ObjectIndex, GrowsOneEntryAtATime) {
  std::string text;
  for (int i = 0; i < 5; ++i) text += blockText(block("Chart", "A"));
  ObjectWorkbook book(text);
  ASSERT_TRUE(book.index());
  EXPECT_EQ(book.reader.objectEntryCount, 5u);
  EXPECT_EQ(book.services.stats().allocations, 5u);  // one Alloc, then four Reallocs
  EXPECT_EQ(book.services.stats().liveBytes, 5 * sizeof(ObjectEntry));
}

}  // namespace
}  // namespace wzss::test
