// Fixed notation against the general printer: a differential test over
// many thousands of values, where the golden workbooks show a few.
#include <gtest/gtest.h>

#include <charconv>
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

// Fixed notation of everyday numbers is computed from the double's bits;
// it must print exactly what the general printer (printf's rounding of the
// exact value, half to even) prints, across every precision it takes, for
// random bit patterns (subnormals among them), ties, values around the
// 64-bit limit of the scaled value, and the powers that wrap 128 bits.
TEST(NumberDisplay, FixedAgreesWithTheGeneralPrinter) {
  std::vector<double> values;
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

}  // namespace
}  // namespace wzss
