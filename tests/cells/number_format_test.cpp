// The number format item: code, decimals and date style for every letter,
// the decimals character, and the derivation of floating decimals from the
// value text further on the line.
#include <gtest/gtest.h>

#include <cstdint>

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

void expectCases(const WorkbookReader& reader, std::initializer_list<FormatCase> cases) {
  for (const FormatCase& c : cases) {
    SCOPED_TRACE(testing::Message() << "text \"" << c.text << "\" caller " << c.callerDecimals);
    int32_t code = -100;
    int32_t decimals = c.callerDecimals;
    int32_t dateStyle = -100;
    wzExtractNumFrmt(&reader, c.text, &code, &decimals, &dateStyle);
    EXPECT_EQ(code, c.code);
    EXPECT_EQ(decimals, c.decimals);
    EXPECT_EQ(dateStyle, c.dateStyle);
  }
}

TEST(NumberFormat, EveryLetter) {
  test::StyleFixture fixture;
  expectCases(fixture.reader, {
                                  // A fixed count is not derived, whatever the value text holds;
                                  // the item may follow blanks or stand without its '('.
                                  {"(F2,1|B|)", FRMT_FIXED, 2, 2},
                                  {"(CO0|)", FRMT_COMMA, 0, 2},
                                  {"(C3|)", FRMT_CURRENCY, 3, 2},
                                  {"(P1|)", FRMT_PERCENT, 1, 2},
                                  {"(S4|)", FRMT_SCIENTIFIC, 4, 2},
                                  {"(F2) A1: 3.14159", FRMT_FIXED, 2, 2},
                                  {"F3", FRMT_FIXED, 3, 2},
                                  {"(  C1|)", FRMT_CURRENCY, 1, 2},
                                  // D, T, GR and B keep the caller's decimals.
                                  {"(D4|)", FRMT_DATE, 3, 5, 3},
                                  {"(T0|)", FRMT_TIME12_HMS, -5, 2, -5},
                                  {"(T1|)", FRMT_TIME12_HM, 4, 2, 4},
                                  {"(T2|)", FRMT_TIME24_HMS, 0, 2},
                                  {"(T3|)", FRMT_TIME24_HM, 0, 2},
                                  {"(GR|)", FRMT_BAR, 0, 2},
                                  {"(B|)", FRMT_BOOLEAN, 0, 2},
                                  // The T rule subtracts 28 from any byte.
                                  {"(T4|)", FRMT_BAR, 0, 2},
                                  {"(T\xC8|)", 172, 0, 2},
                                  // A label leaves the decimals untouched.
                                  {"('", FRMT_LABEL, 7, 2, 7},
                                  {"( 'abc", FRMT_LABEL, 7, 2, 7},
                                  {"<('|B|) A1: 1.25", FRMT_LABEL, -3, 2, -3},
                                  // The date number plus one is the style; no number or a blank
                                  // right after the D is 0. Tab is no blank, so atoi steps over it;
                                  // a blank after it ends the bounded number first.
                                  {"(D)", FRMT_DATE, 0, 1},
                                  {"(D12 x)", FRMT_DATE, 0, 13},
                                  {"(D 4)", FRMT_DATE, 0, 1},
                                  {"(D\t5)", FRMT_DATE, 0, 6},
                                  {"(D\t 5)", FRMT_DATE, 0, 1},
                                  {"(D-3|)", FRMT_DATE, 0, -2},
                                  {"(D99999999999|)", FRMT_DATE, 0, INT32_MAX},
                                  // Unknown, missing and lower-case letters are general, with
                                  // floating decimals.
                                  {"(X|) A1: 2.25", FRMT_GENERAL, 2, 2},
                                  {"(|) A1: 1.5", FRMT_GENERAL, 1, 2},
                                  {"", FRMT_GENERAL, 0, 2},
                                  {"(f2|) A1: 1.125", FRMT_GENERAL, 3, 2},
                              });
}

TEST(NumberFormat, FloatingDecimals) {
  test::StyleFixture fixture;
  expectCases(fixture.reader,
              {
                  // The general decimals character is an upper limit; 0 sets none, and
                  // ',' minus '0' is -4.
                  {"(G2) A1: 3.14159", FRMT_GENERAL, 2, 2},
                  {"(G0) A1: 3.14159", FRMT_GENERAL, 5, 2},
                  {"(G2) A1: 42", FRMT_GENERAL, 0, 2},
                  {"(Gf) A1: 3.1415926535", FRMT_GENERAL, 9, 2},
                  {"(G3) A1: 5.", FRMT_GENERAL, 0, 2},
                  {"(G7) A1: 2.5", FRMT_GENERAL, 1, 2},
                  {"(G,) A1: 3.25", FRMT_GENERAL, -4, 2},
                  {"(T5) A1: 1.5", FRMT_GENERAL, 1, 2},
                  // Derived from the value text: percent takes two off, scientific
                  // notation has no cap and an empty remainder gives -1.
                  {"(Pf) A1: 0.125", FRMT_PERCENT, 1, 2},
                  {"(Pf) A1: 5.", FRMT_PERCENT, -2, 2},
                  {"(Pf) A1: 42", FRMT_PERCENT, 0, 2},
                  {"(Pf) A1: 12.5", FRMT_PERCENT, -1, 2},
                  {"(Sf) A1: 1.5E+03", FRMT_SCIENTIFIC, 6, 2},
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
                  // B, GR, D and T derive only when the caller passed 10.
                  {"(B) A1: 1.25", FRMT_BOOLEAN, 2, 2, kFloatingDecimals},
                  {"(D2) A1: 1.5", FRMT_DATE, 1, 3, kFloatingDecimals},
                  // The decimals character is any byte: a blank, a letter, ':' (minus
                  // '0' is 10, floating) or the terminator when the text ends.
                  {"(F ) A1: 2.5", FRMT_FIXED, -16, 2},
                  {"(Px|)", FRMT_PERCENT, 'x' - '0', 2},
                  {"(F:) A1: 2.5", FRMT_FIXED, 1, 2},
                  {"(C", FRMT_CURRENCY, -48, 2},
                  {"(CO", FRMT_COMMA, -48, 2},
                  {"(G", FRMT_GENERAL, -48, 2},
                  {"(T", -28, 0, 2},
              });
}

TEST(NumberFormat, ReaderSettings) {
  test::StyleFixture fixture;
  // No derivation while the attribute table is read.
  fixture.reader.parsingAttrs = 1;
  expectCases(fixture.reader, {
                                  {"(Gf,1|)", FRMT_GENERAL, kFloatingDecimals, 2},
                                  {"(X|) A1: 1.25", FRMT_GENERAL, kFloatingDecimals, 2},
                                  {"(G2) A1: 1.25", FRMT_GENERAL, 2, 2},
                              });
  // DN takes the workbook's default format and decimals.
  fixture.reader.parsingAttrs = 0;
  fixture.reader.defaultFormat = FRMT_FIXED;
  fixture.reader.defaultDecimals = 2;
  expectCases(fixture.reader, {{"(DN|) A1: 1.125", FRMT_FIXED, 2, 2}});
  fixture.reader.defaultFormat = FRMT_GENERAL;
  fixture.reader.defaultDecimals = kFloatingDecimals;
  expectCases(fixture.reader, {{"(DN|) A1: 1.125", FRMT_GENERAL, 3, 2},
                               {"(DN|) A1: 1.1234567891", FRMT_GENERAL, 9, 2}});
  // A label default derives nothing: decimals 0.
  fixture.reader.defaultFormat = FRMT_LABEL;
  expectCases(fixture.reader, {{"(DN|) A1: 1.125", FRMT_LABEL, 0, 2}});
}

}  // namespace
}  // namespace wzss
