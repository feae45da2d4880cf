// Object items: the corners and their offsets, the attributes with the frame
// and the content they decide, the item and descriptor records, which
// objects a sheet gets, the size text, and failures.
#include <gtest/gtest.h>

#include <array>
#include <clocale>
#include <cstring>
#include <ostream>
#include <string>
#include <vector>

#include "object_workbook.h"
#include "objects/objects.h"

namespace wzss::test {
namespace {

// --- Corners ---------------------------------------------------------------

struct Anchor {
  uint32_t column, row;
  int32_t x, y;
  bool operator==(const Anchor&) const = default;
};

std::ostream& operator<<(std::ostream& out, const Anchor& a) {
  return out << a.column << ":" << a.row << " +" << a.x << "," << a.y;
}

struct CornerCase {
  const char* name;
  uint32_t fontSize;
  const char* corner;  // the text after "Top corner " and after "Bot corner "
  Anchor expected;
};

// Both corner lines carry the same text, so both must read the same.
const CornerCase kCorners[] = {
    {"HalfAndQuarterAtSize10", 10, "A!B2 x = 0.5 y = 0.25", {2, 2, 720, 64}},
    {"Size12", 12, "A!B2 x = 0.5 y = 0.5", {2, 2, 600, 128}},
    {"Size7DividesDown", 7, "A!B2 x = 1 y = 1", {2, 2, 2057, 256}},  // 14400 div 7
    {"Size0CountsAs10", 0, "A!B2 x = 0.5 y = 0.25", {2, 2, 720, 64}},
    {"SizeAbove1200CountsAs10", 1201, "A!B2 x = 0.5 y = 0.25", {2, 2, 720, 64}},
    {"TruncatedPositive", 10, "A!B2 x = 0.0009 y = 0.999", {2, 2, 1, 255}},
    {"TruncatedNegative", 10, "A!B2 x = -0.0009 y = -0.999", {2, 2, -1, -255}},
    {"OtherWordsAndSigns", 10, "A!B2 dx : 2 dy ; 3", {2, 2, 2880, 768}},
    {"NoBlanksAroundTheSign", 10, "A!B2 x =0.5 y =0.25", {2, 2, 720, 64}},
    {"OffsetsMissing", 10, "A!B2", {2, 2, 0, 0}},
    {"SecondOffsetMissing", 10, "A!B2 x = 0.5", {2, 2, 720, 0}},
    {"NumberMissingStopsTheScan", 10, "A!B2 x = ? y = 0.25", {2, 2, 0, 0}},
    {"HugeSaturates", 10, "A!B2 x = 1e30 y = -1e30", {2, 2, INT32_MAX, INT32_MIN}},
    {"BeyondFloatSaturates", 10, "A!B2 x = 1e300 y = -1e300", {2, 2, INT32_MAX, INT32_MIN}},
    {"NanCountsAs0", 10, "A!B2 x = nan y = nan", {2, 2, 0, 0}},
    {"TwoLetterColumn", 10, "B!AB300 x = 1 y = 1", {28, 300, 1440, 256}},
    {"AnySeparatorByte", 10, "A:C3 x = 0.25 y = 0", {3, 3, 360, 0}},
    {"NoCornerLineLeaves0", 10, "", {0, 0, 0, 0}},
    // Rows as the token reader gives them: -1 at the end of the text, 0
    // where no digit stands.
    {"RowAtTheEnd", 10, "A!C", {3, UINT32_MAX, 0, 0}},
    {"NoRowDigit", 10, "A!D x = 0.25 y = 1", {4, 0, 360, 256}},
};

struct LocaleRestorer {
  std::string saved = std::setlocale(LC_ALL, nullptr);
  ~LocaleRestorer() { std::setlocale(LC_ALL, saved.c_str()); }
};

TEST(ObjectItem, CornersScaleAndTruncateTheirOffsetsInAnyLocale) {
  const LocaleRestorer restorer;
  // A locale with a decimal comma must not change how "0.5" reads.
  for (const char* locale : {"C", "de_DE.UTF-8"}) {
    if (std::setlocale(LC_ALL, locale) == nullptr) continue;
    for (const CornerCase& c : kCorners) {
      SCOPED_TRACE(testing::Message() << c.name << " in " << locale);
      ObjectWorkbook book(blockText({.top = c.corner, .bottom = c.corner}), c.fontSize);
      ASSERT_EQ(book.deliverFirst(), 1);
      const SheetItemObject& o = book.item.object;
      EXPECT_EQ((Anchor{o.topColumn, o.topRow, o.topX, o.topY}), c.expected);
      EXPECT_EQ((Anchor{o.bottomColumn, o.bottomRow, o.bottomX, o.bottomY}), c.expected);
    }
  }
}

// --- Attributes: hidden, frame and content ------------------------------------

enum class Content { kNone, kEmbedded, kLinked, kLinkRefused };

struct AttrsCase {
  const char* name;
  const char* attrs;
  bool delivered;  // not hidden
  bool framed;
  Content content;
  const char* path = "";  // the opener refuses "missing.wmf"
  uint32_t sheetFlags = 0;
  bool drawing = true;
};

constexpr const char* kLink = "Hidden:0, Locked:0, Print:1, Link:1, NoBorder:0";

const AttrsCase kAttrs[] = {
    {"Visible", kShownAttrs, true, true, Content::kEmbedded},
    {"NoBorder", "Hidden:0, Locked:1, Print:0, Link:0, NoBorder:1", true, false,
     Content::kEmbedded},
    {"NoBorderAnyNonZero", "Hidden:0, Locked:0, Print:0, Link:0, NoBorder:-3", true, false,
     Content::kEmbedded},
    {"Hidden", kHiddenAttrs, false, false, Content::kNone},
    {"HiddenNeedsNothingMore", "Hidden:2", false, false, Content::kNone},
    {"Linked", "Hidden:0, Locked:0, Print:1, Link:1, NoBorder:1", true, false, Content::kLinked},
    {"BlanksBeforeNumbersSkipped", "Hidden: 0, Locked:  0, Print:\t1, Link: 1, NoBorder: 1", true,
     false, Content::kLinked},
    {"SignedNumbers", "Hidden:+0, Locked:0, Print:1, Link:-1, NoBorder:0", true, true,
     Content::kLinked},
    {"BlankInFormatMatchesNone", "Hidden:0,Locked:0,Print:1,Link:1,NoBorder:1", true, false,
     Content::kLinked},
    {"BlankInFormatMatchesMany", "Hidden:0,   Locked:0,\tPrint:1, Link:1,  NoBorder:1", true, false,
     Content::kLinked},
    // Matching stops at the first mismatch; what follows stays 0.
    {"LiteralIsCaseSensitive", "hidden:1, Locked:0, Print:1, Link:1, NoBorder:1", true, true,
     Content::kEmbedded},
    {"UnreadableLockedStopsTheScan", "Hidden:0, Locked:x, Print:1, Link:1, NoBorder:1", true, true,
     Content::kEmbedded},
    {"BlankBeforeCommaStopsTheScan", "Hidden:0 , Locked:0, Print:1, Link:1, NoBorder:1", true, true,
     Content::kEmbedded},
    {"NoBorderMissing", "Hidden:0, Locked:0, Print:1, Link:1", true, true, Content::kLinked},
    {"EmptyAttrs", " ", true, true, Content::kEmbedded},
    {"NoAttrsLine", "", true, true, Content::kEmbedded},
    // The path line's text goes to the host's opener as it stands.
    {"LinkedPath", kLink, true, true, Content::kLinked, "charts/sales.wmf"},
    {"LinkedFileTheHostCannotOpen", kLink, true, true, Content::kLinkRefused, "missing.wmf"},
    // No path line: the empty path; the sheet flag has no bearing on links.
    {"LinkWithoutPathIgnoresTheSheetFlag", kLink, true, true, Content::kLinked, "",
     WZSS_SHEET_NO_OBJECT_STREAMS},
    {"SheetFlagSuppressesTheStream", kShownAttrs, true, true, Content::kNone, "",
     WZSS_SHEET_NO_OBJECT_STREAMS},
    {"OtherFlagBitsDoNot", kShownAttrs, true, true, Content::kEmbedded, "", 2},
    {"NoDrawingNoStream", kShownAttrs, true, true, Content::kNone, "", 0, false},
};

TEST(ObjectItem, AttributesDecideHiddenFrameAndContent) {
  for (const AttrsCase& c : kAttrs) {
    SCOPED_TRACE(c.name);
    host::MemoryStream linkedFile("linked bytes");  // outlives the book, which looks at content
    ObjectWorkbook book(blockText(
        {.path = c.path, .attrs = c.attrs, .drawing = c.drawing ? ObjectBlock::kDrawing : ""}));
    std::vector<std::string> opened;
    book.services.setOpener([&](const std::string& path) -> StreamInterface* {
      opened.push_back(path);
      return path == "missing.wmf" ? nullptr : linkedFile.get();
    });
    ASSERT_TRUE(book.index());
    book.openSheet(1, c.sheetFlags);
    const uint64_t liveBefore = book.services.stats().liveBlocks;
    ASSERT_EQ(book.next(), c.delivered ? 1 : 0);
    EXPECT_EQ(book.sheet.state, kStateChoose);
    const bool linked = c.content == Content::kLinked || c.content == Content::kLinkRefused;
    EXPECT_EQ(opened, linked ? std::vector<std::string>{c.path} : std::vector<std::string>{});
    if (!c.delivered) continue;
    const SheetItemObject& o = book.item.object;
    const ObjectDescriptor& d = *o.descriptor;
    EXPECT_EQ(o.hasBorder, c.framed ? 1u : 0u);
    EXPECT_EQ(d.frameStyle, c.framed ? 3u : 0u);
    EXPECT_EQ(d.frameColor, c.framed ? 0u : 0xffffffu);
    const uint8_t style = c.framed ? 5 : 0;
    EXPECT_EQ((std::array{o.leftStyle, o.topStyle, o.rightStyle, o.bottomStyle}),
              (std::array<uint8_t, 4>{style, style, style, style}));
    EXPECT_EQ(o.leftColor | o.topColor | o.rightColor | o.bottomColor, 0u);
    switch (c.content) {
      case Content::kLinked: EXPECT_EQ(d.content, linkedFile.get()); break;
      case Content::kEmbedded:
        ASSERT_NE(d.content, nullptr);
        EXPECT_EQ(d.content->streamKind, 3u);
        break;
      default: EXPECT_EQ(d.content, nullptr);
    }
    // The descriptor, and the plug-in's stream when it made one.
    EXPECT_EQ(book.services.stats().liveBlocks - liveBefore,
              c.content == Content::kEmbedded ? 2u : 1u);
  }
}

// --- The records -----------------------------------------------------------------

// The delivered item's words past the type are all written; a call that
// finds no object clears them too but leaves the type as it was.
TEST(ObjectItem, FillsTheItemAndDescriptorAndNothingElse) {
  ObjectWorkbook book(blocksText({{}, {.plane = "B"}}));
  ASSERT_TRUE(book.index());
  book.openSheet(1);
  book.sheet.objectCount = 2;  // as if sheet setup had counted the second too
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

  std::memset(&book.item, 0xAA, sizeof(book.item));
  EXPECT_EQ(book.next(), 0);
  EXPECT_EQ(book.item.itemType, 0xAAAAAAAAu);
  EXPECT_EQ(book.item.object.objectKind, 0u);
  EXPECT_EQ(book.item.object.reserved160[3], 0u);
  EXPECT_EQ(book.sheet.state, kStateChoose);
}

// --- Which objects a sheet gets ------------------------------------------------

ObjectBlock hiddenAt(const char* plane, const char* topCell) {
  return objectAt(plane, topCell, kHiddenAttrs);
}

struct SheetCase {
  const char* name;
  std::vector<ObjectBlock> blocks;
  int32_t sheet;
  std::vector<uint32_t> calls;  // per call the item's top column, 0 for none
  int32_t emitted;              // objectsEmitted when the phase ends
};

TEST(ObjectItem, EachCallDeliversTheNextVisibleObjectOfTheSheet) {
  ObjectBlock picture = objectAt("A", "C1");
  picture.type = "Picture";
  const SheetCase cases[] = {
      {"OneSheet", {objectAt("A", "B1"), objectAt("A", "C1")}, 1, {2, 3}, 2},
      // A hidden entry counts as a call of its own; the last finds nothing.
      {"HiddenVisibleHidden",
       {hiddenAt("A", "B1"), objectAt("A", "C1"), hiddenAt("A", "D1")},
       1,
       {3, 0},
       4},
      {"AllHidden", {hiddenAt("A", "B1"), hiddenAt("A", "C1")}, 1, {0}, 3},
      {"LowerSheetsPassedOver",
       {objectAt("A", "B1"), objectAt("B", "C1"), objectAt("B", "D1")},
       2,
       {3, 4},
       2},
      // The file lists sheets in ascending order: a higher one ends the search.
      {"HigherSheetListedFirstHidesTheRest", {objectAt("B", "B1"), objectAt("A", "C1")}, 1, {0}, 1},
      {"HigherSheetListedFirstIsDelivered", {objectAt("B", "B1"), objectAt("A", "C1")}, 2, {2}, 1},
      {"OtherSheetAfterHidden", {hiddenAt("A", "B1"), objectAt("B", "C1")}, 1, {0}, 2},
      {"PicturesLeaveNoEntry", {objectAt("A", "B1"), picture, objectAt("A", "D1")}, 1, {2, 4}, 2},
  };
  for (const SheetCase& c : cases) {
    SCOPED_TRACE(c.name);
    ObjectWorkbook book(blocksText(c.blocks));
    ASSERT_TRUE(book.index());
    book.openSheet(c.sheet);
    EXPECT_EQ(book.deliverColumns(), c.calls);
    EXPECT_EQ(book.sheet.objectsEmitted, c.emitted);
  }
}

TEST(ObjectItem, SheetWithoutObjectArrayOwesEmptyCalls) {
  ObjectWorkbook book("no objects here\n");
  ASSERT_TRUE(book.index());
  book.openSheet(1);
  book.sheet.objectCount = 2;
  EXPECT_EQ(book.deliverColumns(), (std::vector<uint32_t>{0, 0}));
}

TEST(ObjectItem, ManyHiddenObjectsNeedNoDeepStack) {
  // One hidden block and one visible block; the index lists the hidden one
  // a hundred thousand times, far more than a call per hidden object could
  // nest on the stack.
  const std::string hidden = "Graphic Obj Start: 1\nObject Attrs: Hidden:1\nGraphic Obj End: 1\n";
  const std::string visible = "Graphic Obj Start: 2\nTop corner A!C1\nGraphic Obj End: 2\n";
  ObjectWorkbook book(hidden + visible);
  constexpr uint32_t kHidden = 100000;
  auto* entries = static_cast<ObjectEntry*>(book.services.get()->allocator.Alloc(
      &book.services.get()->allocator, (kHidden + 1) * sizeof(ObjectEntry)));
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
  EXPECT_EQ(book.sheet.state, kStateChoose);
}

// --- Size text -----------------------------------------------------------------

struct SizeTextCase {
  const char* name;
  std::vector<std::string> lines;
  std::string expected;
  std::string afterDrawing{};  // lines between the drawing and the end line
};

TEST(ObjectItem, SizeTextHoldsWidthAndHeightInTheOrderOfTheirLines) {
  const std::string k70 = std::string(70, '9');
  const std::vector<std::string> usual = ObjectBlock{}.sizeLines;
  const SizeTextCase cases[] = {
      {"WidthThenHeight", usual, "W4.00inH3.00in"},
      {"HeightThenWidth", {usual[1], usual[0]}, "H3.00inW4.00in"},
      {"KeywordsIgnoreCase", {"object source width : 2cm"}, "W2cm"},
      {"EmptyWidth", {"Object Source Width : "}, "W"},
      {"Neither", {}, ""},
      {"WidthTwice", {"Object Source Width : 1", "Object Source Width : 2"}, "W1W2"},
      {"LongWidthCutAt59", {"Object Source Width : " + k70}, "W" + std::string(58, '9')},
      {"HeightCutAfterLongWidth",
       {"Object Source Width : " + std::string(50, '1'), "Object Source Height : 2345678901"},
       "W" + std::string(50, '1') + "H2345678"},
      {"NoRoomForTheTag",
       {"Object Source Width : " + k70, "Object Source Height : 5"},
       "W" + std::string(58, '9')},
      // Reading stops at the drawing: neither this width nor the hidden flag counts.
      {"LinesAfterTheDrawingNotRead", usual, "W4.00inH3.00in",
       "Object Attrs: Hidden:1\nObject Source Width : 9in\n"},
  };
  for (const SizeTextCase& c : cases) {
    SCOPED_TRACE(c.name);
    ObjectWorkbook book(
        blockText({.sizeLines = c.lines, .drawing = ObjectBlock::kDrawing + c.afterDrawing}));
    ASSERT_TRUE(book.index());
    // Each delivery writes the text afresh instead of adding to the last.
    for (int delivery = 0; delivery < 2; ++delivery) {
      book.openSheet(1);
      ASSERT_EQ(book.next(), 1) << "delivery " << delivery;
      EXPECT_EQ(std::string(book.reader.objects[0].sizeText), c.expected)
          << "delivery " << delivery;
    }
  }
}

// --- Failures ------------------------------------------------------------------

struct FaultCase {
  const char* name;
  size_t blocks;                // of two visible objects at B1 and C1
  uint64_t allocation;          // the allocation refused, counted from the first call's
  bool seek;                    // the first call's Seek refused
  std::vector<uint32_t> calls;  // as for the sheet cases
  bool content;                 // of the last item delivered
};

TEST(ObjectItem, AFaultCostsTheCallAtMost) {
  const FaultCase cases[] = {
      // The entry is tried again by the next call, which then ends the phase.
      {"DescriptorAllocationRefused", 2, 1, false, {0, 2}, true},
      // The descriptor is the first allocation, the stream the second.
      {"StreamAllocationRefused", 1, 2, false, {2}, false},
      {"SeekRefused", 1, 0, true, {0}, false},
  };
  const std::vector<ObjectBlock> blocks = {objectAt("A", "B1"), objectAt("A", "C1")};
  for (const FaultCase& c : cases) {
    SCOPED_TRACE(c.name);
    ObjectWorkbook book(blocksText({blocks.begin(), blocks.begin() + c.blocks}));
    ASSERT_TRUE(book.index());
    book.openSheet(1);
    if (c.allocation != 0)
      book.services.failAllocation(book.services.stats().allocations + c.allocation);
    if (c.seek) book.stream.failSeek(book.stream.calls().seeks + 1);
    EXPECT_EQ(book.deliverColumns(), c.calls);
    if (c.calls.back() != 0) {
      EXPECT_EQ(book.item.object.descriptor->content != nullptr, c.content);
    }
  }
}

}  // namespace
}  // namespace wzss::test
