// Colour maps: entry line layouts, ink to RGB conversion, the entry limit,
// the end of the section and of the input, and the colour lookup.

#include <gtest/gtest.h>

#include <string>

#include "prologue_host.h"

namespace wzss::test {
namespace {

struct EntryCase {
  const char* line;
  uint8_t red, green, blue;
};

void PrintTo(const EntryCase& c, std::ostream* os) { *os << '"' << c.line << '"'; }

class ColorEntryTest : public ::testing::TestWithParam<EntryCase> {};

TEST_P(ColorEntryTest, LineGivesEntry) {
  const EntryCase& c = GetParam();
  PrologueHost host(joinLines({"COLORMAP", c.line, "END COLORMAP", "after"}));
  host.skipLine();
  ASSERT_EQ(wzColorMap(host.reader.get()), 1);
  ASSERT_EQ(host.reader->colorMapCount, 1u);
  const ColorMap& map = host.reader->colorMaps[0];
  ASSERT_EQ(map.entryCount, 1u);
  EXPECT_EQ(map.entries[0][0], c.red) << c.line;
  EXPECT_EQ(map.entries[0][1], c.green) << c.line;
  EXPECT_EQ(map.entries[0][2], c.blue) << c.line;
  EXPECT_EQ(host.nextLine(), "after") << "the end line is consumed";
}

INSTANTIATE_TEST_SUITE_P(
    Layouts, ColorEntryTest,
    ::testing::Values(
        // A word and seven numbers: the inks are numbers 3 to 6.
        EntryCase{"Red 1 0 0 255 255 0 0", 255, 0, 0}, EntryCase{"Black 0 0 0 0 0 255 0", 0, 0, 0},
        EntryCase{"Mixed 9 9 10 20 30 40 99", 205, 195, 185},
        // A word and six numbers: the inks are numbers 2 to 5.
        EntryCase{"Blue 5 255 255 0 0 0", 0, 0, 255},
        EntryCase{"Navy 6 255 255 0 128 0", 0, 0, 127},
        // Two words and six numbers: the inks are numbers 2 to 5 after them.
        EntryCase{"Light Gray 7 0 0 0 64 0", 191, 191, 191},
        EntryCase{"Pale Yellow 7 0 0 60 0 0", 255, 255, 195},
        // Black and an ink above full intensity give 0, never a negative byte.
        EntryCase{"Dark 1 0 200 100 50 100 0", 0, 55, 105},
        EntryCase{"Over 1 0 2000000000 2000000000 2000000000 2000000000 0", 0, 0, 0},
        // Negative inks push a component past 255: its low 8 bits are kept.
        EntryCase{"Neg 1 0 -10 0 0 0 0", 9, 255, 255},
        // Fewer numbers than a layout needs: the missing inks count as 0.
        EntryCase{"Short 1", 255, 255, 255}, EntryCase{"Short 1 100 50", 155, 205, 255},
        EntryCase{"", 255, 255, 255}, EntryCase{"Words only here", 255, 255, 255},
        EntryCase{"Two words 5 10 20", 245, 235, 255},
        // Numbers in other notations are read as formatted decimal input.
        EntryCase{"Plus 1 +10 +20 +30 0", 245, 235, 225},
        EntryCase{"Tabs\t1\t10\t20\t30\t0", 245, 235, 225}));

TEST(ColorMapTest, EndLineMatchesInAnyCase) {
  PrologueHost host(joinLines({"COLORMAP", "A 0 0 0 0 0 0", "end colormap", "B 0 1 1 1 1 0"}));
  host.skipLine();
  ASSERT_EQ(wzColorMap(host.reader.get()), 1);
  EXPECT_EQ(host.reader->colorMaps[0].entryCount, 1u);
  EXPECT_EQ(host.nextLine(), "B 0 1 1 1 1 0");
}

TEST(ColorMapTest, ThreeHundredLinesStoreTheLimitAndDropOneLine) {
  std::string text = "COLORMAP\n";
  for (int i = 1; i <= 300; ++i)
    text += "Entry" + std::to_string(i) + " " + std::to_string(i) + " 0 0 0 " +
            std::to_string(i % 200) + " 0\n";
  text += "END COLORMAP\n";
  PrologueHost host(text);
  host.skipLine();
  ASSERT_EQ(wzColorMap(host.reader.get()), 1);
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
  } cases[] = {
      {"COLORMAP\n", 0},
      {"COLORMAP\nA 0 0 0 0 0 0", 0},  // a last line without line feed is not an entry
      {"COLORMAP\nA 0 0 0 0 0 0\nB 0 0 0 0 0 0\n", 2},
  };
  for (const Case& c : cases) {
    PrologueHost host(c.text);
    host.skipLine();
    EXPECT_EQ(wzColorMap(host.reader.get()), 1) << c.text;
    ASSERT_EQ(host.reader->colorMapCount, 1u);
    EXPECT_EQ(host.reader->colorMaps[0].entryCount, c.entries) << c.text;
  }
}

TEST(ColorMapTest, MapsAppendInFileOrderAndLookupsUseTheFirst) {
  PrologueHost host(
      joinLines({"COLORMAP", "Red 0 0 255 255 0 0", "Green 1 255 0 255 0 0", "END COLORMAP",
                 "COLORMAP", "Blue 0 255 255 0 0 0", "END COLORMAP", "COLORMAP", "END COLORMAP"}));
  for (int map = 0; map < 3; ++map) {
    host.skipLine();
    ASSERT_EQ(wzColorMap(host.reader.get()), 1);
  }
  const WorkbookReader* reader = host.reader.get();
  ASSERT_EQ(reader->colorMapCount, 3u);
  EXPECT_EQ(reader->colorMaps[0].entryCount, 2u);
  EXPECT_EQ(reader->colorMaps[1].entryCount, 1u);
  EXPECT_EQ(reader->colorMaps[2].entryCount, 0u);
  EXPECT_EQ(reader->colorMaps[1].entries[0][2], 255);

  struct Case {
    int32_t n;
    uint32_t value;
  } cases[] = {{0, 0x0000ff}, {1, 0x00ff00}, {2, 0},         {-1, 0},
               {259, 0},      {260, 0},      {INT32_MAX, 0}, {INT32_MIN, 0}};
  for (const Case& c : cases) EXPECT_EQ(wzColorValue(reader, c.n), c.value) << c.n;
}

TEST(ColorMapTest, ColourValueComposesRedGreenBlue) {
  PrologueHost host(joinLines({"COLORMAP", "Mixed 9 9 10 20 30 40 99", "END COLORMAP"}));
  host.skipLine();
  ASSERT_EQ(wzColorMap(host.reader.get()), 1);
  EXPECT_EQ(wzColorValue(host.reader.get(), 0), 205u + 195u * 256u + 185u * 65536u);
}

TEST(ColorMapTest, NoColourMapGivesZero) {
  PrologueHost host("");
  EXPECT_EQ(wzColorValue(host.reader.get(), 0), 0u);
  EXPECT_EQ(wzColorValue(host.reader.get(), 5), 0u);
}

TEST(ColorMapTest, FailedAllocationKeepsTheMapsBuilt) {
  PrologueHost host(joinLines({"COLORMAP", "Red 0 0 255 255 0 0", "END COLORMAP", "COLORMAP",
                               "Blue 0 255 255 0 0 0", "END COLORMAP"}));
  host.skipLine();
  host.services.failAllocation(1);
  EXPECT_EQ(wzColorMap(host.reader.get()), 0);
  EXPECT_EQ(host.reader->colorMapCount, 0u);
  EXPECT_EQ(host.reader->colorMaps, nullptr);

  // The first map, then a failing Realloc for the second.
  host.services.failAllocation(0);
  ASSERT_EQ(wzColorMap(host.reader.get()), 1);
  host.skipLine();
  host.services.failAllocation(host.services.stats().allocations + 1);
  EXPECT_EQ(wzColorMap(host.reader.get()), 0);
  ASSERT_EQ(host.reader->colorMapCount, 1u);
  EXPECT_EQ(wzColorValue(host.reader.get(), 0), 0x0000ffu);
}

}  // namespace
}  // namespace wzss::test
