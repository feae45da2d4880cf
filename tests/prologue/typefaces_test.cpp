// The typeface table: names by slot, the symbol font rename, the default
// font's name, replacement by a second table, the slot limit and the end of
// the input.

#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

#include "prologue_host.h"

namespace wzss::test {
namespace {

// A host whose default font is named as the first pass presets it.
struct TypefaceHost : PrologueHost {
  explicit TypefaceHost(std::string text) : PrologueHost(std::move(text)) {
    std::strcpy(reader->defaultFont.name, "Times");
  }
  std::vector<std::string> names() const {
    std::vector<std::string> result;
    for (uint32_t i = 0; i < reader->typefaceCount; ++i)
      result.push_back(wzTypefaceName(reader.get(), i));
    return result;
  }
};

// The first name also names the default font (cut to its field); line ends
// go with their carriage returns; an empty table keeps the default font.
TEST(TypefaceTest, NamesFillSlotsAndTheFirstNamesTheDefaultFont) {
  const std::string longName(150, 'n');
  struct Case {
    const char* name;
    std::string text;
    std::vector<std::string> names;
    std::string defaultFont;
  } cases[] = {{"two names",
                joinLines({"TYPEFACE TABLE", "Courier", "Helvetica", "END TYPEFACE TABLE"}),
                {"Courier", "Helvetica"},
                "Courier"},
               {"empty", joinLines({"TYPEFACE TABLE", "end typeface table"}), {}, "Times"},
               {"CR LF",
                "TYPEFACE TABLE\r\nArial\r\nPictofont\r\nEND TYPEFACE TABLE\r\n",
                {"Arial", "WingDings"},
                "Arial"},
               {"long first name",
                joinLines({"TYPEFACE TABLE", longName, "END TYPEFACE TABLE"}),
                {longName},
                std::string(31, 'n')}};
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    TypefaceHost host(c.text + "next\n");
    ASSERT_EQ(host.section(wzFont), 1);
    EXPECT_EQ(host.names(), c.names);
    EXPECT_EQ(host.reader->defaultFont.name, c.defaultFont);
    EXPECT_EQ(host.nextLine(), "next");
    for (int32_t n : {-1, static_cast<int32_t>(c.names.size()), 254, 255, INT32_MAX, INT32_MIN})
      EXPECT_EQ(wzTypefaceName(host.reader.get(), n), nullptr) << n;
  }
}

TEST(TypefaceTest, SymbolFontIsRenamedOnlyForTheWholeLine) {
  struct Case {
    const char* line;
    const char* stored;
  } cases[] = {
      {"Pictofont", "WingDings"},   {"PICTOFONT", "WingDings"},   {"pIcToFoNt", "WingDings"},
      {"Pictofont ", "Pictofont "}, {"Pictofonts", "Pictofonts"}, {" Pictofont", " Pictofont"},
      {"Picto", "Picto"},           {"  padded  ", "  padded  "}, {"", ""}};
  for (const Case& c : cases) {
    SCOPED_TRACE('"' + std::string(c.line) + '"');
    PrologueHost host(joinLines({"TYPEFACE TABLE", "First", c.line, "END TYPEFACE TABLE"}));
    ASSERT_EQ(host.section(wzFont), 1);
    ASSERT_EQ(host.reader->typefaceCount, 2u);
    EXPECT_STREQ(wzTypefaceName(host.reader.get(), 1), c.stored);
  }
}

TEST(TypefaceTest, SecondTableReplacesTheFirstFromSlotZero) {
  // Longer, then shorter, then empty: the names a table no longer covers are
  // freed (the host's teardown finds any that leaked).
  TypefaceHost host(
      joinLines({"TYPEFACE TABLE", "A", "B", "C", "END TYPEFACE TABLE", "TYPEFACE TABLE", "X",
                 "END TYPEFACE TABLE", "TYPEFACE TABLE", "END TYPEFACE TABLE"}));
  ASSERT_EQ(host.section(wzFont), 1);
  EXPECT_EQ(host.services.stats().liveBlocks, 3u);
  ASSERT_EQ(host.section(wzFont), 1);
  EXPECT_EQ(host.names(), std::vector<std::string>{"X"});
  EXPECT_EQ(wzTypefaceName(host.reader.get(), 1), nullptr);
  EXPECT_STREQ(host.reader->defaultFont.name, "X");
  EXPECT_EQ(host.services.stats().liveBlocks, 1u);
  ASSERT_EQ(host.section(wzFont), 1);
  EXPECT_EQ(host.reader->typefaceCount, 0u);
  EXPECT_STREQ(host.reader->defaultFont.name, "X");
  EXPECT_EQ(host.services.stats().liveBlocks, 0u);
}

TEST(TypefaceTest, NamesBeyondTheSlotsAreReadOverToTheEndLine) {
  std::string text = "TYPEFACE TABLE\n";
  for (int i = 0; i < 300; ++i) text += "Font" + std::to_string(i) + "\n";
  PrologueHost host(text + "END TYPEFACE TABLE\nnext\n");
  ASSERT_EQ(host.section(wzFont), 1);
  EXPECT_EQ(host.reader->typefaceCount, 255u);
  EXPECT_STREQ(wzTypefaceName(host.reader.get(), 254), "Font254");
  EXPECT_EQ(host.nextLine(), "next");
}

TEST(TypefaceTest, InputEndingInsideTheTable) {
  struct Case {
    const char* text;
    std::vector<std::string> names;
  } cases[] = {// The first line is taken as read, even an empty one at the end.
               {"TYPEFACE TABLE\n", {""}},
               {"TYPEFACE TABLE\nCourier", {"Courier"}},
               {"TYPEFACE TABLE\nCourier\n", {"Courier"}},
               {"TYPEFACE TABLE\nCourier\nHelvetica\nEND TYPE", {"Courier", "Helvetica"}}};
  for (const Case& c : cases) {
    SCOPED_TRACE(c.text);
    TypefaceHost host(c.text);
    EXPECT_EQ(host.section(wzFont), 0);
    EXPECT_EQ(host.names(), c.names);
    EXPECT_EQ(host.reader->defaultFont.name, c.names.front());
  }
}

TEST(TypefaceTest, FailedAllocationStopsAtOnce) {
  for (uint64_t failing = 1; failing <= 3; ++failing) {
    SCOPED_TRACE(failing);
    TypefaceHost host(joinLines({"TYPEFACE TABLE", "A", "B", "C", "END TYPEFACE TABLE"}));
    host.services.failAllocation(failing);
    EXPECT_EQ(host.section(wzFont), 0);
    // Neither the count nor the default font's name is set.
    EXPECT_EQ(host.reader->typefaceCount, 0u);
    EXPECT_STREQ(host.reader->defaultFont.name, "Times");
    EXPECT_EQ(host.services.stats().liveBlocks, failing - 1);
  }
  // In a second table, every name counted by the first stays reachable.
  TypefaceHost host(joinLines({"TYPEFACE TABLE", "A", "B", "C", "END TYPEFACE TABLE",
                               "TYPEFACE TABLE", "X", "Y", "END TYPEFACE TABLE"}));
  ASSERT_EQ(host.section(wzFont), 1);
  host.services.failAllocation(host.services.stats().allocations + 2);
  EXPECT_EQ(host.section(wzFont), 0);
  EXPECT_EQ(host.names(), (std::vector<std::string>{"X", "B", "C"}));
}

}  // namespace
}  // namespace wzss::test
