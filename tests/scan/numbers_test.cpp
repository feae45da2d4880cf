// Locale-free conversions, checked against the C library's own conversions
// in the "C" locale over random texts made of the pieces numbers are made of.
// That the process locale changes nothing shows in the golden dumps
// (tests/reader), which run in a decimal-comma locale too.
#include <gtest/gtest.h>

#include <locale.h>
#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <random>
#include <string>

#include "scan/scan.h"

namespace wzss {
namespace {

// The C library's conversions as they are in the "C" locale, whatever locale
// the process has set: the reference every conversion here is held to.
locale_t cLocale() {
  static const locale_t locale = newlocale(LC_ALL_MASK, "C", nullptr);
  return locale;
}

// 1 to 8 pieces drawn at random.
template <size_t N>
std::string randomText(std::mt19937& random, const char* const (&pieces)[N]) {
  std::string text;
  for (int n = std::uniform_int_distribution<int>(1, 8)(random); n > 0; --n)
    text += pieces[std::uniform_int_distribution<size_t>(0, N - 1)(random)];
  return text;
}

// strtol saturates at the long limits; clamped to int32 it is what
// wzParseInt must give, also when nothing converts (0 and the start).
void expectLikeStrtol(const std::string& text, int base) {
  SCOPED_TRACE('"' + text + "\" base " + std::to_string(base));
  char* libraryEnd = nullptr;
  const long expected = strtol_l(text.c_str(), &libraryEnd, base, cLocale());
  int32_t value = -12345;
  const char* end = nullptr;
  EXPECT_EQ(wzParseInt(text.c_str(), base, &value, &end), libraryEnd != text.c_str());
  EXPECT_EQ(value, static_cast<int32_t>(std::clamp<long>(expected, INT32_MIN, INT32_MAX)));
  EXPECT_EQ(end - text.c_str(), libraryEnd - text.c_str());
}

TEST(ParseIntTest, AgreesWithClampedStrtol) {
  const char* const pieces[] = {"0", "1", "7",    "8",          "f",          "F",          "g",
                                "x", "X", "z",    " ",          "\t",         "+",          "-",
                                ",", ".", "\240", "2147483647", "2147483648", "99999999999"};
  std::mt19937 random(20);
  for (int i = 0; i < 20000 && !::testing::Test::HasFailure(); ++i) {
    const std::string text = randomText(random, pieces);
    for (int base : {0, 8, 10, 16, 36}) expectLikeStrtol(text, base);
  }
  // Bases strtol refuses.
  int32_t value = 5;
  const char* end = nullptr;
  for (int base : {1, 37, -2}) EXPECT_FALSE(wzParseInt("1", base, &value, &end)) << base;
}

// The same double, or both NaN: bit for bit, so -0 and 0 differ.
::testing::AssertionResult sameDouble(double expected, double actual) {
  if (std::isnan(expected) && std::isnan(actual) &&
      std::signbit(expected) == std::signbit(actual)) {
    return ::testing::AssertionSuccess();
  }
  if (std::memcmp(&expected, &actual, sizeof expected) == 0) return ::testing::AssertionSuccess();
  return ::testing::AssertionFailure()
         << std::hexfloat << "expected " << expected << ", got " << actual;
}

// Value, end and result as strtod gives them (0 and the start when nothing
// converts), and wzAtof's value.
void expectLikeStrtod(const std::string& text) {
  SCOPED_TRACE("text \"" + text + "\"");
  char* libraryEnd = nullptr;
  const double expected = strtod_l(text.c_str(), &libraryEnd, cLocale());
  double value = -12345.0;
  const char* end = nullptr;
  EXPECT_EQ(wzParseDouble(text.c_str(), &value, &end), libraryEnd != text.c_str());
  EXPECT_TRUE(sameDouble(expected, value));
  EXPECT_EQ(end - text.c_str(), libraryEnd - text.c_str());
  EXPECT_TRUE(sameDouble(expected, wzAtof(text.c_str())));
}

// Plain decimals as cells hold them, 1 to 24 digits with the point
// anywhere or nowhere, so that both sides of every border of the exact
// division (2^53 as the integer of all digits, 19 digits, 22 decimals)
// are crossed many times.
std::string randomPlainDecimal(std::mt19937& random) {
  const int count = std::uniform_int_distribution<int>(1, 24)(random);
  std::string text;
  for (int n = 0; n < count; ++n)
    text += static_cast<char>('0' + std::uniform_int_distribution<int>(0, 9)(random));
  const int point = std::uniform_int_distribution<int>(-1, count)(random);
  if (point >= 0) text.insert(static_cast<size_t>(point), ".");
  return text;
}

TEST(ParseDoubleTest, AgreesWithStrtod) {
  const char* const pieces[] = {"0",   "1",        "5",     "9",      "00",    "123",       ".",
                                ",",   "e",        "E",     "+",      "-",     "p",         "P",
                                "x",   "0x",       "a",     "f",      "F",     " ",         "\t",
                                "inf", "infinity", "nan",   "(",      ")",     "(a_9)",     "e3",
                                "e-3", "e400",     "e-400", "p-1074", "p1024", "9999999999"};
  std::mt19937 random(20240611);
  for (int i = 0; i < 20000 && !::testing::Test::HasFailure(); ++i) {
    expectLikeStrtod(randomText(random, pieces));
    expectLikeStrtod(randomPlainDecimal(random));
  }
}

}  // namespace
}  // namespace wzss
