// The typeface table: names by slot, the symbol font rename, the default
// font's name, replacement by a second table, the slot limit and the end of
// the input.

#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "prologue_host.h"

namespace wzss::test {
namespace {

// A reader whose default font is named as the first pass presets it.
void presetTimes(WorkbookReader* reader) { std::strcpy(reader->defaultFont.name, "Times"); }

TEST(TypefaceTest, NamesFillSlotsAndTheFirstNamesTheDefaultFont) {
  PrologueHost host(
      joinLines({"TYPEFACE TABLE", "Courier", "Helvetica", "END TYPEFACE TABLE", "next"}));
  presetTimes(host.reader.get());
  host.skipLine();
  ASSERT_EQ(wzFont(host.reader.get()), 1);
  const WorkbookReader* reader = host.reader.get();
  EXPECT_EQ(reader->typefaceCount, 2u);
  EXPECT_STREQ(wzTypefaceName(reader, 0), "Courier");
  EXPECT_STREQ(wzTypefaceName(reader, 1), "Helvetica");
  EXPECT_STREQ(reader->defaultFont.name, "Courier");
  EXPECT_EQ(host.nextLine(), "next");
}

TEST(TypefaceTest, EmptyTableKeepsTheDefaultFont) {
  PrologueHost host(joinLines({"TYPEFACE TABLE", "end typeface table", "next"}));
  presetTimes(host.reader.get());
  host.skipLine();
  ASSERT_EQ(wzFont(host.reader.get()), 1);
  EXPECT_EQ(host.reader->typefaceCount, 0u);
  EXPECT_STREQ(host.reader->defaultFont.name, "Times");
  EXPECT_EQ(wzTypefaceName(host.reader.get(), 0), nullptr);
  EXPECT_EQ(host.nextLine(), "next");
}

TEST(TypefaceTest, SymbolFontIsRenamedOnlyForTheWholeLine) {
  struct Case {
    const char* line;
    const char* stored;
  } cases[] = {
      {"Pictofont", "WingDings"},   {"PICTOFONT", "WingDings"},
      {"pIcToFoNt", "WingDings"},   {"Pictofont ", "Pictofont "},
      {"Pictofonts", "Pictofonts"}, {" Pictofont", " Pictofont"},
      {"Picto", "Picto"},           {"Times New Roman", "Times New Roman"},
      {"  padded  ", "  padded  "}, {"", ""},
  };
  for (const Case& c : cases) {
    PrologueHost host(joinLines({"TYPEFACE TABLE", "First", c.line, "END TYPEFACE TABLE"}));
    host.skipLine();
    ASSERT_EQ(wzFont(host.reader.get()), 1) << c.line;
    ASSERT_EQ(host.reader->typefaceCount, 2u) << c.line;
    EXPECT_STREQ(wzTypefaceName(host.reader.get(), 1), c.stored) << '"' << c.line << '"';
  }
}

TEST(TypefaceTest, LineEndsAreRemovedAndCarriageReturnsWithThem) {
  PrologueHost host("TYPEFACE TABLE\r\nArial\r\nPictofont\r\nEND TYPEFACE TABLE\r\n");
  host.skipLine();
  ASSERT_EQ(wzFont(host.reader.get()), 1);
  EXPECT_STREQ(wzTypefaceName(host.reader.get(), 0), "Arial");
  EXPECT_STREQ(wzTypefaceName(host.reader.get(), 1), "WingDings");
}

TEST(TypefaceTest, SecondTableReplacesTheFirstFromSlotZero) {
  // Longer, then shorter, then empty: the names a table no longer covers are
  // freed (the host's teardown finds any that leaked).
  PrologueHost host(
      joinLines({"TYPEFACE TABLE", "A", "B", "C", "END TYPEFACE TABLE", "TYPEFACE TABLE", "X",
                 "END TYPEFACE TABLE", "TYPEFACE TABLE", "END TYPEFACE TABLE"}));
  WorkbookReader* reader = host.reader.get();
  host.skipLine();
  ASSERT_EQ(wzFont(reader), 1);
  EXPECT_EQ(reader->typefaceCount, 3u);
  EXPECT_EQ(host.services.stats().liveBlocks, 3u);

  host.skipLine();
  ASSERT_EQ(wzFont(reader), 1);
  EXPECT_EQ(reader->typefaceCount, 1u);
  EXPECT_STREQ(wzTypefaceName(reader, 0), "X");
  EXPECT_EQ(wzTypefaceName(reader, 1), nullptr);
  EXPECT_STREQ(reader->defaultFont.name, "X");
  EXPECT_EQ(host.services.stats().liveBlocks, 1u);

  host.skipLine();
  ASSERT_EQ(wzFont(reader), 1);
  EXPECT_EQ(reader->typefaceCount, 0u);
  EXPECT_STREQ(reader->defaultFont.name, "X");
  EXPECT_EQ(host.services.stats().liveBlocks, 0u);
}

TEST(TypefaceTest, NamesBeyondTheSlotsAreReadOverToTheEndLine) {
  std::string text = "TYPEFACE TABLE\n";
  for (int i = 0; i < 300; ++i) text += "Font" + std::to_string(i) + "\n";
  text += "END TYPEFACE TABLE\nnext\n";
  PrologueHost host(text);
  host.skipLine();
  ASSERT_EQ(wzFont(host.reader.get()), 1);
  EXPECT_EQ(host.reader->typefaceCount, 255u);
  EXPECT_STREQ(wzTypefaceName(host.reader.get(), 254), "Font254");
  EXPECT_EQ(wzTypefaceName(host.reader.get(), 255), nullptr);
  EXPECT_EQ(host.nextLine(), "next");
}

TEST(TypefaceTest, LongFirstNameIsCutForTheDefaultFont) {
  const std::string longName(150, 'n');
  PrologueHost host(joinLines({"TYPEFACE TABLE", longName, "END TYPEFACE TABLE"}));
  host.skipLine();
  ASSERT_EQ(wzFont(host.reader.get()), 1);
  EXPECT_EQ(std::string(wzTypefaceName(host.reader.get(), 0)), longName);
  EXPECT_EQ(std::string(host.reader->defaultFont.name), std::string(31, 'n'));
}

TEST(TypefaceTest, InputEndingInsideTheTable) {
  struct Case {
    const char* text;
    uint32_t count;
    const char* fontName;
  } cases[] = {
      // The first line is taken as read, even an empty one at the end.
      {"TYPEFACE TABLE\n", 1, ""},
      {"TYPEFACE TABLE\nCourier", 1, "Courier"},
      {"TYPEFACE TABLE\nCourier\n", 1, "Courier"},
      {"TYPEFACE TABLE\nCourier\nHelvetica\nEND TYPE", 2, "Courier"},
  };
  for (const Case& c : cases) {
    PrologueHost host(c.text);
    presetTimes(host.reader.get());
    host.skipLine();
    EXPECT_EQ(wzFont(host.reader.get()), 0) << c.text;
    EXPECT_EQ(host.reader->typefaceCount, c.count) << c.text;
    EXPECT_STREQ(host.reader->defaultFont.name, c.fontName) << c.text;
  }
}

TEST(TypefaceTest, FailedAllocationStopsAtOnce) {
  for (uint64_t failing = 1; failing <= 3; ++failing) {
    PrologueHost host(joinLines({"TYPEFACE TABLE", "A", "B", "C", "END TYPEFACE TABLE"}));
    presetTimes(host.reader.get());
    host.skipLine();
    host.services.failAllocation(failing);
    EXPECT_EQ(wzFont(host.reader.get()), 0) << failing;
    // Neither the count nor the default font's name is set.
    EXPECT_EQ(host.reader->typefaceCount, 0u) << failing;
    EXPECT_STREQ(host.reader->defaultFont.name, "Times") << failing;
    EXPECT_EQ(host.services.stats().liveBlocks, failing - 1) << failing;
  }
}

TEST(TypefaceTest, FailedAllocationInASecondTableKeepsEveryCountedName) {
  PrologueHost host(joinLines({"TYPEFACE TABLE", "A", "B", "C", "END TYPEFACE TABLE",
                               "TYPEFACE TABLE", "X", "Y", "END TYPEFACE TABLE"}));
  WorkbookReader* reader = host.reader.get();
  host.skipLine();
  ASSERT_EQ(wzFont(reader), 1);
  host.skipLine();
  host.services.failAllocation(host.services.stats().allocations + 2);
  EXPECT_EQ(wzFont(reader), 0);
  EXPECT_EQ(reader->typefaceCount, 3u);
  EXPECT_STREQ(wzTypefaceName(reader, 0), "X");
  EXPECT_STREQ(wzTypefaceName(reader, 1), "B");
  EXPECT_STREQ(wzTypefaceName(reader, 2), "C");
}

TEST(TypefaceTest, NameLookupBounds) {
  PrologueHost host(joinLines({"TYPEFACE TABLE", "A", "B", "END TYPEFACE TABLE"}));
  host.skipLine();
  ASSERT_EQ(wzFont(host.reader.get()), 1);
  for (int32_t n : {-1, 2, 254, 255, 1000, INT32_MAX, INT32_MIN})
    EXPECT_EQ(wzTypefaceName(host.reader.get(), n), nullptr) << n;
}

}  // namespace
}  // namespace wzss::test
