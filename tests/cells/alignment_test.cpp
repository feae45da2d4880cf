// The alignment list of the first field and the text attributes of the
// second: the bit arithmetic of the alignment word, fonts and colours.
#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <string>

#include "cells/cells.h"
#include "cells/style_fixture.h"

namespace wzss {
namespace {

struct AlignCase {
  const char* text;
  int32_t code;
  uint16_t word;
  int result;
};

void expectAlign(const WorkbookReader& reader, std::initializer_list<AlignCase> cases) {
  for (const AlignCase& c : cases) {
    SCOPED_TRACE(testing::Message() << "text \"" << c.text << "\" code " << c.code);
    uint16_t word = 0xFFFF;  // overwritten whatever it held
    EXPECT_EQ(wzExtractAlign(&reader, c.text, &word, c.code), c.result);
    EXPECT_EQ(word, c.word);
  }
}

TEST(Alignment, ListItemsAndFormatAdjustment) {
  test::StyleFixture fixture;
  expectAlign(fixture.reader,
              {
                  {"(F2|)", FRMT_FIXED, 130, 0},
                  {"(F2,1|)", FRMT_FIXED, 142, 1},
                  {"(F2,2|)", FRMT_FIXED, 138, 1},
                  {"(F2,3|)", FRMT_FIXED, 134, 1},
                  {"(F2,4|)", FRMT_FIXED, 146, 1},
                  {"(F2,2,VC|)", FRMT_FIXED, 137, 1},
                  {"(F2,VT|)", FRMT_FIXED, 131, 1},
                  // Horizontal items replace bits 2-3 but leave bit 4.
                  {"(F2,4,1|)", FRMT_FIXED, 158, 1},
                  {"(F2,1,4|)", FRMT_FIXED, 146, 1},
                  // The list ends at a '|' after a ','; unknown items change nothing.
                  {"(F2,1,|)", FRMT_FIXED, 142, 1},
                  {"(F2,x,1|)", FRMT_FIXED, 142, 1},
                  {"(F2,VX,1|)", FRMT_FIXED, 142, 1},
                  // Without a ',' after an item the list ends.
                  {"(F2,1 3|)", FRMT_FIXED, 142, 1},
                  {"(F2,V", FRMT_FIXED, 130, 1},
                  {"(F2,", FRMT_FIXED, 130, 1},
                  // A '|' before any ',' means there is no list.
                  {"(F2|B,P12|)", FRMT_FIXED, 130, 0},
                  // The search for the ',' is not bounded by the attribute text.
                  {"(F2) A1: 1,2", FRMT_FIXED, 138, 1},
                  // The format adjusts the word.
                  {"(G0,3|)", FRMT_GENERAL, 6, 1},
                  {"(D4|)", FRMT_DATE, 2, 0},
                  {"(D4,1|)", FRMT_DATE, 14, 1},
                  {"(GR,VT|)", FRMT_BAR, 143, 1},
                  {"(GR,4|)", FRMT_BAR, 142, 1},
                  {"(GR,VC,3|)", FRMT_BAR, 141, 1},
                  {"(B|)", FRMT_BOOLEAN, 130, 0},
              });
}

TEST(Alignment, StartValueByFormat) {
  test::StyleFixture fixture;
  fixture.reader.defaultTextAlign = 142;
  fixture.reader.defaultValueAlign = 129;
  expectAlign(fixture.reader, {
                                  {"('|)", FRMT_LABEL, 142, 0},
                                  {"(G0|)", FRMT_STRING, 142, 0},
                                  {"(F2|)", FRMT_FIXED, 129, 0},
                                  {"(F2,VB|)", FRMT_FIXED, 130, 1},
                                  {"('|)", FRMT_GENERAL, 1, 0},
                              });
  // Any change keeps only the low byte of the start value.
  fixture.reader.defaultTextAlign = 0x1F82;
  expectAlign(fixture.reader, {
                                  {"('|)", FRMT_LABEL, 0x1F82, 0},
                                  {"(',1|)", FRMT_LABEL, 142, 1},
                                  {"(',VT|)", FRMT_LABEL, 131, 1},
                              });
}

// --- Text attributes ---------------------------------------------------

// Every case starts from these values and states all it expects after; a
// value the items do not name must come out unchanged.
constexpr uint32_t kStartBack = 0xABCDEF;
constexpr uint32_t kStartText = 0x123456;

struct AttributeCase {
  const char* text;
  uint16_t alignBefore = 130;
  uint16_t align = 130;
  uint32_t backColor = kStartBack;
  uint32_t textColor = kStartText;
  uint8_t bold = 0, italic = 0, underline = 0;
  uint32_t size = 10;
  const char* name = "Start";
  bool withoutColorMap = false;
};

TEST(TextAttributes, ItemsOfTheSecondField) {
  const uint32_t c0 = test::colorOf(0);
  const AttributeCase cases[] = {
      {.text = "(F2|BG3,FG5,B,I,U,P12,TF2,WW|)",
       .align = (130 & 0x0F) | 0x20,
       .backColor = test::colorOf(3),
       .textColor = test::colorOf(5),
       .bold = 1,
       .italic = 1,
       .underline = 1,
       .size = 12,
       .name = "Times New Roman"},
      // Wrap and overflow: only the third byte is tested for O.
      {.text = "(F2|WWO|)", .alignBefore = 143, .align = 143},
      {.text = "(F2|WW|)", .alignBefore = 143, .align = 47},
      {.text = "(F2|WWO|)", .alignBefore = 0x3F, .align = 0x9F},
      {.text = "(F2|WW|)", .alignBefore = 0x1FD3, .align = 0x23},
      {.text = "(F2|WO|)", .alignBefore = 0x80, .align = 0x20},
      {.text = "(F2|WXO,B|)", .alignBefore = 0x20, .align = 0x80, .bold = 1},
      {.text = "(F2|W", .alignBefore = 0x80, .align = 0x20},
      {.text = "(F2|WW", .alignBefore = 0x80, .align = 0x20},
      // Numbers: empty is 0; the byte after F is skipped, so "F9" has an
      // empty number; later items override earlier ones and a number runs
      // to the ','; T skips the '|' after it and reads the third field.
      {.text = "(F2|BG,FG9|)", .backColor = c0, .textColor = test::colorOf(9)},
      {.text = "(F2|F9|)", .textColor = c0},
      {.text = "(F2|P10,P14x,FG3,FG4,D|)",
       .textColor = test::colorOf(4),
       .underline = 1,
       .size = 14},
      {.text = "(F2|F", .textColor = c0},
      {.text = "(F2|T|SH1)", .name = "Courier"},
      // Fields without attributes change nothing.
      {.text = "(F2||SH1)"},
      {.text = "(F2)"},
      {.text = "(F2,1"},
      {.text = "(F2|,,|B)"},
      {.text = "(F2|"},
      // Colour numbers without an entry, or without a map, give 0.
      {.text = "(F2|BG10,FX10|)", .backColor = 0, .textColor = 0},
      {.text = "(F2|BG300,FX300|)", .backColor = 0, .textColor = 0},
      {.text = "(F2|BG-2,FX-2|)", .backColor = 0, .textColor = 0},
      {.text = "(F2|BG99999999999,FX99999999999|)", .backColor = 0, .textColor = 0},
      {.text = "(F2|BG3,FG5|)", .backColor = 0, .textColor = 0, .withoutColorMap = true},
      // Typefaces: a name longer than the field is cut to 31 characters;
      // numbers without a name leave the name unchanged.
      {.text = "(F2|TF0|)", .name = "Courier"},
      {.text = "(F2|TF1,TF0,TF1|)", .name = "Helvetica"},
      {.text = "(F2|TF3|)", .name = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcde"},
      {.text = "(F2|TF4|)"},
      {.text = "(F2|TF254|)"},
      {.text = "(F2|TF255|)"},
      {.text = "(F2|TF300|)"},
      {.text = "(F2|TF-1|)"},
  };
  for (const AttributeCase& c : cases) {
    SCOPED_TRACE(testing::Message() << "text \"" << c.text << "\" align " << c.alignBefore);
    test::StyleFixture fixture;
    if (c.withoutColorMap) {
      fixture.reader.colorMapCount = 0;
      fixture.reader.colorMaps = nullptr;
    }
    FontRecord font{};
    std::strcpy(font.name, "Start");
    font.size = 10;
    font.charSet = 3;
    font.pitchAndFamily = 18;
    uint32_t backColor = kStartBack;
    uint32_t textColor = kStartText;
    uint16_t align = c.alignBefore;
    const std::string text = c.text;
    wzExtractAttribute(&fixture.reader, text.c_str(), &font, &backColor, &textColor, &align);
    EXPECT_EQ(text, c.text);
    EXPECT_EQ(align, c.align);
    EXPECT_EQ(backColor, c.backColor);
    EXPECT_EQ(textColor, c.textColor);
    EXPECT_EQ(font.bold, c.bold);
    EXPECT_EQ(font.italic, c.italic);
    EXPECT_EQ(font.underline, c.underline);
    EXPECT_EQ(font.size, c.size);
    EXPECT_STREQ(font.name, c.name);
    // Never changed by the text attributes.
    EXPECT_EQ(font.charSet, 3);
    EXPECT_EQ(font.pitchAndFamily, 18);
  }
}

}  // namespace
}  // namespace wzss
