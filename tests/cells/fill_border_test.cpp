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
  const char* text;
  uint32_t pattern;
  uint32_t shadePercent;
  uint32_t foreColor;
  uint32_t backColor;
};

void expectReported(const FillCase& c) {
  test::StyleFixture fixture;
  test::FillRecorder host(&fixture.reader);
  EXPECT_EQ(wzGetFill(&host.sheet, c.text), 7) << c.text;
  ASSERT_EQ(host.fills.size(), 1u) << c.text;
  const FillInfo& fill = host.fills[0];
  EXPECT_EQ(fill.pattern, c.pattern) << c.text;
  EXPECT_EQ(fill.shadePercent, c.shadePercent) << c.text;
  EXPECT_EQ(fill.foreColor, c.foreColor) << c.text;
  EXPECT_EQ(fill.backColor, c.backColor) << c.text;
}

TEST(Fill, ReportedFills) {
  const FillCase cases[] = {
      {"(F2|B|SH1BG3)", 0, 0, 0, test::colorOf(3)},
      {"(F2||SH8)", 0, 100, 0, kWhite},
      {"(F2||SH9)", 2, 0, 0, kWhite},
      {"(F2||SH20)", 20, 0, 0, kWhite},
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
}

TEST(Fill, EveryShadingPattern) {
  struct Shading {
    uint32_t pattern;
    uint32_t shadePercent;
  };
  const Shading table[] = {{0, 0},  {0, 0},  {0, 15}, {0, 25}, {0, 35}, {0, 60},  {0, 75},
                           {0, 90}, {0, 100}, {2, 0}, {1, 0},  {5, 0},  {4, 0},   {3, 0},
                           {6, 0},  {29, 0}, {26, 0}, {27, 0}, {29, 0}, {23, 0},  {20, 0},
                           {21, 0}};
  for (uint32_t number = 0; number < std::size(table); ++number) {
    const std::string text = "(F2||SH" + std::to_string(number) + "BG4)";
    expectReported({text.c_str(), table[number].pattern, table[number].shadePercent, 0,
                    test::colorOf(4)});
  }
}

TEST(Fill, FieldsWithoutAFillNeverCallTheHost) {
  for (const char* text : {"(F2|B|SH1)", "(F2||SH0)", "(F2||SH1FG)", "(F2||SH1BG1)", "(F2||L1SH3)",
                           "(F2||SH", "(F2||SH  ", "(F2||S3)", "(F2||)", "(F2|B|)",
                           "(F2|SH3)", "(F2)", "", "(F2|| SH3)"}) {
    test::StyleFixture fixture;
    test::FillRecorder host(&fixture.reader);
    EXPECT_EQ(wzGetFill(&host.sheet, text), 0) << text;
    EXPECT_TRUE(host.fills.empty()) << text;
  }
}

TEST(Fill, HostResultIsPassedOnUnchanged) {
  const intptr_t results[] = {0, -1, 1, 123456, INT32_MIN};
  for (const intptr_t result : results) {
    test::StyleFixture fixture;
    test::FillRecorder host(&fixture.reader);
    host.result = result;
    EXPECT_EQ(wzGetFill(&host.sheet, "(F2||SH8)"), static_cast<int32_t>(result));
  }
  if constexpr (sizeof(intptr_t) > 4) {
    // The item field has 32 bits: the low ones are kept.
    test::StyleFixture fixture;
    test::FillRecorder host(&fixture.reader);
    host.result = static_cast<intptr_t>((int64_t{1} << 32) + 5);
    EXPECT_EQ(wzGetFill(&host.sheet, "(F2||SH8)"), 5);
  }
}

TEST(Fill, NoCallbackNoFill) {
  test::StyleFixture fixture;
  test::FillRecorder host(&fixture.reader);
  host.sheet.callback = nullptr;
  EXPECT_EQ(wzGetFill(&host.sheet, "(F2||SH8)"), 0);
}

// --- Borders -------------------------------------------------------------

struct BorderCase {
  const char* text;
  int result;
  uint8_t styles[4];  // left, right, top, bottom
  uint32_t colors[4];
};

TEST(Border, SidesStylesAndColours) {
  const BorderCase cases[] = {
      {"(F2||L1R2T3B4)", 1, {5, 6, 7, 8}, {0, 0, 0, 0}},
      {"(F2||L4)", 1, {1, 0, 0, 0}, {0, 0, 0, 0}},
      {"(F2||R5)", 1, {0, 8, 0, 0}, {0, 0, 0, 0}},
      {"(F2||B0)", 1, {0, 0, 0, 8}, {0, 0, 0, 0}},
      {"(F2||L0)", 1, {0, 0, 0, 0}, {0, 0, 0, 0}},
      {"(F2||L1FG6)", 1, {5, 0, 0, 0}, {test::colorOf(6), 0, 0, 0}},
      {"(F2||LFG6)", 1, {0, 0, 0, 0}, {test::colorOf(6), 0, 0, 0}},
      {"(F2||l1r2t3b5fg4)", 1, {5, 6, 7, 8}, {0, 0, 0, test::colorOf(4)}},
      {"(F2|B|SH3FG5BG7L1FG2R1T1B1)", 1, {5, 5, 5, 8}, {test::colorOf(2), 0, 0, 0}},
      // Style numbers without a map entry draw no line; bottom is always 8.
      {"(F2||L6R9T-1B99)", 1, {0, 0, 0, 8}, {0, 0, 0, 0}},
      // Colours without an entry are 0, like a missing one.
      {"(F2||T3FG40)", 1, {0, 0, 7, 0}, {0, 0, 0, 0}},
      // The field ends at the ')': sides after it do not count.
      {"(F2||L1) R2", 1, {5, 0, 0, 0}, {0, 0, 0, 0}},
      // A later side overrides an earlier one.
      {"(F2||L1FG2L3)", 1, {7, 0, 0, 0}, {test::colorOf(2), 0, 0, 0}},
  };
  for (const BorderCase& c : cases) {
    test::StyleFixture fixture;
    test::FillRecorder host(&fixture.reader);
    EXPECT_EQ(wzGetBorder(&host.sheet, c.text), c.result) << c.text;
    for (int side = 0; side < 4; ++side) {
      EXPECT_EQ(host.sheet.borderStyles[side], c.styles[side]) << c.text << " side " << side;
      EXPECT_EQ(host.sheet.borderColors[side], c.colors[side]) << c.text << " side " << side;
    }
    EXPECT_TRUE(host.fills.empty());
  }
}

TEST(Border, FieldsWithoutSidesGiveZeroAndAClearScratch) {
  for (const char* text : {"(F2||SH3BG7)", "(F2|B|)", "(F2|B)", "(F2)", "", "(F2||)",
                           "(F2||SH8FG2", "(F2||bg3)"}) {
    test::StyleFixture fixture;
    test::FillRecorder host(&fixture.reader);
    for (int side = 0; side < 4; ++side) {
      host.sheet.borderStyles[side] = 9;
      host.sheet.borderColors[side] = 9;
    }
    EXPECT_EQ(wzGetBorder(&host.sheet, text), 0) << text;
    for (int side = 0; side < 4; ++side) {
      EXPECT_EQ(host.sheet.borderStyles[side], 0) << text;
      EXPECT_EQ(host.sheet.borderColors[side], 0u) << text;
    }
  }
}

TEST(Border, ResultFollowsTheLastSideNumber) {
  test::StyleFixture fixture;
  test::FillRecorder host(&fixture.reader);
  // A side letter at the very end reads -1 as the last side number, even
  // after a side with a number.
  EXPECT_EQ(wzGetBorder(&host.sheet, "(F2||L1R"), 0);
  EXPECT_EQ(host.sheet.borderStyles[kLeft], 5);
  EXPECT_EQ(wzGetBorder(&host.sheet, "(F2||L1FG"), 1);
  EXPECT_EQ(host.sheet.borderColors[kLeft], 0u);
  // Every call starts from a clear scratch.
  EXPECT_EQ(wzGetBorder(&host.sheet, "(F2||L2FG3)"), 1);
  EXPECT_EQ(wzGetBorder(&host.sheet, "(F2||T2)"), 1);
  EXPECT_EQ(host.sheet.borderStyles[kLeft], 0);
  EXPECT_EQ(host.sheet.borderColors[kLeft], 0u);
  EXPECT_EQ(host.sheet.borderStyles[kTop], 6);
}

}  // namespace
}  // namespace wzss
