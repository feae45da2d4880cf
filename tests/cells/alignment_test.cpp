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
    uint16_t word = 0xFFFF;  // overwritten whatever it held
    const int result = wzExtractAlign(&reader, c.text, &word, c.code);
    EXPECT_EQ(word, c.word) << "text " << c.text << " code " << c.code;
    EXPECT_EQ(result, c.result) << "text " << c.text;
  }
}

TEST(Alignment, ItemsOfTheList) {
  test::StyleFixture fixture;
  expectAlign(fixture.reader, {
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
  });
}

TEST(Alignment, FormatAdjustment) {
  test::StyleFixture fixture;
  expectAlign(fixture.reader, {
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

struct Attributes {
  FontRecord font{};
  uint32_t backColor = 0xABCDEF;
  uint32_t textColor = 0x123456;
  uint16_t align = 130;
};

Attributes readAttributes(const WorkbookReader& reader, const std::string& text,
                          uint16_t align = 130) {
  Attributes a;
  std::strcpy(a.font.name, "Start");
  a.font.size = 10;
  a.font.charSet = 3;
  a.font.pitchAndFamily = 18;
  a.align = align;
  const std::string copy = text;
  wzExtractAttribute(&reader, text.c_str(), &a.font, &a.backColor, &a.textColor, &a.align);
  EXPECT_EQ(text, copy);
  return a;
}

TEST(TextAttributes, EveryItemOfTheSecondField) {
  test::StyleFixture fixture;
  const Attributes a = readAttributes(fixture.reader, "(F2|BG3,FG5,B,I,U,P12,TF2,WW|)");
  EXPECT_EQ(a.backColor, test::colorOf(3));
  EXPECT_EQ(a.textColor, test::colorOf(5));
  EXPECT_EQ(a.font.bold, 1);
  EXPECT_EQ(a.font.italic, 1);
  EXPECT_EQ(a.font.underline, 1);
  EXPECT_EQ(a.font.size, 12u);
  EXPECT_STREQ(a.font.name, "Times New Roman");
  EXPECT_EQ(a.align, (130 & 0x0F) | 0x20);
  // Never changed by the text attributes.
  EXPECT_EQ(a.font.charSet, 3);
  EXPECT_EQ(a.font.pitchAndFamily, 18);
}

TEST(TextAttributes, WrapAndOverflow) {
  test::StyleFixture fixture;
  struct Case {
    const char* text;
    uint16_t before;
    uint16_t after;
  };
  const Case cases[] = {
      {"(F2|WWO|)", 143, 143},
      {"(F2|WW|)", 143, 47},
      {"(F2|WWO|)", 0x3F, 0x9F},
      {"(F2|WW|)", 0x1FD3, 0x23},
      // Only the third byte is tested for O: "WO" is a wrap.
      {"(F2|WO|)", 0x80, 0x20},
      {"(F2|WXO,B|)", 0x20, 0x80},
      {"(F2|W", 0x80, 0x20},
      {"(F2|WW", 0x80, 0x20},
  };
  for (const Case& c : cases) {
    EXPECT_EQ(readAttributes(fixture.reader, c.text, c.before).align, c.after) << c.text;
  }
}

TEST(TextAttributes, NumbersOfItems) {
  test::StyleFixture fixture;
  Attributes a = readAttributes(fixture.reader, "(F2|BG,FG9|)");
  EXPECT_EQ(a.backColor, test::colorOf(0));
  EXPECT_EQ(a.textColor, test::colorOf(9));
  // The byte after F is skipped, so "F9" has an empty number.
  a = readAttributes(fixture.reader, "(F2|F9|)");
  EXPECT_EQ(a.textColor, test::colorOf(0));
  // Later items override earlier ones; the number runs to the ','.
  a = readAttributes(fixture.reader, "(F2|P10,P14x,FG3,FG4,D|)");
  EXPECT_EQ(a.font.size, 14u);
  EXPECT_EQ(a.textColor, test::colorOf(4));
  EXPECT_EQ(a.font.underline, 1);
  EXPECT_EQ(a.font.bold, 0);
  EXPECT_EQ(a.font.italic, 0);
  // An F at the very end reads an empty number.
  a = readAttributes(fixture.reader, "(F2|F");
  EXPECT_EQ(a.textColor, test::colorOf(0));
  // T skips the '|' after it; the number then starts in the third field.
  a = readAttributes(fixture.reader, "(F2|T|SH1)");
  EXPECT_STREQ(a.font.name, "Courier");
}

TEST(TextAttributes, FieldsWithoutAttributesChangeNothing) {
  test::StyleFixture fixture;
  for (const char* text : {"(F2||SH1)", "(F2)", "(F2,1", "(F2|,,|B)", "(F2|"}) {
    const Attributes a = readAttributes(fixture.reader, text);
    EXPECT_EQ(a.backColor, 0xABCDEFu) << text;
    EXPECT_EQ(a.textColor, 0x123456u) << text;
    EXPECT_EQ(a.align, 130) << text;
    EXPECT_EQ(a.font.bold, 0) << text;
    EXPECT_EQ(a.font.size, 10u) << text;
    EXPECT_STREQ(a.font.name, "Start") << text;
  }
}

TEST(TextAttributes, ColourNumbersWithoutAnEntryGiveZero) {
  test::StyleFixture fixture;
  for (const char* text : {"(F2|BG10,FX10|)", "(F2|BG300,FX300|)", "(F2|BG-2,FX-2|)",
                           "(F2|BG99999999999,FX99999999999|)"}) {
    const Attributes a = readAttributes(fixture.reader, text);
    EXPECT_EQ(a.backColor, 0u) << text;
    EXPECT_EQ(a.textColor, 0u) << text;
  }
  // No colour map at all.
  fixture.reader.colorMapCount = 0;
  fixture.reader.colorMaps = nullptr;
  const Attributes a = readAttributes(fixture.reader, "(F2|BG3,FG5|)");
  EXPECT_EQ(a.backColor, 0u);
  EXPECT_EQ(a.textColor, 0u);
}

TEST(TextAttributes, TypefaceNumbers) {
  test::StyleFixture fixture;
  EXPECT_STREQ(readAttributes(fixture.reader, "(F2|TF0|)").font.name, "Courier");
  EXPECT_STREQ(readAttributes(fixture.reader, "(F2|TF1,TF0,TF1|)").font.name, "Helvetica");
  // A name longer than the field is cut to 31 characters.
  EXPECT_STREQ(readAttributes(fixture.reader, "(F2|TF3|)").font.name,
               "ABCDEFGHIJKLMNOPQRSTUVWXYZabcde");
  // Numbers without a name leave the name unchanged.
  for (const char* text : {"(F2|TF4|)", "(F2|TF254|)", "(F2|TF255|)", "(F2|TF300|)",
                           "(F2|TF-1|)"}) {
    EXPECT_STREQ(readAttributes(fixture.reader, text).font.name, "Start") << text;
  }
}

}  // namespace
}  // namespace wzss
