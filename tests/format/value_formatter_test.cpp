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
};

void expectDisplays(const DisplayCase* first, const DisplayCase* last) {
  for (const DisplayCase* c = first; c != last; ++c) {
    FormatBench bench;
    EXPECT_EQ(bench.format(c->value, c->code, c->decimals), c->expected)
        << "value '" << c->value << "' code " << c->code << " decimals " << c->decimals;
    EXPECT_EQ(bench.liveBlocks(), 0u);
  }
}

TEST(NumberDisplay, FixedCommaAndCurrency) {
  const DisplayCase cases[] = {
      {"  42.5 abc", 19, 2, "42.50"},
      {"3.14", 19, -1, "3.140000"},  // a negative count means six decimals
      {"2.5", 19, 0, "2"},           // printf rounds half to even
      {"1234567.891", 17, 2, "1,234,567.89"},
      {"-123456", 17, 2, "-123,456.00"},
      {"12", 17, 2, "12.00"},
      {"999999.996", 17, 2, "1,000,000.00"},
      {"1234.5", 18, 2, "$1,234.50"},
      {"-1234.5", 18, 2, "$-1,234.50"},
      {"0.5", 18, 0, "$0"},
      {"inf", 19, 2, "inf"},
      {"-0", 19, 2, "-0.00"},
      {"-inf", 17, 2, "-inf"},
  };
  expectDisplays(std::begin(cases), std::end(cases));
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

TEST(NumberDisplay, PercentScientificAndGeneral) {
  const DisplayCase cases[] = {
      {"0.256", 27, 1, "25.6%"},        {"0.25", 27, -2, "25.000000%"},
      {"12346", 28, 3, "1.235E+04"},    {"-0.00012", 28, 1, "-1.2E-04"},
      {"1e300", 28, 2, "1.00E+300"},    {"inf", 28, 2, "INF"},
      {"-inf", 28, 2, "-INF"},          {"nan", 28, 2, "NAN"},
      {"-nan", 28, 2, "-NAN"},          {"1.5e3", 25, 2, "1.50e+03"},
      {"1.5E3", 25, 2, "1500.00"},                                // only a lower-case e asks for it
      {"1500", 25, 2, "1500.00"},       {"12 e", 25, 1, "12.0"},  // the e lies beyond the cut
      {"2e-3", 25, -1, "2.000000e-03"},
  };
  expectDisplays(std::begin(cases), std::end(cases));
}

TEST(NumberDisplay, BooleansAndBars) {
  const std::string bar511(511, '*');
  const DisplayCase cases[] = {
      {"0", 26, 0, "FALSE"},
      {"-0", 26, 0, "FALSE"},
      {"abc", 26, 0, "FALSE"},
      {"0.001", 26, 0, "TRUE"},
      {"nan", 26, 0, "TRUE"},
      {"-2", 26, 0, "TRUE"},
      {"5.9", 24, 0, "*****"},
      {"600", 24, 0, bar511.c_str()},
      {"511.5", 24, 0, bar511.c_str()},
      {"0", 24, 0, ""},
      {"0.99", 24, 0, ""},
      {"-3", 24, 0, ""},
      {"nan", 24, 0, ""},
      {"inf", 24, 0, bar511.c_str()},
  };
  expectDisplays(std::begin(cases), std::end(cases));
}

TEST(NumberDisplay, OtherCodesShowTheCutTextUnchanged) {
  const DisplayCase cases[] = {
      {"  hello world", 5, 2, "hello "},
      {"x y", 2, 0, "x "},
      {"\t7 8", 16, 0, "\t7 "},  // tabs are not skipped
      {"as is", 30, 0, "as "},
      {"  ", 19, 2, ""},  // an empty value shows empty
      {" \n ", 1, 2, ""},
  };
  expectDisplays(std::begin(cases), std::end(cases));
}

TEST(NumberDisplay, NumericCodesCutTheCallersTextAfterTheFirstBlank) {
  FormatBench bench;
  EXPECT_EQ(bench.format("  42.5 abc", 19, 2), "42.50");
  EXPECT_EQ(bench.valueAfter(), "  42.5 ");
  // The search for the blank starts at the second character.
  EXPECT_EQ(bench.format(" x", 5, 0), "x");
  EXPECT_EQ(bench.valueAfter(), " x");
}

TEST(NumberDisplay, LongTextsAreCutTo511Characters) {
  const std::string zeros(600, '0');
  const std::string fixed = "0." + zeros;
  const std::string percent = "25." + zeros;
  const std::string currency = "$1,234." + zeros;
  const DisplayCase cases[] = {
      {"0", 19, 600, fixed.c_str()},
      {"0", 19, INT32_MAX, fixed.c_str()},
      {"0.25", 27, 1000, percent.c_str()},
      {"1234", 18, 700, currency.c_str()},
  };
  for (const auto& c : cases) {
    FormatBench bench;
    const auto shown = bench.format(c.value, c.code, c.decimals);
    ASSERT_TRUE(shown.has_value());
    EXPECT_EQ(*shown, std::string(c.expected).substr(0, 511)) << c.code;
  }
  // A value text longer than the working buffer.
  FormatBench bench;
  EXPECT_EQ(bench.format(std::string(700, 'q'), 2, 0), std::string(511, 'q'));
}

TEST(NumberDisplay, FailedAllocationGivesNull) {
  FormatBench bench;
  bench.services.failAllocation(1);
  EXPECT_EQ(bench.format("12", 19, 2), std::nullopt);
  EXPECT_EQ(bench.liveBlocks(), 0u);
  EXPECT_EQ(bench.stream.calls().reads, 0u);  // numeric codes read no lines
}

struct DateCase {
  const char* value;
  int32_t style;
  const char* expected;
};

TEST(DateDisplay, EveryStyleOfFifthJanuary2003) {
  const DateCase cases[] = {
      {"37626", 2, "January 5, 2003"}, {"37626", 3, "Jan 05, 2003"},  {"37626", 4, "05 Jan 03"},
      {"37626", 5, "01/05/03"},        {"37626", 6, "05.01.03"},      {"37626", 7, "2003-01-05"},
      {"37626", 8, "03-01-05"},        {"37626", 9, "2003 01 05"},    {"37626", 10, "03 01 05"},
      {"37626", 11, "20030105"},       {"37626", 12, "030105"},       {"37626", 13, "05/01/03"},
      {"37626", 14, "05.01.2003"},     {"37626", 15, "Jan 05, 2003"}, {"37626", 16, "January 2003"},
  };
  for (const auto& c : cases) {
    FormatBench bench;
    EXPECT_EQ(bench.format(c.value, 1, 0, c.style), c.expected) << "style " << c.style;
  }
}

TEST(DateDisplay, WrittenDatesCenturiesAndOddValues) {
  const DateCase cases[] = {
      {"12/25/1999", 7, "1999-12-25"},
      {"12/25/1999 x", 2, "December 25, 1999"},
      {"1/5/03", 5, "01/05/03"},
      {"0", 5, "00/00/00"},
      {"0", 2, " 0, 1900"},          // month 0 has the empty name
      {"13/5/2003", 2, " 5, 2003"},  // no name outside 0..12
      {"13/5/2003", 4, "05  03"},
      {"-1/5/2003", 16, " 2003"},
      {"3/7", 7, "1900-03-07"},    // one slash: year 0
      {"73051", 7, "2000-01-01"},  // 2100 still prints as 20 and two digits
      {"146158", 3, "Feb 29, 2000"},
      {"-5", 5, "01/-05/00"},
      {"37626", 1, "2003-01-05"},  // styles without a format print as 7
      {"37626", 17, "2003-01-05"},
      {"37626", -4, "2003-01-05"},
  };
  for (const auto& c : cases) {
    FormatBench bench;
    EXPECT_EQ(bench.format(c.value, 1, 0, c.style), c.expected) << c.value << " style " << c.style;
  }
}

TEST(TimeDisplay, TwelveAndTwentyFourHourClocks) {
  const DisplayCase cases[] = {
      {"0.5", 20, 0, "12:00:00 PM"},
      {"0.5", 22, 0, "12:00:00"},
      {"0", 20, 0, "12:00:00 AM"},
      {"0", 22, 0, "00:00:00"},
      {"0.999999", 20, 0, "12:00:00 PM"},
      {"0.999999", 22, 0, "24:00:00"},
      {"37626.5416666", 21, 0, "01:00 PM"},
      {"0.5452430556", 20, 0, "01:05:09 PM"},
      {"0.5452430556", 21, 0, "01:05 PM"},
      {"0.5452430556", 22, 0, "13:05:09"},
      {"0.5452430556", 23, 0, "13:05"},
      {"0.0423611", 21, 0, "01:01 AM"},
      {"0.75", 23, 0, "18:00"},
      {"-0.25", 22, 0, "-05:-59:-59"},
      {"-0.25", 21, 0, "-05:-59 AM"},
  };
  expectDisplays(std::begin(cases), std::end(cases));
}

TEST(ThousandsGrouping, SeparatorsBeforeEveryGroupOfThree) {
  const struct {
    const char* text;
    const char* expected;
  } cases[] = {
      {"1234", "1,234"},
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
  };
  for (const auto& c : cases) {
    char text[kWorkSize] = {};
    std::strcpy(text, c.text);
    wzInsertCommas(text);
    EXPECT_STREQ(text, c.expected) << c.text;
  }
}

TEST(ThousandsGrouping, GroupedTextIsCutToTheBuffer) {
  char text[kWorkSize] = {};
  const std::string digits(500, '7');
  std::strcpy(text, digits.c_str());
  wzInsertCommas(text);
  ASSERT_EQ(std::strlen(text), kWorkSize - 1);
  // 500 digits: the first group holds 2, then groups of three.
  EXPECT_EQ(std::string(text, 7), "77,777,");
  EXPECT_EQ(text[kWorkSize - 1], '\0');
}

// Restores the C locale however the test ends.
struct LocaleGuard {
  ~LocaleGuard() { std::setlocale(LC_ALL, "C"); }
};

TEST(LocaleIndependence, CommaDecimalLocaleChangesNothing) {
  LocaleGuard guard;
  if (std::setlocale(LC_ALL, "de_DE.UTF-8") == nullptr) {
    GTEST_SKIP() << "the de_DE.UTF-8 locale is not installed";
  }
  // The premise: this locale writes a decimal comma.
  ASSERT_STREQ(std::localeconv()->decimal_point, ",");
  const DisplayCase cases[] = {
      {"1234.5", 17, 2, "1,234.50"},    {"0.256", 27, 1, "25.6%"},
      {"-1234.5", 18, 2, "$-1,234.50"}, {"3.14", 19, 2, "3.14"},
      {"3.14", 25, 4, "3.1400"},        {"12346", 28, 3, "1.235E+04"},
      {"1.5e3", 25, 2, "1.50e+03"},     {"0.5452430556", 22, 0, "13:05:09"},
  };
  expectDisplays(std::begin(cases), std::end(cases));
}

}  // namespace
}  // namespace wzss
