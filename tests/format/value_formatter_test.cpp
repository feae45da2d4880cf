// Display texts of the numeric, date, time, bar and boolean codes, and the
// thousands grouping.
#include <gtest/gtest.h>

#include <charconv>
#include <clocale>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <random>
#include <string>
#include <vector>

#include "format/format.h"
#include "format_bench.h"

namespace wzss {
namespace {

using test::FormatBench;

struct DisplayCase {
  const char* value;
  uint32_t code;
  int32_t decimals;
  const char* expected;
  int32_t dateStyle = 2;
};

struct DisplayGroup {
  const char* name;
  std::vector<DisplayCase> cases;
};

const std::vector<DisplayGroup>& displayGroups() {
  static const std::string bar511(511, '*');
  static const std::string zeros(600, '0');
  static const std::string fixed = ("0." + zeros).substr(0, 511);
  static const std::string percent = ("25." + zeros).substr(0, 511);
  static const std::string currency = ("$1,234." + zeros).substr(0, 511);
  static const std::string longValue(700, 'q');
  static const std::string longCut(511, 'q');
  // clang-format off
  static const std::vector<DisplayGroup> groups = {
      {"fixed, comma and currency", {
        {"  42.5 abc", 19, 2, "42.50"},
        {"3.14", 19, -1, "3.140000"},  // a negative count means six decimals
        {"2.5", 19, 0, "2"},           // printf rounds half to even
        {"1234567.891", 17, 2, "1,234,567.89"}, {"-123456", 17, 2, "-123,456.00"},
        {"12", 17, 2, "12.00"}, {"999999.996", 17, 2, "1,000,000.00"},
        {"1234.5", 18, 2, "$1,234.50"}, {"-1234.5", 18, 2, "$-1,234.50"}, {"0.5", 18, 0, "$0"},
        {"inf", 19, 2, "inf"}, {"-0", 19, 2, "-0.00"}, {"-inf", 17, 2, "-inf"}}},
      {"percent, scientific and general", {
        {"0.256", 27, 1, "25.6%"}, {"0.25", 27, -2, "25.000000%"}, {"12346", 28, 3, "1.235E+04"},
        {"-0.00012", 28, 1, "-1.2E-04"}, {"1e300", 28, 2, "1.00E+300"}, {"inf", 28, 2, "INF"},
        {"-inf", 28, 2, "-INF"}, {"nan", 28, 2, "NAN"}, {"-nan", 28, 2, "-NAN"},
        {"1.5e3", 25, 2, "1.50e+03"},
        {"1.5E3", 25, 2, "1500.00"},  // only a lower-case e asks for it
        {"1500", 25, 2, "1500.00"},
        {"12 e", 25, 1, "12.0"},      // the e lies beyond the cut
        {"2e-3", 25, -1, "2.000000e-03"}}},
      {"booleans and bars", {
        {"0", 26, 0, "FALSE"}, {"-0", 26, 0, "FALSE"}, {"abc", 26, 0, "FALSE"},
        {"0.001", 26, 0, "TRUE"}, {"nan", 26, 0, "TRUE"}, {"-2", 26, 0, "TRUE"},
        {"5.9", 24, 0, "*****"}, {"600", 24, 0, bar511.c_str()}, {"511.5", 24, 0, bar511.c_str()},
        {"0", 24, 0, ""}, {"0.99", 24, 0, ""}, {"-3", 24, 0, ""}, {"nan", 24, 0, ""},
        {"inf", 24, 0, bar511.c_str()}}},
      {"other codes show the cut text unchanged", {
        {"  hello world", 5, 2, "hello "}, {"x y", 2, 0, "x "},
        {"\t7 8", 16, 0, "\t7 "},  // tabs are not skipped
        {"as is", 30, 0, "as "},
        {"  ", 19, 2, ""},         // an empty value shows empty
        {" \n ", 1, 2, ""}}},
      {"long displays are cut to 511 characters", {
        {"0", 19, 600, fixed.c_str()}, {"0", 19, INT32_MAX, fixed.c_str()},
        {"0.25", 27, 1000, percent.c_str()}, {"1234", 18, 700, currency.c_str()},
        {longValue.c_str(), 2, 0, longCut.c_str()}}},  // longer than the working buffer
      {"every date style of 5 January 2003", {
        {"37626", 1, 0, "January 5, 2003", 2}, {"37626", 1, 0, "Jan 05, 2003", 3},
        {"37626", 1, 0, "05 Jan 03", 4},       {"37626", 1, 0, "01/05/03", 5},
        {"37626", 1, 0, "05.01.03", 6},        {"37626", 1, 0, "2003-01-05", 7},
        {"37626", 1, 0, "03-01-05", 8},        {"37626", 1, 0, "2003 01 05", 9},
        {"37626", 1, 0, "03 01 05", 10},       {"37626", 1, 0, "20030105", 11},
        {"37626", 1, 0, "030105", 12},         {"37626", 1, 0, "05/01/03", 13},
        {"37626", 1, 0, "05.01.2003", 14},     {"37626", 1, 0, "Jan 05, 2003", 15},
        {"37626", 1, 0, "January 2003", 16}}},
      {"written dates, centuries and odd values", {
        {"12/25/1999", 1, 0, "1999-12-25", 7}, {"12/25/1999 x", 1, 0, "December 25, 1999", 2},
        {"1/5/03", 1, 0, "01/05/03", 5},       {"0", 1, 0, "00/00/00", 5},
        {"0", 1, 0, " 0, 1900", 2},            // month 0 has the empty name
        {"13/5/2003", 1, 0, " 5, 2003", 2},    // no name outside 0..12
        {"13/5/2003", 1, 0, "05  03", 4},      {"-1/5/2003", 1, 0, " 2003", 16},
        {"3/7", 1, 0, "1900-03-07", 7},        // one slash: year 0
        {"73051", 1, 0, "2000-01-01", 7},      // 2100 still prints as 20 and two digits
        {"146158", 1, 0, "Feb 29, 2000", 3},   {"-5", 1, 0, "01/-05/00", 5},
        // Styles without a format print as 7.
        {"37626", 1, 0, "2003-01-05", 1}, {"37626", 1, 0, "2003-01-05", 17},
        {"37626", 1, 0, "2003-01-05", -4}}},
      {"twelve and twenty-four hour clocks", {
        {"0.5", 20, 0, "12:00:00 PM"}, {"0.5", 22, 0, "12:00:00"}, {"0", 20, 0, "12:00:00 AM"},
        {"0", 22, 0, "00:00:00"}, {"0.999999", 20, 0, "12:00:00 PM"},
        {"0.999999", 22, 0, "24:00:00"}, {"37626.5416666", 21, 0, "01:00 PM"},
        {"0.5452430556", 20, 0, "01:05:09 PM"}, {"0.5452430556", 21, 0, "01:05 PM"},
        {"0.5452430556", 22, 0, "13:05:09"}, {"0.5452430556", 23, 0, "13:05"},
        {"0.0423611", 21, 0, "01:01 AM"}, {"0.75", 23, 0, "18:00"},
        {"-0.25", 22, 0, "-05:-59:-59"}, {"-0.25", 21, 0, "-05:-59 AM"}}},
  };
  // clang-format on
  return groups;
}

// Every display case: its text with no block left alive, no call on the
// stream although a line that a text value would take follows (only labels
// and strings read on), and null without a leak when the block cannot be had.
void expectDisplays() {
  for (const DisplayGroup& group : displayGroups()) {
    SCOPED_TRACE(group.name);
    for (const DisplayCase& c : group.cases) {
      SCOPED_TRACE(testing::Message()
                   << "value '" << std::string(c.value).substr(0, 20) << "' code " << c.code
                   << " decimals " << c.decimals << " style " << c.dateStyle);
      FormatBench bench(" 12\n");
      EXPECT_EQ(bench.format(c.value, c.code, c.decimals, c.dateStyle), c.expected);
      EXPECT_EQ(bench.liveBlocks(), 0u);
      const host::StreamCalls& calls = bench.stream.calls();
      EXPECT_EQ(calls.reads + calls.seeks + calls.tells, 0u);
      FormatBench failing;
      failing.services.failAllocation(1);
      EXPECT_EQ(failing.format(c.value, c.code, c.decimals, c.dateStyle), std::nullopt);
      EXPECT_EQ(failing.liveBlocks(), 0u);
    }
  }
}

TEST(DisplayText, EveryCodeByItsRules) { expectDisplays(); }

// Restores the C locale however the test ends.
struct LocaleGuard {
  ~LocaleGuard() { std::setlocale(LC_ALL, "C"); }
};

TEST(DisplayText, CommaDecimalLocaleChangesNothing) {
  LocaleGuard guard;
  if (std::setlocale(LC_ALL, "de_DE.UTF-8") == nullptr) {
    GTEST_SKIP() << "the de_DE.UTF-8 locale is not installed";
  }
  // The premise: this locale writes a decimal comma.
  ASSERT_STREQ(std::localeconv()->decimal_point, ",");
  expectDisplays();
}

TEST(DisplayText, NumericCodesCutTheCallersTextAfterTheFirstBlank) {
  FormatBench bench;
  ASSERT_TRUE(bench.format("  42.5 abc", 19, 2).has_value());
  EXPECT_EQ(bench.valueAfter(), "  42.5 ");
  // The search for the blank starts at the second character.
  ASSERT_TRUE(bench.format(" x", 5, 0).has_value());
  EXPECT_EQ(bench.valueAfter(), " x");
}

// Fixed notation of everyday numbers is computed from the double's bits;
// it must print exactly what the general printer (printf's rounding of the
// exact value, half to even) prints, across every precision it takes and
// the edges of its range: ties, values that round to zero or to a new digit,
// subnormals, the 64-bit limit of the scaled value, and random bit patterns.
TEST(NumberDisplay, FixedAgreesWithTheGeneralPrinter) {
  std::vector<double> values = {0.0,     -0.0,    0.5,           1.5,   2.5,      0.125,  0.375,
                                1.0625,  -2.5,    -0.004,        0.005, 0.015,    0.045,  9.995,
                                999.995, 1e-320,  -4.9e-324,     1e-9,  1e17,     1.8e19, 1.9e19,
                                9.2e18,  1.7e308, 123456789.125, 0.1,   1.0 / 3.0};
  // Powers of two whose scaled value is a multiple of 2^128: a 128-bit
  // product would wrap to zero.
  for (const int exponent : {111, 115, 120}) values.push_back(std::ldexp(1.0, exponent));
  std::mt19937_64 random(11);
  for (int i = 0; i < 20000; ++i) {
    const uint64_t bits = random();
    double any = 0.0;
    std::memcpy(&any, &bits, sizeof any);
    values.push_back(any);
    // Money-like and ledger-like values, and exact binary fractions.
    values.push_back(static_cast<double>(static_cast<int64_t>(random() % 2000000001) - 1000000000) /
                     std::pow(10.0, static_cast<double>(random() % 7)));
    values.push_back(static_cast<double>(random() % 1000001) /
                     static_cast<double>(1 << (random() % 12)));
    // Around the largest value the exact path takes at some precision.
    values.push_back(std::ldexp(1.0, 64) / std::pow(10.0, static_cast<double>(random() % 18)) *
                     (1.0 + (static_cast<double>(random() % 2001) - 1000.0) * 1e-12));
  }
  FormatBench bench;
  char expected[2048];
  char valueText[64];
  for (const double value : values) {
    const auto shortest = std::to_chars(valueText, valueText + sizeof valueText - 1, value);
    *shortest.ptr = '\0';
    for (int32_t decimals = 0; decimals <= 18; ++decimals) {
      const auto printed = std::to_chars(expected, expected + sizeof expected - 1, value,
                                         std::chars_format::fixed, decimals);
      *printed.ptr = '\0';
      const std::string wanted(expected, std::min<size_t>(printed.ptr - expected, 511));
      ASSERT_EQ(bench.format(valueText, 19, decimals), wanted)
          << "value " << valueText << " decimals " << decimals;
    }
  }
  EXPECT_EQ(bench.liveBlocks(), 0u);
}

TEST(ThousandsGrouping, SeparatorsBeforeEveryGroupOfThreeCutToTheBuffer) {
  // 500 digits: the first group holds 2, then groups of three, cut to 511.
  std::string grouped500 = "77";
  while (grouped500.size() < kWorkSize) grouped500 += ",777";
  const struct {
    std::string text;
    std::string expected;
  } cases[] = {{"1234", "1,234"},
               {"123456", "123,456"},
               {"1234567.89", "1,234,567.89"},
               {"-1234.5", "-1,234.5"},
               {"-123.45", "-123.45"},
               {"-123456", "-123,456"},
               {"999", "999"},
               {"0.25", "0.25"},
               {"1000", "1,000"},
               {"", ""},
               {"-", "-"},
               {"1234.5678", "1,234.5678"},
               {std::string(500, '7'), grouped500.substr(0, 511)}};
  for (const auto& c : cases) {
    char text[kWorkSize + 1] = {};
    text[kWorkSize] = 'x';  // a guard past the buffer
    std::memcpy(text, c.text.c_str(), c.text.size() + 1);
    wzInsertCommas(text);
    EXPECT_EQ(std::string(text), c.expected) << c.text;
    EXPECT_EQ(text[kWorkSize], 'x') << c.text;
  }
}

}  // namespace
}  // namespace wzss
