// Object items: the anchor and offsets, the frame, the descriptor, hidden
// objects, sheet order, the size text, linked content and failures.
#include <gtest/gtest.h>

#include <clocale>
#include <cstring>
#include <string>
#include <vector>

#include "object_workbook.h"
#include "objects/objects.h"

namespace wzss::test {
namespace {

ObjectBlock onSheet(const char* plane) {
  ObjectBlock b;
  b.plane = plane;
  return b;
}

ObjectBlock withAttrs(const char* attrs) {
  ObjectBlock b;
  b.attrs = attrs;
  return b;
}

// --- Offsets ---------------------------------------------------------------

struct OffsetCase {
  const char* name;
  uint32_t fontSize;
  const char* top;
  int32_t topX, topY;
};

class Offsets : public testing::TestWithParam<OffsetCase> {};

TEST_P(Offsets, ScaleAndTruncateTowardZero) {
  const OffsetCase& c = GetParam();
  ObjectBlock b;
  b.top = c.top;
  ObjectWorkbook book(blockText(b), c.fontSize);
  ASSERT_TRUE(book.index());
  book.openSheet(1);
  ASSERT_EQ(book.next(), 1);
  EXPECT_EQ(book.item.object.topX, c.topX);
  EXPECT_EQ(book.item.object.topY, c.topY);
}

INSTANTIATE_TEST_SUITE_P(
    ObjectItem, Offsets,
    testing::Values(
        OffsetCase{"HalfAndQuarterAtSize10", 10, "A!B2 x = 0.5 y = 0.25", 720, 64},
        OffsetCase{"Size12", 12, "A!B2 x = 0.5 y = 0.5", 600, 128},
        OffsetCase{"Size7DividesDown", 7, "A!B2 x = 1 y = 1", 2057, 256},  // 14400 div 7
        OffsetCase{"Size0CountsAs10", 0, "A!B2 x = 0.5 y = 0.25", 720, 64},
        OffsetCase{"SizeAbove1200CountsAs10", 1201, "A!B2 x = 0.5 y = 0.25", 720, 64},
        OffsetCase{"TruncatedPositive", 10, "A!B2 x = 0.0009 y = 0.999", 1, 255},
        OffsetCase{"TruncatedNegative", 10, "A!B2 x = -0.0009 y = -0.999", -1, -255},
        OffsetCase{"OtherWordsAndSigns", 10, "A!B2 dx : 2 dy ; 3", 2880, 768},
        OffsetCase{"NoBlanksAroundTheSign", 10, "A!B2 x =0.5 y =0.25", 720, 64},
        OffsetCase{"OffsetsMissing", 10, "A!B2", 0, 0},
        OffsetCase{"SecondOffsetMissing", 10, "A!B2 x = 0.5", 720, 0},
        OffsetCase{"NumberMissingStopsTheScan", 10, "A!B2 x = ? y = 0.25", 0, 0},
        OffsetCase{"HugeSaturates", 10, "A!B2 x = 1e30 y = -1e30", INT32_MAX, INT32_MIN},
        OffsetCase{"BeyondFloatSaturates", 10, "A!B2 x = 1e300 y = -1e300", INT32_MAX,
                   INT32_MIN},
        OffsetCase{"NanCountsAs0", 10, "A!B2 x = nan y = nan", 0, 0}),
    [](const testing::TestParamInfo<OffsetCase>& info) { return info.param.name; });

TEST(ObjectItem, OffsetsIgnoreTheProcessLocale) {
  // A locale with a decimal comma must not change how "0.5" reads.
  const char* previous = std::setlocale(LC_ALL, nullptr);
  const std::string saved = previous != nullptr ? previous : "C";
  if (std::setlocale(LC_ALL, "de_DE.UTF-8") == nullptr) GTEST_SKIP() << "no de_DE locale";
  ObjectWorkbook book(blockText(ObjectBlock{}));
  ASSERT_TRUE(book.index());
  book.openSheet(1);
  const int result = book.next();
  std::setlocale(LC_ALL, saved.c_str());
  ASSERT_EQ(result, 1);
  EXPECT_EQ(book.item.object.topX, 720);
  EXPECT_EQ(book.item.object.topY, 64);
}

// --- Anchors ---------------------------------------------------------------

struct AnchorCase {
  const char* name;
  const char* top;
  const char* bottom;
  uint32_t topColumn, topRow, bottomColumn, bottomRow;
  int32_t bottomX, bottomY;
};

class Anchors : public testing::TestWithParam<AnchorCase> {};

TEST_P(Anchors, ColumnsAndRowsOfTheCornerCells) {
  const AnchorCase& c = GetParam();
  ObjectBlock b;
  b.top = c.top;
  b.bottom = c.bottom;
  ObjectWorkbook book(blockText(b));
  ASSERT_TRUE(book.index());
  book.openSheet(1);
  ASSERT_EQ(book.next(), 1);
  const SheetItemObject& o = book.item.object;
  EXPECT_EQ(o.topColumn, c.topColumn);
  EXPECT_EQ(o.topRow, c.topRow);
  EXPECT_EQ(o.bottomColumn, c.bottomColumn);
  EXPECT_EQ(o.bottomRow, c.bottomRow);
  EXPECT_EQ(o.bottomX, c.bottomX);
  EXPECT_EQ(o.bottomY, c.bottomY);
}

INSTANTIATE_TEST_SUITE_P(
    ObjectItem, Anchors,
    testing::Values(
        AnchorCase{"Plain", "B!E2 x = 0.5 y = 0.25", "B!J14 x = 0.0 y = 0.5", 5, 2, 10, 14, 0, 128},
        AnchorCase{"TwoLetterColumns", "A!AA1 x = 0 y = 0", "A!AB300 x = 1 y = 1", 27, 1, 28, 300,
                   1440, 256},
        AnchorCase{"AnySeparatorByte", "A:C3 x = 0 y = 0", "A.D4 x = 0.25 y = 0", 3, 3, 4, 4, 360,
                   0},
        AnchorCase{"MissingCornerLinesStay0", "", "", 0, 0, 0, 0, 0, 0},
        // Rows as the token reader gives them: -1 at the end of the text,
        // 0 where no digit stands.
        AnchorCase{"NoRow", "A!C", "A!D x = 0.25 y = 1", 3, UINT32_MAX, 4, 0, 360, 256}),
    [](const testing::TestParamInfo<AnchorCase>& info) { return info.param.name; });

// --- Attributes and frame ------------------------------------------------------

struct AttrsCase {
  const char* name;
  const char* attrs;
  bool delivered;  // not hidden
  bool framed;
  bool linked;
};

class Attrs : public testing::TestWithParam<AttrsCase> {};

TEST_P(Attrs, HiddenLinkAndBorderAsFormattedInputReadsThem) {
  const AttrsCase& c = GetParam();
  ObjectBlock b = withAttrs(c.attrs);
  b.path = "linked.wmf";
  host::MemoryStream linkedFile("linked bytes");  // outlives the book, which looks at content
  ObjectWorkbook book(blockText(b));
  int opened = 0;
  book.services.setOpener([&](const std::string&) -> StreamInterface* {
    ++opened;
    return linkedFile.get();
  });
  ASSERT_TRUE(book.index());
  book.openSheet(1);
  ASSERT_EQ(book.next(), c.delivered ? 1 : 0);
  EXPECT_EQ(book.sheet.state, kStateChoose);
  if (!c.delivered) return;
  const SheetItemObject& o = book.item.object;
  const ObjectDescriptor& d = *o.descriptor;
  EXPECT_EQ(o.hasBorder, c.framed ? 1u : 0u);
  EXPECT_EQ(d.frameStyle, c.framed ? 3u : 0u);
  EXPECT_EQ(d.frameColor, c.framed ? 0u : 0xffffffu);
  const uint8_t style = c.framed ? 5 : 0;
  EXPECT_EQ(o.leftStyle, style);
  EXPECT_EQ(o.topStyle, style);
  EXPECT_EQ(o.rightStyle, style);
  EXPECT_EQ(o.bottomStyle, style);
  EXPECT_EQ(o.leftColor | o.topColor | o.rightColor | o.bottomColor, 0u);
  EXPECT_EQ(opened, c.linked ? 1 : 0);
  if (c.linked) {
    EXPECT_EQ(d.content, linkedFile.get());
  } else {
    ASSERT_NE(d.content, nullptr);
    EXPECT_EQ(d.content->streamKind, 3u);
  }
}

INSTANTIATE_TEST_SUITE_P(
    ObjectItem, Attrs,
    testing::Values(
        AttrsCase{"Visible", "Hidden:0, Locked:0, Print:1, Link:0, NoBorder:0", true, true, false},
        AttrsCase{"NoBorder", "Hidden:0, Locked:1, Print:0, Link:0, NoBorder:1", true, false,
                  false},
        AttrsCase{"NoBorderAnyNonZero", "Hidden:0, Locked:0, Print:0, Link:0, NoBorder:-3", true,
                  false, false},
        AttrsCase{"Hidden", "Hidden:1, Locked:0, Print:1, Link:0, NoBorder:0", false, false,
                  false},
        AttrsCase{"HiddenNeedsNothingMore", "Hidden:2", false, false, false},
        AttrsCase{"Linked", "Hidden:0, Locked:0, Print:1, Link:1, NoBorder:1", true, false, true},
        AttrsCase{"BlanksBeforeNumbersSkipped",
                  "Hidden: 0, Locked:  0, Print:\t1, Link: 1, NoBorder: 1", true, false, true},
        AttrsCase{"SignedNumbers", "Hidden:+0, Locked:0, Print:1, Link:-1, NoBorder:0", true, true,
                  true},
        AttrsCase{"BlankInFormatMatchesNone", "Hidden:0,Locked:0,Print:1,Link:1,NoBorder:1", true,
                  false, true},
        AttrsCase{"BlankInFormatMatchesMany", "Hidden:0,   Locked:0,\tPrint:1, Link:1,  NoBorder:1",
                  true, false, true},
        // Matching stops at the first mismatch; what follows stays 0.
        AttrsCase{"LiteralIsCaseSensitive", "hidden:1, Locked:0, Print:1, Link:1, NoBorder:1", true,
                  true, false},
        AttrsCase{"UnreadableLockedStopsTheScan", "Hidden:0, Locked:x, Print:1, Link:1, NoBorder:1",
                  true, true, false},
        AttrsCase{"BlankBeforeCommaStopsTheScan",
                  "Hidden:0 , Locked:0, Print:1, Link:1, NoBorder:1", true, true, false},
        AttrsCase{"NoBorderMissing", "Hidden:0, Locked:0, Print:1, Link:1", true, true, true},
        AttrsCase{"EmptyAttrs", " ", true, true, false},
        AttrsCase{"NoAttrsLine", "", true, true, false}),
    [](const testing::TestParamInfo<AttrsCase>& info) { return info.param.name; });

TEST(ObjectItem, FillsTheItemAndDescriptorAndNothingElse) {
  ObjectWorkbook book(blockText(ObjectBlock{}));
  ASSERT_TRUE(book.index());
  book.openSheet(1);
  std::memset(&book.item, 0xAA, sizeof(book.item));
  ASSERT_EQ(book.next(), 1);
  const SheetItem& item = book.item;
  EXPECT_EQ(item.itemType, 17u);
  EXPECT_EQ(item.reserved4, 0xAAAAAAAAu);  // never written
  EXPECT_EQ(item.object.objectKind, 21u);
  EXPECT_EQ(item.object.word156, 0u);
  for (uint32_t word : item.object.reserved48) EXPECT_EQ(word, 0u);
  for (uint32_t word : item.object.reserved96) EXPECT_EQ(word, 0u);
  for (uint32_t word : item.object.reserved160) EXPECT_EQ(word, 0u);
  const ObjectDescriptor& d = *item.object.descriptor;
  EXPECT_EQ(d.descriptorKind, 36u);
  EXPECT_EQ(d.descriptorPreset, 1u);
  EXPECT_EQ(d.reserved4[0] | d.reserved4[1] | d.reserved24[0] | d.reserved24[1], 0u);
  for (uint32_t word : d.reserved36) EXPECT_EQ(word, 0u);
  EXPECT_EQ(book.sheet.nextObject, 1);
  EXPECT_EQ(book.sheet.objectsEmitted, 1);
}

TEST(ObjectItem, CallWithoutObjectClearsTheItemButKeepsItsType) {
  ObjectWorkbook book(blockText(onSheet("B")));
  ASSERT_TRUE(book.index());
  book.openSheet(1);
  book.sheet.objectCount = 1;  // as if sheet setup had counted one
  std::memset(&book.item, 0xAA, sizeof(book.item));
  EXPECT_EQ(book.next(), 0);
  EXPECT_EQ(book.item.itemType, 0xAAAAAAAAu);
  EXPECT_EQ(book.item.object.objectKind, 0u);
  EXPECT_EQ(book.item.object.reserved160[3], 0u);
  EXPECT_EQ(book.sheet.state, kStateChoose);
}

// --- Which objects a sheet gets ------------------------------------------------

std::vector<uint32_t> columnsOf(const std::vector<SheetItem>& items) {
  std::vector<uint32_t> columns;
  for (const SheetItem& item : items) columns.push_back(item.object.topColumn);
  return columns;
}

ObjectBlock at(const char* plane, const char* topCell, bool hidden = false) {
  ObjectBlock b;
  b.plane = plane;
  b.top = std::string(plane) + "!" + topCell + " x = 0 y = 0";
  b.attrs = hidden ? "Hidden:1, Locked:0, Print:1, Link:0, NoBorder:0"
                   : "Hidden:0, Locked:0, Print:1, Link:0, NoBorder:0";
  return b;
}

ObjectBlock picture(ObjectBlock b) {
  b.type = "Picture";
  return b;
}

struct SheetCase {
  const char* name;
  std::vector<ObjectBlock> blocks;
  int32_t sheet;
  std::vector<uint32_t> columns;  // top columns of the items delivered, in order
  int32_t emitted;                // objectsEmitted when the phase ends
};

class SheetObjects : public testing::TestWithParam<SheetCase> {};

TEST_P(SheetObjects, DeliversTheVisibleObjectsOfTheSheet) {
  const SheetCase& c = GetParam();
  std::string text;
  for (const ObjectBlock& b : c.blocks) text += blockText(b);
  ObjectWorkbook book(text);
  ASSERT_TRUE(book.index());
  book.openSheet(c.sheet);
  EXPECT_EQ(columnsOf(book.deliverAll()), c.columns);
  EXPECT_EQ(book.sheet.objectsEmitted, c.emitted);
  EXPECT_EQ(book.sheet.state, kStateChoose);
}

INSTANTIATE_TEST_SUITE_P(
    ObjectItem, SheetObjects,
    testing::Values(
        SheetCase{"OneSheet", {at("A", "B1"), at("A", "C1")}, 1, {2, 3}, 2},
        SheetCase{"HiddenVisibleHidden",
                  {at("A", "B1", true), at("A", "C1"), at("A", "D1", true)}, 1, {3}, 4},
        SheetCase{"AllHidden", {at("A", "B1", true), at("A", "C1", true)}, 1, {}, 3},
        SheetCase{"LowerSheetsPassedOver", {at("A", "B1"), at("B", "C1"), at("B", "D1")}, 2,
                  {3, 4}, 2},
        SheetCase{"HigherSheetListedFirstHidesTheRest", {at("B", "B1"), at("A", "C1")}, 1, {}, 1},
        SheetCase{"HigherSheetListedFirstIsDelivered", {at("B", "B1"), at("A", "C1")}, 2, {2}, 1},
        SheetCase{"OtherSheetAfterHidden", {at("A", "B1", true), at("B", "C1")}, 1, {}, 2},
        SheetCase{"PicturesLeaveNoEntry",
                  {at("A", "B1"), picture(at("A", "C1")), at("A", "D1")},
                  1, {2, 4}, 2}),
    [](const testing::TestParamInfo<SheetCase>& info) { return info.param.name; });

TEST(ObjectItem, HiddenVisibleHiddenStepByStep) {
  const std::string text = blockText(at("A", "B1", true)) + blockText(at("A", "C1")) +
                           blockText(at("A", "D1", true));
  ObjectWorkbook book(text);
  ASSERT_TRUE(book.index());
  book.openSheet(1);
  ASSERT_EQ(book.sheet.objectCount, 3);
  ASSERT_EQ(book.next(), 1);
  EXPECT_EQ(book.item.object.topColumn, 3u);
  EXPECT_EQ(book.sheet.objectsEmitted, 2);  // the hidden one counted too
  EXPECT_EQ(book.sheet.nextObject, 2);
  EXPECT_EQ(book.sheet.state, kStateObjects);  // one object still owed
  // The next call examines the last, hidden entry and finds nothing after it.
  EXPECT_EQ(book.next(), 0);
  EXPECT_EQ(book.sheet.objectsEmitted, 4);
  EXPECT_EQ(book.sheet.nextObject, 3);
  EXPECT_EQ(book.sheet.state, kStateChoose);
}

TEST(ObjectItem, ManyHiddenObjectsNeedNoDeepStack) {
  // One hidden block and one visible block; the index lists the hidden one
  // a hundred thousand times, far more than a call per hidden object could
  // nest on the stack.
  const std::string hidden = "Graphic Obj Start: 1\nObject Attrs: Hidden:1\nGraphic Obj End: 1\n";
  const std::string visible = "Graphic Obj Start: 2\nTop corner A!C1\nGraphic Obj End: 2\n";
  ObjectWorkbook book(hidden + visible);
  constexpr uint32_t kHidden = 100000;
  auto* entries = static_cast<ObjectEntry*>(
      book.services.get()->allocator.Alloc(&book.services.get()->allocator,
                                           (kHidden + 1) * sizeof(ObjectEntry)));
  ASSERT_NE(entries, nullptr);
  for (uint32_t i = 0; i <= kHidden; ++i) {
    entries[i] = ObjectEntry{};
    entries[i].sheet = 1;
    entries[i].startPos = i < kHidden ? 0 : static_cast<uint32_t>(hidden.size());
  }
  book.reader.objects = entries;
  book.reader.objectEntryCount = kHidden + 1;
  book.openSheet(1);
  ASSERT_EQ(book.next(), 1);
  EXPECT_EQ(book.item.object.topColumn, 3u);
  EXPECT_EQ(book.sheet.objectsEmitted, static_cast<int32_t>(kHidden + 1));
  EXPECT_EQ(book.sheet.nextObject, static_cast<int32_t>(kHidden + 1));
  EXPECT_EQ(book.sheet.state, kStateChoose);
}

// --- Size text -----------------------------------------------------------------

struct SizeTextCase {
  const char* name;
  std::vector<std::string> lines;
  std::string expected;
};

class SizeText : public testing::TestWithParam<SizeTextCase> {};

TEST_P(SizeText, WidthAndHeightInTheOrderOfTheirLines) {
  const SizeTextCase& c = GetParam();
  ObjectBlock b;
  b.sizeLines = c.lines;
  ObjectWorkbook book(blockText(b));
  ASSERT_TRUE(book.index());
  book.openSheet(1);
  ASSERT_EQ(book.next(), 1);
  EXPECT_EQ(std::string(book.reader.objects[0].sizeText), c.expected);
}

const std::string k70 = std::string(70, '9');

INSTANTIATE_TEST_SUITE_P(
    ObjectItem, SizeText,
    testing::Values(
        SizeTextCase{"WidthThenHeight",
                     {"Object Source Width : 4.00in", "Object Source Height : 3.00in"},
                     "W4.00inH3.00in"},
        SizeTextCase{"HeightThenWidth",
                     {"Object Source Height : 3.00in", "Object Source Width : 4.00in"},
                     "H3.00inW4.00in"},
        SizeTextCase{"KeywordsIgnoreCase", {"object source width : 2cm"}, "W2cm"},
        SizeTextCase{"EmptyWidth", {"Object Source Width : "}, "W"},
        SizeTextCase{"Neither", {}, ""},
        SizeTextCase{"WidthTwice",
                     {"Object Source Width : 1", "Object Source Width : 2"},
                     "W1W2"},
        SizeTextCase{"LongWidthCutAt59", {"Object Source Width : " + k70},
                     "W" + std::string(58, '9')},
        SizeTextCase{"HeightCutAfterLongWidth",
                     {"Object Source Width : " + std::string(50, '1'),
                      "Object Source Height : 2345678901"},
                     "W" + std::string(50, '1') + "H2345678"},
        SizeTextCase{"NoRoomForTheTag",
                     {"Object Source Width : " + k70, "Object Source Height : 5"},
                     "W" + std::string(58, '9')}),
    [](const testing::TestParamInfo<SizeTextCase>& info) { return info.param.name; });

TEST(ObjectItem, SecondDeliveryGivesTheSameSizeText) {
  ObjectWorkbook book(blockText(ObjectBlock{}));
  ASSERT_TRUE(book.index());
  for (int delivery = 0; delivery < 2; ++delivery) {
    SCOPED_TRACE(delivery);
    book.openSheet(1);
    ASSERT_EQ(book.next(), 1);
    EXPECT_STREQ(book.reader.objects[0].sizeText, "W4.00inH3.00in");
  }
}

TEST(ObjectItem, PropertyLinesAfterTheDrawingAreNotRead) {
  ObjectBlock b;
  b.drawing += "Object Attrs: Hidden:1, Locked:0, Print:1, Link:0, NoBorder:1\n"
               "Object Source Width : 9in\n";
  ObjectWorkbook book(blockText(b));
  ASSERT_TRUE(book.index());
  book.openSheet(1);
  ASSERT_EQ(book.next(), 1);
  EXPECT_EQ(book.item.object.hasBorder, 1u);
  EXPECT_STREQ(book.reader.objects[0].sizeText, "W4.00inH3.00in");
}

// --- Content -------------------------------------------------------------------

TEST(ObjectItem, LinkedContentComesFromTheHostOpener) {
  ObjectBlock b = withAttrs("Hidden:0, Locked:0, Print:1, Link:1, NoBorder:0");
  b.path = "charts/sales.wmf";
  host::MemoryStream linkedFile("linked");  // outlives the book, which looks at content
  ObjectWorkbook book(blockText(b));
  std::vector<std::string> paths;
  book.services.setOpener([&](const std::string& path) -> StreamInterface* {
    paths.push_back(path);
    return linkedFile.get();
  });
  ASSERT_TRUE(book.index());
  book.openSheet(1);
  ASSERT_EQ(book.next(), 1);
  EXPECT_EQ(book.item.object.descriptor->content, linkedFile.get());
  EXPECT_EQ(paths, std::vector<std::string>{"charts/sales.wmf"});
}

TEST(ObjectItem, LinkedFileTheHostCannotOpenGivesNoContent) {
  ObjectBlock b = withAttrs("Hidden:0, Locked:0, Print:1, Link:1, NoBorder:0");
  b.path = "missing.wmf";
  ObjectWorkbook book(blockText(b));
  book.services.setOpener([](const std::string&) -> StreamInterface* { return nullptr; });
  ASSERT_TRUE(book.index());
  book.openSheet(1);
  ASSERT_EQ(book.next(), 1);
  EXPECT_EQ(book.item.object.descriptor->content, nullptr);
}

TEST(ObjectItem, LinkWithoutPathLineOpensTheEmptyPath) {
  ObjectBlock b = withAttrs("Hidden:0, Locked:0, Print:1, Link:1, NoBorder:0");
  ObjectWorkbook book(blockText(b));
  std::vector<std::string> paths;
  book.services.setOpener([&](const std::string& path) -> StreamInterface* {
    paths.push_back(path);
    return nullptr;
  });
  ASSERT_TRUE(book.index());
  book.openSheet(1, WZSS_SHEET_NO_OBJECT_STREAMS);  // no bearing on linked files
  ASSERT_EQ(book.next(), 1);
  EXPECT_EQ(paths, std::vector<std::string>{""});
}

struct ContentCase {
  const char* name;
  bool drawing;
  uint32_t sheetFlags;
  bool hasStream;
};

class EmbeddedContent : public testing::TestWithParam<ContentCase> {};

TEST_P(EmbeddedContent, StreamUnlessSuppressedOrWithoutDrawing) {
  const ContentCase& c = GetParam();
  ObjectBlock b;
  if (!c.drawing) b.drawing.clear();
  ObjectWorkbook book(blockText(b));
  ASSERT_TRUE(book.index());
  book.openSheet(1, c.sheetFlags);
  const uint64_t before = book.services.stats().liveBlocks;
  ASSERT_EQ(book.next(), 1);
  EXPECT_EQ(book.item.object.descriptor->content != nullptr, c.hasStream);
  // The descriptor, and the stream when there is one.
  EXPECT_EQ(book.services.stats().liveBlocks - before, c.hasStream ? 2u : 1u);
}

INSTANTIATE_TEST_SUITE_P(
    ObjectItem, EmbeddedContent,
    testing::Values(ContentCase{"Drawing", true, 0, true},
                    ContentCase{"SheetFlagSuppresses", true, WZSS_SHEET_NO_OBJECT_STREAMS, false},
                    ContentCase{"OtherFlagBitsDoNot", true, 2, true},
                    ContentCase{"NoDrawing", false, 0, false}),
    [](const testing::TestParamInfo<ContentCase>& info) { return info.param.name; });

// --- Failures ------------------------------------------------------------------

TEST(ObjectItem, DescriptorAllocationFailureYieldsNoItemThatCall) {
  ObjectWorkbook book(blockText(at("A", "B1")) + blockText(at("A", "C1")));
  ASSERT_TRUE(book.index());
  book.openSheet(1);
  book.services.failAllocation(book.services.stats().allocations + 1);
  EXPECT_EQ(book.next(), 0);
  EXPECT_EQ(book.sheet.objectsEmitted, 1);
  EXPECT_EQ(book.sheet.nextObject, 0);  // the entry is tried again by the next call
  EXPECT_EQ(book.sheet.state, kStateObjects);
  // The next call counts as the second: the phase ends after it.
  ASSERT_EQ(book.next(), 1);
  EXPECT_EQ(book.item.object.topColumn, 2u);
  EXPECT_EQ(book.sheet.state, kStateChoose);
}

TEST(ObjectItem, StreamAllocationFailureKeepsTheItemWithoutContent) {
  ObjectWorkbook book(blockText(ObjectBlock{}));
  ASSERT_TRUE(book.index());
  book.openSheet(1);
  // The descriptor is the next allocation, the stream the one after.
  book.services.failAllocation(book.services.stats().allocations + 2);
  ASSERT_EQ(book.next(), 1);
  EXPECT_EQ(book.item.object.descriptor->content, nullptr);
}

TEST(ObjectItem, RefusedSeekYieldsNoItemButCounts) {
  ObjectWorkbook book(blockText(ObjectBlock{}));
  ASSERT_TRUE(book.index());
  book.openSheet(1);
  book.stream.failSeek(book.stream.calls().seeks + 1);
  EXPECT_EQ(book.next(), 0);
  EXPECT_EQ(book.sheet.objectsEmitted, 1);
  EXPECT_EQ(book.sheet.state, kStateChoose);
}

TEST(ObjectItem, SheetWithoutObjectArrayHasNoObject) {
  ObjectWorkbook book("no objects here\n");
  ASSERT_TRUE(book.index());
  book.openSheet(1);
  book.sheet.objectCount = 2;
  EXPECT_EQ(book.next(), 0);
  EXPECT_EQ(book.sheet.state, kStateObjects);  // one more call is owed
  EXPECT_EQ(book.next(), 0);
  EXPECT_EQ(book.sheet.state, kStateChoose);
}

}  // namespace
}  // namespace wzss::test
