// Colour maps: entry line layouts, ink to RGB conversion, the entry limit,
// the end of the section and of the input, and the colour lookup.

#include <gtest/gtest.h>

#include <string>

#include "prologue_host.h"

namespace wzss::test {
namespace {

// Layouts: a word and seven numbers (inks are numbers 3 to 6), a word and
// six numbers (2 to 5), two words and six numbers (2 to 5 after them); each
// component is 255 - ink - black, never below 0, and keeps its low 8 bits
// when negative inks push it past 255. Missing inks count as 0; numbers are
// read as formatted decimal input.
TEST(ColorMapTest, LineGivesEntry) {
  struct Case {
    const char* line;
    uint8_t red, green, blue;
  } cases[] = {{"Red 1 0 0 255 255 0 0", 255, 0, 0},
               {"Black 0 0 0 0 0 255 0", 0, 0, 0},
               {"Mixed 9 9 10 20 30 40 99", 205, 195, 185},
               {"Blue 5 255 255 0 0 0", 0, 0, 255},
               {"Navy 6 255 255 0 128 0", 0, 0, 127},
               {"Light Gray 7 0 0 0 64 0", 191, 191, 191},
               {"Pale Yellow 7 0 0 60 0 0", 255, 255, 195},
               {"Dark 1 0 200 100 50 100 0", 0, 55, 105},
               {"Over 1 0 2000000000 2000000000 2000000000 2000000000 0", 0, 0, 0},
               {"Neg 1 0 -10 0 0 0 0", 9, 255, 255},
               {"Short 1", 255, 255, 255},
               {"Short 1 100 50", 155, 205, 255},
               {"", 255, 255, 255},
               {"Words only here", 255, 255, 255},
               {"Two words 5 10 20", 245, 235, 255},
               {"Plus 1 +10 +20 +30 0", 245, 235, 225},
               {"Tabs\t1\t10\t20\t30\t0", 245, 235, 225}};
  for (const Case& c : cases) {
    SCOPED_TRACE('"' + std::string(c.line) + '"');
    // The end line matches in any case and is consumed.
    PrologueHost host(joinLines({"COLORMAP", c.line, "end colormap", "after"}));
    ASSERT_EQ(host.section(wzColorMap), 1);
    ASSERT_EQ(host.reader->colorMapCount, 1u);
    const ColorMap& map = host.reader->colorMaps[0];
    ASSERT_EQ(map.entryCount, 1u);
    EXPECT_EQ(map.entries[0][0], c.red);
    EXPECT_EQ(map.entries[0][1], c.green);
    EXPECT_EQ(map.entries[0][2], c.blue);
    EXPECT_EQ(host.nextLine(), "after");
  }
}

TEST(ColorMapTest, ThreeHundredLinesStoreTheLimitAndDropOneLine) {
  std::string text = "COLORMAP\n";
  for (int i = 1; i <= 300; ++i)
    text += "Entry" + std::to_string(i) + " " + std::to_string(i) + " 0 0 0 " +
            std::to_string(i % 200) + " 0\n";
  PrologueHost host(text + "END COLORMAP\n");
  ASSERT_EQ(host.section(wzColorMap), 1);
  const ColorMap& map = host.reader->colorMaps[0];
  EXPECT_EQ(map.entryCount, 260u);
  EXPECT_EQ(map.entries[0][0], 254);    // black 1
  EXPECT_EQ(map.entries[259][0], 195);  // entry 260: black 60
  // Line 261 was read and dropped; the scanner goes on with line 262.
  EXPECT_EQ(host.nextLine().substr(0, 9), "Entry262 ");
}

TEST(ColorMapTest, EndOfInput) {
  struct Case {
    const char* text;
    uint32_t entries;
  } cases[] = {{"COLORMAP\n", 0},
               {"COLORMAP\nA 0 0 0 0 0 0", 0},  // a last line without line feed is no entry
               {"COLORMAP\nA 0 0 0 0 0 0\nB 0 0 0 0 0 0\n", 2}};
  for (const Case& c : cases) {
    SCOPED_TRACE(c.text);
    PrologueHost host(c.text);
    EXPECT_EQ(host.section(wzColorMap), 1);
    ASSERT_EQ(host.reader->colorMapCount, 1u);
    EXPECT_EQ(host.reader->colorMaps[0].entryCount, c.entries);
  }
}

TEST(ColorMapTest, MapsAppendInFileOrderAndLookupsUseTheFirst) {
  PrologueHost host(
      joinLines({"COLORMAP", "Red 0 0 255 255 0 0", "Mixed 9 9 10 20 30 40 99", "END COLORMAP",
                 "COLORMAP", "Blue 0 255 255 0 0 0", "END COLORMAP", "COLORMAP", "END COLORMAP"}));
  const WorkbookReader* reader = host.reader.get();
  EXPECT_EQ(wzColorValue(reader, 0), 0u) << "no colour map yet";
  for (int map = 0; map < 3; ++map) ASSERT_EQ(host.section(wzColorMap), 1);
  ASSERT_EQ(reader->colorMapCount, 3u);
  EXPECT_EQ(reader->colorMaps[0].entryCount, 2u);
  EXPECT_EQ(reader->colorMaps[1].entryCount, 1u);
  EXPECT_EQ(reader->colorMaps[2].entryCount, 0u);
  EXPECT_EQ(reader->colorMaps[1].entries[0][2], 255);
  struct Case {
    int32_t n;
    uint32_t value;
  } cases[] = {{0, 0x0000ff},  {1, 205u + 195u * 256u + 185u * 65536u},
               {2, 0},         {-1, 0},
               {259, 0},       {260, 0},
               {INT32_MAX, 0}, {INT32_MIN, 0}};
  for (const Case& c : cases) EXPECT_EQ(wzColorValue(reader, c.n), c.value) << c.n;
}

TEST(ColorMapTest, FailedAllocationKeepsTheMapsBuilt) {
  PrologueHost host(joinLines({"COLORMAP", "Red 0 0 255 255 0 0", "END COLORMAP", "COLORMAP",
                               "Blue 0 255 255 0 0 0", "END COLORMAP"}));
  host.services.failAllocation(1);
  EXPECT_EQ(host.section(wzColorMap), 0);
  EXPECT_EQ(host.reader->colorMapCount, 0u);
  EXPECT_EQ(host.reader->colorMaps, nullptr);

  // The first map, then a failing Realloc for the second.
  host.services.failAllocation(0);
  ASSERT_EQ(wzColorMap(host.reader.get()), 1);
  host.services.failAllocation(host.services.stats().allocations + 1);
  EXPECT_EQ(host.section(wzColorMap), 0);
  ASSERT_EQ(host.reader->colorMapCount, 1u);
  EXPECT_EQ(wzColorValue(host.reader.get(), 0), 0x0000ffu);
}

}  // namespace
}  // namespace wzss::test
