// The number format item: code, decimals and date style for every letter,
// the decimals character, and the derivation of floating decimals from the
// value text further on the line.
#include <gtest/gtest.h>

#include <cstdint>
#include <string>

#include "cells/cells.h"
#include "cells/style_fixture.h"

namespace wzss {
namespace {

struct FormatCase {
  const char* text;
  int32_t code;
  int32_t decimals;
  int32_t dateStyle;
  int32_t callerDecimals = 0;
};

struct FormatResult {
  int32_t code;
  int32_t decimals;
  int32_t dateStyle;
};

FormatResult parse(const WorkbookReader& reader, const std::string& text, int32_t callerDecimals) {
  FormatResult result{-100, callerDecimals, -100};
  wzExtractNumFrmt(&reader, text.c_str(), &result.code, &result.decimals, &result.dateStyle);
  return result;
}

void expectCases(const WorkbookReader& reader, std::initializer_list<FormatCase> cases) {
  for (const FormatCase& c : cases) {
    const FormatResult r = parse(reader, c.text, c.callerDecimals);
    EXPECT_EQ(r.code, c.code) << "text " << c.text;
    EXPECT_EQ(r.decimals, c.decimals) << "text " << c.text;
    EXPECT_EQ(r.dateStyle, c.dateStyle) << "text " << c.text;
  }
}

TEST(NumberFormat, LettersWithFixedDecimals) {
  test::StyleFixture fixture;
  expectCases(fixture.reader, {
      {"(F2,1|B|)", FRMT_FIXED, 2, 2},
      {"(CO0|)", FRMT_COMMA, 0, 2},
      {"(C3|)", FRMT_CURRENCY, 3, 2},
      {"(P1|)", FRMT_PERCENT, 1, 2},
      {"(S4|)", FRMT_SCIENTIFIC, 4, 2},
      // A fixed count is not derived, whatever the value text holds.
      {"(F2) A1: 3.14159", FRMT_FIXED, 2, 2},
      {"<(F2|", FRMT_FIXED, 2, 2},
      {"F3", FRMT_FIXED, 3, 2},
      {"(  C1|)", FRMT_CURRENCY, 1, 2},
  });
}

TEST(NumberFormat, LettersThatKeepTheCallersDecimals) {
  test::StyleFixture fixture;
  expectCases(fixture.reader, {
      {"(D4|)", FRMT_DATE, 0, 5},
      {"(T2|)", FRMT_TIME24_HMS, 0, 2},
      {"(GR|)", FRMT_BAR, 0, 2},
      {"(B|)", FRMT_BOOLEAN, 0, 2},
      {"(D4|)", FRMT_DATE, 3, 5, 3},
      {"(T0|)", FRMT_TIME12_HMS, -5, 2, -5},
      {"(T1|)", FRMT_TIME12_HM, 4, 2, 4},
      {"(T3|)", FRMT_TIME24_HM, 0, 2},
      // The T rule subtracts 28 from any byte.
      {"(T4|)", FRMT_BAR, 0, 2},
      {"(T\x1E|)", 2, 0, 2},
      {"(T,|)", 16, 0, 2},
      {"(T\xC8|)", 172, 0, 2},
  });
}

TEST(NumberFormat, LabelLeavesDecimalsUntouched) {
  test::StyleFixture fixture;
  expectCases(fixture.reader, {
      {"('", FRMT_LABEL, 7, 2, 7},
      {"( 'abc", FRMT_LABEL, 7, 2, 7},
      {"<('|B|) A1: 1.25", FRMT_LABEL, -3, 2, -3},
  });
}

TEST(NumberFormat, DateNumber) {
  test::StyleFixture fixture;
  expectCases(fixture.reader, {
      {"(D)", FRMT_DATE, 0, 1},
      {"(D0|)", FRMT_DATE, 0, 1},
      {"(D12 x)", FRMT_DATE, 0, 13},
      // A blank right after the D: the number is 0.
      {"(D 4)", FRMT_DATE, 0, 1},
      // Tab is no blank, so atoi steps over it; a blank after it ends the
      // bounded number first.
      {"(D\t5)", FRMT_DATE, 0, 6},
      {"(D\t 5)", FRMT_DATE, 0, 1},
      {"(D-3|)", FRMT_DATE, 0, -2},
      {"(D99999999999|)", FRMT_DATE, 0, INT32_MAX},
  });
}

TEST(NumberFormat, UnknownLettersAreGeneralWithFloatingDecimals) {
  test::StyleFixture fixture;
  expectCases(fixture.reader, {
      {"(X|) A1: 2.25", FRMT_GENERAL, 2, 2},
      {"(|) A1: 1.5", FRMT_GENERAL, 1, 2},
      {"()", FRMT_GENERAL, 0, 2},
      {"", FRMT_GENERAL, 0, 2},
      // Lower-case letters have no meaning of their own.
      {"(f2|) A1: 1.125", FRMT_GENERAL, 3, 2},
      {"(co2|) A1: 7", FRMT_GENERAL, 0, 2},
  });
}

TEST(NumberFormat, GeneralDecimalsCharacterIsALimit) {
  test::StyleFixture fixture;
  expectCases(fixture.reader, {
      {"(G2) A1: 3.14159", FRMT_GENERAL, 2, 2},
      {"(G0) A1: 3.14159", FRMT_GENERAL, 5, 2},
      {"(G2) A1: 42", FRMT_GENERAL, 0, 2},
      {"(Gf) A1: 3.1415926535", FRMT_GENERAL, 9, 2},
      {"(GF) A1: 3.5", FRMT_GENERAL, 1, 2},
      {"(G3) A1: 5.", FRMT_GENERAL, 0, 2},
      {"(G7) A1: 2.5", FRMT_GENERAL, 1, 2},
      // ',' minus '0' is -4: the smaller of anything and -4.
      {"(G,) A1: 3.25", FRMT_GENERAL, -4, 2},
      {"(G,) A1: 7", FRMT_GENERAL, -4, 2},
      // A general code reached through T also derives.
      {"(T5) A1: 1.5", FRMT_GENERAL, 1, 2},
  });
}

TEST(NumberFormat, FloatingDecimalsFromTheValueText) {
  test::StyleFixture fixture;
  expectCases(fixture.reader, {
      {"(Pf) A1: 0.125", FRMT_PERCENT, 1, 2},
      {"(Pf) A1: 5.", FRMT_PERCENT, -2, 2},
      {"(Pf) A1: 42", FRMT_PERCENT, 0, 2},
      {"(Pf) A1: 12.5", FRMT_PERCENT, -1, 2},
      {"(Sf) A1: 1.5E+03", FRMT_SCIENTIFIC, 6, 2},
      // Scientific notation has no cap, and an empty remainder gives -1.
      {"(Sf) A1: 1.23456789012E+05", FRMT_SCIENTIFIC, 16, 2},
      {"(Sf)", FRMT_SCIENTIFIC, -1, 2},
      // Without a ':' the first separator is the value's own '.'.
      {"(Ff) A1 2.5", FRMT_FIXED, 0, 2},
      {"(Ff) A1: 3.14159265358", FRMT_FIXED, 9, 2},
      {"(Ff) A1; 7.75", FRMT_FIXED, 2, 2},
      {"(Ff) A1: .125", FRMT_FIXED, 3, 2},
      {"(Ff) A1: 1.5 x.12345", FRMT_FIXED, 1, 2},
      {"(Ff) A1:    2.75", FRMT_FIXED, 2, 2},
      {"(COf) A1: 1234.5", FRMT_COMMA, 1, 2},
      {"(Cf) A1: 19.99", FRMT_CURRENCY, 2, 2},
      // B, GR, D and T derive only when the caller passed 10.
      {"(B) A1: 1.25", FRMT_BOOLEAN, 2, 2, kFloatingDecimals},
      {"(D2) A1: 1.5", FRMT_DATE, 1, 3, kFloatingDecimals},
  });
}

TEST(NumberFormat, DecimalsCharacterIsAnyByte) {
  test::StyleFixture fixture;
  expectCases(fixture.reader, {
      // A blank after F: ' ' minus '0', and no derivation.
      {"(F ) A1: 2.5", FRMT_FIXED, -16, 2},
      {"(Px|)", FRMT_PERCENT, 'x' - '0', 2},
      // ':' minus '0' is 10, which is floating: derived from the value.
      {"(F:) A1: 2.5", FRMT_FIXED, 1, 2},
      // The text ends on the letter: the terminator is the character.
      {"(C", FRMT_CURRENCY, -48, 2},
      {"(CO", FRMT_COMMA, -48, 2},
      {"(G", FRMT_GENERAL, -48, 2},
      {"(T", -28, 0, 2},
  });
}

TEST(NumberFormat, NoDerivationWhileTheAttributeTableIsRead) {
  test::StyleFixture fixture;
  fixture.reader.parsingAttrs = 1;
  expectCases(fixture.reader, {
      {"(Gf,1|)", FRMT_GENERAL, kFloatingDecimals, 2},
      {"(F2|)", FRMT_FIXED, 2, 2},
      {"(X|) A1: 1.25", FRMT_GENERAL, kFloatingDecimals, 2},
      {"(G2) A1: 1.25", FRMT_GENERAL, 2, 2},
  });
}

TEST(NumberFormat, DefaultFormatItem) {
  test::StyleFixture fixture;
  fixture.reader.defaultFormat = FRMT_FIXED;
  fixture.reader.defaultDecimals = 2;
  expectCases(fixture.reader, {{"(DN|) A1: 1.125", FRMT_FIXED, 2, 2}});

  fixture.reader.defaultFormat = FRMT_GENERAL;
  fixture.reader.defaultDecimals = 10;
  expectCases(fixture.reader, {{"(DN|) A1: 1.125", FRMT_GENERAL, 3, 2},
                               {"(DN|) A1: 1.1234567891", FRMT_GENERAL, 9, 2}});

  // A label default derives nothing: decimals 0.
  fixture.reader.defaultFormat = FRMT_LABEL;
  expectCases(fixture.reader, {{"(DN|) A1: 1.125", FRMT_LABEL, 0, 2}});
}

}  // namespace
}  // namespace wzss
