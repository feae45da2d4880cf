// The third field: shading patterns registered with the host, and border
// sides read into the sheet's border scratch.
#include <gtest/gtest.h>

#include <cstdint>
#include <iterator>
#include <string>

#include "cells/cells.h"
#include "cells/style_fixture.h"

namespace wzss {
namespace {

constexpr uint32_t kWhite = 0xFFFFFF;

struct FillCase {
  std::string text;
  uint32_t pattern;
  uint32_t shadePercent;
  uint32_t foreColor;
  uint32_t backColor;
};

void expectReported(const FillCase& c) {
  SCOPED_TRACE(c.text);
  test::StyleFixture fixture;
  test::FillRecorder host(&fixture.reader);
  EXPECT_EQ(wzGetFill(&host.sheet, c.text.c_str()), 7);
  ASSERT_EQ(host.fills.size(), 1u);
  EXPECT_EQ(host.fills[0].pattern, c.pattern);
  EXPECT_EQ(host.fills[0].shadePercent, c.shadePercent);
  EXPECT_EQ(host.fills[0].foreColor, c.foreColor);
  EXPECT_EQ(host.fills[0].backColor, c.backColor);
}

TEST(Fill, ReportedFills) {
  const FillCase cases[] = {
      {"(F2|B|SH1BG3)", 0, 0, 0, test::colorOf(3)},
      {"(F2||sh5fg2bg1)", 0, 60, test::colorOf(2), test::colorOf(1)},
      {"(F2||SH3FG5BG7L1FG2R1T1B1)", 0, 25, test::colorOf(5), test::colorOf(7)},
      // The B part may follow the pattern number directly.
      {"(F2||SH4BG6)", 0, 35, 0, test::colorOf(6)},
      // An F without G ends the fill: a later BG is not read.
      {"(F2||SH2FX1BG3)", 0, 15, 0, kWhite},
      // BG before FG is not the fill's order: only the BG is read.
      {"(F2||SH2BG3FG4)", 0, 15, 0, test::colorOf(3)},
      // Numbers without digits count as 0; one after blanks is read.
      {"(F2||SH8FG)", 0, 100, 0, kWhite},
      {"(F2||SH 9)", 2, 0, 0, kWhite},
      // A background number the text ends before is absent: white.
      {"(F2||SH8BG", 0, 100, 0, kWhite},
      // Colours without an entry are 0: here a black background.
      {"(F2||SH1BG12)", 0, 0, 0, 0},
      {"(F2||SH1BG99999999999)", 0, 0, 0, 0},
  };
  for (const FillCase& c : cases) expectReported(c);

  // Every shading number: {pattern, shade percent}.
  const uint32_t shading[][2] = {{0, 0},  {0, 0},  {0, 15},  {0, 25}, {0, 35}, {0, 60},
                                 {0, 75}, {0, 90}, {0, 100}, {2, 0},  {1, 0},  {5, 0},
                                 {4, 0},  {3, 0},  {6, 0},   {29, 0}, {26, 0}, {27, 0},
                                 {29, 0}, {23, 0}, {20, 0},  {21, 0}};
  for (size_t number = 0; number < std::size(shading); ++number) {
    expectReported({"(F2||SH" + std::to_string(number) + "BG4)", shading[number][0],
                    shading[number][1], 0, test::colorOf(4)});
  }
}

TEST(Fill, FieldsWithoutAFillNeverCallTheHost) {
  for (const char* text :
       {"(F2|B|SH1)", "(F2||SH0)", "(F2||SH1FG)", "(F2||SH1BG1)", "(F2||L1SH3)", "(F2||SH",
        "(F2||SH  ", "(F2||S3)", "(F2||)", "(F2|B|)", "(F2|SH3)", "(F2)", "", "(F2|| SH3)"}) {
    SCOPED_TRACE(text);
    test::StyleFixture fixture;
    test::FillRecorder host(&fixture.reader);
    EXPECT_EQ(wzGetFill(&host.sheet, text), 0);
    EXPECT_TRUE(host.fills.empty());
  }
  // Nor does a sheet without a callback report one.
  test::StyleFixture fixture;
  test::FillRecorder host(&fixture.reader);
  host.sheet.callback = nullptr;
  EXPECT_EQ(wzGetFill(&host.sheet, "(F2||SH8)"), 0);
}

TEST(Fill, HostResultIsPassedOnInItsLow32Bits) {
  const intptr_t results[][2] = {{0, 0},
                                 {-1, -1},
                                 {123456, 123456},
                                 {INT32_MIN, INT32_MIN},
                                 // With 64-bit results only the low half is kept.
                                 {static_cast<intptr_t>((int64_t{1} << 32) + 5), 5}};
  for (const auto& [result, expected] : results) {
    SCOPED_TRACE(result);
    test::StyleFixture fixture;
    test::FillRecorder host(&fixture.reader);
    host.result = result;
    EXPECT_EQ(wzGetFill(&host.sheet, "(F2||SH8)"), expected);
  }
}

// --- Borders -------------------------------------------------------------

struct BorderCase {
  const char* text;
  int result;
  uint8_t styles[4];  // left, right, top, bottom
  uint32_t colors[4];
};

TEST(Border, SidesStylesAndColours) {
  const uint32_t c2 = test::colorOf(2);
  const BorderCase cases[] = {
      {"(F2||L1R2T3B4)", 1, {5, 6, 7, 8}, {}},
      {"(F2||L4)", 1, {1, 0, 0, 0}, {}},
      {"(F2||R5)", 1, {0, 8, 0, 0}, {}},
      {"(F2||B0)", 1, {0, 0, 0, 8}, {}},
      {"(F2||L0)", 1, {}, {}},
      {"(F2||L1FG6)", 1, {5, 0, 0, 0}, {test::colorOf(6), 0, 0, 0}},
      {"(F2||LFG6)", 1, {}, {test::colorOf(6), 0, 0, 0}},
      {"(F2||l1r2t3b5fg4)", 1, {5, 6, 7, 8}, {0, 0, 0, test::colorOf(4)}},
      {"(F2|B|SH3FG5BG7L1FG2R1T1B1)", 1, {5, 5, 5, 8}, {c2, 0, 0, 0}},
      // Style numbers without a map entry draw no line; bottom is always 8.
      {"(F2||L6R9T-1B99)", 1, {0, 0, 0, 8}, {}},
      // Colours without an entry are 0, like a missing one.
      {"(F2||T3FG40)", 1, {0, 0, 7, 0}, {}},
      // The field ends at the ')': sides after it do not count.
      {"(F2||L1) R2", 1, {5, 0, 0, 0}, {}},
      // A later side overrides an earlier one.
      {"(F2||L1FG2L3)", 1, {7, 0, 0, 0}, {c2, 0, 0, 0}},
      // The result follows the last side number: a side letter at the very
      // end reads -1, even after a side with a number.
      {"(F2||L1R", 0, {5, 0, 0, 0}, {}},
      {"(F2||L1FG", 1, {5, 0, 0, 0}, {}},
      // Fields without sides.
      {"(F2||SH3BG7)", 0, {}, {}},
      {"(F2|B|)", 0, {}, {}},
      {"(F2|B)", 0, {}, {}},
      {"(F2)", 0, {}, {}},
      {"", 0, {}, {}},
      {"(F2||)", 0, {}, {}},
      {"(F2||SH8FG2", 0, {}, {}},
      {"(F2||bg3)", 0, {}, {}},
  };
  for (const BorderCase& c : cases) {
    SCOPED_TRACE(c.text);
    test::StyleFixture fixture;
    test::FillRecorder host(&fixture.reader);
    // Every call starts from a clear scratch, whatever the last one left.
    for (int side = 0; side < 4; ++side) {
      host.sheet.borderStyles[side] = 9;
      host.sheet.borderColors[side] = 9;
    }
    EXPECT_EQ(wzGetBorder(&host.sheet, c.text), c.result);
    for (int side = 0; side < 4; ++side) {
      EXPECT_EQ(host.sheet.borderStyles[side], c.styles[side]) << "side " << side;
      EXPECT_EQ(host.sheet.borderColors[side], c.colors[side]) << "side " << side;
    }
    EXPECT_TRUE(host.fills.empty());
  }
}

}  // namespace
}  // namespace wzss
